#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <string>

#include "base/mutex.h"
#include "base/result.h"
#include "base/thread_group.h"
#include "events/event_thread.h"
#include "share/share.h"

namespace mrb {

class ListSession;

// The parameters of a share, from a share parameter object. See mrb/share.h.
struct ShareRequest {
    int sourceDeviceType = 0;
    int destinationDeviceType = 0;
    std::string destinationPath;
    std::string dlnaDeviceId;
    std::string dlnaServiceProvider;
    bool lock = false;
};

// All running shares of the process by their handles, and the items that are locked. Owned by the
// SessionManager; any thread may call it.
class Shares {
  public:
    // Far above the handles of lists, so that a list's handle is never a share's.
    static constexpr mrb_share_handler_h FIRST_HANDLE = 1 << 30;

    explicit Shares(EventThread &events) : events_(events) {}

    // Starts a share of the list's selection; the first event is delivered after *handle was
    // written. Returns a code of mrb/result.h.
    int start(int type, const ShareRequest &request, const std::shared_ptr<ListSession> &list,
              ShareCallback callback, mrb_share_handler_h *handle);

    int stop(mrb_share_handler_h handle);

    // Stops all shares; no more can be started.
    void shutDown();
    // Waits for their threads; those still busy at the deadline are detached: false.
    bool finish(std::chrono::steady_clock::time_point deadline) { return threads_.finish(deadline); }

  private:
    static Status makeJob(int type, const ShareRequest &request, const std::shared_ptr<ListSession> &list,
                          std::unique_ptr<Job> &job);
    std::shared_ptr<Share> add(ShareCallback callback, std::unique_ptr<Job> job, mrb_share_handler_h &handle);
    void remove(mrb_share_handler_h handle) MRB_EXCLUDES(lock_);

    EventThread &events_;
    ThreadGroup threads_{"mrb-share", "A device or server of its share does not answer."};

    Mutex lock_;
    std::map<mrb_share_handler_h, std::shared_ptr<Share>> shares_ MRB_GUARDED_BY(lock_);
    mrb_share_handler_h nextHandle_ MRB_GUARDED_BY(lock_) = FIRST_HANDLE;
    bool down_ MRB_GUARDED_BY(lock_) = false;
};

} // namespace mrb
