#include "thumbnail/service.h"

#include <algorithm>
#include <exception>
#include <new>
#include <system_error>
#include <utility>

#include "base/log.h"
#include "events/event_thread.h"
#include "thumbnail/answer.h"
#include "thumbnail/picture_providers.h"

namespace mrb::thumbnail {
namespace {

// Far longer than any picture takes, even on a busy machine.
constexpr auto DECODE_LIMIT = std::chrono::seconds(30);

constexpr const char *NAMES[] = {"mrb-thumb-1", "mrb-thumb-2", "mrb-thumb-3", "mrb-thumb-4",
                                 "mrb-thumb-5", "mrb-thumb-6", "mrb-thumb-7", "mrb-thumb-8"};
constexpr const char *FURTHER_NAME = "mrb-thumb-n";

// The service whose result this thread is delivering.
thread_local const ThumbnailService *deliveringTo = nullptr;

} // namespace

ThumbnailService::~ThumbnailService() { shutDown(std::chrono::steady_clock::time_point::max()); }

int ThumbnailService::begin() {
    const std::lock_guard guard(lock_);
    if (down_) {
        return MRB_ERR_NOT_INITIALIZED;
    }
    ++clients_;
    return MRB_ERR_NONE;
}

int ThumbnailService::end() {
    std::unique_lock guard(lock_);
    const bool begun = clients_ > 0;
    clients_ -= begun ? 1 : 0;
    jobs_.closeAll();
    deliverAllEnded(guard);
    if (deliveringTo != this &&
        !change_.wait_for(guard, CALLBACK_LIMIT, [this] { return results_ == 0 || down_; })) {
        guard.unlock();
        MRB_LOG_WARNING("The callback of a thumbnail has not returned in time.");
        return MRB_ERR_TIMEOUT;
    }
    return begun ? MRB_ERR_NONE : MRB_ERR_NOT_INITIALIZED;
}

int ThumbnailService::request(const Request &request, PendingRequest waiter) {
    const std::lock_guard guard(lock_);
    if (clients_ == 0 || down_) {
        return MRB_ERR_NOT_INITIALIZED;
    }
    startWorkers();
    jobs_.add(request, waiter);
    wake_.notify_one();
    return MRB_ERR_NONE;
}

int ThumbnailService::cancel(const Request &request, const void *userData) {
    const std::lock_guard guard(lock_);
    return jobs_.cancel(request, userData) ? MRB_ERR_NONE : MRB_ERR_NOT_FOUND;
}

int ThumbnailService::cancelAll() {
    const std::lock_guard guard(lock_);
    jobs_.cancelAll();
    return MRB_ERR_NONE;
}

int ThumbnailService::stopCameras() {
    std::unique_lock guard(lock_);
    jobs_.refuseCameras();
    const bool ended = change_.wait_for(guard, CALLBACK_LIMIT, [this] { return !jobs_.isCameraDecoding(); });
    return ended ? MRB_ERR_NONE : MRB_ERR_TIMEOUT;
}

void ThumbnailService::startWorkers() {
    while (workers_.size() < most_) {
        const std::size_t index = workers_.size();
        workers_.emplace_back(index < std::size(NAMES) ? NAMES[index] : FURTHER_NAME,
                              "A thumbnail is still being decoded.");
        try {
            workers_.back().start([this] { work(); });
        } catch (const std::system_error &) {
            workers_.pop_back();
            if (workers_.empty()) {
                throw;
            }
            return; // the workers that exist do the work
        }
    }
}

void ThumbnailService::work() {
    std::unique_lock guard(lock_);
    while (true) {
        wake_.wait(guard, [this] { return down_ || jobs_.isAnyWaiting(); });
        if (down_) {
            return;
        }
        const std::shared_ptr<Job> job = jobs_.take();
        guard.unlock();
        Decoded decoded;
        decode(job->request, *job, decoded);
        guard.lock();
        jobs_.finish(job);
        change_.notify_all();
        answer(guard, job, decoded);
        jobs_.remove(job);
    }
}

void ThumbnailService::decode(const Request &request, Job &job, Decoded &decoded) {
    job.stop.cancelAfter(DECODE_LIMIT);
    const std::shared_ptr<FlashCache> cache = request.useCache ? flashCache_.cache() : nullptr;
    try {
        providePicture(request, job.stop, {decoder_, cache.get()}, decoded);
    } catch (const std::bad_alloc &) {
        decoded.status = Status::outOfMemory("Not enough memory.");
    } catch (const std::exception &failure) {
        MRB_LOG_ERROR("The thumbnail service failed: %s", failure.what());
        decoded.status = Status::notInitialized(failure.what());
    }
    if (!decoded.status.ok() && !decoded.status.message.empty() && !job.stop.isCancelled()) {
        MRB_LOG_WARNING("No thumbnail of \"%s\": %s", request.origin.c_str(), decoded.status.message.c_str());
    }
}

void ThumbnailService::answer(std::unique_lock<std::mutex> &guard, const std::shared_ptr<Job> &job,
                              Decoded &decoded) {
    // One at a time: the client may cancel the requests of waiters without a result.
    while (!job->waiters.empty() && !down_) {
        const PendingRequest waiter = job->waiters.front();
        job->waiters.erase(job->waiters.begin());
        const bool last = job->waiters.empty();
        ++results_;
        guard.unlock();
        // Nested when the client calls end() in its callback.
        const ThumbnailService *const outer = std::exchange(deliveringTo, this);
        deliverResult(job->request, decoded, last, waiter);
        deliveringTo = outer;
        guard.lock();
        --results_;
        change_.notify_all();
    }
}

void ThumbnailService::deliverAllEnded(std::unique_lock<std::mutex> &guard) {
    Decoded nothing;
    nothing.status = Status::cancelled("A client ended the service.");
    while (!down_) {
        const std::shared_ptr<Job> job = jobs_.endedWithWaiters();
        if (!job) {
            break;
        }
        answer(guard, job, nothing);
        jobs_.remove(job);
    }
}

bool ThumbnailService::shutDown(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock guard(lock_);
    down_ = true;
    jobs_.cancelAll();
    wake_.notify_all();
    guard.unlock();
    // No thread is added from now on. Each is ended, even if the one before was not in time.
    bool isFinished = true;
    for (JoinableThread &worker : workers_) {
        isFinished = worker.finish(deadline) && isFinished;
    }
    return flashCache_.finish(deadline) && isFinished;
}

} // namespace mrb::thumbnail
