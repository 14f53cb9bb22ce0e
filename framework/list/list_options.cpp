#include "list/list_options.h"

namespace mrb {

Status parseListOptions(const ListRequest &request, ListOptions &options) {
    Status status = readSortCategory(request.sortCategory, options.sort);
    return status.ok() ? Filter::make(request, options.filter) : status;
}

} // namespace mrb
