#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace mrb {

// A thread that is joined when it ends by a deadline, and detached when it does not: what it
// waits for, a device or a callback of the application, may never return. Owned by the object
// whose work it does, which is not destroyed as long as a detached thread may use it. Any thread
// may call it.
class JoinableThread {
  public:
    // `name` is the thread's, as startThread takes it; `blocker` is the reason that the warning
    // gives for a detached thread: "A device does not answer." Both outlive it.
    JoinableThread(const char *name, const char *blocker);
    // Waits without a deadline, also for a thread that was detached before.
    ~JoinableThread();
    JoinableThread(const JoinableThread &) = delete;
    JoinableThread &operator=(const JoinableThread &) = delete;

    // Does nothing when it was started before. Throws std::system_error when the system has no
    // room for the thread; it may then be started again.
    void start(std::function<void()> work);

    [[nodiscard]] bool isStarted() const;
    // Whether the caller is this thread.
    [[nodiscard]] bool isCurrent() const;

    // Returns true when the thread has ended, after its owner has requested that. False: it has
    // not by the deadline; it is detached, with a warning. Called on the thread itself this
    // detaches it and returns true at once. A thread that was never started has ended.
    bool finish(std::chrono::steady_clock::time_point deadline);

  private:
    struct State;

    const char *const name_;
    const char *const blocker_;
    const std::shared_ptr<State> state_; // shared with the thread
};

} // namespace mrb
