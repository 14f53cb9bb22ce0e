#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "base/cancellation.h"
#include "library/media_library.h"
#include "list/list.h"
#include "session/item_resolver.h"
#include "session/list_events.h"
#include "sources/source.h"
#include "watch/watch.h"

namespace mrb {

// Fills one list: adds the source's items to the list, reports growth, watches the folders and
// files from the moment they are read, and sorts the items. Owned and used by the worker of the
// list's session.
class ListFiller final : private ItemSink {
  public:
    // All of these outlive the filler, and so does what `cancellation` refers to. It may be cancelled
    // at any time: the source then stops soon, and the items stay unsorted.
    ListFiller(List &list, ItemResolver &items, MediaLibrary &library, ListEvents &events,
               CancellationToken cancellation)
        : list_(list), items_(items), library_(library), events_(events),
          cancellation_(std::move(cancellation)) {}

    // Fills the list and sorts it; returns the result. Items of a source that failed stay. Once.
    FillResult run();

    // The watch that run started; null: there is nothing to watch.
    std::unique_ptr<Watch> takeWatch() { return std::move(watch_); }

    // Loads the metadata readers, if the items are files: a client that displays the items reads
    // their fields next, and should not wait for libraries.
    void preloadReaders() const;

  private:
    // ItemSink, called by the source.
    [[nodiscard]] bool wants(std::uint8_t type) const override { return list_.wants(type); }
    [[nodiscard]] const CancellationToken &cancellation() const override { return cancellation_; }
    void setExpectedTotal(std::int64_t total) override { events_.setExpectedTotal(total); }
    std::int32_t addFolder(std::int32_t parent, std::string_view name) override;
    void aboutToRead(std::int32_t folder, int descriptor) override;
    [[nodiscard]] bool add(std::span<const SourceItem> items) override;

    void prepareFiles() const;
    void beginWatch();
    FillResult fill();
    void sort(Status &status);
    void reportGrowth();
    [[nodiscard]] bool hasFiles() const;

    List &list_;
    ItemResolver &items_;
    MediaLibrary &library_;
    ListEvents &events_;
    const CancellationToken cancellation_;

    std::unique_ptr<Watch> watch_;
    bool full_ = false;
    std::int32_t reportedSize_ = 0;
    std::chrono::steady_clock::time_point reportedAt_ = std::chrono::steady_clock::now();
};

} // namespace mrb
