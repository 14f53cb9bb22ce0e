#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/pages.h"
#include "list/item_store.h"

namespace mrb {

// By what a list is divided into groups; the values are MRB_GROUPING_ of mrb/agent.h.
// From ARTIST on by what the files say.
enum class Grouping : std::uint8_t { NONE, TYPE, FIRST_LETTER, DATE, FOLDER, ARTIST, ALBUM, GENRE };
constexpr bool isOfFiles(Grouping grouping) { return grouping >= Grouping::ARTIST; }

// For a grouping by what files say: what each item says, as far as it is known. Made by
// the thread that reads the files, and never changed afterwards.
struct FileGroups {
    Grouping grouping = Grouping::NONE;
    std::vector<std::string> names = {};   // in their natural order
    std::vector<std::int32_t> places = {}; // of each item in `names`; NO_GROUP: it says nothing

    static constexpr std::int32_t NO_GROUP = -1;
    // From 0; that behind the last name for what says nothing or is not known.
    [[nodiscard]] std::int32_t placeOf(std::int32_t item) const;
};

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
// newest, folders as the source has them, what files say as `ofFiles` has it; what has
// no date or says nothing comes last. Takes two looks at each item, since somebody waits
// for it.
Groups divide(const ItemStore &store, const PagedVector<std::int32_t> &items, Grouping grouping,
              const FileGroups &ofFiles);

// What a heading says: "image", "A", "2026-11" (empty: no date), "Holidays/Sea"
// (empty: the source itself), "Miles Davis" (empty: no artist).
std::string groupName(const ItemStore &store, Grouping grouping, const FileGroups &ofFiles, std::int64_t key);

} // namespace mrb
