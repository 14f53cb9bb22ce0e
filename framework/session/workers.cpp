#include "session/workers.h"

#include <system_error>
#include <utility>

#include "base/log.h"
#include "base/threads.h"

namespace mrb {

Workers::~Workers() { finish(std::chrono::steady_clock::time_point::max()); }

void Workers::start(std::function<void()> work) {
    {
        const std::lock_guard guard(state_->lock);
        if (state_->finished) {
            throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
        }
        ++state_->busy;
    }
    const auto done = [](State &state) {
        const std::lock_guard guard(state.lock);
        --state.busy;
        state.someDone.notify_all();
    };
    try {
        startThread(name_, [state = state_, done, work = std::move(work)]() mutable {
            work();
            // What the work held is released before it counts as done.
            work = nullptr;
            done(*state);
        }).detach();
    } catch (...) {
        done(*state_);
        throw;
    }
}

bool Workers::finish(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock guard(state_->lock);
    state_->finished = true;
    const bool isFinished =
        state_->someDone.wait_until(guard, deadline, [this] { return state_->busy == 0; });
    const std::size_t busy = state_->busy;
    guard.unlock();
    for (std::size_t left = 0; left < busy; ++left) {
        MRB_LOG_WARNING("A device does not answer; the process ends without waiting for it.");
    }
    return isFinished;
}

} // namespace mrb
