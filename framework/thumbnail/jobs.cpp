#include "thumbnail/jobs.h"

#include <algorithm>
#include <utility>

#include "thumbnail/camera_picture.h"

namespace mrb::thumbnail {
namespace {

bool isOfCamera(const std::shared_ptr<Job> &job) {
    return job->request.sourceType == MRB_THUMB_SOURCE_PTP || isOnCamera(job->request.decode.path);
}

} // namespace

void Jobs::add(const Request &request, PendingRequest pending) {
    const auto found = open_.find(request);
    if (found != open_.end()) {
        found->second->pending.push_back(pending);
        // Moved to the front if it waits; the list is no longer than the number of requests.
        const auto place = std::ranges::find(waiting_, found->second);
        if (place != waiting_.end()) {
            waiting_.splice(waiting_.begin(), waiting_, place);
        }
        return;
    }
    const auto job = std::make_shared<Job>();
    job->request = request;
    job->pending.push_back(pending);
    waiting_.push_front(job);
    try {
        open_.emplace(request, job);
    } catch (...) {
        waiting_.pop_front();
        throw;
    }
}

std::shared_ptr<Job> Jobs::take() {
    decoding_.splice(decoding_.begin(), waiting_, waiting_.begin());
    return decoding_.front();
}

void Jobs::finish(const std::shared_ptr<Job> &job) {
    forget(job);
    delivering_.splice(delivering_.begin(), decoding_, std::ranges::find(decoding_, job));
}

void Jobs::remove(const std::shared_ptr<Job> &job) { delivering_.remove(job); }

// No further request can join it.
void Jobs::forget(const std::shared_ptr<Job> &job) {
    const auto found = open_.find(job->request);
    if (found != open_.end() && found->second == job) {
        open_.erase(found);
    }
}

bool Jobs::cancelPending(const std::shared_ptr<Job> &job, const void *userData) {
    std::vector<PendingRequest> &pending = job->pending;
    if (pending.empty()) {
        return false;
    }
    const auto same = std::ranges::find(pending, userData, &PendingRequest::userData);
    pending.erase(same != pending.end() ? same : pending.begin());
    if (pending.empty()) {
        job->cancellation.cancel();
        forget(job);
        waiting_.remove(job);
    }
    return true;
}

bool Jobs::cancel(const Request &request, const void *userData) {
    const auto found = open_.find(request);
    if (found != open_.end()) {
        return cancelPending(std::shared_ptr<Job>(found->second), userData);
    }
    for (const List *list : {&waiting_, &decoding_, &delivering_}) {
        for (const std::shared_ptr<Job> &job : List(*list)) {
            if (job->request == request && cancelPending(job, userData)) {
                return true;
            }
        }
    }
    return false;
}

void Jobs::cancelAll() {
    for (const List *list : {&decoding_, &delivering_}) {
        for (const std::shared_ptr<Job> &job : *list) {
            job->pending.clear();
            job->cancellation.cancel();
        }
    }
    waiting_.clear();
    open_.clear();
}

void Jobs::closeAll() {
    delivering_.splice(delivering_.end(), waiting_);
    for (const List *list : {&decoding_, &delivering_}) {
        for (const std::shared_ptr<Job> &job : *list) {
            job->cancellation.cancel();
        }
    }
    open_.clear();
}

std::shared_ptr<Job> Jobs::endedWithPending() const {
    for (const List *list : {&decoding_, &delivering_}) {
        for (const std::shared_ptr<Job> &job : *list) {
            if (job->cancellation.isCancelled() && !job->pending.empty()) {
                return job;
            }
        }
    }
    return nullptr;
}

void Jobs::refuseCameras() {
    for (auto at = waiting_.begin(); at != waiting_.end();) {
        const auto job = at++;
        if (isOfCamera(*job)) {
            forget(*job);
            (*job)->cancellation.cancel();
            waiting_.splice(waiting_.begin(), waiting_, job);
        }
    }
    for (const std::shared_ptr<Job> &job : decoding_) {
        if (isOfCamera(job)) {
            forget(job);
            job->cancellation.cancel();
        }
    }
}

bool Jobs::isCameraDecoding() const { return std::ranges::any_of(decoding_, isOfCamera); }

} // namespace mrb::thumbnail
