#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <span>

#include "storage/device.h"

namespace mrb {

// Asks mounted devices for their sizes on threads that may be left behind: a device that is
// dying, or a file system whose program hangs, answers late or never. The process has
// one, see instance(); any thread may call it.
class SizeGauge {
  public:
    using Ask = std::function<void(Device &)>;

    // `ask` fills in the sizes of one device, from any thread, and outlives all answers.
    explicit SizeGauge(Ask ask);

    static SizeGauge &instance();

    // Brings the sizes of each device up to date. One that does not answer by the deadline
    // keeps those that it has; until it has answered it is not asked again, and nothing
    // waits for it.
    void measure(std::span<Device> devices, std::chrono::steady_clock::time_point deadline);

  private:
    struct Asked;
    struct Round;
    struct State;

    static void work(State &state, Round &round);
    void startWorker(const std::shared_ptr<Round> &round);

    const std::shared_ptr<State> state_; // shared with those that are left behind
};

} // namespace mrb
