#pragma once

#include <list>
#include <map>
#include <memory>
#include <vector>

#include "base/cancellation.h"
#include "thumbnail/request.h"

namespace mrb::thumbnail {

// A request that has no result yet.
struct PendingRequest {
    thumbnail_result_cb callback = nullptr;
    void *userData = nullptr;
};

// The work for all equal requests.
struct Job {
    Request request;
    CancellationSource cancellation;
    std::vector<PendingRequest> pending; // in the order of their requests
};

// The jobs of the thumbnail service: waiting, decoding, and delivering results. Owned by the
// service, which calls it with its lock held.
class Jobs {
  public:
    // Adds a pending request to the job of an equal one, or to a new job. The job is then the next
    // to be taken, unless it is being decoded.
    void add(const Request &request, PendingRequest pending);

    [[nodiscard]] bool isAnyWaiting() const { return !waiting_.empty(); }

    // The most recently requested job, which is being decoded from now on.
    std::shared_ptr<Job> take();

    // The job is decoded, and its results are to be delivered. Later requests do not join it.
    void finish(const std::shared_ptr<Job> &job);
    // The last result was delivered.
    void remove(const std::shared_ptr<Job> &job);

    // Removes one pending request: the one with this user data, or else the oldest one. False:
    // there is none.
    bool cancel(const Request &request, const void *userData);
    void cancelAll();

    // Cancels all jobs, which no further request can join. Pending ones stay, so that they get a
    // result.
    void closeAll();
    // A cancelled job that still has pending requests; null: there is none.
    [[nodiscard]] std::shared_ptr<Job> endedWithPending() const;

    // Cancels the jobs of cameras; waiting ones move to the front, so that they get their
    // results.
    void refuseCameras();
    [[nodiscard]] bool isCameraDecoding() const;

  private:
    using List = std::list<std::shared_ptr<Job>>;

    bool cancelPending(const std::shared_ptr<Job> &job, const void *userData);
    void forget(const std::shared_ptr<Job> &job);

    List waiting_; // the most recently requested job first
    List decoding_;
    List delivering_;
    // The jobs among the first two that further requests may join.
    std::map<Request, std::shared_ptr<Job>> open_;
};

} // namespace mrb::thumbnail
