#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace mrb {

// Threads that each run one task, since any task may wait long for its device, and that are
// joined together at the end. Any thread may call it.
class ThreadGroup {
  public:
    // `name` is that of its threads, as startThread takes it; `blocker` is the reason that the
    // warning gives for a detached one: "A device does not answer." Both outlive it.
    ThreadGroup(const char *name, const char *blocker);
    // Waits without a deadline.
    ~ThreadGroup();
    ThreadGroup(const ThreadGroup &) = delete;
    ThreadGroup &operator=(const ThreadGroup &) = delete;

    // Runs `work` on a thread of its own. Throws std::system_error when the
    // system has no room for another thread, or when the group was finished.
    void start(std::function<void()> work);

    // Waits for all of them; those still busy at the deadline are detached, with a warning for
    // each. False: some were.
    bool finish(std::chrono::steady_clock::time_point deadline);

  private:
    struct State;

    const char *const name_;
    const char *const blocker_;
    // Shared with the threads, since detached ones outlive this object.
    const std::shared_ptr<State> state_;
};

} // namespace mrb
