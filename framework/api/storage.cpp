// The storage manager: lists and their records, notifications.

#include "mrb/storage.h"

#include <memory>
#include <vector>

#include "api/c_api.h"
#include "dlna/dlna_service.h"
#include "storage/device_service.h"

using mrb::DeviceService;
using mrb::dlna::DlnaService;

struct mrb_storage_list_s {
    std::vector<_mrb_storage_s> records;
};

namespace {

int makeList(std::vector<mrb::Device> devices, mrb_storage_list_h *list) {
    auto made = std::make_unique<mrb_storage_list_s>();
    for (mrb::Device &device : devices) {
        made->records.push_back({std::move(device)});
    }
    *list = made.release();
    return MRB_ERR_NONE;
}

} // namespace

int mrb_get_usb_list(int kind, mrb_storage_list_h *list) {
    if (list == nullptr || (kind != MRB_STORAGE_KIND_USB && kind != MRB_STORAGE_KIND_PTP)) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return mrb::guard([&] {
        const auto deviceKind = kind == MRB_STORAGE_KIND_USB ? mrb::DeviceKind::USB : mrb::DeviceKind::CAMERA;
        return makeList(DeviceService::instance().list(deviceKind), list);
    });
}

int mrb_get_dlna_list(mrb_storage_list_h *list) {
    if (list == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return mrb::guard([&] {
        std::vector<mrb::Device> servers;
        const int code = DlnaService::instance().list(servers);
        return code == MRB_ERR_NONE ? makeList(std::move(servers), list) : code;
    });
}

int mrb_storage_get_list_count(mrb_storage_list_h list) {
    return list != nullptr ? static_cast<int>(list->records.size()) : 0;
}

_mrb_storage_s *mrb_storage_get_storage(int index, mrb_storage_list_h list) {
    return index >= 0 && index < mrb_storage_get_list_count(list) ? &list->records[index] : nullptr;
}

int mrb_storage_list_destory(mrb_storage_list_h list) { return mrb::destroyObject(list); }

// ---- a record's fields ------------------------------------------------------

// Defines a getter of a text, and of a number. Without a record they return "" and 0.
#define TEXT(name, member)                                                                                   \
    const char *mrb_storage_get_##name(_mrb_storage_s *storage) {                                            \
        return storage != nullptr ? storage->device.member.c_str() : "";                                     \
    }
#define NUMBER(type, name, member)                                                                           \
    type mrb_storage_get_##name(_mrb_storage_s *storage) {                                                   \
        return storage != nullptr ? storage->device.member : 0;                                              \
    }

TEXT(id, id)
TEXT(name, name)
NUMBER(long long, availablesize, available)
NUMBER(long long, totalsize, total)
TEXT(mountpath, mountPath)
NUMBER(int, filesystem, fileSystem)
TEXT(serialnumber, serial)
TEXT(vendor, vendor)
NUMBER(int, index, index)
NUMBER(int, address, address)
NUMBER(int, bus, bus)
TEXT(partitionlabel, label)
NUMBER(int, class, deviceClass)
TEXT(ip, ip)
#undef TEXT
#undef NUMBER

// Which devices these are is known only to televisions, so there are none here.
bool mrb_storage_get_bOrvaneDevice(_mrb_storage_s * /*storage*/) { return false; }

// ---- notifications ----------------------------------------------------------

int mrb_set_usb_callback(mrb_storage_notification_cb callback, void *user_data) {
    if (callback == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return mrb::guard([&] { return DeviceService::instance().setCallback(callback, user_data); });
}

int mrb_unset_usb_callback(void) {
    return mrb::guard([] { return DeviceService::instance().removeCallback(); });
}

int mrb_set_dlna_callback(mrb_storage_notification_cb callback, void *user_data) {
    if (callback == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return mrb::guard([&] { return DlnaService::instance().setCallback(callback, user_data); });
}

int mrb_unset_dlna_callback(void) {
    return mrb::guard([] { return DlnaService::instance().removeCallback(); });
}

int mrb_Init_dlna_service(mrb_dlna_state_cb callback, void *user_data) {
    if (callback == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return mrb::guard([&] { return DlnaService::instance().begin({callback, user_data}); });
}

int mrb_finalize_dlna_service(mrb_dlna_state_cb callback, void *user_data) {
    return mrb::guard([&] { return DlnaService::instance().end({callback, user_data}); });
}
