#pragma once
// Storage devices as scripts see them: one JSON object for each, the same in lists
// and in notifications.

#include <json/value.h>

#include "mrb/storage.h"

namespace MRBBridge {

/// Adds a device's keys to `record`. Calls the framework's getters one after the other,
/// in the order of the table; the device is only read. Any thread.
using WriteRecord = void (*)(_mrb_storage_s *device, Json::Value &record);

/// A USB stick or a camera.
void WriteUSBRecord(_mrb_storage_s *device, Json::Value &record);

/// A DLNA server.
void WriteDLNARecord(_mrb_storage_s *device, Json::Value &record);

/// Appends a record to the devices of a document: a list's or a notification's.
void AppendRecord(Json::Value &document, Json::Value &&record);

} // namespace MRBBridge
