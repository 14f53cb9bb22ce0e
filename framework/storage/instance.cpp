// The process's device service, and its end.

#include <cstdlib>

#include "storage/device_service.h"

namespace mrb {
namespace {

// How long a process that ends waits for callbacks and devices.
constexpr auto FAREWELL = std::chrono::seconds(2);

} // namespace

DeviceService &DeviceService::instance() {
    // Never destroyed: a thread that is left behind, and clients that come late, still use it.
    static DeviceService &service = []() -> DeviceService & {
        auto &made = *new DeviceService(makeDeviceSources);
        std::atexit([] { instance().shutDown(std::chrono::steady_clock::now() + FAREWELL); });
        return made;
    }();
    return service;
}

} // namespace mrb
