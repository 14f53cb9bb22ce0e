#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

namespace mrb {

// A client's call waits at most this long for what another thread reads or writes.
inline constexpr std::chrono::milliseconds CLIENT_TIMEOUT{90};

// Waits until `isDone` returns true for a request that another thread processes; that thread
// notifies `change`. `busySince` is when the thread began its current request, which may be an
// earlier one. While it has no value, the timeout is a second, since a busy machine may be slow
// to schedule the thread; a thread that has been busy for `timeout` is not waited for, so that
// of many calls while a device hangs only the first one waits. Returns the last result of
// `isDone`. The caller holds the lock that guards all of them.
template <typename IsDone>
bool waitBriefly(std::unique_lock<std::mutex> &guard, std::condition_variable &change,
                 const std::optional<std::chrono::steady_clock::time_point> &busySince,
                 std::chrono::milliseconds timeout, IsDone &&isDone) {
    using std::chrono::steady_clock;
    constexpr std::chrono::milliseconds TO_BEGIN{1000};
    const auto last = steady_clock::now() + std::max(TO_BEGIN, timeout);
    while (!isDone()) {
        const auto now = steady_clock::now();
        const auto end = std::min(last, busySince.value_or(now) + timeout);
        if (end <= now) {
            return false;
        }
        change.wait_until(guard, end);
    }
    return true;
}

} // namespace mrb
