#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

#include "base/thread_group.h"
#include "events/event_thread.h"
#include "library/media_library.h"
#include "mrb/agent.h"
#include "session/list_session.h"
#include "share/shares.h"
#include "watch/watcher.h"

namespace mrb {

// All open lists of the process under their handles, their shares, and the threads
// that serve them. There is one, made when it is first asked for; any thread may call it.
class Framework {
  public:
    static Framework &instance();

    // Opens a list, or the list *handle anew. On failure a list that was open
    // under *handle stays as it was.
    int open(const ListRequest &request, Listener listener, mrb_agent_handler_h *handle);

    int cancel(mrb_agent_handler_h handle);
    int disconnect(mrb_agent_handler_h handle);

    // Null: the handle names no open list.
    [[nodiscard]] std::shared_ptr<ListSession> find(mrb_agent_handler_h handle);

    [[nodiscard]] Shares &shares() { return shares_; }

    Framework(const Framework &) = delete;
    Framework &operator=(const Framework &) = delete;

  private:
    Framework() = default;
    ~Framework() = default;

    mrb_agent_handler_h reserveHandle();
    void releaseHandle(mrb_agent_handler_h handle);
    static bool finish(std::chrono::steady_clock::time_point deadline);
    bool shutDown(std::chrono::steady_clock::time_point deadline);

    EventThread events_;
    MediaLibrary library_;
    Watcher watcher_;
    ThreadGroup workers_{"mrb-list", "What its list is read from does not answer."};
    const ListServices services_{events_, watcher_, library_, workers_};
    Shares shares_{events_};

    std::mutex lock_; // guards what follows
    // Null under a handle that is being opened for the first time.
    std::map<mrb_agent_handler_h, std::shared_ptr<ListSession>> sessions_;
    mrb_agent_handler_h lastHandle_ = 0;
    bool down_ = false;
};

} // namespace mrb
