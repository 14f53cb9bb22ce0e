#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "base/pages.h"
#include "list/grouping.h"
#include "list/item_store.h"
#include "list/page_style.h"
#include "media/media_types.h"

namespace mrb {

// The content of one index of a view: the number of an item, or one of these.
using ViewEntry = std::int32_t;
inline constexpr ViewEntry UPFOLDER_ENTRY = -1;
inline constexpr ViewEntry EMPTY_ENTRY = -2;
inline constexpr ViewEntry FIRST_HEADING = -3; // of group 0; those of later groups are smaller
constexpr bool isHeading(ViewEntry entry) { return entry <= FIRST_HEADING; }
constexpr std::int32_t groupOfHeading(ViewEntry entry) { return FIRST_HEADING - entry; }

// The items of a store that can be seen, and their order: the whole tree or one
// folder, sorted, grouped and laid out in pages. It follows the store as that grows
// and updates itself when it is read. Memory: four bytes per entry; four more per item
// once a list is sorted; four more while it is grouped, eight while it is grouped by
// metadata. Owned by a List, which holds its lock around every call.
class View {
  public:
    explicit View(const ItemStore &store) : store_(store) {}

    // The order of all items; without one, the source's.
    void setOrder(PagedVector<std::int32_t> order);
    void setStyle(const PageStyle &style);
    // The groups of the files' metadata, for a grouping by it. Returns the previous ones,
    // since freeing them takes a while.
    [[nodiscard]] std::shared_ptr<const FileGroups> setFileGroups(std::shared_ptr<const FileGroups> groups);
    void showAll();
    void showFolder(std::int32_t folder);

    [[nodiscard]] const PageStyle &style() const { return style_; }
    // The folder that is shown; no value: the whole tree.
    [[nodiscard]] std::optional<std::int32_t> folder() const { return folder_; }

    [[nodiscard]] const PagedVector<ViewEntry> &entries();
    [[nodiscard]] std::int32_t count(unsigned type);
    // Empty while the view is not grouped.
    [[nodiscard]] const PagedVector<Group> &groups();
    // The items of one of them, laid out or not; empty: no such group.
    [[nodiscard]] std::span<const std::int32_t> itemsOfGroup(std::int32_t group);
    [[nodiscard]] unsigned typeOf(ViewEntry entry) const;
    // The text of a group's heading.
    [[nodiscard]] std::string nameOf(const Group &group) const;

  private:
    void update();
    [[nodiscard]] const FileGroups &fileGroups() const;
    void append(ViewEntry entry);
    [[nodiscard]] std::int32_t itemAt(std::int32_t position) const;
    [[nodiscard]] PagedVector<std::int32_t> itemsOfTree() const;
    [[nodiscard]] PagedVector<std::int32_t> itemsOfFolder(std::int32_t folder) const;
    [[nodiscard]] std::span<const std::int32_t> itemsOf(std::int32_t group) const; // an existing one
    void layOutGroups(const PagedVector<std::int32_t> &items);
    void layOutByColumns();
    void pad();

    const ItemStore &store_;
    PagedVector<std::int32_t> order_; // empty: the source's
    PageStyle style_;
    std::shared_ptr<const FileGroups> fileGroups_; // null: not known yet
    const FileGroups noFileGroups_;
    std::optional<std::int32_t> folder_;

    std::int32_t seen_ = 0; // number of the store's items that what follows includes
    bool stale_ = false;    // what follows has to be rebuilt
    PagedVector<ViewEntry> entries_;
    std::array<std::int32_t, ITEM_TYPE_LIMIT> counts_{};
    PagedVector<Group> groups_;
    PagedVector<std::int32_t> itemsOfGroups_; // group by group
};

} // namespace mrb
