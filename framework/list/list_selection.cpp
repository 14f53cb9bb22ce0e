// The part of a list that selects its items.

#include <algorithm>
#include <utility>

#include "list/list.h"
#include "mrb/agent.h"

namespace mrb {

int List::toggleSelect(std::int32_t index) {
    const std::lock_guard guard(lock_);
    const std::vector<ViewEntry> &entries = view_.entries();
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

std::optional<bool> List::isSelected(std::int32_t index) const {
    const std::lock_guard guard(lock_);
    const std::vector<ViewEntry> &entries = view_.entries();
    if (index < 0 || std::cmp_greater_equal(index, entries.size())) {
        return std::nullopt;
    }
    const ViewEntry entry = entries[static_cast<std::size_t>(index)];
    if (isHeading(entry)) {
        return selection_.containsAll(view_.itemsOfGroup(groupOfHeading(entry)));
    }
    return entry >= 0 && selection_.contains(entry);
}

void List::selectAll() {
    const std::lock_guard guard(lock_);
    for (const ViewEntry entry : view_.entries()) {
        if (entry >= 0) {
            selection_.set(entry, true);
        }
    }
}

void List::deselectAll() {
    const std::lock_guard guard(lock_);
    selection_.clear();
}

int List::selectGroup(std::int32_t index, bool selected) {
    const std::lock_guard guard(lock_);
    if (index < 0 || std::cmp_greater_equal(index, view_.groups().size())) {
        return MRB_ERR_OUT_OF_RANGE;
    }
    for (const std::int32_t item : view_.itemsOfGroup(index)) {
        selection_.set(item, selected);
    }
    return MRB_ERR_NONE;
}

std::int32_t List::selectionCount() const {
    const std::lock_guard guard(lock_);
    return selection_.count();
}

Selection List::selection() const {
    const std::lock_guard guard(lock_);
    return selection_;
}

} // namespace mrb
