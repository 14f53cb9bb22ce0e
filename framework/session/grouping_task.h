#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

#include "base/cancellation.h"
#include "base/mutex.h"
#include "list/grouping.h"

namespace mrb {

// The state of reading a list's files for the groups of its view: by which field, and on which
// thread. Owned by a ListSession; each member function says which thread calls it.
class GroupingTask {
  public:
    // Reads for a grouping until it is cancelled; true: to the end.
    using Read = std::function<bool(Grouping grouping, const CancellationToken &cancellation)>;

    // Sets the grouping of the view. True: `run` is to be called on a thread of its own. Any
    // thread.
    [[nodiscard]] bool request(Grouping grouping);

    // Called when the list is complete, before which nothing is read; returns the same as request.
    // The thread that filled the list, once.
    [[nodiscard]] bool listIsComplete();

    // Cancels a running reading, soon. A later request starts another. Any thread.
    void cancel();

    // Called when no thread could be started for run. The thread that called request.
    void abort();

    // Reads for the requested groupings, until none is left. One thread at a time.
    void run(const Read &read);

  private:
    [[nodiscard]] bool isDue() MRB_REQUIRES(lock_);
    [[nodiscard]] Grouping next() MRB_EXCLUDES(lock_);

    std::atomic<std::uint32_t> turn_ = 0; // changes when the running reading becomes obsolete

    Mutex lock_;
    Grouping requested_ MRB_GUARDED_BY(lock_) = Grouping::NONE;
    Grouping lastRead_ MRB_GUARDED_BY(lock_) = Grouping::NONE; // the last grouping that was read to the end
    bool isComplete_ MRB_GUARDED_BY(lock_) = false;            // the list
    bool isRunning_ MRB_GUARDED_BY(lock_) = false;
};

} // namespace mrb
