#pragma once

#include "list/filter.h"
#include "list/sorting.h"

namespace mrb {

// What a list shows of its source, and in which order.
struct ListOptions {
    Filter filter = {};
    SortOrder sort = {};
};

// Reads them from a request. An option that would be ignored is refused.
Status parseListOptions(const ListRequest &request, ListOptions &options);

} // namespace mrb
