#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>

#include "base/mutex.h"
#include "base/thread_group.h"
#include "events/event_thread.h"
#include "library/media_library.h"
#include "mrb/agent.h"
#include "session/list_session.h"
#include "share/shares.h"
#include "watch/watch_thread.h"

namespace mrb {

// All open lists of the process by their handles, their shares, and the threads that serve them.
// There is one, created on first use; any thread may call it.
class SessionManager {
  public:
    static SessionManager &instance();

    // Opens a list, or reopens the list *handle. On failure a list that was open under *handle
    // stays as it was.
    int open(const ListRequest &request, ListCallback callback, mrb_agent_handler_h *handle);

    int cancel(mrb_agent_handler_h handle);
    int disconnect(mrb_agent_handler_h handle);

    // Null: the handle is not one of an open list.
    [[nodiscard]] std::shared_ptr<ListSession> find(mrb_agent_handler_h handle) MRB_EXCLUDES(lock_);

    [[nodiscard]] Shares &shares() { return shares_; }

    SessionManager(const SessionManager &) = delete;
    SessionManager &operator=(const SessionManager &) = delete;

  private:
    SessionManager() = default;
    ~SessionManager() = default;

    mrb_agent_handler_h reserveHandle() MRB_EXCLUDES(lock_);
    void releaseHandle(mrb_agent_handler_h handle) MRB_EXCLUDES(lock_);
    static bool finish(std::chrono::steady_clock::time_point deadline);
    bool shutDown(std::chrono::steady_clock::time_point deadline);

    EventThread events_;
    MediaLibrary library_;
    WatchThread watchThread_;
    ThreadGroup threads_{"mrb-list", "The source of a list does not respond."};
    const ListServices services_{events_, watchThread_, library_, threads_};
    Shares shares_{events_};

    Mutex lock_;
    // Null for a handle whose list is being opened for the first time.
    std::map<mrb_agent_handler_h, std::shared_ptr<ListSession>> sessions_ MRB_GUARDED_BY(lock_);
    mrb_agent_handler_h lastHandle_ MRB_GUARDED_BY(lock_) = 0;
    bool down_ MRB_GUARDED_BY(lock_) = false;
};

} // namespace mrb
