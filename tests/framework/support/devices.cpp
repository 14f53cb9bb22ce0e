#include "support/devices.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>

#include "mrb/agent.h"
#include "support/client.h"

namespace support {
namespace {

// A call waits for the scan of the devices however busy the machine is. Read by the framework on
// its first scan; a SilentFileSystem restores the usual timeouts.
const bool isPatient [[maybe_unused]] = setenv("MRB_DEVICE_TIMEOUT", "30000", 0) == 0;

} // namespace

Record::Record(_mrb_storage_s *storage)
    : id(mrb_storage_get_id(storage)), name(mrb_storage_get_name(storage)),
      mountPath(mrb_storage_get_mountpath(storage)), serial(mrb_storage_get_serialnumber(storage)),
      vendor(mrb_storage_get_vendor(storage)), label(mrb_storage_get_partitionlabel(storage)),
      available(mrb_storage_get_availablesize(storage)), total(mrb_storage_get_totalsize(storage)),
      fileSystem(mrb_storage_get_filesystem(storage)), index(mrb_storage_get_index(storage)),
      address(mrb_storage_get_address(storage)), bus(mrb_storage_get_bus(storage)),
      deviceClass(mrb_storage_get_class(storage)) {}

std::vector<Record> listDevices(int kind) {
    std::vector<Record> records;
    mrb_storage_list_h list = nullptr;
    EXPECT_EQ(mrb_get_usb_list(kind, &list), MRB_ERR_NONE);
    const int count = mrb_storage_get_list_count(list);
    records.reserve(static_cast<std::size_t>(count));
    for (int index = 0; index < count; ++index) {
        records.emplace_back(mrb_storage_get_storage(index, list));
    }
    mrb_storage_list_destory(list);
    return records;
}

std::vector<Record> listUntil(const std::function<bool(const std::vector<Record> &)> &isRight, int kind) {
    const auto limit = std::chrono::steady_clock::now() + LIMIT;
    std::vector<Record> records = listDevices(kind);
    while (!isRight(records) && std::chrono::steady_clock::now() < limit) {
        std::this_thread::yield();
        records = listDevices(kind);
    }
    EXPECT_TRUE(isRight(records)) << records.size() << " devices";
    return records;
}

std::pair<int, std::string> storageId(const std::string &path) {
    const auto limit = std::chrono::steady_clock::now() + LIMIT;
    char *text = nullptr;
    int code = MRB_ERR_TIMEOUT;
    while (code == MRB_ERR_TIMEOUT && std::chrono::steady_clock::now() < limit) {
        code = mrb_get_storage_id_v2(path.c_str(), &text);
    }
    std::string id = text != nullptr ? text : "";
    std::free(text);
    return {code, id};
}

DeviceObserver::DeviceObserver() { EXPECT_EQ(mrb_set_usb_callback(receive, this), MRB_ERR_NONE); }

DeviceObserver::~DeviceObserver() { mrb_unset_usb_callback(); }

void DeviceObserver::receive(void *self, mrb_storage_event_e event, _mrb_storage_s *&storage) {
    auto &observer = *static_cast<DeviceObserver *>(self);
    const DeviceEvent received{event, Record(storage), std::this_thread::get_id()};
    {
        const std::lock_guard guard(observer.lock_);
        observer.events_.push_back(received);
        observer.arrived_.notify_all();
    }
    if (observer.onEvent) {
        observer.onEvent(received);
    }
}

std::vector<DeviceEvent> DeviceObserver::waitFor(std::size_t number) {
    std::unique_lock guard(lock_);
    EXPECT_TRUE(arrived_.wait_for(guard, LIMIT, [&] { return events_.size() >= number; }))
        << events_.size() << " events of " << number;
    return events_;
}

std::vector<DeviceEvent> DeviceObserver::events() {
    const std::lock_guard guard(lock_);
    return events_;
}

} // namespace support
