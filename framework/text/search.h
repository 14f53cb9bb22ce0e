#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/deleter.h"

struct UCollator;
struct UCollationElements;

namespace mrb {

// A text to find inside names, in every script, whatever the case, the accents and
// the width of the letters: "resume" is found in "Résumé", "STRASSE" in "Straße",
// "か" in "ガ". Two texts are the same where the Unicode collation of the root locale
// sees no primary difference. Owned and used by one thread.
class NameSearch {
  public:
    explicit NameSearch(std::string_view pattern);
    ~NameSearch();
    NameSearch(const NameSearch &) = delete;
    NameSearch &operator=(const NameSearch &) = delete;

    // False: the pattern has no primary weight, as an accent alone, and would match
    // every name.
    [[nodiscard]] bool isMeaningful() const { return !pattern_.empty(); }

    // `name` may hold any bytes; what is not UTF-8 matches U+FFFD.
    bool isIn(std::string_view name);

  private:
    void readWeights(std::string_view text, std::vector<std::int32_t> &weights);

    static void close(UCollator *collator);
    static void closeElements(UCollationElements *elements);
    std::unique_ptr<UCollator, Deleter<close>> collator_;
    std::unique_ptr<UCollationElements, Deleter<closeElements>> elements_;
    std::u16string text_;
    std::vector<std::int32_t> pattern_;
    std::vector<std::int32_t> name_;
};

} // namespace mrb
