#include "share/share.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>
#include <utility>

#include "base/log.h"
#include "text/text.h"

namespace mrb {
namespace {

using std::chrono::steady_clock;

// The minimum between the end of one callback and the next progress event: a client gets at most
// ten a second, and a slow client fewer.
constexpr auto PROGRESS_INTERVAL = std::chrono::milliseconds(100);

bool continuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

} // namespace

Share::Share(EventThread &events, mrb_share_handler_h handle, ShareCallback callback,
             std::unique_ptr<Job> job, std::function<void()> ended)
    : events_(events), handle_(handle), callback_(callback), job_(std::move(job)), ended_(std::move(ended)) {}

void Share::run() noexcept {
    try {
        begin_.wait();
        const JobResult result = work();
        // The job's resources, such as open files and the list, are released before the last
        // event is posted.
        job_.reset();
        conclude(result);
    } catch (const std::exception &failure) {
        MRB_LOG_ERROR("Share %d ended without an event: %s", handle_, failure.what());
    }
}

JobResult Share::work() {
    JobResult result{.event = MRB_EVENT_SHARE_FAILED, .status = {}, .name = {}};
    try {
        result = job_->run(*this);
    } catch (const std::bad_alloc &) {
        result.status = Status::outOfMemory("There is not enough memory for the share.");
    } catch (const std::exception &failure) {
        result.status = Status::ioError(failure.what());
    }
    return result;
}

void Share::conclude(const JobResult &result) {
    if (!result.status.ok()) {
        MRB_LOG_ERROR("Share %d is incomplete: %s", handle_, result.status.message.c_str());
    }
    const MutexLock guard(lock_);
    if (!std::exchange(started_, true)) {
        post(MRB_EVENT_SHARE_STARTED);
    }
    progress_.done_file_count = result.files;
    progress_.success_file_size = result.bytes;
    progress_.progress_file_size = 0;
    setFile(displayText(result.name), 0);
    lastEvent_ = result.event;
    post(result.event);
}

void Share::post(int event) {
    events_.post(shared_from_this(), [this, event] { deliver(event); });
}

void Share::deliver(int event) noexcept {
    MutexLock guard(lock_);
    // A copy, since the job continues concurrently.
    mrb_share_status_info_s progress = progress_;
    const bool isLast = event == lastEvent_;
    guard.unlock();
    callback_.function(callback_.userData, handle_, event, &progress);
    guard.lock();
    notifiedAt_ = steady_clock::now();
    if (event == MRB_EVENT_SHARE_PROGRESS) {
        progressQueued_ = false;
    }
    guard.unlock();
    if (isLast) {
        ended_();
    }
}

void Share::begins(std::uint32_t files, std::uint64_t bytes) {
    const MutexLock guard(lock_);
    progress_.total_file_count = files;
    progress_.total_file_size = bytes;
    started_ = true;
    post(MRB_EVENT_SHARE_STARTED);
}

void Share::fileBegins(const std::string &name, std::uint64_t size, std::uint64_t planned) {
    const MutexLock guard(lock_);
    // The size in the list may be outdated.
    progress_.total_file_size += size - planned;
    setFile(name, size);
    reportProgress();
}

void Share::fileMoves(std::uint64_t bytes) {
    const MutexLock guard(lock_);
    progress_.progress_file_size = bytes;
    reportProgress();
}

void Share::fileEnds(bool isDone) {
    const MutexLock guard(lock_);
    if (isDone) {
        ++progress_.done_file_count;
        progress_.success_file_size += progress_.current_file_size;
    }
    progress_.current_file_size = 0;
    progress_.progress_file_size = 0;
}

void Share::setFile(const std::string &name, std::uint64_t size) {
    std::size_t length = std::min(name.size(), sizeof progress_.current_file_name - 1);
    while (length > 0 && length < name.size() && continuesCharacter(name[length])) {
        --length;
    }
    std::memcpy(progress_.current_file_name, name.data(), length);
    progress_.current_file_name[length] = '\0';
    progress_.current_file_size = size;
    progress_.progress_file_size = 0;
}

void Share::reportProgress() {
    if (notifiedAt_ && !progressQueued_ && steady_clock::now() - *notifiedAt_ >= PROGRESS_INTERVAL) {
        progressQueued_ = true;
        post(MRB_EVENT_SHARE_PROGRESS);
    }
}

} // namespace mrb
