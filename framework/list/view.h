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

// What stands at one index of a view: the number of an item, or one of these.
using ViewEntry = std::int32_t;
inline constexpr ViewEntry UPFOLDER_ENTRY = -1;
inline constexpr ViewEntry EMPTY_ENTRY = -2;
inline constexpr ViewEntry FIRST_HEADING = -3; // of group 0; those of later groups are smaller
constexpr bool isHeading(ViewEntry entry) { return entry <= FIRST_HEADING; }
constexpr std::int32_t groupOfHeading(ViewEntry entry) { return FIRST_HEADING - entry; }

// What of a store's items can be seen, and in which order: the whole tree or one
// folder, sorted, grouped and laid out in pages. It follows the store as that
// grows, bringing itself up to date when it is read: four bytes an entry, and four
// more an item once a list is sorted, and again while it is grouped, twice by what
// files say. Owned by a
// List, which holds its lock around every call.
class View {
  public:
    explicit View(const ItemStore &store) : store_(store) {}

    // The order of all items; without one, the source's.
    void setOrder(PagedVector<std::int32_t> order);
    void setStyle(const PageStyle &style);
    // What the files say, for a grouping by that. What was there before is handed back,
    // since its end takes a while.
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
    // The items of one of them, laid out or not; empty: there is no such group.
    [[nodiscard]] std::span<const std::int32_t> itemsOfGroup(std::int32_t group);
    [[nodiscard]] unsigned typeOf(ViewEntry entry) const;
    // What the heading of a group says.
    [[nodiscard]] std::string nameOf(const Group &group) const;

  private:
    void update();
    [[nodiscard]] const FileGroups &fileGroups() const;
    void append(ViewEntry entry);
    [[nodiscard]] std::int32_t itemAt(std::int32_t place) const;
    [[nodiscard]] PagedVector<std::int32_t> itemsOfTree() const;
    [[nodiscard]] PagedVector<std::int32_t> itemsOfFolder(std::int32_t folder) const;
    [[nodiscard]] std::span<const std::int32_t> itemsOf(std::int32_t group) const; // one that is there
    void layOutGroups(const PagedVector<std::int32_t> &items);
    void layOutByColumns();
    void pad();

    const ItemStore &store_;
    PagedVector<std::int32_t> order_; // empty: the source's
    PageStyle style_;
    std::shared_ptr<const FileGroups> fileGroups_; // null: nothing is known yet
    const FileGroups noFileGroups_;
    std::optional<std::int32_t> folder_;

    std::int32_t seen_ = 0; // as many items of the store are worked into what follows
    bool stale_ = false;    // what follows is to be made anew
    PagedVector<ViewEntry> entries_;
    std::array<std::int32_t, ITEM_TYPE_LIMIT> counts_{};
    PagedVector<Group> groups_;
    PagedVector<std::int32_t> itemsOfGroups_; // those of one after those of the other
};

} // namespace mrb
