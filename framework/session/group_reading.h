#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>

#include "base/cancellation.h"
#include "list/grouping.h"

namespace mrb {

// Whether the files of a list are being read for the groups of its view, by which field,
// and on which thread. Owned by a ListSession; each member function says which thread calls
// it.
class GroupReading {
  public:
    // Reads for a grouping until it is cancelled; true: to the end.
    using Read = std::function<bool(Grouping grouping, const CancellationToken &cancellation)>;

    // Says what the view is grouped by now. True: `run` is to be called on a thread of its
    // own. Any thread.
    [[nodiscard]] bool want(Grouping grouping);

    // Says that the list is complete, before which nothing is read; the answer is that of
    // want. The thread that filled it, once.
    [[nodiscard]] bool listIsComplete();

    // Ends a reading under way, soon. A later want begins another. Any thread.
    void stop();

    // Says that there was no thread for run. The thread that had want's answer.
    void cannotRun();

    // Reads for what is wanted, until nothing is any more. One thread at a time.
    void run(const Read &read);

  private:
    [[nodiscard]] bool isDue(); // with lock_ held
    [[nodiscard]] Grouping next();

    std::atomic<std::uint32_t> turn_ = 0; // another one: the reading under way is in vain

    std::mutex lock_; // guards what follows
    Grouping wanted_ = Grouping::NONE;
    Grouping known_ = Grouping::NONE; // what was read last, to the end
    bool isComplete_ = false;         // the list
    bool isRunning_ = false;
};

} // namespace mrb
