#pragma once

#include <chrono>

namespace mrb {

// Timeouts for devices that do not respond.
struct DeviceLimits {
    // A call, for the scan and for sizes together: the call may come from the application's
    // main thread. Later calls do not wait for a scan that takes longer.
    std::chrono::milliseconds call = std::chrono::milliseconds(100);
    // The same until the first scan has ended. For a program that lists once and sets no callback the
    // first result is the only one, and on a busy machine the first scan takes its time.
    std::chrono::milliseconds firstCall = std::chrono::seconds(1);
    // An event, for the sizes in its record.
    std::chrono::milliseconds event = std::chrono::milliseconds(300);

    // The same with the environment's MRB_DEVICE_TIMEOUT, milliseconds from 1 to 60,000, as both
    // timeouts of a call: for machines on which the usual ones are too short. Anything else is
    // ignored with a warning.
    static DeviceLimits ofEnvironment();
};

} // namespace mrb
