#pragma once

#include <mutex>

#include "list/item_store.h"
#include "list/list_entry.h"
#include "list/view.h"

namespace mrb {

// Shared by the parts of one list: its items and the view of them, under one lock, which no
// part holds for longer than it takes to add a run of items or to lay out the view. Owned by
// the List.
struct ListState {
    // With the lock held.
    [[nodiscard]] ListEntry describe(ViewEntry entry) const;

    mutable std::mutex lock; // guards what follows
    ItemStore store;
    mutable View view{store}; // updates itself when it is read
};

} // namespace mrb
