#include "base/process_exit.h"

#include <unistd.h>

#include <cstdlib>
#include <new>
#include <optional>
#include <system_error>

#include "base/loading.h"
#include "base/log.h"
#include "base/mutex.h"
#include "base/on_demand.h"
#include "base/threads.h"

namespace mrb {
namespace {

using std::chrono::steady_clock;

struct Exit {
    Mutex lock;
    ConditionVariable change;
    std::optional<steady_clock::time_point> began MRB_GUARDED_BY(lock);
    unsigned waiting MRB_GUARDED_BY(lock) = 0; // calls that are still to come
    bool leftBehind MRB_GUARDED_BY(lock) = false;
    bool isOver MRB_GUARDED_BY(lock) = false; // all were called, and no thread was detached
};

Exit &theExit() {
    static OnDemand<Exit> state; // which the watchdog uses to the last
    return state.get();
}

// The body of the watchdog thread.
void endInTime(steady_clock::time_point deadline, int status) {
    Exit &state = theExit();
    const MutexLock guard(state.lock);
    while (!state.isOver && state.change.waitUntil(state.lock, deadline)) {
    }
    if (!state.isOver) {
        _exit(status);
    }
}

void startWatchdog(steady_clock::time_point deadline, int status) {
    try {
        startThread("mrb-exit", [deadline, status] { endInTime(deadline, status); }).detach();
    } catch (const std::system_error &) {
        alarm(2); // No room for a thread: a signal ends the process.
    }
}

steady_clock::time_point begin(int status) {
    Exit &state = theExit();
    const MutexLock guard(state.lock);
    if (!state.began) {
        state.began = steady_clock::now();
        startWatchdog(*state.began + EXIT_LIMIT, status);
    }
    return *state.began + EXIT_GRACE;
}

void end(bool isFinished, steady_clock::time_point deadline) {
    Exit &state = theExit();
    MutexLock guard(state.lock);
    state.leftBehind = state.leftBehind || !isFinished;
    if (--state.waiting > 0 || state.leftBehind) {
        return;
    }
    guard.unlock();
    const bool isLoading = !LoadingLock::instance().isFreeBy(deadline);
    guard.lock();
    state.isOver = !isLoading;
    if (state.isOver) {
        alarm(0);
        state.change.notifyAll();
    }
}

} // namespace

void finishAtExit(FinishAtExit &finish) {
    {
        Exit &state = theExit();
        const MutexLock guard(state.lock);
        ++state.waiting;
    }
    // on_exit, unlike atexit, passes the status. The library is never unloaded, so `call` stays valid.
    const auto call = [](int status, void *function) {
        const auto deadline = begin(status);
        end(reinterpret_cast<FinishAtExit *>(function)(deadline), deadline);
    };
    if (on_exit(call, reinterpret_cast<void *>(&finish)) != 0) {
        throw std::bad_alloc();
    }
}

} // namespace mrb
