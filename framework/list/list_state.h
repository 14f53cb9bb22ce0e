#pragma once

#include "base/mutex.h"
#include "list/item_store.h"
#include "list/list_entry.h"
#include "list/view.h"

namespace mrb {

// Shared by the parts of one list: its items and the view of them, under one lock, which no
// part holds for longer than it takes to add a run of items or to lay out the view. Owned by
// the List.
struct ListState {
    [[nodiscard]] ListEntry describe(ViewEntry entry) const MRB_REQUIRES(lock);

    mutable Mutex lock;
    ItemStore store MRB_GUARDED_BY(lock);
    mutable View view MRB_GUARDED_BY(lock){store}; // updates itself when it is read
};

} // namespace mrb
