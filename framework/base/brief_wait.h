#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

#include "base/mutex.h"

namespace mrb {

// A client's call waits at most this long for what another thread reads or writes.
inline constexpr std::chrono::milliseconds CLIENT_TIMEOUT{90};

// The wait of one call for a request that another thread processes; that thread notifies a
// condition variable. While it has not begun a request, the timeout is a second, since a busy
// machine may be slow to schedule the thread; a thread that has been busy for `timeout` is not
// waited for, so that of many calls while a device hangs only the first one waits. On the stack
// of the calling thread:
//
//     BriefWait wait(timeout);
//     while (!isDone && wait.next(lock_, change_, busySince_)) {
//     }
class BriefWait {
  public:
    explicit BriefWait(std::chrono::milliseconds timeout)
        : timeout_(timeout), last_(Clock::now() + std::max(TO_BEGIN, timeout)) {}

    // Waits for a notification, or returns without one; false: the call has waited long enough.
    // `busySince` is when the thread began its current request, which may be an earlier one. The
    // mutex guards it and the condition.
    bool next(Mutex &mutex, ConditionVariable &change,
              const std::optional<std::chrono::steady_clock::time_point> &busySince) MRB_REQUIRES(mutex) {
        const auto now = Clock::now();
        const auto end = std::min(last_, busySince.value_or(now) + timeout_);
        if (end <= now) {
            return false;
        }
        change.waitUntil(mutex, end);
        return true;
    }

  private:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds TO_BEGIN{1000};

    const std::chrono::milliseconds timeout_;
    const Clock::time_point last_; // of the whole wait
};

} // namespace mrb
