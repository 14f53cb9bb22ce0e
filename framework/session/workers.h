#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace mrb {

// The threads that fill lists, or copy files: one for each piece of work, since any
// may wait long for its device. Owned by the Framework; any thread may call it.
class Workers {
  public:
    // The name of its threads, at most 15 bytes, which outlives them.
    explicit Workers(const char *name) : name_(name), state_(std::make_shared<State>()) {}
    ~Workers();
    Workers(const Workers &) = delete;
    Workers &operator=(const Workers &) = delete;

    // Runs `work` on a thread of its own. Throws std::system_error when the
    // system has no room for another thread, or when they were finished.
    void start(std::function<void()> work);

    // Waits for all of them; those still busy at the deadline are left behind. False: some
    // were.
    bool finish(std::chrono::steady_clock::time_point deadline);

  private:
    struct State {
        std::mutex lock; // guards what follows
        std::condition_variable someDone;
        std::size_t busy = 0;
        bool finished = false;
    };

    const char *const name_;
    // Shared with the threads, none of which is waited for but by its last act.
    const std::shared_ptr<State> state_;
};

} // namespace mrb
