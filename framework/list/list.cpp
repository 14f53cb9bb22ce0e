#include "list/list.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "mrb/agent.h"

namespace mrb {

std::int32_t List::addFolder(std::int32_t parent, std::string_view name) {
    const std::lock_guard guard(lock_);
    return store_.addFolder(parent, name);
}

bool List::add(std::span<const SourceItem> items) {
    // Searching in names takes time, and needs no lock.
    std::vector<bool> passes;
    passes.reserve(items.size());
    for (const SourceItem &item : items) {
        passes.push_back(wishes_.filter.passes(item));
    }
    const std::lock_guard guard(lock_);
    for (std::size_t index = 0; index < items.size(); ++index) {
        const SourceItem &item = items[index];
        const bool opens = item.type == MRB_ITEM_TYPE_FOLDER || item.opens > ROOT_FOLDER;
        const bool kept = passes[index] || opens;
        if (kept && !store_.add(item, passes[index])) {
            return false;
        }
    }
    return true;
}

bool List::sort(const CancellationToken &cancellation, const FileValues &valuesOf) {
    const SortOrder order = wishes_.sort;
    if (order.key == SortKey::SOURCE && !order.descending) {
        return true;
    }
    // Without the lock: only this thread ever changes the store.
    std::optional<std::vector<std::int64_t>> values;
    if (isOfFiles(order.key) && !(values = valuesOf(store_, order.key))) {
        return false;
    }
    std::optional<PagedVector<std::int32_t>> items =
        sortItems(store_, order, cancellation, values.value_or(std::vector<std::int64_t>()));
    if (!items) {
        return false;
    }
    const std::lock_guard guard(lock_);
    view_.setOrder(*std::move(items));
    return true;
}

std::int32_t List::passed() const {
    const std::lock_guard guard(lock_);
    return store_.passed();
}

std::int32_t List::size() const {
    const std::lock_guard guard(lock_);
    return static_cast<std::int32_t>(view_.entries().size());
}

std::int32_t List::count(unsigned type) const {
    const std::lock_guard guard(lock_);
    return view_.count(type);
}

std::int32_t List::groupCount() const {
    const std::lock_guard guard(lock_);
    return static_cast<std::int32_t>(view_.groups().size());
}

std::optional<ListEntry> List::entry(std::int32_t index) const {
    const std::lock_guard guard(lock_);
    const PagedVector<ViewEntry> &entries = view_.entries();
    if (index < 0 || std::cmp_greater_equal(index, entries.size())) {
        return std::nullopt;
    }
    return describe(entries[static_cast<std::size_t>(index)]);
}

std::optional<std::int32_t> List::pageOf(const ItemFacts &wanted) const {
    const std::lock_guard guard(lock_);
    const PagedVector<ViewEntry> &entries = view_.entries();
    // First the item, then its place: items are scanned in the store's order, which is their
    // order in memory; a sorted view would access memory at random.
    for (std::int32_t item = 0; item < store_.size(); ++item) {
        if (store_.isItem(item, wanted)) {
            if (const auto found = std::ranges::find(entries, item); found != entries.end()) {
                return static_cast<std::int32_t>(found - entries.begin()) / view_.style().pageSize();
            }
        }
    }
    return std::nullopt;
}

std::optional<ItemFacts> List::find(std::int32_t folder, std::string_view name) const {
    constexpr std::int32_t AT_ONCE = 4096;
    for (std::int32_t begin = 0;; begin += AT_ONCE) {
        const std::lock_guard guard(lock_);
        if (begin >= store_.size()) {
            return std::nullopt;
        }
        const std::int32_t end = std::min(begin + AT_ONCE, store_.size());
        for (std::int32_t index = begin; index < end; ++index) {
            if (store_.is(index, folder, name)) {
                return store_.facts(index);
            }
        }
    }
}

ListEntry List::describe(ViewEntry entry) const {
    ListEntry described;
    if (entry >= 0) {
        described.facts = store_.facts(entry);
    } else if (isHeading(entry)) {
        described.group = groupOfHeading(entry);
        // The view may have changed since the cursor was put on a heading.
        const PagedVector<Group> &groups = view_.groups();
        if (std::cmp_less(described.group, groups.size())) {
            const Group &group = groups[static_cast<std::size_t>(described.group)];
            described.groupItems = group.items;
            described.facts.name = view_.nameOf(group);
        }
    } else if (entry == UPFOLDER_ENTRY) {
        described.facts = store_.folderFacts(store_.parent(view_.folder().value_or(ROOT_FOLDER)));
    }
    described.facts.type = static_cast<std::uint8_t>(view_.typeOf(entry));
    return described;
}

} // namespace mrb
