#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>

#include "base/joinable_thread.h"
#include "base/mutex.h"
#include "thumbnail/flash_cache_opener.h"
#include "thumbnail/jobs.h"

namespace mrb::thumbnail {

// The thumbnail service: queues requests, decodes on worker threads, the latest request first,
// and calls back on these threads. The process has one, see instance(); any thread may call it,
// also inside a callback.
class ThumbnailService {
  public:
    using Decoder = std::function<Decode>;

    ThumbnailService(Decoder decoder, unsigned workers)
        : decoder_(std::move(decoder)), maxWorkers_(workers) {}
    ~ThumbnailService();
    ThumbnailService(const ThumbnailService &) = delete;
    ThumbnailService &operator=(const ThumbnailService &) = delete;

    // The process's service, created on first use.
    static ThumbnailService &instance();

    int begin();
    // Ends all requests with MRB_ERR_CANCELLED, on this thread, since the client of a request is
    // not known. Returns when no callback is running, or at once when called inside one.
    // MRB_ERR_TIMEOUT: a callback does not return.
    int end();

    // Causes one callback unless it fails or the request is cancelled.
    int request(const Request &request, PendingRequest pending);
    int cancel(const Request &request, const void *userData);
    int cancelAll();
    // Ends the requests for cameras' pictures with MRB_ERR_CANCELLED; returns when none of them
    // is being decoded, or with MRB_ERR_TIMEOUT.
    int stopCameras();

    [[nodiscard]] FlashCacheOpener &flashCache() { return flashCache_; }

    // Ends the threads. Threads that are busy at the deadline are detached: false. Later calls
    // fail.
    bool shutDown(std::chrono::steady_clock::time_point deadline);

  private:
    void startWorkers() MRB_REQUIRES(lock_);
    void work() MRB_EXCLUDES(lock_);
    void decode(const Request &request, Job &job, Decoded &decoded) MRB_EXCLUDES(lock_);
    // Without the lock during each callback:
    void deliverResults(const std::shared_ptr<Job> &job, Decoded &decoded) MRB_REQUIRES(lock_);
    void deliverAllEnded() MRB_REQUIRES(lock_);

    const Decoder decoder_;
    const unsigned maxWorkers_; // number of workers
    FlashCacheOpener flashCache_;

    Mutex lock_;
    ConditionVariable wake_;
    ConditionVariable change_;
    Jobs jobs_ MRB_GUARDED_BY(lock_);
    std::deque<JoinableThread> workers_ MRB_GUARDED_BY(lock_);
    unsigned results_ MRB_GUARDED_BY(lock_) = 0; // callbacks that are running
    unsigned clients_ MRB_GUARDED_BY(lock_) = 0;
    bool down_ MRB_GUARDED_BY(lock_) = false;
};

} // namespace mrb::thumbnail
