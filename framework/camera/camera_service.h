#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "base/cancellation.h"
#include "base/thread_group.h"
#include "camera/camera_library.h"

namespace mrb {

// Runs all requests to cameras: each camera has a thread of its own that runs the requests to
// it, one after the other, and claims the camera only as long as there are requests, and a
// moment longer. The process has one service, see instance(); any thread may call it.
class CameraService {
  public:
    struct Limits {
        // A camera that shows no sign of life for so long counts as not responding.
        std::chrono::milliseconds silence = std::chrono::seconds(30);
        // A camera is kept open for the next request for so long.
        std::chrono::milliseconds linger = std::chrono::seconds(1);
    };
    static constexpr std::chrono::milliseconds NO_LIMIT = std::chrono::hours(24 * 365);

    // `library` may throw std::exception, which every request returns as MRB_ERR_NOT_SUPPORTED.
    CameraService(std::function<CameraLibrary &()> library, Limits limits);
    ~CameraService();
    CameraService(const CameraService &) = delete;
    CameraService &operator=(const CameraService &) = delete;

    static CameraService &instance();

    // A request, which runs on the camera's thread. It may still be running when the caller has
    // stopped waiting, so it owns what it uses; the camera's calls then end soon. When it fails
    // because the camera was removed, whatever error the driver returns, its status is
    // MRB_ERR_DEVICE_REMOVED.
    using Work = std::function<Status(Camera &camera)>;

    // Runs `work` after the camera's pending requests and returns its status; returns earlier on
    // a cancellation (MRB_ERR_CANCELLED), and at the timeout `limit` or when the camera does not
    // respond (MRB_ERR_TIMEOUT). `cancellation` is polled on the calling thread.
    Status run(const CameraAddress &address, Work work, const CancellationToken &cancellation = {},
               std::chrono::milliseconds limit = NO_LIMIT);

    // An asynchronous request. `ended`, if any, is called on the camera's thread with the status,
    // unless the service was shut down before.
    class Task;
    using Ended = std::function<void(const Status &status)>;
    std::shared_ptr<Task> start(const CameraAddress &address, Work work, Ended ended = {});
    Status wait(const std::shared_ptr<Task> &task, const CancellationToken &cancellation = {},
                std::chrono::milliseconds limit = NO_LIMIT);
    // Whether it has ended, and its status; or its camera does not respond (MRB_ERR_TIMEOUT).
    bool isOver(const std::shared_ptr<Task> &task, Status &status);
    // Cancels a request without waiting: it ends soon, or does not begin. Null: does nothing.
    static void abandon(const std::shared_ptr<Task> &task);

    // Reopens the camera before the next request: an open camera keeps returning what it listed
    // first.
    void refresh(const CameraAddress &address);

    // Cancels all requests and releases the cameras; threads that have not ended by the deadline
    // are detached: false. From now on every request returns MRB_ERR_CANCELLED.
    bool shutDown(std::chrono::steady_clock::time_point deadline);

  private:
    static bool finish(std::chrono::steady_clock::time_point deadline);

    struct Line; // the queue of one camera
    struct State;

    static void serve(const std::shared_ptr<State> &state, const std::shared_ptr<Line> &line);
    static Status work(const State &state, Line &line, Task &task, std::unique_ptr<Camera> &camera);
    static void checkPresence(const State &state, const Line &line, std::unique_ptr<Camera> &camera,
                              Status &status);

    const std::shared_ptr<State> state_; // shared with detached threads
    ThreadGroup threads_{"mrb-camera-io", "A camera does not answer."};
};

} // namespace mrb
