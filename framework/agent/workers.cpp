#include "agent/workers.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "base/log.h"
#include "base/threads.h"

namespace mrb {

Workers::~Workers() { finish(std::chrono::steady_clock::time_point::max()); }

void Workers::start(std::function<void()> work) {
    const std::lock_guard guard(lock_);
    joinDone();
    if (finished_) {
        throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
    }
    const auto &worker = workers_.emplace_back(std::make_shared<Worker>());
    try {
        worker->thread = startThread(name_, [this, worker, work = std::move(work)]() mutable {
            work();
            // What the work held is released before it counts as done.
            work = nullptr;
            const std::lock_guard inner(lock_);
            worker->done = true;
            someDone_.notify_all();
        });
    } catch (...) {
        workers_.pop_back();
        throw;
    }
}

void Workers::finish(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock guard(lock_);
    finished_ = true;
    someDone_.wait_until(guard, deadline, [this] {
        return std::ranges::all_of(workers_, [](const auto &worker) { return worker->done; });
    });
    joinDone();
    for (const auto &worker : workers_) {
        MRB_LOG_WARNING("A device does not answer; the process ends without waiting for it.");
        worker->thread.detach();
    }
    workers_.clear();
}

void Workers::joinDone() {
    std::erase_if(workers_, [](const auto &worker) {
        if (worker->done) {
            // Its last act is to leave the lock that we hold, so this takes no time.
            worker->thread.join();
        }
        return worker->done;
    });
}

} // namespace mrb
