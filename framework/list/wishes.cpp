#include "list/wishes.h"

namespace mrb {

Outcome readWishes(const ListRequest &request, ListWishes &wishes) {
    Outcome outcome = readSortCategory(request.sortCategory, wishes.sort);
    return outcome.code == MRB_ERR_NONE ? Filter::make(request, wishes.filter) : outcome;
}

} // namespace mrb
