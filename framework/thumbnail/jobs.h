#pragma once

#include <list>
#include <map>
#include <memory>
#include <vector>

#include "base/cancellation.h"
#include "thumbnail/request.h"

namespace mrb::thumbnail {

// Somebody who asked, and has not been answered yet.
struct Waiter {
    thumbnail_result_cb callback = nullptr;
    void *userData = nullptr;
};

// The work for all those who want the same thing.
struct Job {
    Request request;
    CancellationSource stop;
    std::vector<Waiter> waiters; // the first who asked comes first
};

// The jobs of the thumbnail service: waiting, being worked on, and being answered.
// Owned by the service, which calls it with its lock held.
class Jobs {
  public:
    // Adds a waiter to the job that does the same already, or to a new one. Either
    // is then the next to be taken, unless it is under way.
    void add(const Request &request, Waiter waiter);

    [[nodiscard]] bool isAnyWaiting() const { return !waiting_.empty(); }

    // The job asked for last; it is under way from now on.
    std::shared_ptr<Job> take();

    // The work is done; what follows is the answers. Whoever asks from now on is not
    // answered with it.
    void finish(const std::shared_ptr<Job> &job);
    // The last answer was given.
    void remove(const std::shared_ptr<Job> &job);

    // Takes back one waiter: the one with this user data, or else the one who has
    // waited longest. False: nobody waits for this.
    bool cancel(const Request &request, const void *userData);
    void cancelAll();

    // Ends the work for everybody who waits; nobody joins it any more. The waiters stay,
    // to be answered.
    void closeAll();
    // A job that was ended and still has waiters; null: there is none.
    [[nodiscard]] std::shared_ptr<Job> endedWithWaiters() const;

    // Has the jobs of cameras answered with MRB_ERR_CANCELLED, the waiting ones next.
    void refuseCameras();
    [[nodiscard]] bool isCameraDecoding() const;

  private:
    using List = std::list<std::shared_ptr<Job>>;

    bool cancelWaiter(const std::shared_ptr<Job> &job, const void *userData);
    void forget(const std::shared_ptr<Job> &job);

    List waiting_; // the one asked for last comes first
    List decoding_;
    List answering_;
    // The jobs among the first two that others may still join.
    std::map<Request, std::shared_ptr<Job>> open_;
};

} // namespace mrb::thumbnail
