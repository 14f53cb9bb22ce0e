#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "base/cancellation.h"
#include "list/item_store.h"
#include "list/selection.h"
#include "list/view.h"
#include "list/wishes.h"
#include "media/item.h"

namespace mrb {

// What a list reports of one of its entries.
struct ListEntry {
    // Of an item; of an up-folder entry those of the folder that it leads to; of a
    // heading its name. The type is the entry's own.
    ItemFacts facts;
    // Of a heading only: its group, and how many items that holds.
    std::int32_t group = -1;
    std::int32_t groupItems = 0;
};

// The items of one opening, growing while it is filled, and the view of them to which
// indexes refer. Owned by its Opening; one thread adds and sorts, any thread may make the
// other calls, and no thread holds the lock for longer than it takes to add a run of items
// or to lay out the view again.
class List {
  public:
    explicit List(ListWishes wishes) : wishes_(std::move(wishes)) {}

    [[nodiscard]] bool wants(std::uint8_t type) const { return wishes_.filter.wants(type); }

    std::int32_t addFolder(std::int32_t parent, std::string_view name);

    // Appends those items of the run that pass the filters, and all that open as folders.
    // False when the list is full.
    [[nodiscard]] bool add(std::span<const SourceItem> items);

    // Returns a number for each item by which to sort by metadata; no value: stopped.
    using FileValues =
        std::function<std::optional<std::vector<std::int64_t>>(const ItemStore &store, SortKey key)>;

    // Puts the items into the order that was wished for, after the last was added.
    // False: `cancellation` is cancelled before that was done. `valuesOf` is called without
    // the lock, and only where the order is one of files.
    [[nodiscard]] bool sort(const CancellationToken &cancellation, const FileValues &valuesOf);

    // For the thread that adds, and for other threads once no more items are added.
    [[nodiscard]] const ItemStore &store() const { return store_; }

    // The number of items that passed the filters, in all folders.
    [[nodiscard]] std::int32_t passed() const;

    // Of the view.
    [[nodiscard]] std::int32_t size() const;
    [[nodiscard]] std::int32_t count(unsigned type) const;
    [[nodiscard]] std::int32_t groupCount() const;

    // No value: the index is out of range.
    [[nodiscard]] std::optional<ListEntry> entry(std::int32_t index) const;

    // The item of that name in the folder with that number; no value: there is none.
    // Takes time proportional to the list's size, but never holds the lock for long.
    [[nodiscard]] std::optional<ItemFacts> find(std::int32_t folder, std::string_view name) const;

    // The page that holds the item with the name, folder and id of `wanted`; no
    // value: the view does not show it.
    [[nodiscard]] std::optional<std::int32_t> pageOf(const ItemFacts &wanted) const;

    // Puts the cursor on an entry; false when the index is out of range. Initially, and
    // when its entry leaves the view, the cursor is on the first one.
    bool moveTo(std::int32_t index);

    // The entry under the cursor; no value: the view is empty.
    [[nodiscard]] std::optional<ListEntry> current() const;
    // The same without the name, id and folder of an item, which cost more than the rest.
    [[nodiscard]] std::optional<ListEntry> currentNumbers() const;

    // Lays the view out; a code of mrb/result.h.
    int setStyle(const PageStyle &style);
    // Passes the groups of the files' metadata to a view that is grouped by it, now or later.
    void setFileGroups(std::shared_ptr<const FileGroups> groups);

    // One of the MRB_NAVIGATION_ values; a code of mrb/result.h.
    int navigate(int navigation);
    [[nodiscard]] int navigation() const;

    // The selection; see mrb/agent.h for the meaning of its calls. They take an index of
    // the view or of its groups, and return a code of mrb/result.h.
    int toggleSelect(std::int32_t index);
    int selectGroup(std::int32_t index, bool selected);
    void selectAll();
    void deselectAll();
    // No value: the index is out of range.
    [[nodiscard]] std::optional<bool> isSelected(std::int32_t index) const;
    [[nodiscard]] std::int32_t selectionCount() const;
    [[nodiscard]] Selection selection() const;

    // Expands a selection to items, in the source's order: those selected, and all that
    // passed the filters in or below a selected folder.
    [[nodiscard]] std::vector<std::int32_t> expand(const Selection &selection) const;
    // Of an item by its number, as returned by `expand`.
    [[nodiscard]] ItemFacts factsOf(std::int32_t item) const;

  private:
    // All with lock_ held.
    [[nodiscard]] ListEntry describe(ViewEntry entry) const;
    [[nodiscard]] std::optional<ViewEntry> underCursor() const;
    int enterFolder();
    int leaveFolder();
    void keepCursor();

    ListWishes wishes_; // the adding thread alone uses the filter

    mutable std::mutex lock_; // guards what follows
    ItemStore store_;
    mutable View view_{store_}; // updates itself when it is read
    std::optional<ViewEntry> cursor_;
    Selection selection_;
};

} // namespace mrb
