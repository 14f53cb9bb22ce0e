#include "camera/camera_service.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <exception>
#include <map>
#include <string>
#include <utility>

#include "base/log.h"
#include "base/mutex.h"
#include "base/on_demand.h"
#include "base/process_exit.h"

namespace mrb {
namespace {

using Clock = std::chrono::steady_clock;

// How often a waiting caller polls its token. The end of a request wakes it at once.
constexpr auto POLL_INTERVAL = std::chrono::milliseconds(20);

// Errors after which the state of the connection to the camera is unknown.
bool isBroken(int code) {
    return code == MRB_ERR_IO || code == MRB_ERR_PROTOCOL || code == MRB_ERR_TIMEOUT ||
           code == MRB_ERR_BUSY || code == MRB_ERR_DEVICE_REMOVED;
}

// The errors that drivers return for a failed transfer, a removed camera among the causes. A
// camera that does not respond or is claimed by another program is attached.
bool mayHaveLeft(int code) {
    return code == MRB_ERR_IO || code == MRB_ERR_PROTOCOL || code == MRB_ERR_NOT_FOUND;
}

// Whether a transfer succeeds, or fails in a way that does not mean a removal.
bool answers(Camera &camera) {
    CameraSizes ignored;
    const int code = camera.readSizes(ignored).code;
    return code == MRB_ERR_NONE || code == MRB_ERR_TIMEOUT || code == MRB_ERR_CANCELLED;
}

Status cancelled() { return Status::cancelled("The request to the camera was cancelled."); }

Status silent() { return Status::timedOut("The camera does not answer."); }

} // namespace

class CameraService::Task {
  public:
    Task(Work work, Ended ended, std::shared_ptr<Line> line)
        : work_(std::move(work)), ended_(std::move(ended)), line_(std::move(line)) {}

  private:
    friend class CameraService;

    // Used by the camera's thread, once it has begun.
    Work work_;
    Ended ended_;
    const std::shared_ptr<Line> line_;
    std::atomic<bool> isAbandoned_ = false;
    // Guarded by the state's lock.
    bool isDone_ = false;
    Status status_;
};

struct CameraService::Line {
    explicit Line(CameraAddress where) : address(std::move(where)) {}

    const CameraAddress address;
    std::atomic<Clock::rep> lastSign = 0; // of life of the camera, by Clock
    // Guarded by the state's lock.
    std::deque<std::shared_ptr<Task>> waiting;
    bool isAtWork = false;
    bool mustReopen = false;

    void sign() { lastSign = Clock::now().time_since_epoch().count(); }
    [[nodiscard]] bool isSilent(Clock::duration limit) const {
        return Clock::now().time_since_epoch() - Clock::duration(lastSign) > limit;
    }
};

struct CameraService::State {
    std::function<CameraLibrary &()> library;
    Limits limits;
    std::atomic<bool> isDown = false; // set with the lock held

