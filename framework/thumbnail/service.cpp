#include "thumbnail/service.h"

#include <algorithm>
#include <exception>
#include <new>
#include <system_error>
#include <utility>
#include <vector>

#include "base/log.h"
#include "events/event_thread.h"
#include "thumbnail/picture_providers.h"
#include "thumbnail/result_delivery.h"

namespace mrb::thumbnail {
namespace {

using std::chrono::steady_clock;

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
    const MutexLock guard(lock_);
    if (down_) {
        return MRB_ERR_NOT_INITIALIZED;
    }
    ++clients_;
    return MRB_ERR_NONE;
}

int ThumbnailService::end() {
    MutexLock guard(lock_);
    const bool begun = clients_ > 0;
    clients_ -= begun ? 1 : 0;
    jobs_.closeAll();
    deliverAllEnded();
    const auto deadline = steady_clock::now() + CALLBACK_LIMIT;
    const bool isInside = deliveringTo == this;
    while (!isInside && results_ > 0 && !down_ && change_.waitUntil(lock_, deadline)) {
    }
    if (!isInside && results_ > 0 && !down_) {
        guard.unlock();
        MRB_LOG_WARNING("The callback of a thumbnail has not returned in time.");
        return MRB_ERR_TIMEOUT;
    }
    return begun ? MRB_ERR_NONE : MRB_ERR_NOT_INITIALIZED;
}

int ThumbnailService::request(const Request &request, PendingRequest pending) {
    const MutexLock guard(lock_);
    if (clients_ == 0 || down_) {
        return MRB_ERR_NOT_INITIALIZED;
    }
    startWorkers();
    jobs_.add(request, pending);
    wake_.notifyOne();
    return MRB_ERR_NONE;
}

int ThumbnailService::cancel(const Request &request, const void *userData) {
    const MutexLock guard(lock_);
    return jobs_.cancel(request, userData) ? MRB_ERR_NONE : MRB_ERR_NOT_FOUND;
}

int ThumbnailService::cancelAll() {
    const MutexLock guard(lock_);
    jobs_.cancelAll();
    return MRB_ERR_NONE;
}

int ThumbnailService::stopCameras() {
    const MutexLock guard(lock_);
    jobs_.refuseCameras();
    const auto deadline = steady_clock::now() + CALLBACK_LIMIT;
    while (jobs_.isCameraDecoding() && change_.waitUntil(lock_, deadline)) {
    }
    return jobs_.isCameraDecoding() ? MRB_ERR_TIMEOUT : MRB_ERR_NONE;
}

void ThumbnailService::startWorkers() {
    while (workers_.size() < maxWorkers_) {
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
    MutexLock guard(lock_);
    while (true) {
        while (!down_ && !jobs_.isAnyWaiting()) {
            wake_.wait(lock_);
        }
        if (down_) {
            return;
        }
        const std::shared_ptr<Job> job = jobs_.take();
        guard.unlock();
        Decoded decoded;
        decode(job->request, *job, decoded);
        guard.lock();
        jobs_.finish(job);
        change_.notifyAll();
        deliverResults(job, decoded);
        jobs_.remove(job);
    }
}

void ThumbnailService::decode(const Request &request, Job &job, Decoded &decoded) {
    job.cancellation.cancelAfter(DECODE_LIMIT);
    const std::shared_ptr<FlashCache> cache = request.useCache ? flashCache_.cache() : nullptr;
    try {
        providePicture(request, job.cancellation, {decoder_, cache.get()}, decoded);
    } catch (const std::bad_alloc &) {
        decoded.status = Status::outOfMemory("Not enough memory.");
    } catch (const std::exception &failure) {
        MRB_LOG_ERROR("The thumbnail service failed: %s", failure.what());
        decoded.status = Status::notInitialized(failure.what());
    }
    if (!decoded.status.ok() && !decoded.status.message.empty() && !job.cancellation.isCancelled()) {
        MRB_LOG_WARNING("No thumbnail of \"%s\": %s", request.origin.c_str(), decoded.status.message.c_str());
    }
}

void ThumbnailService::deliverResults(const std::shared_ptr<Job> &job, Decoded &decoded) {
    // One at a time: the client may cancel the requests that have no result yet.
    while (!job->pending.empty() && !down_) {
        const PendingRequest pending = job->pending.front();
        job->pending.erase(job->pending.begin());
        const bool last = job->pending.empty();
        ++results_;
        {
            const MutexUnlock unlocked(lock_);
            // Nested when the client calls end() in its callback.
            const ThumbnailService *const outer = std::exchange(deliveringTo, this);
            deliverResult(job->request, decoded, last, pending);
            deliveringTo = outer;
        }
        --results_;
        change_.notifyAll();
    }
}

void ThumbnailService::deliverAllEnded() {
    Decoded nothing;
    nothing.status = Status::cancelled("A client ended the service.");
    while (!down_) {
        const std::shared_ptr<Job> job = jobs_.endedWithPending();
        if (!job) {
            break;
        }
        deliverResults(job, nothing);
        jobs_.remove(job);
    }
}

bool ThumbnailService::shutDown(std::chrono::steady_clock::time_point deadline) {
    std::vector<JoinableThread *> workers; // all: none is added from now on
    {
        const MutexLock guard(lock_);
        down_ = true;
        jobs_.cancelAll();
        wake_.notifyAll();
        for (JoinableThread &worker : workers_) {
            workers.push_back(&worker);
        }
    }
    // Each is ended, even if the one before was not in time.
    bool isFinished = true;
    for (JoinableThread *worker : workers) {
        isFinished = worker->finish(deadline) && isFinished;
    }
    return flashCache_.finish(deadline) && isFinished;
}

} // namespace mrb::thumbnail
