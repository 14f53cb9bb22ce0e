#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace mrb {

// A number that the source does not know.
inline constexpr std::int64_t UNKNOWN = std::numeric_limits<std::int64_t>::min();

// The folder that the source itself stands for. It is no item of the list.
inline constexpr std::int32_t ROOT_FOLDER = 0;
inline constexpr std::int32_t NO_FOLDER = -1;

// One item on its way from a source into a list. The texts need to live until
// the call that hands the item over returns; they may hold any bytes but zero.
struct SourceItem {
    std::string_view name = {};
    std::string_view id = {}; // the source's own id; empty where name and folder say it all
    std::int32_t folder = ROOT_FOLDER;
    std::uint8_t type = 0;           // an MRB_ITEM_TYPE_
    std::int64_t size = UNKNOWN;     // bytes
    std::int64_t modified = UNKNOWN; // seconds since 1970, UTC
    std::int64_t created = UNKNOWN;  // the same
    std::int32_t opens = NO_FOLDER;  // of a folder: the number under which its contents come
    // What the source wants to be given back with the item's facts, in its own form; any bytes.
    std::string_view record = {};
    // Of the file's name, where the item's name is not that.
    std::string_view extension = {};
};

// What a list remembers of an item, copied out for one description.
struct ItemFacts {
    std::string name;
    std::string id;
    std::string folder; // the enclosing folders' names below the source, joined with '/'; no '/' at its ends
    std::uint8_t type = 0;
    std::int64_t size = UNKNOWN;
    std::int64_t modified = UNKNOWN;
    std::int64_t created = UNKNOWN;
    std::string record; // the source's own, as it gave it
};

// How an item can be reached. Empty: not that way.
struct ItemLocation {
    std::string path = {};
    std::string url = {};
    std::string mediaId = {};
    std::string mimeType = {};
    std::string thumbnail = {}; // URL of a picture of it
};

} // namespace mrb
