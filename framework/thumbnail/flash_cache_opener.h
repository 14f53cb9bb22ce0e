#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "base/brief_wait.h"
#include "base/joinable_thread.h"
#include "base/mutex.h"
#include "base/result.h"
#include "thumbnail/flash_cache.h"

namespace mrb::thumbnail {

// Opens the flash cache on a thread of its own, since its disk may hang and other processes may
// lock it: a call that opens it waits with a timeout, and a call that uses the open one does not
// wait. Owned by the thumbnail service; any thread may call it.
class FlashCacheOpener {
  public:
    // How long a call waits, see BriefWait.
    explicit FlashCacheOpener(std::chrono::milliseconds timeout = CLIENT_TIMEOUT) : timeout_(timeout) {}
    ~FlashCacheOpener();
    FlashCacheOpener(const FlashCacheOpener &) = delete;
    FlashCacheOpener &operator=(const FlashCacheOpener &) = delete;

    // Opens the cache whose list is the file `list` in place of the one that is open, which stays
    // open when this fails. MRB_ERR_TIMEOUT: the call does not wait any longer, and opening goes
    // on. Throws std::system_error when no thread can be created.
    Status open(const std::string &list);

    // Null: none is open.
    [[nodiscard]] std::shared_ptr<FlashCache> cache();

    // Ends the thread; if it is busy at the deadline, it is detached: false.
    bool finish(std::chrono::steady_clock::time_point deadline);

  private:
    void work() MRB_EXCLUDES(lock_);
    void openRequested() MRB_REQUIRES(lock_); // without it while it opens

    const std::chrono::milliseconds timeout_;

    Mutex lock_; // never held while a file is read or written
    ConditionVariable wake_;
    ConditionVariable change_;
    std::shared_ptr<FlashCache> cache_ MRB_GUARDED_BY(lock_);
    std::optional<std::string> nextList_ MRB_GUARDED_BY(lock_); // the list to be opened next
    std::uint64_t requested_ MRB_GUARDED_BY(lock_) = 0;         // number of calls so far
    std::uint64_t delivered_ MRB_GUARDED_BY(lock_) = 0;         // the number of the last call with a result
    Status status_ MRB_GUARDED_BY(lock_);
    std::optional<std::chrono::steady_clock::time_point> busySince_ MRB_GUARDED_BY(lock_);
    unsigned waiting_ MRB_GUARDED_BY(lock_) = 0; // number of waiting calls
    bool isFinishing_ MRB_GUARDED_BY(lock_) = false;
    JoinableThread thread_{"mrb-flash", "The flash cache does not open."};
};

} // namespace mrb::thumbnail
