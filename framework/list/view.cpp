#include "list/view.h"

#include <algorithm>
#include <utility>

#include "mrb/agent.h"

namespace mrb {

void View::setOrder(PagedVector<std::int32_t> order) {
    order_ = std::move(order);
    stale_ = true;
}

void View::setStyle(const PageStyle &style) {
    style_ = style;
    stale_ = true;
}

std::shared_ptr<const FileGroups> View::setFileGroups(std::shared_ptr<const FileGroups> groups) {
    stale_ = stale_ || isOfFiles(style_.grouping);
    return std::exchange(fileGroups_, std::move(groups));
}

const FileGroups &View::fileGroups() const {
    return fileGroups_ && fileGroups_->grouping == style_.grouping ? *fileGroups_ : noFileGroups_;
}

std::string View::nameOf(const Group &group) const {
    return groupName(store_, style_.grouping, fileGroups(), group.key);
}

void View::showAll() {
    folder_.reset();
    stale_ = true;
}

void View::showFolder(std::int32_t folder) {
    folder_ = folder;
    stale_ = true;
}

const PagedVector<ViewEntry> &View::entries() {
    update();
    return entries_;
}

std::int32_t View::count(unsigned type) {
    update();
    return type < counts_.size() ? counts_.at(type) : 0;
}

const PagedVector<Group> &View::groups() {
    update();
    return groups_;
}

std::span<const std::int32_t> View::itemsOfGroup(std::int32_t group) {
    update();
    return group >= 0 && std::cmp_less(group, groups_.size()) ? itemsOf(group)
                                                              : std::span<const std::int32_t>();
}

std::span<const std::int32_t> View::itemsOf(std::int32_t group) const {
    const Group &info = groups_[static_cast<std::size_t>(group)];
    return std::span(itemsOfGroups_)
        .subspan(static_cast<std::size_t>(info.start), static_cast<std::size_t>(info.items));
}

unsigned View::typeOf(ViewEntry entry) const {
    if (entry >= 0) {
        return store_.type(entry);
    }
    if (isHeading(entry)) {
        return MRB_ITEM_TYPE_GROUP;
    }
    return entry == UPFOLDER_ENTRY ? MRB_ITEM_TYPE_UPFOLDER : MRB_ITEM_TYPE_EMPTY;
}

void View::update() {
    if (!stale_ && seen_ == store_.size()) {
        return;
    }
    // A growing list is mostly read in the source's order, and then only the new items matter.
    if (!stale_ && !folder_ && style_.isPlain() && order_.empty()) {
        for (; seen_ < store_.size(); ++seen_) {
            if (store_.matches(seen_)) {
                append(seen_);
            }
        }
        return;
    }
    entries_.clear();
    groups_.clear();
    itemsOfGroups_.clear();
    counts_.fill(0);
    // If memory runs out below, the next call tries again.
    stale_ = true;
    if (folder_ && *folder_ != ROOT_FOLDER && !style_.isOfGroupsAlone()) {
        append(UPFOLDER_ENTRY);
    }
    const PagedVector<std::int32_t> items = folder_ ? itemsOfFolder(*folder_) : itemsOfTree();
    if (style_.grouping == Grouping::NONE) {
        std::ranges::for_each(items, [this](std::int32_t item) { append(item); });
    } else {
        layOutGroups(items);
    }
    if (style_.byColumns) {
        layOutByColumns();
    }
    if (style_.padded) {
        pad();
    }
    seen_ = store_.size();
    stale_ = false;
}

void View::append(ViewEntry entry) {
    entries_.push_back(entry);
    ++counts_.at(typeOf(entry));
}

std::int32_t View::itemAt(std::int32_t position) const {
    return order_.empty() ? position : order_[static_cast<std::size_t>(position)];
}

PagedVector<std::int32_t> View::itemsOfTree() const {
    PagedVector<std::int32_t> items;
    items.reserve(static_cast<std::size_t>(store_.matchCount()));
    for (std::int32_t position = 0; position < store_.size(); ++position) {
        const std::int32_t item = itemAt(position);
        if (store_.matches(item)) {
            items.push_back(item);
        }
    }
    return items;
}

PagedVector<std::int32_t> View::itemsOfFolder(std::int32_t folder) const {
    PagedVector<std::int32_t> folders;
    PagedVector<std::int32_t> files;
    // Folders are known as visible by their folder numbers, not by their items' numbers.
    std::vector<bool> shown;
    for (std::int32_t number = 0; number < store_.folders().size(); ++number) {
        const std::int32_t item = store_.folders().item(number);
        if (item >= 0 && store_.folder(item) == folder && store_.folders().hasMatches(number)) {
            shown.resize(static_cast<std::size_t>(store_.size()));
            shown[static_cast<std::size_t>(item)] = true;
        }
    }
    for (std::int32_t position = 0; position < store_.size(); ++position) {
        const std::int32_t item = itemAt(position);
        if (store_.folder(item) != folder) {
            continue;
        }
        if (store_.matches(item) || (!shown.empty() && shown[static_cast<std::size_t>(item)])) {
            // A playlist opens like a folder, but is listed among the files.
            const bool isFolder = store_.type(item) == MRB_ITEM_TYPE_FOLDER;
            (isFolder ? folders : files).push_back(item);
        }
    }
    folders.insert(folders.end(), files.begin(), files.end());
    return folders;
}

void View::layOutGroups(const PagedVector<std::int32_t> &items) {
    Groups divided = divide(store_, items, style_.grouping, fileGroups());
    groups_ = std::move(divided.groups);
    itemsOfGroups_ = std::move(divided.items);
    for (std::int32_t number = 0; std::cmp_less(number, groups_.size()); ++number) {
        if (style_.groupIndex < 0) {
            append(FIRST_HEADING - number);
        }
        if (style_.groupIndex == MRB_GROUP_ALL || style_.groupIndex == number) {
            std::ranges::for_each(itemsOf(number), [this](std::int32_t item) { append(item); });
        }
    }
}

// The entries of each page run down its columns and are stored here row by row. The
// last page's columns are as even as possible, so that its free cells are at its end
// in either order.
void View::layOutByColumns() {
    const PagedVector<ViewEntry> inOrder = entries_;
    const auto pageSize = static_cast<std::size_t>(style_.pageSize());
    const auto columns = static_cast<std::size_t>(style_.columns);
    for (std::size_t start = 0; start < inOrder.size(); start += pageSize) {
        const std::size_t used = std::min(pageSize, inOrder.size() - start);
        std::size_t next = start;
        for (std::size_t column = 0; column < columns; ++column) {
            for (std::size_t cell = column; cell < used; cell += columns) {
                entries_[start + cell] = inOrder[next++];
            }
        }
    }
}

void View::pad() {
    while (entries_.size() % static_cast<std::size_t>(style_.pageSize()) != 0) {
        append(EMPTY_ENTRY);
    }
}

} // namespace mrb
