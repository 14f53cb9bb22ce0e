#include "events/event_thread.h"

#include <utility>

#include "base/log.h"
#include "base/threads.h"

namespace mrb {

EventThread::~EventThread() { finish(std::chrono::steady_clock::time_point::max()); }

void EventThread::start() {
    const std::lock_guard guard(lock_);
    if (!thread_.joinable() && !finishing_) {
        thread_ = startThread(name_, [this] { run(); });
        id_ = thread_.get_id();
    }
}

void EventThread::post(std::shared_ptr<EventTarget> target, int event) {
    const std::lock_guard guard(lock_);
    if (!finishing_ && !target->withdrawn_) {
        queue_.push_back({std::move(target), event});
        wake_.notify_one();
    }
}

bool EventThread::withdraw(EventTarget &target, std::chrono::steady_clock::time_point deadline) {
    std::unique_lock guard(lock_);
    target.withdrawn_ = true;
    std::erase_if(queue_, [&target](const Event &event) { return event.target.get() == &target; });
    if (std::this_thread::get_id() == id_ ||
        idle_.wait_until(guard, deadline, [this, &target] { return running_ != &target; })) {
        return true;
    }
    guard.unlock();
    MRB_LOG_WARNING("A callback that was removed does not return; it is not waited for any longer.");
    return false;
}

bool EventThread::isOwnThread() {
    const std::lock_guard guard(lock_);
    return std::this_thread::get_id() == id_;
}

bool EventThread::finish(std::chrono::steady_clock::time_point deadline) {
    std::deque<Event> dropped; // outlives the lock: a target may end with it
    std::unique_lock guard(lock_);
    finishing_ = true;
    dropped.swap(queue_);
    wake_.notify_one();
    if (!thread_.joinable()) {
        return id_ == std::thread::id() || ended_;
    }
    std::thread thread = std::move(thread_);
    const bool inside = std::this_thread::get_id() == id_;
    const bool ended = !inside && idle_.wait_until(guard, deadline, [this] { return ended_; });
    guard.unlock();
    if (ended) {
        thread.join();
        return true;
    }
    thread.detach();
    if (!inside) {
        MRB_LOG_WARNING("A callback did not return in time; the process ends without it.");
    }
    return inside;
}

void EventThread::run() {
    std::unique_lock guard(lock_);
    while (true) {
        wake_.wait(guard, [this] { return finishing_ || !queue_.empty(); });
        if (finishing_) {
            break;
        }
        Event event = std::move(queue_.front());
        queue_.pop_front();
        running_ = event.target.get();
        guard.unlock();
        event.target->deliver(event.event);
        event.target = nullptr; // which may be its end, and takes its time
        guard.lock();
        running_ = nullptr;
        idle_.notify_all();
    }
    ended_ = true;
    idle_.notify_all();
}

} // namespace mrb
