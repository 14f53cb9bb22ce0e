#include "list/list_cursor.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "mrb/agent.h"

namespace mrb {

bool ListCursor::moveTo(std::int32_t index) {
    const MutexLock guard(state_.lock);
    const PagedVector<ViewEntry> &entries = state_.view.entries();
    if (index < 0 || std::cmp_greater_equal(index, entries.size())) {
        return false;
    }
    cursor_ = entries[static_cast<std::size_t>(index)];
    return true;
}

std::optional<ListEntry> ListCursor::currentWithoutText() const {
    const MutexLock guard(state_.lock);
    const std::optional<ViewEntry> entry = underCursor();
    if (entry && *entry >= 0) {
        return ListEntry{state_.store.infoWithoutText(*entry)};
    }
    return entry ? std::optional(state_.describe(*entry)) : std::nullopt;
}

std::optional<ListEntry> ListCursor::current() const {
    const MutexLock guard(state_.lock);
    const std::optional<ViewEntry> entry = underCursor();
    return entry ? std::optional(state_.describe(*entry)) : std::nullopt;
}

int ListCursor::setStyle(const PageStyle &style) {
    const MutexLock guard(state_.lock);
    const PageStyle before = state_.view.style();
    state_.view.setStyle(style);
    // Without groups, index 0 stands for everything, and no other index is valid.
    const std::size_t groups = style.grouping == Grouping::NONE ? 1 : state_.view.groups().size();
    const bool isThere = style.groupIndex < 0 || std::cmp_less(style.groupIndex, groups);
    if (!isThere) {
        state_.view.setStyle(before);
        return MRB_ERR_OUT_OF_RANGE;
    }
    keepCursor();
    return MRB_ERR_NONE;
}

int ListCursor::navigate(int navigation) {
    const MutexLock guard(state_.lock);
    int code = MRB_ERR_NONE;
    switch (navigation) {
    case MRB_NAVIGATION_FLAT:
        state_.view.showAll();
        break;
    case MRB_NAVIGATION_FOLDER:
        state_.view.showFolder(ROOT_FOLDER);
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

int ListCursor::navigation() const {
    const MutexLock guard(state_.lock);
    return state_.view.folder() ? MRB_NAVIGATION_FOLDER : MRB_NAVIGATION_FLAT;
}

std::optional<ViewEntry> ListCursor::underCursor() const {
    if (cursor_) {
        return cursor_;
    }
    const PagedVector<ViewEntry> &entries = state_.view.entries();
    return entries.empty() ? std::nullopt : std::optional(entries.front());
}

int ListCursor::enterFolder() {
    const std::optional<ViewEntry> entry = underCursor();
    if (!entry) {
        return MRB_ERR_NOT_FOUND;
    }
    if (*entry == UPFOLDER_ENTRY) {
        return leaveFolder();
    }
    const std::int32_t folder = *entry >= 0 ? state_.store.folders().folderOfItem(*entry) : NO_FOLDER;
    if (folder < 0) {
        return MRB_ERR_NOT_A_FOLDER;
    }
    state_.view.showFolder(folder);
    return MRB_ERR_NONE;
}

// The cursor goes to the folder that is left, so that navigation continues from there.
int ListCursor::leaveFolder() {
    const std::optional<std::int32_t> folder = state_.view.folder();
    if (!folder || *folder == ROOT_FOLDER) {
        return MRB_ERR_NOT_FOUND;
    }
    const std::int32_t left = state_.store.folders().item(*folder);
    state_.view.showFolder(state_.store.folders().parent(*folder));
    cursor_ = left >= 0 ? std::optional(left) : std::nullopt;
    return MRB_ERR_NONE;
}

void ListCursor::keepCursor() {
    if (cursor_ &&
        (*cursor_ < 0 || std::ranges::find(state_.view.entries(), *cursor_) == state_.view.entries().end())) {
        cursor_.reset();
    }
}

} // namespace mrb
