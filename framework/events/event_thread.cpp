#include "events/event_thread.h"

#include <utility>

#include "base/log.h"

namespace mrb {

EventThread::~EventThread() { finish(std::chrono::steady_clock::time_point::max()); }

void EventThread::start() {
    const std::lock_guard guard(lock_);
    if (!finishing_) {
        thread_.start([this] { run(); });
    }
}

void EventThread::post(std::shared_ptr<EventTarget> target, std::function<void()> deliver) {
    const std::lock_guard guard(lock_);
    if (!finishing_ && !target->withdrawn_) {
        queue_.push_back({std::move(target), std::move(deliver)});
        wake_.notify_one();
    }
}

bool EventThread::withdraw(EventTarget &target, std::chrono::steady_clock::time_point deadline) {
    std::unique_lock guard(lock_);
    target.withdrawn_ = true;
    std::erase_if(queue_, [&target](const Event &event) { return event.target.get() == &target; });
    if (thread_.isCurrent() ||
        idle_.wait_until(guard, deadline, [this, &target] { return running_ != &target; })) {
        return true;
    }
    guard.unlock();
    MRB_LOG_WARNING("A callback that is being removed has not returned by the deadline.");
    return false;
}

bool EventThread::finish(std::chrono::steady_clock::time_point deadline) {
    std::deque<Event> dropped; // outlives the lock: a target may end with it
    {
        const std::lock_guard guard(lock_);
        finishing_ = true;
        dropped.swap(queue_);
        wake_.notify_one();
    }
    return thread_.finish(deadline);
}

void EventThread::run() {
    std::unique_lock guard(lock_);
    while (true) {
        wake_.wait(guard, [this] { return finishing_ || !queue_.empty(); });
        if (finishing_) {
            return;
        }
        Event event = std::move(queue_.front());
        queue_.pop_front();
        running_ = event.target.get();
        guard.unlock();
        event.deliver();
        event.deliver = nullptr; // with what it owns
        event.target = nullptr;  // which may destroy it, and that takes time
        guard.lock();
        running_ = nullptr;
        idle_.notify_all();
    }
}

} // namespace mrb
