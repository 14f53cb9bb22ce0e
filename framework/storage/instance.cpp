// The process's device service, and its shutdown.

#include "base/on_demand.h"
#include "base/process_exit.h"
#include "storage/device_service.h"

namespace mrb {
namespace {

bool finish(std::chrono::steady_clock::time_point deadline) {
    return DeviceService::instance().shutDown(deadline);
}

} // namespace

DeviceService &DeviceService::instance() {
    static OnDemand<DeviceService> service;
    return service.get([] {
        auto *made =
            new DeviceService(makeDeviceSources, CapacityProbe::instance(), DeviceLimits::ofEnvironment());
        finishAtExit(finish);
        return made;
    });
}

} // namespace mrb
