#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace mrb {

// Calls that may wait for a device, for ever where it is dying, made on threads of their own
// that are left behind at a deadline, so that the caller goes on. Any thread may use it.
class TimedCalls {
  public:
    // So many may be late at a time.
    static constexpr std::size_t MAX_LATE = 16;

    TimedCalls();

    // Makes `call`, which owns what it uses and throws nothing. False: it has not returned by
    // the deadline. As long as it has not, one of the same name is not made, and nor is any
    // other while MAX_LATE are late: false at once. Throws std::system_error when the system has no room
    // for the thread.
    bool run(const std::string &name, std::function<void()> call,
             std::chrono::steady_clock::time_point deadline);

  private:
    struct State;
    const std::shared_ptr<State> state_; // shared with those that are left behind
};

} // namespace mrb
