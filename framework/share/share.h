#pragma once

#include <chrono>
#include <functional>
#include <latch>
#include <memory>
#include <optional>

#include "base/cancellation.h"
#include "base/mutex.h"
#include "events/event_thread.h"
#include "mrb/share.h"
#include "share/job.h"

namespace mrb {

// The callback of a share.
struct ShareCallback {
    mrb_batch_process_cb function = nullptr;
    void *userData = nullptr;
};

// One running share: its job, its progress, and its events. Owned jointly by the table of shares,
// the worker that runs the job and its queued events. Each member function says which thread
// calls it.
class Share final : public EventTarget, public std::enable_shared_from_this<Share>, private JobObserver {
  public:
    // `ended` is called on the event thread after the last event was delivered.
    Share(EventThread &events, mrb_share_handler_h handle, ShareCallback callback, std::unique_ptr<Job> job,
          std::function<void()> ended);

    // The worker's main function: waits for begin, runs the job, and posts the started event and
    // exactly one of those that end a share.
    void run() noexcept;

    // Lets the worker begin. Any thread, once.
    void begin() { begin_.count_down(); }

    // Makes the job end soon; the stopped event follows unless the job had ended before. Any
    // thread.
    void cancel() { cancellationSource_.cancel(); }

  private:
    // On the event thread.
    void deliver(int event) noexcept;

    // JobObserver, on the worker.
    [[nodiscard]] const CancellationToken &cancellation() const override { return cancellation_; }
    void begins(std::uint32_t files, std::uint64_t bytes) override;
    void fileBegins(const std::string &name, std::uint64_t size, std::uint64_t planned) override;
    void fileMoves(std::uint64_t bytes) override;
    void fileEnds(bool isDone) override;

    JobResult work();
    void conclude(const JobResult &result);
    void post(int event);
    void setFile(const std::string &name, std::uint64_t size) MRB_REQUIRES(lock_);
    void reportProgress() MRB_REQUIRES(lock_);

    EventThread &events_;
    const mrb_share_handler_h handle_;
    const ShareCallback callback_;
    std::unique_ptr<Job> job_; // used by the worker only
    const std::function<void()> ended_;

    std::latch begin_{1};
    CancellationSource cancellationSource_;
    const CancellationToken cancellation_ = cancellationSource_;

    Mutex lock_;
    mrb_share_status_info_s progress_ MRB_GUARDED_BY(lock_){};
    int lastEvent_ MRB_GUARDED_BY(lock_) = -1;
    bool started_ MRB_GUARDED_BY(lock_) = false;
    bool progressQueued_ MRB_GUARDED_BY(lock_) = false;
    // When the last callback returned; no value: none was called yet.
    std::optional<std::chrono::steady_clock::time_point> notifiedAt_ MRB_GUARDED_BY(lock_);
};

} // namespace mrb
