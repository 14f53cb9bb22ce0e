#include "base/joinable_thread.h"

#include <thread>
#include <utility>

#include "base/mutex.h"
#include "base/threads.h"

namespace mrb {

struct JoinableThread::State {
    Mutex lock;
    ConditionVariable change;
    std::thread thread MRB_GUARDED_BY(lock); // joinable until it is joined or detached
    std::thread::id id MRB_GUARDED_BY(lock); // no thread's: it was not started
    bool hasEnded MRB_GUARDED_BY(lock) = false;

    // Waits until the thread has ended; false: at the deadline it has not.
    bool awaitEnd(std::chrono::steady_clock::time_point deadline) MRB_REQUIRES(lock) {
        while (!hasEnded && change.waitUntil(lock, deadline)) {
        }
        return hasEnded;
    }
};

JoinableThread::JoinableThread(const char *name, const char *blocker)
    : name_(name), blocker_(blocker), state_(std::make_shared<State>()) {}

JoinableThread::~JoinableThread() { finish(std::chrono::steady_clock::time_point::max()); }

void JoinableThread::start(std::function<void()> work) {
    const MutexLock guard(state_->lock);
    if (state_->id != std::thread::id()) {
        return;
    }
    state_->thread = startThread(name_, [state = state_, work = std::move(work)]() mutable {
        work();
        work = nullptr; // with what it owns
        const MutexLock end(state->lock);
        state->hasEnded = true;
        state->change.notifyAll();
    });
    state_->id = state_->thread.get_id();
}

bool JoinableThread::isStarted() const {
    const MutexLock guard(state_->lock);
    return state_->id != std::thread::id();
}

bool JoinableThread::isCurrent() const {
    const MutexLock guard(state_->lock);
    return state_->id == std::this_thread::get_id();
}

bool JoinableThread::finish(std::chrono::steady_clock::time_point deadline) {
    MutexLock guard(state_->lock);
    if (state_->id == std::thread::id()) {
        return true;
    }
    const bool isInside = state_->id == std::this_thread::get_id();
    const bool hasEnded = !isInside && state_->awaitEnd(deadline);
    std::thread thread = std::move(state_->thread);
    guard.unlock();
    if (!thread.joinable()) {
        return isInside || hasEnded; // it was detached before
    }
    if (hasEnded) {
        thread.join();
        return true;
    }
    thread.detach();
    if (!isInside) {
        warnDetached(name_, blocker_);
    }
    return isInside;
}

} // namespace mrb
