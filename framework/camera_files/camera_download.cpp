#include "camera_files/camera_download.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <string>
#include <utility>

#include "base/mutex.h"

namespace mrb {
namespace {

// Bytes per request: enough to be fast, few enough that other requests wait only briefly.
constexpr std::uint64_t PIECE = 1UL << 20;

// Maximum of bytes that are buffered for a slow destination.
constexpr std::size_t MAX_QUEUED = 4UL << 20;

// How often to check whether the download was cancelled, or the camera has stopped responding.
constexpr auto POLL_INTERVAL = std::chrono::milliseconds(20);

} // namespace

// Filled by the camera's thread, drained by the download.
struct CameraDownload::Flow {
    Mutex lock;
    ConditionVariable change;
    std::deque<std::string> pieces MRB_GUARDED_BY(lock);
    std::size_t bytes MRB_GUARDED_BY(lock) = 0;
    bool isClosed MRB_GUARDED_BY(lock) = false; // the download has ended

    bool put(std::string_view piece) MRB_EXCLUDES(lock) {
        const MutexLock guard(lock);
        while (bytes >= MAX_QUEUED && !isClosed) {
            change.wait(lock);
        }
        pieces.emplace_back(piece);
        bytes += piece.size();
        change.notifyAll();
        return !isClosed;
    }
};

CameraDownload::CameraDownload(CameraFile file, std::int64_t size, CancellationToken cancellation)
    : file_(std::move(file)), size_(size), cancellation_(std::move(cancellation)) {}

CameraDownload::~CameraDownload() {
    if (task_) {
        const MutexLock guard(flow_->lock);
        flow_->isClosed = true;
        flow_->change.notifyAll();
        CameraService::abandon(task_);
    }
}

Status CameraDownload::next(const std::function<void(std::string_view bytes)> &take) {
    std::string bytes;
    Status status;
    if (!task_) {
        status = readPiece(bytes);
        // The first request shows whether a camera supports partial reads.
        if (status.code == MRB_ERR_NOT_SUPPORTED && done_ == 0) {
            startFlow();
        }
    }
    if (task_) {
        status = takeFromFlow(bytes);
    }
    if (status.ok()) {
        done_ += bytes.size();
        take(bytes);
    }
    return status;
}

Status CameraDownload::readPiece(std::string &bytes) const {
    // Some cameras take a read beyond the end for an error.
    const std::uint64_t left = size_ < 0 ? PIECE : static_cast<std::uint64_t>(size_) - done_;
    const auto length = static_cast<std::size_t>(std::min(PIECE, left));
    return length == 0 ? Status() : file_.readAt({cancellation_}, done_, length, bytes);
}

void CameraDownload::startFlow() {
    flow_ = std::make_shared<Flow>();
    task_ = file_.start([flow = flow_](Camera &camera, const CameraPath &path) {
        return camera.read(path, CameraPart::WHOLE,
                           [&flow](std::string_view piece) { return flow->put(piece); });
    });
}

Status CameraDownload::takeFromFlow(std::string &bytes) {
    Status status;
    bool isOver = false;
    MutexLock guard(flow_->lock);
    while (true) {
        const auto nextPoll = std::chrono::steady_clock::now() + POLL_INTERVAL;
        while (flow_->pieces.empty() && flow_->change.waitUntil(flow_->lock, nextPoll)) {
        }
        if (!flow_->pieces.empty()) {
            break;
        }
        if (isOver) {
            return status; // the last piece was taken before
        }
        guard.unlock();
        if (cancellation_.isCancelled()) {
            return Status::cancelled();
        }
        isOver = file_.isOver(task_, status);
        guard.lock();
    }
    bytes = std::move(flow_->pieces.front());
    flow_->pieces.pop_front();
    flow_->bytes -= bytes.size();
    flow_->change.notifyAll();
    return {};
}

} // namespace mrb
