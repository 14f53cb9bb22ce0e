#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "list/list_request.h"
#include "media/item.h"
#include "media/media_types.h"
#include "text/search.h"

namespace mrb {

// Which items of a source a list shows: by type, by file name extension and by a
// text in the name. Created when a list is opened, then owned and used by the thread
// that fills it; `wants` may be called on any thread.
class Filter {
  public:
    // Shows everything.
    Filter() = default;
    explicit Filter(TypeMask types) : types_(types) {}

    // Reads the content type, the extensions and the key word of a request.
    static Status make(const ListRequest &request, Filter &filter);

    // False: no item of this type passes.
    [[nodiscard]] bool wants(std::uint8_t type) const;

    [[nodiscard]] bool matches(const SourceItem &item);

  private:
    TypeMask types_ = ALL_TYPES;
    std::vector<std::string> extensions_; // in lower case, without a dot; empty: any
    std::unique_ptr<NameSearch> search_;  // null: any name
};

} // namespace mrb
