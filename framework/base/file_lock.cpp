#include "base/file_lock.h"

#include <sys/file.h>

#include <cerrno>
#include <thread>

namespace mrb {

int lockFile(int descriptor, std::chrono::steady_clock::time_point deadline,
             std::chrono::milliseconds interval) {
    while (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            return errno;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return EWOULDBLOCK;
        }
        std::this_thread::sleep_for(interval);
    }
    return 0;
}

void unlockFile(int descriptor) { flock(descriptor, LOCK_UN); }

} // namespace mrb
