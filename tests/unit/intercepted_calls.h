#pragma once
// The bridge's calls of Clutter, of the engine and of the allocator, intercepted for
// white-box tests. Objects of these classes are created on the main thread, one of each
// class at a time.

#include <cstddef>
#include <string>
#include <vector>

#include <glib.h>

#include "memory.h"

/// A function that was queued on the main loop: the arguments of
/// clutter_threads_add_idle_full, which queues it all the same.
struct QueuedFunction {
    int priority;
    GSourceFunc function;
    void *data;
    GDestroyNotify notify;
};

/// Records, while it exists, what the main thread queues.
class QueuedFunctions {
  public:
    QueuedFunctions();
    QueuedFunctions(const QueuedFunctions &) = delete;
    QueuedFunctions &operator=(const QueuedFunctions &) = delete;
    ~QueuedFunctions();

    std::vector<QueuedFunction> all;
};

/// Records, while it exists, the names of the script functions whose keepers are destroyed.
class DestroyedFunctions {
  public:
    DestroyedFunctions();
    DestroyedFunctions(const DestroyedFunctions &) = delete;
    DestroyedFunctions &operator=(const DestroyedFunctions &) = delete;
    ~DestroyedFunctions();

    std::vector<std::string> names;
    size_t events_before = 0; ///< the length of the trace when the first was destroyed
};

/// While it exists, the bridge's allocation of an object of `size` bytes throws
/// std::bad_alloc.
class FailingAllocation {
  public:
    explicit FailingAllocation(size_t size);
    FailingAllocation(const FailingAllocation &) = delete;
    FailingAllocation &operator=(const FailingAllocation &) = delete;
    ~FailingAllocation();
};

/// By how many bytes each of `count` runs of `action` makes the process grow, on average.
template <typename Action>
double growthPerRun(Action action, int count = 10'000) {
    for (int run = 0; run < 100; ++run) { // what is allocated once and kept
        action();
    }
    const auto before = static_cast<double>(recording::allocatedBytes());
    for (int run = 0; run < count; ++run) {
        action();
    }
    return (static_cast<double>(recording::allocatedBytes()) - before) / count;
}

/// Less than what a leak of the smallest block costs (16 bytes), more than what caches
/// of the C library, of GLib and of the engine grow by.
inline constexpr double LEAKS_NOTHING = 4;
