#include "list/wishes.h"

namespace mrb {

Outcome readWishes(const ListRequest &request, ListWishes &wishes) {
    if (!request.prepareData.empty()) {
        return {MRB_ERR_NOT_SUPPORTED, "Play data is not prepared while a list is opened."};
    }
    Outcome outcome = readSortCategory(request.sortCategory, wishes.sort);
    return outcome.code == MRB_ERR_NONE ? Filter::make(request, wishes.filter) : outcome;
}

} // namespace mrb
