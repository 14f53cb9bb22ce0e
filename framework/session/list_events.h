#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "events/event_thread.h"
#include "list/list.h"
#include "media/item.h"
#include "mrb/agent.h"
#include "sources/source.h"

namespace mrb {

// The callback of a list.
struct Listener {
    mrb_request_list_cb callback;
    void *userData;
};

// The events of one list on their way to its callback, each with what is to be said of the
// list when it is delivered. Owned jointly by the list's session and the queued events; any
// thread may call it, unless a member function says otherwise.
class ListEvents final : public EventTarget, public std::enable_shared_from_this<ListEvents> {
  public:
    ListEvents(EventThread &thread, mrb_agent_handler_h handle, Listener listener,
               std::shared_ptr<const List> list);

    // So many items there will be, as the source says.
    void setExpectedTotal(std::int64_t items) { expectedTotal_ = items; }
    // Of so many items the files were read for groups.
    void setGrouped(std::int64_t items) { grouped_ = items; }

    // Posts that there are more items, or groups. While such an event waits for a slow
    // callback, it stands for those after it: it reports the newest count.
    void postGrowth();

    // Posts a change or the removal of what the list was read from.
    void post(int event) { thread_.post(shared_from_this(), event); }

    // Posts the one event that says how the list was filled, and returns it. The worker, once.
    int postEnd(FillResult result);

    // Drops what is queued and all that follows, and returns when no callback is running,
    // save one that this is called from.
    void withdraw() { thread_.withdraw(*this); }

  private:
    // EventTarget, on the event thread.
    void deliver(int event) noexcept override;

    [[nodiscard]] std::string serverData(int event) const;

    EventThread &thread_;
    const mrb_agent_handler_h handle_;
    const Listener listener_;
    const std::shared_ptr<const List> list_;

    std::atomic<bool> growthQueued_ = false;
    std::atomic<std::int64_t> expectedTotal_ = UNKNOWN;
    std::atomic<std::int64_t> grouped_ = UNKNOWN;
    FillResult result_; // the worker's alone, until it posts the last event, which reads it
};

} // namespace mrb
