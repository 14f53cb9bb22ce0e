#include "list/list.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "mrb/agent.h"

namespace mrb {

std::int32_t List::addFolder(std::int32_t parent, std::string_view name) {
    const MutexLock guard(state_.lock);
    return state_.store.addFolder(parent, name);
}

bool List::add(std::span<const SourceItem> items) {
    // Searching in names takes time, and needs no lock.
    std::vector<bool> matches;
    matches.reserve(items.size());
    for (const SourceItem &item : items) {
        matches.push_back(options_.filter.matches(item));
    }
    const MutexLock guard(state_.lock);
    for (std::size_t index = 0; index < items.size(); ++index) {
        const SourceItem &item = items[index];
        const bool opens = item.type == MRB_ITEM_TYPE_FOLDER || item.opens > ROOT_FOLDER;
        const bool kept = matches[index] || opens;
        if (kept && !state_.store.add(item, matches[index])) {
            return false;
        }
    }
    return true;
}

bool List::sort(const CancellationToken &cancellation, const FileValues &valuesOf) {
    const SortOrder order = options_.sort;
    if (order.key == SortKey::SOURCE && !order.descending) {
        return true;
    }
    // store() without the lock: only this thread ever changes it.
    std::optional<std::vector<std::int64_t>> values;
    if (isOfFiles(order.key) && !(values = valuesOf(store(), order.key))) {
        return false;
    }
    std::optional<PagedVector<std::int32_t>> items =
        sortItems(store(), order, cancellation, values.value_or(std::vector<std::int64_t>()));
    if (!items) {
        return false;
    }
    const MutexLock guard(state_.lock);
    state_.view.setOrder(*std::move(items));
    return true;
}

std::int32_t List::matchCount() const {
    const MutexLock guard(state_.lock);
    return state_.store.matchCount();
}

std::int32_t List::size() const {
    const MutexLock guard(state_.lock);
    return static_cast<std::int32_t>(state_.view.entries().size());
}

std::int32_t List::count(unsigned type) const {
    const MutexLock guard(state_.lock);
    return state_.view.count(type);
}

std::int32_t List::groupCount() const {
    const MutexLock guard(state_.lock);
    return static_cast<std::int32_t>(state_.view.groups().size());
}

std::optional<ListEntry> List::entry(std::int32_t index) const {
    const MutexLock guard(state_.lock);
    const PagedVector<ViewEntry> &entries = state_.view.entries();
    if (index < 0 || std::cmp_greater_equal(index, entries.size())) {
        return std::nullopt;
    }
    return state_.describe(entries[static_cast<std::size_t>(index)]);
}

std::optional<std::int32_t> List::pageOf(const ItemInfo &info) const {
    const MutexLock guard(state_.lock);
    const PagedVector<ViewEntry> &entries = state_.view.entries();
    // First the item, then its position: items are scanned in the store's order, which is their
    // order in memory; a sorted view would access memory at random.
    for (std::int32_t item = 0; item < state_.store.size(); ++item) {
        if (state_.store.isItem(item, info)) {
            if (const auto found = std::ranges::find(entries, item); found != entries.end()) {
                return static_cast<std::int32_t>(found - entries.begin()) / state_.view.style().pageSize();
            }
        }
    }
    return std::nullopt;
}

std::optional<ItemInfo> List::find(std::int32_t folder, std::string_view name) const {
    constexpr std::int32_t AT_ONCE = 4096;
    for (std::int32_t begin = 0;; begin += AT_ONCE) {
        const MutexLock guard(state_.lock);
        if (begin >= state_.store.size()) {
            return std::nullopt;
        }
        const std::int32_t end = std::min(begin + AT_ONCE, state_.store.size());
        for (std::int32_t index = begin; index < end; ++index) {
            if (state_.store.isItem(index, folder, name)) {
                return state_.store.info(index);
            }
        }
    }
}

void List::setFileGroups(std::shared_ptr<const FileGroups> groups) {
    std::shared_ptr<const FileGroups> before; // destroyed after the unlock
    const MutexLock guard(state_.lock);
    before = state_.view.setFileGroups(std::move(groups));
}

std::vector<std::int32_t> List::expand(const Selection &selection) const {
    constexpr std::int32_t AT_ONCE = 65'536;
    std::vector<std::int32_t> items;
    std::vector<bool> inside; // for each folder: it is selected, or lies in a selected one
    for (std::int32_t begin = 0;; begin += AT_ONCE) {
        const MutexLock guard(state_.lock);
        for (auto folder = static_cast<std::int32_t>(inside.size()); folder < state_.store.folders().size();
             ++folder) {
            const std::int32_t parent =
                folder > ROOT_FOLDER ? state_.store.folders().parent(folder) : NO_FOLDER;
            const std::int32_t item = state_.store.folders().item(folder);
            inside.push_back((item >= 0 && selection.contains(item)) ||
                             (parent >= 0 && inside[static_cast<std::size_t>(parent)]));
        }
        const std::int32_t end = std::min(begin + AT_ONCE, state_.store.size());
        for (std::int32_t item = begin; item < end; ++item) {
            const std::int32_t folder = state_.store.folder(item);
            const bool isInside = folder >= 0 && std::cmp_less(folder, inside.size()) &&
                                  inside[static_cast<std::size_t>(folder)];
            if (selection.contains(item) || (isInside && state_.store.matches(item))) {
                items.push_back(item);
            }
        }
        if (end == state_.store.size()) {
            return items;
        }
    }
}

ItemInfo List::infoOf(std::int32_t item) const {
    const MutexLock guard(state_.lock);
    return state_.store.info(item);
}

} // namespace mrb
