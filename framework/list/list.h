#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "base/cancellation.h"
#include "list/item_store.h"
#include "list/list_cursor.h"
#include "list/list_entry.h"
#include "list/list_options.h"
#include "list/list_selection.h"
#include "list/list_state.h"
#include "media/item.h"

namespace mrb {

// The items of one open list, growing while it is filled, and the view of them to which
// indexes refer. Owned by its session and that session's events; one thread adds and sorts,
// any thread may make the other calls, and no thread holds the lock for longer than it takes
// to add a run of items or to lay out the view again.
class List {
  public:
    explicit List(ListOptions options) : options_(std::move(options)) {}

    [[nodiscard]] bool wants(std::uint8_t type) const { return options_.filter.wants(type); }

    std::int32_t addFolder(std::int32_t parent, std::string_view name);

    // Appends those items of the run that match the filters, and all that open as folders.
    // False when the list is full.
    [[nodiscard]] bool add(std::span<const SourceItem> items);

    // Returns a number for each item by which to sort by metadata; no value: cancelled.
    using FileValues =
        std::function<std::optional<std::vector<std::int64_t>>(const ItemStore &store, SortKey key)>;

    // Sorts the items in the requested order, after the last was added. False: a cancellation
    // came before that was done. `valuesOf` is called without the lock, and only where the
    // order depends on metadata.
    [[nodiscard]] bool sort(const CancellationToken &cancellation, const FileValues &valuesOf);

    // For the thread that adds, and for other threads once no more items are added: reading needs
    // no lock then, which the analysis cannot know.
    [[nodiscard]] const ItemStore &store() const MRB_NO_THREAD_SAFETY_ANALYSIS { return state_.store; }

    // The number of items that match the filters, in all folders.
    [[nodiscard]] std::int32_t matchCount() const;

    // Of the view.
    [[nodiscard]] std::int32_t size() const;
    [[nodiscard]] std::int32_t count(unsigned type) const;
    [[nodiscard]] std::int32_t groupCount() const;

    // No value: the index is out of range.
    [[nodiscard]] std::optional<ListEntry> entry(std::int32_t index) const;

    // The item of that name in the folder with that number; no value: there is none.
    // Takes time proportional to the list's size, but never holds the lock for long.
    [[nodiscard]] std::optional<ItemInfo> find(std::int32_t folder, std::string_view name) const;

    // The page that holds the item with the name, folder and id of `info`; no
    // value: the view does not show it.
    [[nodiscard]] std::optional<std::int32_t> pageOf(const ItemInfo &info) const;

    // Passes the groups of the files' metadata to a view that is grouped by it, now or later.
    void setFileGroups(std::shared_ptr<const FileGroups> groups);

    // The client's position in the view, and its selection.
    [[nodiscard]] ListCursor &cursor() { return cursor_; }
    [[nodiscard]] const ListCursor &cursor() const { return cursor_; }
    [[nodiscard]] ListSelection &selection() { return selection_; }

    // Expands a selection to items, in the source's order: those selected, and all that
    // match the filters in or below a selected folder.
    [[nodiscard]] std::vector<std::int32_t> expand(const Selection &selection) const;
    // Of an item by its number, as returned by `expand`.
    [[nodiscard]] ItemInfo infoOf(std::int32_t item) const;

  private:
    ListOptions options_; // the adding thread alone uses the filter
    ListState state_;
    ListCursor cursor_{state_};
    ListSelection selection_{state_};
};

} // namespace mrb
