#include "line_lock.h"

#include <pthread.h>

namespace systemlog {
namespace {

// A plain mutex has no destructor to run: lines are still written while the
// process's static objects are being destroyed.
pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;

void lock() { pthread_mutex_lock(&mutex); }
void unlock() { pthread_mutex_unlock(&mutex); }

// A fork in the middle of another thread's line would leave the child with a lock
// that no thread of it releases.
const int atForkResult = pthread_atfork(lock, unlock, unlock);

} // namespace

LineLock::LineLock() noexcept { lock(); }
LineLock::~LineLock() { unlock(); }

} // namespace systemlog
