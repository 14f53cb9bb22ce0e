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
struct ListCallback {
    mrb_request_list_cb function;
    void *userData;
};

// The events of one list, each with the list's status at the time of its delivery. Owned jointly
// by the list's session and the queued events; any thread may call it, unless a member function
// says otherwise.
class ListEvents final : public EventTarget, public std::enable_shared_from_this<ListEvents> {
  public:
    ListEvents(EventThread &thread, mrb_agent_handler_h handle, ListCallback callback,
               std::shared_ptr<const List> list);

    // Sets the number of items that the source expects.
    void setExpectedTotal(std::int64_t items) { expectedTotal_ = items; }
    // Sets the number of items whose files were read for groups.
    void setGrouped(std::int64_t items) { grouped_ = items; }

    // Posts that there are more items, or groups. At most one such event is queued: it reports
    // the latest count.
    void postGrowth();

    // Posts a change of the source, or its removal.
    void post(int event) {
        thread_.post(shared_from_this(), [this, event] { deliver(event); });
    }

    // Posts the one event that reports the result of filling the list, and returns it. The
    // worker, once.
    int postEnd(FillResult result);

    // Drops queued and later events, and returns when no callback is running, except one that
    // calls this.
    void withdraw() { thread_.withdraw(*this); }

  private:
    // On the event thread:
    void deliver(int event) noexcept;
    [[nodiscard]] std::string serverData(int event) const;

    EventThread &thread_;
    const mrb_agent_handler_h handle_;
    const ListCallback callback_;
    const std::shared_ptr<const List> list_;

    std::atomic<bool> growthQueued_ = false;
    std::atomic<std::int64_t> expectedTotal_ = UNKNOWN;
    std::atomic<std::int64_t> grouped_ = UNKNOWN;
    FillResult result_; // used by the worker only, until it posts the last event, which reads it
};

} // namespace mrb
