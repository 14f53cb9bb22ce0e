#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "mrb/storage.h"

namespace support {

// A device's record, copied through the getters.
struct Record {
    explicit Record(_mrb_storage_s *storage);

    std::string id, name, mountPath, serial, vendor, label;
    long long available = -1, total = -1;
    int fileSystem = -1, index = -1, address = -1, bus = -1, deviceClass = -1;
};

struct DeviceEvent {
    mrb_storage_event_e event;
    Record record;
    std::thread::id thread;
};

// The devices of a list.
std::vector<Record> listDevices(int kind = MRB_STORAGE_KIND_USB);

// The first list for which `isRight` is true: a busy machine may return some before a change
// is seen. A test failure at the timeout.
std::vector<Record> listUntil(const std::function<bool(const std::vector<Record> &)> &isRight,
                              int kind = MRB_STORAGE_KIND_USB);

// The result of mrb_get_storage_id_v2, tried again while a busy machine makes it time out.
std::pair<int, std::string> storageId(const std::string &path);

// Receives device events as long as it lives. Used by one test thread.
class DeviceObserver {
  public:
    DeviceObserver();
    ~DeviceObserver();
    DeviceObserver(const DeviceObserver &) = delete;
    DeviceObserver &operator=(const DeviceObserver &) = delete;

    // Waits until that many events came; all that did. A test failure at the timeout.
    std::vector<DeviceEvent> waitFor(std::size_t number);
    // Those that came until now.
    std::vector<DeviceEvent> events();

    // Called for each event, after it was kept.
    std::function<void(const DeviceEvent &)> onEvent;

  private:
    static void receive(void *self, mrb_storage_event_e event, _mrb_storage_s *&storage);

    std::mutex lock_;
    std::condition_variable arrived_;
    std::vector<DeviceEvent> events_;
};

} // namespace support
