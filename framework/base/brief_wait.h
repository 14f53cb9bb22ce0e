#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

namespace mrb {

// No call of a client waits for longer than this for what another thread reads or writes.
inline constexpr std::chrono::milliseconds CLIENT_PATIENCE{90};

// Waits until `isDone` is true of a piece of work that another thread has been asked for, and
// notifies `change` of. `busySince` says since when that thread has been at its present piece
// of work, which may be an earlier one: so long as it has not begun, a busy machine is given a
// second; once it has been at it for `patience`, nothing is waited for, so that of many calls
// while a device hangs only the first one waits. The answer is that of `isDone`. With the lock
// that guards all of them.
template <typename IsDone>
bool waitBriefly(std::unique_lock<std::mutex> &guard, std::condition_variable &change,
                 const std::optional<std::chrono::steady_clock::time_point> &busySince,
                 std::chrono::milliseconds patience, IsDone &&isDone) {
    using std::chrono::steady_clock;
    constexpr std::chrono::milliseconds TO_BEGIN{1000};
    const auto last = steady_clock::now() + std::max(TO_BEGIN, patience);
    while (!isDone()) {
        const auto now = steady_clock::now();
        const auto end = std::min(last, busySince.value_or(now) + patience);
        if (end <= now) {
            return false;
        }
        change.wait_until(guard, end);
    }
    return true;
}

} // namespace mrb
