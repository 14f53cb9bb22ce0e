#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

namespace mrb {

// The threads that fill lists, or copy files: one for each piece of work, since any
// may wait long for its device. Owned by the Framework; any thread may call it.
class Workers {
  public:
    // The name of its threads, at most 15 bytes, which outlives them.
    explicit Workers(const char *name) : name_(name) {}
    ~Workers();
    Workers(const Workers &) = delete;
    Workers &operator=(const Workers &) = delete;

    // Runs `work` on a thread of its own. Throws std::system_error when the
    // system has no room for another thread, or when they were finished.
    void start(std::function<void()> work);

    // Waits for all of them; those still busy at the deadline are left behind.
    void finish(std::chrono::steady_clock::time_point deadline);

  private:
    struct Worker {
        std::thread thread;
        bool done = false; // guarded by lock_
    };

    void joinDone(); // with lock_ held

    const char *const name_;

    std::mutex lock_; // guards what follows
    std::condition_variable someDone_;
    // Shared with the threads: one that is left behind still has its own record.
    std::list<std::shared_ptr<Worker>> workers_;
    bool finished_ = false;
};

} // namespace mrb
