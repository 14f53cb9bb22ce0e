#pragma once

#include <atomic>
#include <mutex>

namespace mrb {

// Something that the process makes when it is first asked for and keeps to its end: it is never
// destroyed, since detached threads and clients that come late may still use it. Unlike
// with a function's static, failing is a result like any other: what lacked then, as
// open files or memory, may be there the next time, and who waits for it goes on
// (ThreadSanitizer's runtime leaves those asleep whose static throws). A static object itself.
// Any thread.
template <typename Made>
class OnDemand {
  public:
    // `make` returns what is never destroyed, and never null; what it throws, this throws.
    template <typename Make>
    Made &get(Make make) {
        if (Made *const made = made_.load(std::memory_order_acquire)) {
            return *made;
        }
        const std::lock_guard guard(making_);
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
    std::mutex making_; // held while it is made
    std::atomic<Made *> made_ = nullptr;
};

} // namespace mrb
