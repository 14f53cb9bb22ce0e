#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <span>

#include "storage/device.h"

namespace mrb {

// Reads the sizes of mounted devices on threads that may be detached: a device that fails,
// or a FUSE file system whose program hangs, responds late or never. The process has one,
// see instance(); any thread may call it.
class CapacityProbe {
  public:
    using ReadSizes = std::function<void(Device &)>;

    // `readSizes` fills in the sizes of one device, is called on any thread, and outlives all requests.
    explicit CapacityProbe(ReadSizes readSizes);

    static CapacityProbe &instance();

    // Updates the sizes of each device. A device that does not respond by the deadline keeps
    // the sizes that it has; until it has responded, no further request is sent to it, and
    // no call waits for it.
    void measure(std::span<Device> devices, std::chrono::steady_clock::time_point deadline);

  private:
    struct Request;
    struct Round;
    struct State;

    static void work(State &state, Round &round);
    void startWorker(const std::shared_ptr<Round> &round);

    const std::shared_ptr<State> state_; // shared with detached threads
};

} // namespace mrb
