// The part of a list that moves its cursor and changes its view.

#include <algorithm>
#include <optional>
#include <utility>

#include "list/list.h"
#include "mrb/agent.h"

namespace mrb {

bool List::moveTo(std::int32_t index) {
    const std::lock_guard guard(lock_);
    const PagedVector<ViewEntry> &entries = view_.entries();
    if (index < 0 || std::cmp_greater_equal(index, entries.size())) {
        return false;
    }
    cursor_ = entries[static_cast<std::size_t>(index)];
    return true;
}

std::optional<ListEntry> List::currentNumbers() const {
    const std::lock_guard guard(lock_);
    const std::optional<ViewEntry> entry = underCursor();
    if (entry && *entry >= 0) {
        return ListEntry{store_.numbers(*entry)};
    }
    return entry ? std::optional(describe(*entry)) : std::nullopt;
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
    // Without groups, index 0 stands for everything, and no other index is valid.
    const std::size_t groups = style.grouping == Grouping::NONE ? 1 : view_.groups().size();
    const bool isThere = style.groupIndex < 0 || std::cmp_less(style.groupIndex, groups);
    if (!isThere) {
        view_.setStyle(before);
        return MRB_ERR_OUT_OF_RANGE;
    }
    keepCursor();
    return MRB_ERR_NONE;
}

void List::setFileGroups(std::shared_ptr<const FileGroups> groups) {
    std::shared_ptr<const FileGroups> before; // is destroyed after the lock is released
    const std::lock_guard guard(lock_);
    before = view_.setFileGroups(std::move(groups));
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

std::optional<ViewEntry> List::underCursor() const {
    if (cursor_) {
        return cursor_;
    }
    const PagedVector<ViewEntry> &entries = view_.entries();
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

// The cursor goes to the folder that is left, so that navigation continues from there.
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
