#pragma once

#include <chrono>
#include <memory>
#include <vector>

#include "base/descriptor.h"
#include "base/joinable_thread.h"
#include "base/mutex.h"
#include "watch/watch.h"

namespace mrb {

// The one thread that watches what all lists were read from. Owned by the SessionManager;
// any thread may call it.
//
// A change is reported once a source has been quiet for a moment, since changes rarely
// come alone; a list is notified once, and afterwards only of its source's removal.
class WatchThread {
  public:
    // Every watched list holds an inotify instance; the limit per user is 128.
    static constexpr std::size_t MAX_LISTS = 64;

    WatchThread() = default;
    ~WatchThread();
    WatchThread(const WatchThread &) = delete;
    WatchThread &operator=(const WatchThread &) = delete;

    // Watches for `list` from now on. Throws std::system_error when the system has
    // no room for the thread.
    void watch(const std::shared_ptr<WatchObserver> &list, std::unique_ptr<Watch> source);

    // Ends that soon; the watch thread cleans up. Does nothing when the list is not watched.
    void forget(const WatchObserver &list) MRB_EXCLUDES(lock_);

    // Ends the thread. If it is still blocked by a device at the deadline, it is detached: false.
    bool finish(std::chrono::steady_clock::time_point deadline);

  private:
    using Time = std::chrono::steady_clock::time_point;

    struct Entry {
        const WatchObserver *key;
        std::weak_ptr<WatchObserver> list;
        bool forgotten = false; // guarded by lock_
        // Used by the watch thread alone:
        std::unique_ptr<Watch> source;
        bool isNew = true;    // and may have missed a mount before it was added
        bool changed = false; // and not yet reported
        bool notified = false;
        Time firstChange{};
        Time lastChange{};

        [[nodiscard]] Time due() const;
    };
    using Entries = std::vector<std::shared_ptr<Entry>>;

    void start() MRB_REQUIRES(lock_);
    void run();
    void wake() const;
    [[nodiscard]] bool collect(Entries &entries) MRB_EXCLUDES(lock_);
    void handle(Entry &entry, bool readable, bool mountsChanged) MRB_EXCLUDES(lock_);

    Mutex lock_;
    Entries entries_ MRB_GUARDED_BY(lock_);
    bool finishing_ MRB_GUARDED_BY(lock_) = false;

    // Set before the thread starts.
    Descriptor wake_;
    Descriptor mounts_;

    JoinableThread thread_{"mrb-watch", "A watched device does not answer."};
};

} // namespace mrb
