#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "sources/source.h"

namespace mrb {

// The items of a list, packed: 40 bytes and its name for each, and its folder's
// number instead of a path. Owned by a List, which holds its lock around every call.
class ItemStore {
  public:
    // Bounds on what a damaged or hostile source can make the process hold.
    static constexpr std::int32_t MOST_ITEMS = 5'000'000;
    static constexpr std::size_t MOST_TEXT = 1UL << 28;     // bytes of all names
    static constexpr std::size_t LONGEST_TEXT = UINT16_MAX; // bytes of one name or id; the rest is cut off

    ItemStore();

    // The new folder's number; negative when a bound is reached.
    std::int32_t addFolder(std::int32_t parent, std::string_view name);

    // False when a bound is reached.
    [[nodiscard]] bool add(const SourceItem &item);

    [[nodiscard]] std::int32_t size() const { return static_cast<std::int32_t>(items_.size()); }
    [[nodiscard]] std::int32_t count(unsigned type) const;
    [[nodiscard]] ItemFacts facts(std::int32_t index) const;

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
        std::uint16_t idLength;
        std::uint8_t type;
    };
    static_assert(sizeof(Item) <= 40, "a hundred thousand items stay below 4 MB");

    struct Folder {
        std::int32_t parent;
        std::uint32_t text;
        std::uint16_t nameLength;
    };

    [[nodiscard]] bool hasRoom(std::string_view text) const;
    std::uint16_t append(std::string_view text);
    [[nodiscard]] std::string folderPath(std::int32_t number) const;

    // A deque, because it grows without copying what is there.
    std::deque<Item> items_;
    std::vector<Folder> folders_;
    std::string text_;
    std::array<std::int32_t, 32> counts_{};
};

} // namespace mrb
