#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "base/cancellation.h"
#include "base/mutex.h"
#include "base/result.h"

namespace mrb::dlna {

// The response to a request, or the error.
struct Reply {
    Status status;
    unsigned httpStatus = 0; // the HTTP status code
    std::string body;
};

// A reply that a thread waits for. Shared by that thread and the network's thread.
class Pending {
  public:
    // Called by the network's thread, once.
    void finish(Reply reply);

    // Whether there is a reply.
    [[nodiscard]] bool isFinished() const;

    // Returns the reply, or MRB_ERR_TIMEOUT at the timeout, or MRB_ERR_CANCELLED soon after a
    // cancellation. One thread, once.
    Reply await(std::chrono::milliseconds timeout, const CancellationToken &cancellation);

  private:
    mutable Mutex lock_;
    ConditionVariable finished_;
    std::optional<Reply> reply_ MRB_GUARDED_BY(lock_);
};

} // namespace mrb::dlna
