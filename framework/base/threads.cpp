#include "base/threads.h"

#include <pthread.h>

#include <csignal>
#include <utility>

#include "base/log.h"

namespace mrb {
namespace {

// Blocks the process's signals while it lives; a thread that is started then inherits the mask.
class BlockedSignals {
  public:
    BlockedSignals() {
        sigset_t blocked;
        sigfillset(&blocked);
        // The thread's own faults must still reach a crash handler.
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS, SIGPROF}) {
            sigdelset(&blocked, fault);
        }
        pthread_sigmask(SIG_SETMASK, &blocked, &before_);
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    BlockedSignals(const BlockedSignals &) = delete;
    BlockedSignals &operator=(const BlockedSignals &) = delete;

  private:
    sigset_t before_{};
};

} // namespace

std::thread startThread(const char *name, std::function<void()> work) {
    const BlockedSignals blocked;
    std::thread thread(std::move(work));
    // Set by the caller, so that the thread is listed under its name as soon as this returns.
    pthread_setname_np(thread.native_handle(), name);
    return thread;
}

void warnDetached(const char *name, const char *blocker) {
    MRB_LOG_WARNING("%s still blocked: detached at exit. %s", name, blocker);
}

} // namespace mrb
