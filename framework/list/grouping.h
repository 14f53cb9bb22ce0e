#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/pages.h"
#include "list/item_store.h"

namespace mrb {

// The property by which a list is grouped; the values are MRB_GROUPING_ of mrb/agent.h.
// From ARTIST on it comes from the files' metadata.
enum class Grouping : std::uint8_t { NONE, TYPE, FIRST_LETTER, DATE, FOLDER, ARTIST, ALBUM, GENRE };
constexpr bool isOfFiles(Grouping grouping) { return grouping >= Grouping::ARTIST; }

// For a grouping by metadata: the group of each item, as far as its file was read. Built by
// the thread that reads the files, and never changed afterwards.
struct FileGroups {
    Grouping grouping = Grouping::NONE;
    std::vector<std::string> names = {};        // in their natural order
    std::vector<std::int32_t> groupOfItem = {}; // an index of `names`; NO_GROUP: not in its metadata

    static constexpr std::int32_t NO_GROUP = -1;
    // From 0; `names.size()` for an item without a name or not read yet.
    [[nodiscard]] std::int32_t groupOf(std::int32_t item) const;
};

// One group of a view.
struct Group {
    std::int64_t key = 0;   // the value that its items share
    std::int32_t start = 0; // index of its first item in Groups::items
    std::int32_t items = 0; // number of items
};

// The groups, and the items of all groups, group by group.
struct Groups {
    PagedVector<Group> groups = {};
    PagedVector<std::int32_t> items = {};
};

// Divides `items` into groups, each of which keeps their order. Types come in the
// order of their numbers, letters alphabetically with '#' first, months from the
// newest, folders as the source has them, metadata in the order of `ofFiles`; items
// without a date or without that metadata come last. Visits each item twice, since a
// call of the application waits for it.
Groups divide(const ItemStore &store, const PagedVector<std::int32_t> &items, Grouping grouping,
              const FileGroups &ofFiles);

// The text of a heading: "image", "A", "2026-11" (empty: no date), "Holidays/Sea"
// (empty: the source itself), "Miles Davis" (empty: no artist).
std::string groupName(const ItemStore &store, Grouping grouping, const FileGroups &ofFiles, std::int64_t key);

} // namespace mrb
