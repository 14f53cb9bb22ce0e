#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <latch>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "events/event_thread.h"
#include "library/media_library.h"
#include "library/media_paths.h"
#include "list/list.h"
#include "list/wishes.h"
#include "mrb/agent.h"
#include "session/group_reading.h"
#include "sources/source.h"
#include "storage/device_service.h"
#include "watch/watcher.h"

namespace mrb {

class Workers;

// Who hears of a list.
struct Listener {
    mrb_request_list_cb callback;
    void *userData;
};

// One opening of a list, from the request until it is disconnected or opened
// anew: the source that fills it, its items, and the events on the way. Owned
// jointly by the table of open lists, the worker that fills it and its queued
// events. Each member function says which thread calls it.
class Opening final : public EventTarget,
                      public std::enable_shared_from_this<Opening>,
                      private ItemSink,
                      private Watched,
                      private RemovalObserver {
  public:
    Opening(EventThread &events, mrb_agent_handler_h handle, Listener listener,
            std::unique_ptr<Source> source, ListWishes wishes);

    // Has the folder or file that the source stands on watched for changes as long as the list
    // is open. Called, if at all, before run.
    void watchWith(Watcher &watcher) { watcher_ = &watcher; }

    // Where the metadata of the items come from. Called before run.
    void readWith(MediaLibrary &library) { library_ = &library; }
    // Where threads for more reading come from. Called before run.
    void workWith(Workers &workers) { workers_ = &workers; }
    [[nodiscard]] MediaLibrary &library() const { return *library_; }

    // The worker's whole life: waits for begin, fills the list, sorts it, and posts
    // exactly one of the ready, failed and cancelled events.
    void run() noexcept;

    // Lets the worker begin. Any thread, once.
    void begin() { begin_.count_down(); }

    // Makes the source stop soon; the cancelled event follows unless the end was
    // reached before. Ends a reading of files for groups. Any thread.
    void stop() {
        stopped_.store(true, std::memory_order_relaxed);
        groupReading_.stop();
    }

    // Makes the source stop soon, and returns when no callback of this opening is
    // running or will run, save one that this is called from. Any thread.
    void close();

    [[nodiscard]] List &list() { return list_; }
    [[nodiscard]] const List &list() const { return list_; }

    // Lays the view out, and has the files read when it is grouped by what they say; a
    // code of mrb/result.h. Any thread.
    int setStyle(const PageStyle &style);

    // The path of the folder below which the items are files; empty: there is no such folder.
    // Any thread.
    [[nodiscard]] std::string filesRoot() const { return source_->watchedRoot(); }
    // Whether items are files of this machine wherever they lie, and which file an item is,
    // see Source. Any thread.
    [[nodiscard]] bool namesFiles() const { return source_->namesFiles(); }
    [[nodiscard]] std::string filePath(const ItemFacts &item) const { return source_->filePath(item); }

    // On which mount an item's folder was, see Source. Any thread.
    [[nodiscard]] MountIdentity mountOf(const ItemFacts &item) const { return source_->mountOf(item); }

    // The description of an entry as JSON text; no value: no such index. Any thread.
    [[nodiscard]] std::optional<std::string> describe(std::int32_t index) const;

    // How an entry can be reached; blanks and headings lie nowhere. Any thread.
    [[nodiscard]] ItemLocation locate(const ListEntry &entry) const;

    // Whether an entry's file is still there; a code of mrb/result.h. Any thread.
    [[nodiscard]] int reach(const ListEntry &entry) const;
    // The file that an item is, without a path where it is none, and what its source says
    // of it. Any thread.
    [[nodiscard]] MediaItem mediaOf(const ItemFacts &facts) const;

    // The entry under the cursor; no value: the view is empty. Any thread.
    [[nodiscard]] std::optional<ListEntry> current() const { return list_.current(); }

    // The page of the item with that media id; no value: not in the view. Any thread.
    [[nodiscard]] std::optional<std::int32_t> pageOf(const std::string &mediaId) const;

  private:
    // EventTarget, on the event thread.
    void deliver(int event) noexcept override;

    // ItemSink, on the worker.
    [[nodiscard]] bool wants(std::uint8_t type) const override;
    [[nodiscard]] bool stopped() const override;
    void announce(std::int64_t total) override;
    std::int32_t addFolder(std::int32_t parent, std::string_view name) override;
    void follow(std::int32_t folder, int descriptor) override;
    [[nodiscard]] bool add(std::span<const SourceItem> items) override;

    // Watched, on the watch thread.
    [[nodiscard]] bool shows(std::uint8_t type) const override { return list_.wants(type); }
    [[nodiscard]] std::optional<ItemFacts> listed(std::int32_t folder, std::string_view name) const override;
    void sourceChanged() override;
    void sourceRemoved() override;

    // RemovalObserver, on the devices' thread.
    void deviceRemoved() override { sourceRemoved(); }

    void beginWatch();
    void handOverWatch() noexcept;
    void endWatch();
    void prepareFiles() const;
    const MediaPaths &paths(const std::string &root) const;
    void prepareFields() const;
    [[nodiscard]] bool hasFiles() const;
    [[nodiscard]] std::optional<ToldFacts> told(const ItemFacts &facts) const;
    FillResult fill();
    void sort(Outcome &outcome);
    void reportGrowth();
    void postGrowth();
    void readGroups() noexcept;
    [[nodiscard]] std::string serverData(int event) const;

    EventThread &events_;
    const mrb_agent_handler_h handle_;
    const Listener listener_;
    const std::unique_ptr<Source> source_;
    List list_;

    Watcher *watcher_ = nullptr;
    MediaLibrary *library_ = nullptr;
    Workers *workers_ = nullptr;
    mutable std::once_flag pathsMade_;
    // Made on the worker, or when it is first needed where the source stands on no folder.
    mutable std::optional<MediaPaths> paths_;
    std::latch begin_{1};
    std::atomic<bool> closed_ = false;
    std::atomic<bool> stopped_ = false;
    std::atomic<bool> removed_ = false; // the source is not there any more
    std::atomic<bool> growthQueued_ = false;
    std::atomic<std::int64_t> announced_ = UNKNOWN;
    std::atomic<std::int64_t> grouped_ = UNKNOWN; // items whose files were read for groups
    GroupReading groupReading_;

    // The worker's alone, until it posts the last event, which reads the result.
    FillResult result_;
    std::unique_ptr<Watch> watch_; // until the watcher has it
    bool full_ = false;
    std::int32_t reportedSize_ = 0;
    std::chrono::steady_clock::time_point reportedAt_;
};

} // namespace mrb
