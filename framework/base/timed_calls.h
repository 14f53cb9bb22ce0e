#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace mrb {

// Makes calls that may wait for a device, for ever if it hangs, on threads of their own that are
// detached at a deadline, so that the caller continues. Any thread may use it.
class TimedCalls {
  public:
    // Maximum of late calls at a time.
    static constexpr std::size_t MAX_LATE = 16;

    TimedCalls();

    // Makes `call`, which owns what it uses and throws nothing. False: it has not returned by
    // the deadline. Until it has, another call of the same name is not made, and no call at all
    // is made while MAX_LATE are late: false at once. Throws std::system_error when the system
    // has no room for the thread.
    bool run(const std::string &name, std::function<void()> call,
             std::chrono::steady_clock::time_point deadline);

  private:
    struct State;
    const std::shared_ptr<State> state_; // shared with the detached threads
};

} // namespace mrb
