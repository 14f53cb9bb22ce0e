#include "storage_record.h"

#include <type_traits>
#include <utility>

#include "MRBBridgeJson.h"

namespace MRBBridge {
namespace {

struct Field {
    const char *key;
    Json::Value (*read)(_mrb_storage_s *device);
};

template <auto Getter>
Json::Value Read(_mrb_storage_s *device) {
    const auto value = Getter(device);
    if constexpr (std::is_pointer_v<decltype(value)>) {
        return value == nullptr ? "" : value;
    } else if constexpr (sizeof(value) > sizeof(int)) {
        // Sizes are written as texts: a script's numbers would lose their low bits.
        return ConvertNumberToString(static_cast<long long>(value));
    } else {
        return value;
    }
}

constexpr Field usb_fields[] = {
    {"storage_id", &Read<&mrb_storage_get_id>},
    {"storage_name", &Read<&mrb_storage_get_name>},
    {"storage_availablesize", &Read<&mrb_storage_get_availablesize>},
    {"storage_totalsize", &Read<&mrb_storage_get_totalsize>},
    {"storage_mountpath", &Read<&mrb_storage_get_mountpath>},
    {"storage_filesystem", &Read<&mrb_storage_get_filesystem>},
    {"storage_serialnumber", &Read<&mrb_storage_get_serialnumber>},
    {"storage_vendor", &Read<&mrb_storage_get_vendor>},
    {"storage_index", &Read<&mrb_storage_get_index>},
    {"storage_address", &Read<&mrb_storage_get_address>},
    {"storage_bus", &Read<&mrb_storage_get_bus>},
    {"storage_partitionlabel", &Read<&mrb_storage_get_partitionlabel>},
    {"storage_class", &Read<&mrb_storage_get_class>},
};

constexpr Field dlna_fields[] = {
    {"storage_id", &Read<&mrb_storage_get_id>},
    {"storage_name", &Read<&mrb_storage_get_name>},
    {"storage_ip", &Read<&mrb_storage_get_ip>},
    {"storage_bOrvaneDev", &Read<&mrb_storage_get_bOrvaneDevice>},
};

} // namespace

void WriteUSBRecord(_mrb_storage_s *device, Json::Value &record) {
    for (const Field &field : usb_fields) {
        record[field.key] = field.read(device);
    }
}

void WriteDLNARecord(_mrb_storage_s *device, Json::Value &record) {
    for (const Field &field : dlna_fields) {
        record[field.key] = field.read(device);
    }
}

void AppendRecord(Json::Value &document, Json::Value &&record) {
    document["storage_devices"].append(std::move(record));
}

} // namespace MRBBridge
