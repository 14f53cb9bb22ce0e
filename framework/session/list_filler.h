#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "library/media_library.h"
#include "list/list.h"
#include "session/item_resolver.h"
#include "session/list_events.h"
#include "sources/source.h"
#include "watch/watch.h"

namespace mrb {

// Fills one list: hands what the source finds to the list, has growth reported, watches what
// is read from the moment on when it is read, and sorts what came. Owned and used by the
// worker of the list's session.
class ListFiller final : private ItemSink {
  public:
    // All of these outlive the filler. `stopped` may become true at any time: the source then
    // stops soon, and nothing is sorted any more.
    ListFiller(List &list, ItemResolver &items, MediaLibrary &library, ListEvents &events,
               const std::atomic<bool> &stopped)
        : list_(list), items_(items), library_(library), events_(events), stopped_(stopped) {}

    // Fills the list and sorts it; how that ended. What a source gave before it failed stays.
    // Once.
    FillResult run();

    // The watch on what was read, which run began; null: there is nothing to watch.
    std::unique_ptr<Watch> takeWatch() { return std::move(watch_); }

    // Loads what reads the items' files, if they are files: a client that sees the items
    // asks about them next, and should not wait for libraries.
    void preloadReaders() const;

  private:
    // ItemSink, called by the source.
    [[nodiscard]] bool wants(std::uint8_t type) const override { return list_.wants(type); }
    [[nodiscard]] bool stopped() const override { return stopped_.load(std::memory_order_relaxed); }
    void announce(std::int64_t total) override { events_.setExpectedTotal(total); }
    std::int32_t addFolder(std::int32_t parent, std::string_view name) override;
    void follow(std::int32_t folder, int descriptor) override;
    [[nodiscard]] bool add(std::span<const SourceItem> items) override;

    void prepareFiles() const;
    void beginWatch();
    FillResult fill();
    void sort(Status &outcome);
    void reportGrowth();
    [[nodiscard]] bool hasFiles() const;

    List &list_;
    ItemResolver &items_;
    MediaLibrary &library_;
    ListEvents &events_;
    const std::atomic<bool> &stopped_;

    std::unique_ptr<Watch> watch_;
    bool full_ = false;
    std::int32_t reportedSize_ = 0;
    std::chrono::steady_clock::time_point reportedAt_ = std::chrono::steady_clock::now();
};

} // namespace mrb
