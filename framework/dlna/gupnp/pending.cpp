#include "dlna/gupnp/pending.h"

#include <algorithm>
#include <utility>

namespace mrb::dlna {

void Pending::finish(Reply reply) {
    const MutexLock guard(lock_);
    reply_ = std::move(reply);
    finished_.notifyAll();
}

bool Pending::isFinished() const {
    const MutexLock guard(lock_);
    return reply_.has_value();
}

Reply Pending::await(std::chrono::milliseconds timeout, const CancellationToken &cancellation) {
    using std::chrono::steady_clock;
    // A cancellation does not notify this condition variable, so it is polled.
    constexpr auto POLL_INTERVAL = std::chrono::milliseconds(15);
    const auto deadline = steady_clock::now() + timeout;
    const MutexLock guard(lock_);
    while (!reply_) {
        if (cancellation.isCancelled()) {
            return {Status::cancelled(), 0, {}};
        }
        const auto now = steady_clock::now();
        if (now >= deadline) {
            return {Status::timedOut("The server did not answer in time."), 0, {}};
        }
        finished_.waitUntil(lock_, std::min<steady_clock::time_point>(deadline, now + POLL_INTERVAL));
    }
    return *std::move(reply_);
}

} // namespace mrb::dlna
