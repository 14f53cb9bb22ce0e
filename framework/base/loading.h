#pragma once

#include <chrono>
#include <thread>

#include "base/mutex.h"

namespace mrb {

// Held by the thread that loads libraries, or that starts one which loads others by itself.
// Recursive. Any thread may call it.
//
// The dynamic loader runs initialisers of libraries with its own lock held, and some of these
// wait for another library's lock (libsoup's for GModule's); other threads hold that one while
// they wait for the loader (vips_init): a deadlock. So each such call is made in a LoadingTurn,
// and a turn waits for no lock that other threads need. Nor does a turn send requests to a
// device or to the network: a call of the application may wait for its turn.
class LoadingLock {
  public:
    void lock();
    void unlock();

    // Waits until no thread loads; false: at the deadline a thread still does.
    bool isFreeBy(std::chrono::steady_clock::time_point deadline);

    // The lock of the process. Every module uses the lock of the library that loaded it.
    static LoadingLock &instance();
    static void share(LoadingLock &shared);

  private:
    Mutex lock_;
    ConditionVariable released_;
    std::thread::id owner_ MRB_GUARDED_BY(lock_);
    unsigned depth_ MRB_GUARDED_BY(lock_) = 0; // turns that the owner holds; 0: no owner
};

// Holds the lock for its lifetime.
class LoadingTurn {
  public:
    LoadingTurn() { LoadingLock::instance().lock(); }
    ~LoadingTurn() { LoadingLock::instance().unlock(); }
    LoadingTurn(const LoadingTurn &) = delete;
    LoadingTurn &operator=(const LoadingTurn &) = delete;
};

// Exported by every module; called after the module was loaded.
using ShareLoading = void(LoadingLock &shared);
extern "C" [[gnu::visibility("default")]] ShareLoading mrb_share_loading;
inline constexpr const char *SHARE_LOADING_SYMBOL = "mrb_share_loading";

} // namespace mrb
