#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "base/thread_annotations.h"

namespace mrb {

// The standard's mutex and condition variable, as clang's analysis can check their use: which
// members a mutex guards (MRB_GUARDED_BY), and which functions need it (MRB_REQUIRES). The
// analysis does not look into a lambda for the locks of the function around it, so a wait is a
// loop on its condition.

class MRB_CAPABILITY("mutex") Mutex {
  public:
    Mutex() = default;
    Mutex(const Mutex &) = delete;
    Mutex &operator=(const Mutex &) = delete;

    void lock() MRB_ACQUIRE() { mutex_.lock(); }
    void unlock() MRB_RELEASE() { mutex_.unlock(); }

  private:
    friend class ConditionVariable;

    std::mutex mutex_;
};

// Holds a mutex for its lifetime, except between unlock() and lock().
class MRB_SCOPED_CAPABILITY MutexLock {
  public:
    explicit MutexLock(Mutex &mutex) MRB_ACQUIRE(mutex) : lock_(mutex) {}
    ~MutexLock() MRB_RELEASE() = default;
    MutexLock(const MutexLock &) = delete;
    MutexLock &operator=(const MutexLock &) = delete;

    void lock() MRB_ACQUIRE() { lock_.lock(); }
    void unlock() MRB_RELEASE() { lock_.unlock(); }

  private:
    std::unique_lock<Mutex> lock_;
};

// Releases a mutex that the caller holds for its lifetime: for a function that is called with
// the mutex held, and waits for something else.
class MRB_SCOPED_CAPABILITY MutexUnlock {
  public:
    explicit MutexUnlock(Mutex &mutex) MRB_RELEASE(mutex) : mutex_(mutex) { mutex_.unlock(); }
    ~MutexUnlock() MRB_RELEASE() { mutex_.lock(); } // of the scope: the mutex is taken again
    MutexUnlock(const MutexUnlock &) = delete;
    MutexUnlock &operator=(const MutexUnlock &) = delete;

  private:
    Mutex &mutex_;
};

// Its waits release the mutex, which the caller holds, and take it again; they may return
// without a notification.
class ConditionVariable {
  public:
    void notifyOne() { condition_.notify_one(); }
    void notifyAll() { condition_.notify_all(); }

    void wait(Mutex &mutex) MRB_REQUIRES(mutex) {
        std::unique_lock lock(mutex.mutex_, std::adopt_lock);
        condition_.wait(lock);
        lock.release();
    }

    // False: the deadline has passed.
    bool waitUntil(Mutex &mutex, std::chrono::steady_clock::time_point deadline) MRB_REQUIRES(mutex) {
        std::unique_lock lock(mutex.mutex_, std::adopt_lock);
        const std::cv_status status = condition_.wait_until(lock, deadline);
        lock.release();
        return status == std::cv_status::no_timeout;
    }

  private:
    std::condition_variable condition_;
};

} // namespace mrb
