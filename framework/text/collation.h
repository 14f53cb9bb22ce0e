#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "base/deleter.h"

struct UCollator;

namespace mrb {

// The order in which people expect names: alphabetical in every script, numbers
// by their value ("2.jpg" before "10.jpg"), the same on every machine whatever
// its language settings. Owned and used by one thread.
class NaturalOrder {
  public:
    NaturalOrder();
    ~NaturalOrder();
    NaturalOrder(const NaturalOrder &) = delete;
    NaturalOrder &operator=(const NaturalOrder &) = delete;

    // A key whose byte order is the order of the names. Different names have
    // different keys: where the collation sees no difference, the bytes decide.
    // `name` may hold any bytes.
    std::string key(std::string_view name) { return std::string(transientKey(name)); }

    // The same; the view lives until the next call.
    std::string_view transientKey(std::string_view name);

    // Less than, equal to or greater than 0, as the keys of the two names compare;
    // takes a fraction of the time that it takes to make them.
    int compare(std::string_view left, std::string_view right) const;

  private:
    static void close(UCollator *collator);
    std::unique_ptr<UCollator, Deleter<close>> collator_;
    std::u16string utf16_;
    std::string key_; // never shrinks
};

} // namespace mrb
