#pragma once

#include <cstdint>
#include <string_view>

#include "base/chunks.h"
#include "list/folder_table.h"
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
    static constexpr std::size_t MAX_TEXT_BYTES = 1UL << 28;   // bytes of all names, folders' included
    static constexpr std::size_t MAX_TEXT_LENGTH = UINT16_MAX; // bytes of one name or id; longer: truncated
    static_assert(2 * MAX_TEXT_LENGTH <= ChunkedText::MAX_LENGTH,
                  "an item's name and id are stored together");

    // The new folder's number; negative when a bound is reached.
    std::int32_t addFolder(std::int32_t parent, std::string_view name);
    [[nodiscard]] const FolderTable &folders() const { return folders_; }

    // `matches`: the item matches the list's filters. One that does not is a folder,
    // kept for walking folder by folder. False when a bound is reached.
    [[nodiscard]] bool add(const SourceItem &item, bool matches);

    // Items have the numbers from 0 to size() - 1. Texts that are returned as views are
    // valid as long as the store.
    [[nodiscard]] std::int32_t size() const { return static_cast<std::int32_t>(items_.size()); }
    // How many items match the filters.
    [[nodiscard]] std::int32_t matchCount() const { return matchCount_; }

    [[nodiscard]] ItemInfo info(std::int32_t number) const;
    [[nodiscard]] ItemInfo infoWithoutText(std::int32_t number) const;
    [[nodiscard]] ItemInfo folderInfo(std::int32_t folder) const; // of the source itself: without a name
    // True: the item has the id of `info`; where that has none, its name and folder.
    [[nodiscard]] bool isItem(std::int32_t number, const ItemInfo &info) const;
    // True: the item lies in that folder under that name.
    [[nodiscard]] bool isItem(std::int32_t number, std::int32_t folder, std::string_view name) const;

    [[nodiscard]] std::string_view name(std::int32_t number) const;
    // The letter under which an index lists the item's name.
    [[nodiscard]] char32_t letter(std::int32_t number) const { return itemAt(number).letter; }
    [[nodiscard]] std::uint8_t type(std::int32_t number) const { return itemAt(number).type; }
    [[nodiscard]] std::int32_t folder(std::int32_t number) const { return itemAt(number).folder; }
    [[nodiscard]] std::int64_t fileSize(std::int32_t number) const { return itemAt(number).size; }
    [[nodiscard]] std::int64_t modified(std::int32_t number) const { return itemAt(number).modified; }
    [[nodiscard]] bool matches(std::int32_t number) const { return itemAt(number).matches; }

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

    [[nodiscard]] const Item &itemAt(std::int32_t number) const {
        return items_[static_cast<std::size_t>(number)];
    }
    // What follows an item's name in text_: its id, and the record that the source supplied.
    [[nodiscard]] std::string_view idOf(const Item &item) const;
    [[nodiscard]] std::string_view recordOf(const Item &item) const;
    // Room for the texts of one more item or folder, of these lengths in bytes.
    [[nodiscard]] bool hasRoom(std::size_t itemText, std::size_t folderName) const {
        return text_.endWith(itemText) + folders_.textBytesWith(folderName) <= MAX_TEXT_BYTES;
    }

    // In chunks: they grow without copying their elements, and are freed as a whole.
    ChunkedArray<Item> items_;
    ChunkedText text_;
    FolderTable folders_;
    std::int32_t matchCount_ = 0;
};

} // namespace mrb
