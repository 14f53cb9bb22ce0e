#include "events/event_thread.h"

#include <utility>

#include "base/log.h"

namespace mrb {

EventThread::~EventThread() { finish(Time::max()); }

void EventThread::start() {
    const MutexLock guard(lock_);
    if (!finishing_) {
        thread_.start([this] { run(); });
    }
}

void EventThread::post(std::shared_ptr<EventTarget> target, std::function<void()> deliver) {
    const MutexLock guard(lock_);
    if (!finishing_ && !target->withdrawn_) {
        queue_.push_back({std::move(target), std::move(deliver)});
        wake_.notifyOne();
    }
}

bool EventThread::withdraw(EventTarget &target, Time deadline) {
    {
        const MutexLock guard(lock_);
        target.withdrawn_ = true;
    }
    return awaitEnd(drop(target), deadline);
}

EventThread::Delivery EventThread::deliveryTo(const EventTarget &target) {
    const MutexLock guard(lock_);
    return runningTo(target);
}

EventThread::Delivery EventThread::drop(const EventTarget &target) {
    const MutexLock guard(lock_);
    std::erase_if(queue_, [&target](const Event &event) { return event.target.get() == &target; });
    return runningTo(target);
}

EventThread::Delivery EventThread::runningTo(const EventTarget &target) const {
    return running_ == &target ? deliveries_ : 0;
}

bool EventThread::awaitEnd(Delivery delivery, Time deadline) {
    if (delivery == 0 || thread_.isCurrent()) {
        return true;
    }
    MutexLock guard(lock_);
    while (running_ != nullptr && deliveries_ == delivery && idle_.waitUntil(lock_, deadline)) {
    }
    if (running_ == nullptr || deliveries_ != delivery) {
        return true;
    }
    guard.unlock();
    MRB_LOG_WARNING("A callback that is being replaced or removed has not returned by the deadline.");
    return false;
}

bool EventThread::finish(Time deadline) {
    std::deque<Event> dropped; // outlives the lock: a target may end with it
    {
        const MutexLock guard(lock_);
        finishing_ = true;
        dropped.swap(queue_);
        wake_.notifyOne();
    }
    return thread_.finish(deadline);
}

void EventThread::run() {
    MutexLock guard(lock_);
    while (true) {
        while (!finishing_ && queue_.empty()) {
            wake_.wait(lock_);
        }
        if (finishing_) {
            return;
        }
        Event event = std::move(queue_.front());
        queue_.pop_front();
        running_ = event.target.get();
        ++deliveries_;
        guard.unlock();
        event.deliver();
        event.deliver = nullptr; // with what it owns
        event.target = nullptr;  // which may destroy it, and that takes time
        guard.lock();
        running_ = nullptr;
        idle_.notifyAll();
    }
}

} // namespace mrb
