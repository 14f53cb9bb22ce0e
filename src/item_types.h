#pragma once
// The item types that have a count of their own.

#include <array>
#include <cstddef>

#include "mrb/agent.h"

namespace MRBBridge {

/// The order in which the counts are read from the framework. item_count_keys has the
/// order in which they are written; applications rely on both.
inline constexpr std::array<int, 11> counted_item_types = {
    MRB_ITEM_TYPE_FOLDER, MRB_ITEM_TYPE_IMAGE, MRB_ITEM_TYPE_VIDEO,   MRB_ITEM_TYPE_MUSIC,
    MRB_ITEM_TYPE_RECORD, MRB_ITEM_TYPE_UHD,   MRB_ITEM_TYPE_SCSA,    MRB_ITEM_TYPE_M3U,
    MRB_ITEM_TYPE_GROUP,  MRB_ITEM_TYPE_EMPTY, MRB_ITEM_TYPE_UPFOLDER};

/// Counts by item type.
using ItemCounts = std::array<int, MRB_ITEM_TYPE_EMPTY + 1>;

/// The key of a type's count in the answer.
struct ItemCountKey {
    const char *name;
    size_t type;
};

inline constexpr std::array<ItemCountKey, counted_item_types.size()> item_count_keys = {{
    {"item_count_folder", MRB_ITEM_TYPE_FOLDER},
    {"item_count_image", MRB_ITEM_TYPE_IMAGE},
    {"item_count_music", MRB_ITEM_TYPE_MUSIC},
    {"item_count_video", MRB_ITEM_TYPE_VIDEO},
    {"item_count_record", MRB_ITEM_TYPE_RECORD},
    {"item_count_uhd", MRB_ITEM_TYPE_UHD},
    {"item_count_scsa", MRB_ITEM_TYPE_SCSA},
    {"item_count_m3u", MRB_ITEM_TYPE_M3U},
    {"item_count_group", MRB_ITEM_TYPE_GROUP},
    {"item_count_empty", MRB_ITEM_TYPE_EMPTY},
    {"item_count_upfolder", MRB_ITEM_TYPE_UPFOLDER},
}};

} // namespace MRBBridge
