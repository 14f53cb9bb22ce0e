#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>

#include "base/joinable_thread.h"
#include "base/mutex.h"

namespace mrb {

// What events belong to: they are dropped together, and it stays alive until the last of them is
// delivered or dropped.
class EventTarget {
  public:
    EventTarget() = default;
    virtual ~EventTarget() = default;
    EventTarget(const EventTarget &) = delete;
    EventTarget &operator=(const EventTarget &) = delete;

  private:
    friend class EventThread;
    bool withdrawn_ = false; // guarded by the EventThread's lock
};

// A call that removes a callback waits this long for one that is running: the caller may be the
// application's main thread, and the callback may never return.
inline constexpr auto CALLBACK_LIMIT = std::chrono::seconds(2);

// A thread that calls clients back, with its event queue. The SessionManager owns one for
// its lists, the DlnaService one for its own; any thread may call it, the event thread
// included.
class EventThread {
  public:
    using Clock = std::chrono::steady_clock;
    using Time = Clock::time_point;

    // `name` is the thread's, as startThread takes it.
    explicit EventThread(const char *name = "mrb-events") : thread_(name, "A callback does not return.") {}
    ~EventThread();
    EventThread(const EventThread &) = delete;
    EventThread &operator=(const EventThread &) = delete;

    // Makes sure that the thread runs. Throws std::system_error when it cannot.
    void start();

    // Queues an event: `deliver` is called on the thread, after those that were posted before, and
    // does not throw. It may refer to its target. Events of a withdrawn target are dropped.
    void post(std::shared_ptr<EventTarget> target, std::function<void()> deliver);

    // Ends the target's events permanently: drops the queued ones and returns when none
    // is being delivered, or at once when called from inside that delivery. False: one
    // is still being delivered at the deadline.
    bool withdraw(EventTarget &target, Time deadline = Clock::now() + CALLBACK_LIMIT);

    // One call of an event's function, of all that the thread makes; 0: none.
    using Delivery = unsigned long long;

    // The target's delivery that is under way.
    [[nodiscard]] Delivery deliveryTo(const EventTarget &target);
    // Drops the target's queued events, but no later ones, and returns deliveryTo() of that moment.
    Delivery drop(const EventTarget &target) MRB_EXCLUDES(lock_);
    // Returns when the delivery has ended, or at once when called from inside it. False: it has
    // not by the deadline.
    bool awaitEnd(Delivery delivery, Time deadline = Clock::now() + CALLBACK_LIMIT) MRB_EXCLUDES(lock_);

    // Whether the caller runs on this event thread.
    [[nodiscard]] bool isOwnThread() const { return thread_.isCurrent(); }

    // Ends the thread, dropping what is queued. A thread whose delivery does not return
    // by the deadline is detached: false. Afterwards every post is dropped.
    bool finish(Time deadline);

  private:
    struct Event {
        std::shared_ptr<EventTarget> target;
        std::function<void()> deliver;
    };

    void run() MRB_EXCLUDES(lock_);
    Delivery runningTo(const EventTarget &target) const MRB_REQUIRES(lock_);

    Mutex lock_; // also guards what the targets say it does
    ConditionVariable wake_;
    ConditionVariable idle_;
    std::deque<Event> queue_ MRB_GUARDED_BY(lock_);
    const EventTarget *running_ MRB_GUARDED_BY(lock_) = nullptr;
    // Number of those begun, and the latest one.
    Delivery deliveries_ MRB_GUARDED_BY(lock_) = 0;
    bool finishing_ MRB_GUARDED_BY(lock_) = false;

    JoinableThread thread_;
};

} // namespace mrb
