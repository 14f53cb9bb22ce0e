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
    // Searching in names takes its time, and needs no lock.
    std::vector<bool> passes;
    passes.reserve(items.size());
    for (const SourceItem &item : items) {
        passes.push_back(wishes_.filter.passes(item));
    }
    const std::lock_guard guard(lock_);
    for (std::size_t index = 0; index < items.size(); ++index) {
        const SourceItem &item = items[index];
        const bool kept = passes[index] || item.type == MRB_ITEM_TYPE_FOLDER;
        if (kept && !store_.add(item, passes[index])) {
            return false;
        }
    }
    return true;
}

bool List::sort(const std::function<bool()> &stopped, const FileValues &valuesOf) {
    const SortOrder order = wishes_.sort;
    if (order.key == SortKey::SOURCE && !order.descending) {
        return true;
    }
    // Without the lock: only this thread ever changes the store.
    std::optional<std::vector<std::int64_t>> values;
    if (isOfFiles(order.key) && !(values = valuesOf(store_, order.key))) {
        return false;
    }
    std::optional<std::vector<std::int32_t>> items =
        sortItems(store_, order, stopped, values.value_or(std::vector<std::int64_t>()));
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
    const std::vector<ViewEntry> &entries = view_.entries();
    if (index < 0 || std::cmp_greater_equal(index, entries.size())) {
        return std::nullopt;
    }
    return describe(entries[static_cast<std::size_t>(index)]);
}

std::optional<std::int32_t> List::pageOf(const ItemFacts &wanted) const {
    const std::lock_guard guard(lock_);
    const std::vector<ViewEntry> &entries = view_.entries();
    const auto found = std::ranges::find_if(
        entries, [&](ViewEntry entry) { return entry >= 0 && store_.isItem(entry, wanted); });
    if (found == entries.end()) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(found - entries.begin()) / view_.style().pageSize();
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

bool List::moveTo(std::int32_t index) {
    const std::lock_guard guard(lock_);
    const std::vector<ViewEntry> &entries = view_.entries();
    if (index < 0 || std::cmp_greater_equal(index, entries.size())) {
        return false;
    }
    cursor_ = entries[static_cast<std::size_t>(index)];
    return true;
}

std::optional<ListEntry> List::current() const {
    const std::lock_guard guard(lock_);
    const std::optional<ViewEntry> entry = underCursor();
    return entry ? std::optional(describe(*entry)) : std::nullopt;
}

int List::setStyle(const PageStyle &style) {
    const std::lock_guard guard(lock_);
    const PageStyle before = view_.style();
    view_.setStyle(style);
    const std::size_t groups = style.grouping == Grouping::NONE ? 1 : view_.groups().size();
    // The first group may still be on its way.
    const bool isThere = style.groupIndex <= 0 || std::cmp_less(style.groupIndex, groups);
    if (!isThere) {
        view_.setStyle(before);
        return MRB_ERR_OUT_OF_RANGE;
    }
    keepCursor();
    return MRB_ERR_NONE;
}

int List::navigate(int navigation) {
    const std::lock_guard guard(lock_);
    int code = MRB_ERR_NONE;
    switch (navigation) {
    case MRB_NAVIGATION_FLAT:
        view_.showAll();
        break;
    case MRB_NAVIGATION_FOLDER:
        view_.showFolder(ROOT_FOLDER);
        break;
    case MRB_NAVIGATION_ENTER:
        code = enterFolder();
        break;
    case MRB_NAVIGATION_UP:
        code = leaveFolder();
        break;
    default:
        code = MRB_ERR_INVALID_PARAMETER;
        break;
    }
    if (code == MRB_ERR_NONE) {
        keepCursor();
    }
    return code;
}

int List::navigation() const {
    const std::lock_guard guard(lock_);
    return view_.folder() ? MRB_NAVIGATION_FOLDER : MRB_NAVIGATION_FLAT;
}

ListEntry List::describe(ViewEntry entry) const {
    ListEntry described;
    if (entry >= 0) {
        described.facts = store_.facts(entry);
    } else if (isHeading(entry)) {
        described.group = groupOfHeading(entry);
        // The view may have changed since the cursor was put on a heading.
        const std::vector<View::GroupFacts> &groups = view_.groups();
        if (std::cmp_less(described.group, groups.size())) {
            const View::GroupFacts &group = groups[static_cast<std::size_t>(described.group)];
            described.groupItems = group.items;
            described.facts.name = groupName(store_, view_.style().grouping, group.key);
        }
    } else if (entry == UPFOLDER_ENTRY) {
        described.facts = store_.folderFacts(store_.parent(view_.folder().value_or(ROOT_FOLDER)));
    }
    described.facts.type = static_cast<std::uint8_t>(view_.typeOf(entry));
    return described;
}

std::optional<ViewEntry> List::underCursor() const {
    if (cursor_) {
        return cursor_;
    }
    const std::vector<ViewEntry> &entries = view_.entries();
    return entries.empty() ? std::nullopt : std::optional(entries.front());
}

int List::enterFolder() {
    const std::optional<ViewEntry> entry = underCursor();
    if (!entry) {
        return MRB_ERR_NOT_FOUND;
    }
    if (*entry == UPFOLDER_ENTRY) {
        return leaveFolder();
    }
    const std::int32_t folder = *entry >= 0 ? store_.folderOfItem(*entry) : NO_FOLDER;
    if (folder < 0) {
        return MRB_ERR_NOT_A_FOLDER;
    }
    view_.showFolder(folder);
    return MRB_ERR_NONE;
}

// The cursor goes to the folder that is left, so that a walk goes on from there.
int List::leaveFolder() {
    const std::optional<std::int32_t> folder = view_.folder();
    if (!folder || *folder == ROOT_FOLDER) {
        return MRB_ERR_NOT_FOUND;
    }
    const std::int32_t left = store_.itemOfFolder(*folder);
    view_.showFolder(store_.parent(*folder));
    cursor_ = left >= 0 ? std::optional(left) : std::nullopt;
    return MRB_ERR_NONE;
}

void List::keepCursor() {
    if (cursor_ && (*cursor_ < 0 || std::ranges::find(view_.entries(), *cursor_) == view_.entries().end())) {
        cursor_.reset();
    }
}

} // namespace mrb
