#pragma once

#include <cstdint>

#include "media/item.h"

namespace mrb {

// What a list reports of one of its entries.
struct ListEntry {
    // Of an item; of an up-folder entry those of the folder that it leads to; of a
    // heading its name. The type is the entry's own.
    ItemInfo info;
    // Of a heading only: its group, and how many items that holds.
    std::int32_t group = -1;
    std::int32_t groupItems = 0;
};

} // namespace mrb
