#pragma once

#include <mutex>

namespace mrb {

// Something that the process makes when it is first asked for and keeps to its end. Unlike
// with a function's static, failing is an answer like any other: what lacked then, as
// open files or memory, may be there the next time, and who waits meanwhile goes on
// (ThreadSanitizer's runtime leaves those asleep whose static throws). Any thread.
template <typename Made>
class OnDemand {
  public:
    // `make` returns what is never destroyed, and never null; what it throws, this throws.
    template <typename Make>
    Made &get(Make make) {
        const std::lock_guard guard(lock_);
        if (made_ == nullptr) {
            made_ = make();
        }
        return *made_;
    }

  private:
    std::mutex lock_; // guards what follows
    Made *made_ = nullptr;
};

} // namespace mrb
