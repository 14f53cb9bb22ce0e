#include "log.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace MRBBridge {
namespace {

thread_local int thread_id = 0; ///< 0: not read yet

/// The thread that calls fork() has another id in the child.
const int registered = pthread_atfork(nullptr, nullptr, [] { thread_id = 0; });

} // namespace

int ThreadId() {
    if (thread_id == 0) {
        static_cast<void>(registered);
        thread_id = static_cast<int>(syscall(SYS_gettid));
    }
    return thread_id;
}

} // namespace MRBBridge
