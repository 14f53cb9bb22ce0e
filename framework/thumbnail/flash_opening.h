#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "base/brief_wait.h"
#include "base/joinable_thread.h"
#include "base/result.h"
#include "thumbnail/flash_cache.h"

namespace mrb::thumbnail {

// Opens the flash cache on a thread of its own, since its disk may hang and other processes
// may hold it: a call that wants it opened waits for a limited time, and who looks into the
// one that is open for none. Owned by the thumbnail service; any thread may call it.
class FlashOpening {
  public:
    // How long a call waits, see waitBriefly.
    explicit FlashOpening(std::chrono::milliseconds patience = CLIENT_PATIENCE) : patience_(patience) {}
    ~FlashOpening();
    FlashOpening(const FlashOpening &) = delete;
    FlashOpening &operator=(const FlashOpening &) = delete;

    // Opens the cache whose list is the file `list` in place of the one that is open, which
    // stays when this fails. MRB_ERR_TIMEOUT: that takes longer than the call waits, and goes
    // on. Throws std::system_error when there is no room for the thread.
    Status open(const std::string &list);

    // Null: none is open.
    [[nodiscard]] std::shared_ptr<FlashCache> cache();

    // Ends the thread; one that is at work at the deadline is left behind: false.
    bool finish(std::chrono::steady_clock::time_point deadline);

  private:
    using Lock = std::unique_lock<std::mutex>;

    void work();
    void openWanted(Lock &guard);

    const std::chrono::milliseconds patience_;

    std::mutex lock_; // guards what follows; never held while a file is read or written
    std::condition_variable wake_;
    std::condition_variable change_;
    std::shared_ptr<FlashCache> cache_;
    std::optional<std::string> wanted_; // the list that is to be opened next
    std::uint64_t asked_ = 0;           // calls so far
    std::uint64_t answered_ = 0;        // the last of those that the outcome answers
    Status outcome_;
    std::optional<std::chrono::steady_clock::time_point> busySince_;
    unsigned waiting_ = 0; // calls
    bool isFinishing_ = false;
    JoinableThread thread_{"mrb-flash", "The flash cache does not open."};
};

} // namespace mrb::thumbnail
