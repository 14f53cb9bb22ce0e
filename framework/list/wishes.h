#pragma once

#include "list/filter.h"
#include "list/sorting.h"

namespace mrb {

// What a list shows of its source, and in which order.
struct ListWishes {
    Filter filter = {};
    SortOrder sort = {};
};

// Reads them from a request. An option that would be ignored is refused.
Status readWishes(const ListRequest &request, ListWishes &wishes);

} // namespace mrb
