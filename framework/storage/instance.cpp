// The process's device service, and its end.

#include "base/process_exit.h"
#include "storage/device_service.h"

namespace mrb {
namespace {

bool finish(std::chrono::steady_clock::time_point deadline) {
    return DeviceService::instance().shutDown(deadline);
}

} // namespace

DeviceService &DeviceService::instance() {
    // Never destroyed: a thread that is left behind, and clients that come late, still use it.
    static DeviceService &service = []() -> DeviceService & {
        auto &made = *new DeviceService(makeDeviceSources);
        finishAtExit(finish);
        return made;
    }();
    return service;
}

} // namespace mrb
