#include "list/wishes.h"

namespace mrb {

Status readWishes(const ListRequest &request, ListWishes &wishes) {
    Status outcome = readSortCategory(request.sortCategory, wishes.sort);
    return outcome.ok() ? Filter::make(request, wishes.filter) : outcome;
}

} // namespace mrb
