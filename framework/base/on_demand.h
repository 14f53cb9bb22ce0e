#pragma once

#include <atomic>

#include "base/mutex.h"

namespace mrb {

// An object that the process creates on first use and keeps until its end. Unlike with a
// function's static, a failure is an ordinary result: what was missing, as open files or
// memory, may be available the next time, and other waiting threads continue (under
// ThreadSanitizer's runtime they sleep for ever when a static throws). Any thread.
template <typename Made>
class OnDemand {
  public:
    // `make` returns an object that is never destroyed, and never null; this throws what it throws.
    template <typename Make>
    Made &get(Make make) {
        if (Made *const made = made_.load(std::memory_order_acquire)) {
            return *made;
        }
        const MutexLock guard(making_);
        Made *made = made_.load(std::memory_order_relaxed);
        if (made == nullptr) {
            made = make();
            made_.store(made, std::memory_order_release);
        }
        return *made;
    }
    Made &get() {
        return get([] { return new Made; });
    }

  private:
    Mutex making_; // held while it is made
    std::atomic<Made *> made_ = nullptr;
};

} // namespace mrb
