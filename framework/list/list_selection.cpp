// The part of a list that selects its items.

#include <algorithm>
#include <utility>

#include "list/list.h"
#include "mrb/agent.h"

namespace mrb {

int List::toggleSelect(std::int32_t index) {
    const std::lock_guard guard(lock_);
    const PagedVector<ViewEntry> &entries = view_.entries();
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
    const PagedVector<ViewEntry> &entries = view_.entries();
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

std::vector<std::int32_t> List::expand(const Selection &selection) const {
    constexpr std::int32_t AT_ONCE = 65'536;
    std::vector<std::int32_t> items;
    std::vector<bool> inside; // for each folder: it is selected, or lies in a selected one
    for (std::int32_t begin = 0;; begin += AT_ONCE) {
        const std::lock_guard guard(lock_);
        for (auto folder = static_cast<std::int32_t>(inside.size()); folder < store_.folders(); ++folder) {
            const std::int32_t parent = folder > ROOT_FOLDER ? store_.parent(folder) : NO_FOLDER;
            const std::int32_t item = store_.itemOfFolder(folder);
            inside.push_back((item >= 0 && selection.contains(item)) ||
                             (parent >= 0 && inside[static_cast<std::size_t>(parent)]));
        }
        const std::int32_t end = std::min(begin + AT_ONCE, store_.size());
        for (std::int32_t item = begin; item < end; ++item) {
            const std::int32_t folder = store_.folder(item);
            const bool isInside = folder >= 0 && std::cmp_less(folder, inside.size()) &&
                                  inside[static_cast<std::size_t>(folder)];
            if (selection.contains(item) || (isInside && store_.passes(item))) {
                items.push_back(item);
            }
        }
        if (end == store_.size()) {
            return items;
        }
    }
}

ItemFacts List::factsOf(std::int32_t item) const {
    const std::lock_guard guard(lock_);
    return store_.facts(item);
}

} // namespace mrb
