#include "list/list_options.h"

namespace mrb {

Status parseListOptions(const ListRequest &request, ListOptions &options) {
    Status outcome = readSortCategory(request.sortCategory, options.sort);
    return outcome.ok() ? Filter::make(request, options.filter) : outcome;
}

} // namespace mrb
