#pragma once

#include <cstdint>
#include <string>

#include "base/pages.h"
#include "list/item_store.h"

namespace mrb {

// By what a list is divided into groups; the values are MRB_GROUPING_ of mrb/agent.h.
enum class Grouping : std::uint8_t { NONE, TYPE, FIRST_LETTER, DATE, FOLDER };

// One group of a view.
struct Group {
    std::int64_t key = 0;   // what its items have in common
    std::int32_t start = 0; // of its items in Groups::items
    std::int32_t items = 0; // how many they are
};

// The groups, and the items of one after those of the other.
struct Groups {
    PagedVector<Group> groups = {};
    PagedVector<std::int32_t> items = {};
};

// Divides `items` into groups, each of which keeps their order. Types come in the
// order of their numbers, letters alphabetically with '#' first, months from the
// newest, folders as the source has them; what has no date comes last. Takes two
// looks at each item, since somebody waits for it.
Groups divide(const ItemStore &store, const PagedVector<std::int32_t> &items, Grouping grouping);

// What a heading says: "image", "A", "2026-11" (empty: no date), "Holidays/Sea"
// (empty: the source itself).
std::string groupName(const ItemStore &store, Grouping grouping, std::int64_t key);

} // namespace mrb
