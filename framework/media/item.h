#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace mrb {

// A number that is not known.
inline constexpr std::int64_t UNKNOWN = std::numeric_limits<std::int64_t>::min();

// The source's own root folder. It is not an item of the list.
inline constexpr std::int32_t ROOT_FOLDER = 0;
inline constexpr std::int32_t NO_FOLDER = -1;

// One item that a source adds to a list. The texts need to be valid until the call returns; they
// may hold any bytes but zero.
struct SourceItem {
    std::string_view name = {};
    std::string_view id = {}; // the source's own id; empty where name and folder identify the item
    std::int32_t folder = ROOT_FOLDER;
    std::uint8_t type = 0;           // an MRB_ITEM_TYPE_
    std::int64_t size = UNKNOWN;     // bytes
    std::int64_t modified = UNKNOWN; // seconds since 1970, UTC
    std::int64_t created = UNKNOWN;  // the same
    std::int32_t opens = NO_FOLDER;  // for a folder: the number of the folder that holds its contents
    // Opaque data of the source, which the list returns with the item's info; any bytes.
    std::string_view record = {};
    // The file name's extension, where the item's name is not the file name.
    std::string_view extension = {};
};

// A list's copy of an item's values, for one client.
struct ItemInfo {
    std::string name;
    std::string id;
    std::string folder; // the enclosing folders' names below the source, joined with '/'; no '/' at the ends
    std::uint8_t type = 0;
    std::int64_t size = UNKNOWN;
    std::int64_t modified = UNKNOWN;
    std::int64_t created = UNKNOWN;
    std::string record; // opaque data of the source
};

// The locations of an item. Empty: not available that way.
struct ItemLocation {
    std::string path = {};
    std::string url = {};
    std::string mediaId = {};
    std::string mimeType = {};
    std::string thumbnail = {}; // URL of its thumbnail
};

} // namespace mrb