    Mutex lock;               // also guards what the lines and tasks say it does
    ConditionVariable wake;   // the threads
    ConditionVariable change; // waiting callers
    std::map<CameraAddress, std::shared_ptr<Line>> lines MRB_GUARDED_BY(lock); // each has a thread
};

CameraService::CameraService(std::function<CameraLibrary &()> library, Limits limits)
    : state_(std::make_shared<State>()) {
    state_->library = std::move(library);
    state_->limits = limits;
}

CameraService::~CameraService() { shutDown(Clock::time_point::max()); }

CameraService &CameraService::instance() {
    static OnDemand<CameraService> service;
    return service.get([] {
        auto *made = new CameraService(cameraLibrary, {});
        finishAtExit(finish);
        return made;
    });
}

bool CameraService::finish(Clock::time_point deadline) { return instance().shutDown(deadline); }

Status CameraService::run(const CameraAddress &address, Work work, const CancellationToken &cancellation,
                          std::chrono::milliseconds limit) {
    return wait(start(address, std::move(work)), cancellation, limit);
}

std::shared_ptr<CameraService::Task> CameraService::start(const CameraAddress &address, Work work,
                                                          Ended ended) {
    const MutexLock guard(state_->lock);
    const auto known = state_->lines.find(address);
    const bool isNew = known == state_->lines.end();
    const std::shared_ptr<Line> line = isNew ? std::make_shared<Line>(address) : known->second;
    auto task = std::make_shared<Task>(std::move(work), std::move(ended), line);
    if (state_->isDown) {
        task->isDone_ = true;
        task->status_ = cancelled();
        return task;
    }
    line->waiting.push_back(task);
    if (isNew) {
        threads_.start([state = state_, line] { serve(state, line); });
        state_->lines[address] = line;
    }
    state_->wake.notifyAll();
    return task;
}

Status CameraService::wait(const std::shared_ptr<Task> &task, const CancellationToken &cancellation,
                           std::chrono::milliseconds limit) {
    const auto deadline = Clock::now() + limit;
    MutexLock guard(state_->lock);
    while (true) {
        const auto nextPoll = Clock::now() + POLL_INTERVAL;
        while (!task->isDone_ && state_->change.waitUntil(state_->lock, nextPoll)) {
        }
        if (task->isDone_) {
            return task->status_;
        }
        // A caller with a shorter timeout need not wait again for what earlier callers found out.
        const bool isSilent =
            task->line_->isAtWork && task->line_->isSilent(std::min(limit, state_->limits.silence));
        guard.unlock();
        Status status;
        if (cancellation.isCancelled()) {
            status = cancelled();
        } else if (isSilent) {
            status = silent();
        } else if (Clock::now() >= deadline) {
            status = Status::timedOut("The camera is busy with another request, or slow.");
        }
        if (!status.ok()) {
            abandon(task);
            return status;
        }
        guard.lock();
    }
}

bool CameraService::isOver(const std::shared_ptr<Task> &task, Status &status) {
    const MutexLock guard(state_->lock);
    if (task->isDone_) {
        status = task->status_;
    } else if (task->line_->isAtWork && task->line_->isSilent(state_->limits.silence)) {
        status = silent();
        return true;
    }
    return task->isDone_;
}

void CameraService::abandon(const std::shared_ptr<Task> &task) {
    if (task) {
        task->isAbandoned_ = true;
    }
}

void CameraService::refresh(const CameraAddress &address) {
    const MutexLock guard(state_->lock);
    if (const auto line = state_->lines.find(address); line != state_->lines.end()) {
        line->second->mustReopen = true;
    }
}

// The body of a camera's thread.
void CameraService::serve(const std::shared_ptr<State> &state, const std::shared_ptr<Line> &line) {
    std::unique_ptr<Camera> camera;
    MutexLock guard(state->lock);
    while (true) {
        const auto lingersUntil = Clock::now() + state->limits.linger;
        while (line->waiting.empty() && !state->isDown && state->wake.waitUntil(state->lock, lingersUntil)) {
        }
        const bool isMore = !line->waiting.empty() || state->isDown;
        if (line->waiting.empty() && camera && (!isMore || state->isDown)) {
            // Releasing it takes time; requests that arrive in that time stay with this thread.
            guard.unlock();
            camera.reset();
            guard.lock();
        }
        if (line->waiting.empty() && (!isMore || state->isDown)) {
            break;
        }
        if (line->waiting.empty()) {
            continue;
        }
        const std::shared_ptr<Task> task = std::move(line->waiting.front());
        line->waiting.pop_front();
        const bool isStale = std::exchange(line->mustReopen, false);
        line->isAtWork = true;
        line->sign();
        guard.unlock();
        if (isStale) {
            camera.reset();
        }
        Status status = work(*state, *line, *task, camera);
        if (task->ended_) {
            task->ended_(status);
        }
        task->work_ = nullptr; // destroys what it owns on this thread
        task->ended_ = nullptr;
        guard.lock();
        line->isAtWork = false;
        task->status_ = std::move(status);
        task->isDone_ = true;
        state->change.notifyAll();
    }
    state->lines.erase(line->address);
}

Status CameraService::work(const State &state, Line &line, Task &task, std::unique_ptr<Camera> &camera) {
    const CancellationToken cancellation = [&state, &line, &task] {
        line.sign();
        return task.isAbandoned_ || state.isDown;
    };
    if (cancellation.isCancelled()) {
        return cancelled();
    }
    Status status;
    try {
        if (!camera) {
            camera = state.library().open(line.address, status);
        }
        if (camera) {
            camera->cancelWith(cancellation);
            status = task.work_(*camera);
            if (mayHaveLeft(status.code) && !cancellation.isCancelled()) {
                checkPresence(state, line, camera, status);
            } else if (isBroken(status.code)) {
                camera.reset();
            }
        }
        if (camera) {
            camera->cancelWith({});
        }
    } catch (const std::exception &failure) {
        camera.reset(); // which may still poll this task's token
        status = Status::notSupported(failure.what());
    }
    return status;
}

// Whether a failure is due to the removal of the camera shows when it is reopened, however late
// the system reports the removal.
void CameraService::checkPresence(const State &state, const Line &line, std::unique_ptr<Camera> &camera,
                                  Status &status) {
    if (!isBroken(status.code) && answers(*camera)) {
        return;
    }
    camera.reset();
    Status opened;
    camera = state.library().open(line.address, opened);
    if (opened.code == MRB_ERR_DEVICE_REMOVED) {
        status = std::move(opened);
    }
}

bool CameraService::shutDown(Clock::time_point deadline) {
    {
        const MutexLock guard(state_->lock);
        state_->isDown = true;
        state_->wake.notifyAll();
    }
    return threads_.finish(deadline);
}

} // namespace mrb
