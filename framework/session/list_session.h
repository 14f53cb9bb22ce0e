#pragma once

#include <atomic>
#include <cstdint>
#include <latch>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/cancellation.h"
#include "list/list.h"
#include "list/list_options.h"
#include "mrb/agent.h"
#include "session/grouping_task.h"
#include "session/item_resolver.h"
#include "session/list_events.h"
#include "session/list_services.h"
#include "sources/source.h"
#include "storage/device_service.h"
#include "watch/watch.h"

namespace mrb {

// One open list, from the request until it is disconnected or reopened: its life cycle, and the
// functions for clients. Owned jointly by the table of open lists, the worker that fills it, and
// the threads that work on its items. Each member function says which thread calls it.
class ListSession final : public std::enable_shared_from_this<ListSession>,
                          private WatchObserver,
                          private RemovalObserver {
  public:
    ListSession(const ListServices &services, mrb_agent_handler_h handle, ListCallback callback,
                std::unique_ptr<Source> source, ListOptions options);

    // The worker's main function: waits for begin, fills the list, and posts exactly one of the
    // ready, failed and cancelled events.
    void run() noexcept;

    // Lets the worker begin. Any thread, once.
    void begin() { begin_.count_down(); }

    // Makes the source stop soon; the cancelled event follows unless the list had ended before.
    // Cancels the reading of files for groups. Any thread.
    void cancel() {
        filling_.cancel();
        grouping_.cancel();
    }

    // Makes the source stop soon, and returns when no callback of this list is running or will
    // run, except one that calls this. Any thread.
    void close();

    [[nodiscard]] List &list() { return *list_; }
    [[nodiscard]] const List &list() const { return *list_; }

    // Locations, source and metadata of the items. Any thread.
    [[nodiscard]] const ItemResolver &items() const { return items_; }
    [[nodiscard]] const Source &source() const { return items_.source(); }
    [[nodiscard]] MediaLibrary &library() const { return services_.library; }

    // Sets the layout of the view, and reads the files' metadata when it is grouped by them;
    // returns a code of mrb/result.h. Any thread.
    int setStyle(const PageStyle &style);

    // The description of an entry as JSON text; no value: no such index. Any thread.
    [[nodiscard]] std::optional<std::string> describe(std::int32_t index) const;

    // Whether an entry's file still exists; returns a code of mrb/result.h. Any thread.
    [[nodiscard]] int checkAvailable(const ListEntry &entry) const;

    // The entry under the cursor; no value: the view is empty. Any thread.
    [[nodiscard]] std::optional<ListEntry> current() const { return list_->cursor().current(); }

    // The page of the item with that media id; no value: not in the view. Any thread.
    [[nodiscard]] std::optional<std::int32_t> pageOf(const std::string &mediaId) const;

  private:
    // WatchObserver, on the watch thread.
    [[nodiscard]] bool shows(std::uint8_t type) const override { return list_->wants(type); }
    [[nodiscard]] std::optional<ItemInfo> listed(std::int32_t folder, std::string_view name) const override;
    void sourceChanged() override;
    void sourceRemoved() override;

    // RemovalObserver, on the devices' thread.
    void deviceRemoved() override { sourceRemoved(); }

    void fill();
    void startWatching(std::unique_ptr<Watch> watch) noexcept;
    void stopWatching();
    void readGroups() noexcept;

    const ListServices services_;
    const mrb_agent_handler_h handle_;
    const std::shared_ptr<List> list_;
    const std::shared_ptr<ListEvents> events_;
    ItemResolver items_;

    std::latch begin_{1};
    std::atomic<bool> closed_ = false;
    CancellationSource filling_;
    std::atomic<bool> removed_ = false; // the source does not exist any more
    GroupingTask grouping_;
};

} // namespace mrb
