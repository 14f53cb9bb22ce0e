#include "base/timed_calls.h"

#include <set>
#include <utility>

#include "base/mutex.h"
#include "base/threads.h"

namespace mrb {

struct TimedCalls::State {
    Mutex lock; // also guards what calls share with their callers
    ConditionVariable change;
    std::set<std::string> late MRB_GUARDED_BY(lock); // names of calls that have not returned in time
};

TimedCalls::TimedCalls() : state_(std::make_shared<State>()) {}

bool TimedCalls::run(const std::string &name, std::function<void()> call,
                     std::chrono::steady_clock::time_point deadline) {
    struct Progress {
        bool hasReturned = false;
        bool isLate = false;
    };
    const auto progress = std::make_shared<Progress>();
    const MutexLock guard(state_->lock);
    if (state_->late.size() >= MAX_LATE || state_->late.contains(name)) {
        return false;
    }
    startThread("mrb-timed", [state = state_, progress, name, call = std::move(call)]() mutable {
        call();
        call = nullptr; // on this thread as well: what it owns may take as long to be closed
        const MutexLock done(state->lock);
        progress->hasReturned = true;
        if (progress->isLate) {
            state->late.erase(name);
        }
        state->change.notifyAll();
    }).detach();
    while (!progress->hasReturned && state_->change.waitUntil(state_->lock, deadline)) {
    }
    if (!progress->hasReturned) {
        progress->isLate = true;
        state_->late.insert(name);
    }
    return progress->hasReturned;
}

} // namespace mrb
