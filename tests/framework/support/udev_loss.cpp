// Stands in front of libudev's function, for the library under test as well.

#include "support/udev_loss.h"

#include <dlfcn.h>
#include <libudev.h>

#include <atomic>
#include <cerrno>

namespace {

std::atomic<bool> loses = false;

} // namespace

void support::loseUdevEvents() { loses = true; }

extern "C" [[gnu::visibility("default")]] udev_device *udev_monitor_receive_device(udev_monitor *monitor) {
    using Receive = udev_device *(udev_monitor *);
    static auto *const receive = reinterpret_cast<Receive *>(dlsym(RTLD_NEXT, "udev_monitor_receive_device"));
    udev_device *device = receive(monitor);
    if (device == nullptr || !loses.exchange(false)) {
        return device;
    }
    for (; device != nullptr; device = receive(monitor)) {
        udev_device_unref(device);
    }
    errno = ENOBUFS;
    return nullptr;
}
