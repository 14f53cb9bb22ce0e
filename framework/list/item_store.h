#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/chunks.h"
#include "media/item.h"
#include "text/first_letter.h"

namespace mrb {

// The items of a list in the source's order, packed: 40 bytes and its name for
// each, and its folder's number instead of a path. Append-only. Owned by a
// List, which holds its lock around every call; only the thread that adds may read
// without it.
class ItemStore {
  public:
    // Bounds on what a damaged or hostile source can make the process hold.
    static constexpr std::int32_t MAX_ITEMS = 5'000'000;
    static constexpr std::size_t MAX_TEXT_BYTES = 1UL << 28;   // bytes of all names
    static constexpr std::size_t MAX_TEXT_LENGTH = UINT16_MAX; // bytes of one name or id; longer: truncated
    static_assert(2 * MAX_TEXT_LENGTH <= ChunkedText::LONGEST, "an item's name and id are stored together");

    ItemStore();

    // The new folder's number; negative when a bound is reached.
    std::int32_t addFolder(std::int32_t parent, std::string_view name);

    // `passes`: the item passed the list's filters. One that did not is a folder,
    // kept for walking folder by folder. False when a bound is reached.
    [[nodiscard]] bool add(const SourceItem &item, bool matches);

    [[nodiscard]] std::int32_t size() const { return static_cast<std::int32_t>(items_.size()); }
    // How many items passed the filters.
    [[nodiscard]] std::int32_t matchCount() const { return matchCount_; }

    // Items have the numbers from 0 to size() - 1; folders have their own. Views that are
    // returned are valid as long as the store.
    [[nodiscard]] std::int32_t folders() const { return static_cast<std::int32_t>(folders_.size()); }
    [[nodiscard]] std::int32_t parent(std::int32_t folder) const;
    [[nodiscard]] std::string
    folderPath(std::int32_t folder) const; // the names below the source, joined with '/'
    // True: the folder, or something in it or below, passed the filters.
    [[nodiscard]] bool hasMatches(std::int32_t folder) const;
    // The item that is a folder's entry, and the folder of an item; negative where there is none.
    [[nodiscard]] std::int32_t itemOfFolder(std::int32_t folder) const;
    [[nodiscard]] std::int32_t folderOfItem(std::int32_t number) const;

    [[nodiscard]] ItemInfo info(std::int32_t number) const;
    [[nodiscard]] ItemInfo infoWithoutText(std::int32_t number) const; // the same without texts
    [[nodiscard]] ItemInfo folderInfo(std::int32_t folder) const;      // of the source itself: without a name
    // True: the item has the id of `wanted`; without one, its name and folder.
    [[nodiscard]] bool isItem(std::int32_t number, const ItemInfo &wanted) const;
    [[nodiscard]] std::string_view name(std::int32_t number) const;
    // The letter under which an index lists the item's name.
    [[nodiscard]] char32_t letter(std::int32_t number) const { return at(number).letter; }
    [[nodiscard]] std::uint8_t type(std::int32_t number) const { return at(number).type; }
    [[nodiscard]] std::int32_t folder(std::int32_t number) const { return at(number).folder; }
    [[nodiscard]] std::int64_t fileSize(std::int32_t number) const { return at(number).size; }
    [[nodiscard]] std::int64_t modified(std::int32_t number) const { return at(number).modified; }
    [[nodiscard]] bool matches(std::int32_t number) const { return at(number).matches; }

    // True when the item at `index` lies in that folder under that name.
    [[nodiscard]] bool is(std::int32_t index, std::int32_t folder, std::string_view name) const;

  private:
    struct Item {
        std::int64_t size;
        std::int64_t modified;
        std::int64_t created;
        std::uint32_t text; // where in text_ the name begins; the id follows it
        std::int32_t folder;
        std::uint16_t nameLength;
        std::uint16_t idLength; // of everything after the name
        // Determined when the item is added, since a call of the application waits for grouping.
        std::uint32_t letter : 17;
        std::uint32_t type : 8;
        bool matches : 1;
        bool hasRecord : 1; // the id is preceded by its length and followed by the record
    };
    static constexpr std::uint32_t LETTER_BITS = (1U << 17U) - 1;
    static_assert(LETTER_LIMIT == LETTER_BITS + 1);
    static_assert(sizeof(Item) <= 40, "a hundred thousand items stay below 4 MB");

    struct Folder {
        std::int32_t parent;
        std::uint32_t text;
        std::uint16_t nameLength;
        bool hasMatches;
        std::int32_t item;
    };

    [[nodiscard]] std::string_view nameOfFolder(std::int32_t folder) const;
    [[nodiscard]] bool isFolder(std::int32_t folder, std::string_view path) const;
    [[nodiscard]] std::int32_t known(std::int32_t folder) const;
    void markWorthEntering(std::int32_t folder);
    [[nodiscard]] const Item &at(std::int32_t number) const {
        return items_[static_cast<std::size_t>(number)];
    }
    // What follows an item's name in text_: its id, and the record that the source supplied.
    [[nodiscard]] std::string_view idOf(const Item &item) const;
    [[nodiscard]] std::string_view recordOf(const Item &item) const;
    [[nodiscard]] bool hasRoom(std::size_t length) const { return text_.endWith(length) <= MAX_TEXT_BYTES; }

    // In chunks: they grow without copying their elements, and are freed as a whole.
    ChunkedArray<Item> items_;
    ChunkedArray<Folder> folders_;
    ChunkedText text_;
    std::int32_t matchCount_ = 0;
};

} // namespace mrb
