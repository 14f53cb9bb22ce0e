#include "base/timed_calls.h"

#include <condition_variable>
#include <mutex>
#include <set>
#include <utility>

#include "base/threads.h"

namespace mrb {

struct TimedCalls::State {
    std::mutex lock; // guards what follows, and what calls share with their callers
    std::condition_variable change;
    std::set<std::string> late; // names of calls that have not returned in time
};

TimedCalls::TimedCalls() : state_(std::make_shared<State>()) {}

bool TimedCalls::run(const std::string &name, std::function<void()> call,
                     std::chrono::steady_clock::time_point deadline) {
    struct Progress {
        bool hasReturned = false;
        bool isLate = false;
    };
    const auto progress = std::make_shared<Progress>();
    std::unique_lock guard(state_->lock);
    if (state_->late.size() >= MAX_LATE || state_->late.contains(name)) {
        return false;
    }
    startThread("mrb-timed", [state = state_, progress, name, call = std::move(call)]() mutable {
        call();
        call = nullptr; // on this thread as well: what it owns may take as long to be closed
        const std::lock_guard done(state->lock);
        progress->hasReturned = true;
        if (progress->isLate) {
            state->late.erase(name);
        }
        state->change.notify_all();
    }).detach();
    state_->change.wait_until(guard, deadline, [&progress] { return progress->hasReturned; });
    if (!progress->hasReturned) {
        progress->isLate = true;
        state_->late.insert(name);
    }
    return progress->hasReturned;
}

} // namespace mrb
