#include "list/list_selection.h"

#include <utility>

#include "mrb/agent.h"

namespace mrb {

int ListSelection::toggle(std::int32_t index) {
    const MutexLock guard(state_.lock);
    const PagedVector<ViewEntry> &entries = state_.view.entries();
    if (index < 0 || std::cmp_greater_equal(index, entries.size())) {
        return MRB_ERR_OUT_OF_RANGE;
    }
    const ViewEntry entry = entries[static_cast<std::size_t>(index)];
    if (entry < 0) {
        return MRB_ERR_NOT_SUPPORTED;
    }
    selection_.toggle(entry);
    return MRB_ERR_NONE;
}

std::optional<bool> ListSelection::isSelected(std::int32_t index) const {
    const MutexLock guard(state_.lock);
    const PagedVector<ViewEntry> &entries = state_.view.entries();
    if (index < 0 || std::cmp_greater_equal(index, entries.size())) {
        return std::nullopt;
    }
    const ViewEntry entry = entries[static_cast<std::size_t>(index)];
    if (isHeading(entry)) {
        return selection_.containsAll(state_.view.itemsOfGroup(groupOfHeading(entry)));
    }
    return entry >= 0 && selection_.contains(entry);
}

void ListSelection::selectAll() {
    const MutexLock guard(state_.lock);
    for (const ViewEntry entry : state_.view.entries()) {
        if (entry >= 0) {
            selection_.set(entry, true);
        }
    }
}

void ListSelection::deselectAll() {
    const MutexLock guard(state_.lock);
    selection_.clear();
}

int ListSelection::selectGroup(std::int32_t index, bool selected) {
    const MutexLock guard(state_.lock);
    if (index < 0 || std::cmp_greater_equal(index, state_.view.groups().size())) {
        return MRB_ERR_OUT_OF_RANGE;
    }
    for (const std::int32_t item : state_.view.itemsOfGroup(index)) {
        selection_.set(item, selected);
    }
    return MRB_ERR_NONE;
}

std::int32_t ListSelection::count() const {
    const MutexLock guard(state_.lock);
    return selection_.count();
}

Selection ListSelection::copy() const {
    const MutexLock guard(state_.lock);
    return selection_;
}

} // namespace mrb
