#include "base/process_exit.h"

#include <unistd.h>

#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>

#include "base/loading.h"
#include "base/log.h"
#include "base/on_demand.h"
#include "base/threads.h"

namespace mrb {
namespace {

using std::chrono::steady_clock;

struct Exit {
    std::mutex lock; // guards what follows
    std::condition_variable change;
    std::optional<steady_clock::time_point> began;
    unsigned waiting = 0; // calls that are still to come
    bool leftBehind = false;
    bool isOver = false; // all were called, and no thread was detached
};

Exit &theExit() {
    static OnDemand<Exit> state; // which the watchdog uses to the last
    return state.get();
}

// The body of the watchdog thread.
void endInTime(steady_clock::time_point deadline, int status) {
    Exit &state = theExit();
    std::unique_lock guard(state.lock);
    if (!state.change.wait_until(guard, deadline, [&] { return state.isOver; })) {
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
    const std::lock_guard guard(state.lock);
    if (!state.began) {
        state.began = steady_clock::now();
        startWatchdog(*state.began + EXIT_LIMIT, status);
    }
    return *state.began + EXIT_GRACE;
}

void end(bool isFinished, steady_clock::time_point deadline) {
    Exit &state = theExit();
    std::unique_lock guard(state.lock);
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
        state.change.notify_all();
    }
}

} // namespace

void finishAtExit(FinishAtExit &finish) {
    {
        const std::lock_guard guard(theExit().lock);
        ++theExit().waiting;
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
