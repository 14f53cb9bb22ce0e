#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace mrb {

// Held by the one thread that loads libraries, or starts one that loads others by itself. Any
// thread may call it; the thread that holds it may take it again.
//
// The dynamic loader runs initialisers of libraries with its own lock held, and some of these
// wait for another library's lock (libsoup's for GModule's); other threads hold that one while
// they wait for the loader (vips_init). Whichever began first, neither would go on. So each
// such call stands in a LoadingTurn, and no lock that others need is waited for in one. Nothing
// is asked of a device or of the network in one either: a call of the application may wait
// for its turn.
class LoadingLock {
  public:
    void lock();
    void unlock();

    // Waits until no thread loads; false: at the deadline a thread still does.
    bool isFreeBy(std::chrono::steady_clock::time_point deadline);

    // The process's. Every module uses that of the library that loaded it.
    static LoadingLock &instance();
    static void share(LoadingLock &shared);

  private:
    std::mutex lock_; // guards what follows
    std::condition_variable released_;
    std::thread::id owner_;
    unsigned depth_ = 0; // turns that the owner has; 0: there is no owner
};

// The lock is this thread's as long as it lives.
class LoadingTurn {
  public:
    LoadingTurn() { LoadingLock::instance().lock(); }
    ~LoadingTurn() { LoadingLock::instance().unlock(); }
    LoadingTurn(const LoadingTurn &) = delete;
    LoadingTurn &operator=(const LoadingTurn &) = delete;
};

// What every module exports, called when it was loaded.
using ShareLoading = void(LoadingLock &shared);
extern "C" [[gnu::visibility("default")]] ShareLoading mrb_share_loading;
inline constexpr const char *SHARE_LOADING_SYMBOL = "mrb_share_loading";

} // namespace mrb
