#include "MRBStorageMgrAdapter.h"

#include <utility>

#include <json/value.h>

#include "command.h"
#include "storage_record.h"

namespace MRBBridge {
namespace {

// "param_event" of the DLNA service document.
constexpr int SCRIPT_EVENT_DLNA_STARTED = 20;
constexpr int SCRIPT_EVENT_DLNA_NOT_STARTED = 21;

/// The answer of a list command, from the framework's result and, on success, the list,
/// which is released here. A list without devices is written as a null value: scripts
/// rely on it.
std::string ListAnswer(int result, mrb_storage_list_h list, WriteRecord write) {
    if (result != MRB_ERR_NONE) {
        return Answer(result);
    }
    Json::Value document;
    const int count = mrb_storage_get_list_count(list);
    for (int index = 0; index < count; ++index) {
        Json::Value record;
        write(mrb_storage_get_storage(index, list), record);
        AppendRecord(document, std::move(record));
    }
    mrb_storage_list_destory(list);
    return Answer(result, RETURN_TYPE_TEXT, document.toStyledString());
}

/// The document that reports an arrival, a removal or a change to a script.
std::string Notification(mrb_storage_event_e event, _mrb_storage_s *device, WriteRecord write) {
    Json::Value record;
    record["storage_event"] = event;
    write(device, record);
    Json::Value document;
    AppendRecord(document, std::move(record));
    return document.toStyledString();
}

} // namespace

CMRBStorageMgrAdapter::~CMRBStorageMgrAdapter() {
    const std::string usb = UnsetUSBCallback();
    MRB_LOG(LogTag::StorageMgr, "strUnSetUsb [%s]\n", usb.c_str());
    const std::string dlna = UnsetDLNACallback();
    MRB_LOG(LogTag::StorageMgr, "strUnSetDlna [%s]\n", dlna.c_str());
    const std::string service = FinalizeDLNAService();
    MRB_LOG(LogTag::StorageMgr, "strFinalizeDlna [%s]\n", service.c_str());
}

// ---- commands ---------------------------------------------------------------

/// Defines a command that calls one framework function with these arguments, in parentheses,
/// and is logged under its name.
#define COMMAND(operation, function, arguments)                                                              \
    std::string CMRBStorageMgrAdapter::operation() {                                                         \
        RETURN_RESULT(LogTag::StorageMgr, #function, function arguments);                                    \
    }

COMMAND(SetUSBCallback, mrb_set_usb_callback, (&CMRBStorageMgrAdapter::cb_usb_notification, this))
COMMAND(UnsetUSBCallback, mrb_unset_usb_callback, ())

std::string CMRBStorageMgrAdapter::GetUSBList() {
    mrb_storage_list_h list = nullptr;
    const int result = mrb_get_usb_list(MRB_STORAGE_KIND_USB, &list);
    std::string answer = ListAnswer(result, list, &WriteUSBRecord);
    LOG_ANSWER(LogTag::StorageMgr, "mrb_get_usb_list", result, answer);
    return answer;
}

std::string CMRBStorageMgrAdapter::GetPTPList() {
    // Cameras are listed by the call that lists USB sticks.
    mrb_storage_list_h list = nullptr;
    const int result = mrb_get_usb_list(MRB_STORAGE_KIND_PTP, &list);
    std::string answer = ListAnswer(result, list, &WriteUSBRecord);
    LOG_ANSWER(LogTag::StorageMgr, "mrb_get_ptp_list", result, answer);
    return answer;
}

COMMAND(InitDLNAService, mrb_Init_dlna_service, (&CMRBStorageMgrAdapter::cb_dlna_initialize, this))
// The states that the service reports while it stops are delivered like all others.
COMMAND(FinalizeDLNAService, mrb_finalize_dlna_service, (&CMRBStorageMgrAdapter::cb_dlna_initialize, this))
COMMAND(SetDLNACallback, mrb_set_dlna_callback, (&CMRBStorageMgrAdapter::cb_dlna_notification, this))
COMMAND(UnsetDLNACallback, mrb_unset_dlna_callback, ())
#undef COMMAND

std::string CMRBStorageMgrAdapter::GetDLNAList() {
    mrb_storage_list_h list = nullptr;
    const int result = mrb_get_dlna_list(&list);
    std::string answer = ListAnswer(result, list, &WriteDLNARecord);
    LOG_ANSWER(LogTag::StorageMgr, "mrb_get_dlna_list", result, answer);
    return answer;
}

// ---- notifications ----------------------------------------------------------

void CMRBStorageMgrAdapter::cb_usb_notification(void *user_data, mrb_storage_event_e event,
                                                _mrb_storage_s *&device) {
    const auto *self = static_cast<const CMRBStorageMgrAdapter *>(user_data);
    MRB_ASSERT(self != nullptr, "self != __null");
    std::string document = Notification(event, device, &WriteUSBRecord);
    const CallbackEntry cb = self->callback_entry_;
    MRB_ASSERT(cb != nullptr, "cb != __null");
    cb(FUNC_SET_USB_CALLBACK, std::move(document), self->provider_);
}

void CMRBStorageMgrAdapter::cb_dlna_notification(void *user_data, mrb_storage_event_e event,
                                                 _mrb_storage_s *&device) {
    MRB_LOG(LogTag::StorageMgr, "Calling cb_dlna_notification...");
    const auto *self = static_cast<const CMRBStorageMgrAdapter *>(user_data);
    MRB_ASSERT(self != nullptr, "self != __null");
    std::string document = Notification(event, device, &WriteDLNARecord);
    const CallbackEntry cb = self->callback_entry_;
    MRB_ASSERT(cb != nullptr, "cb != __null");
    cb(FUNC_SET_DLNA_CALLBACK, std::move(document), self->provider_);
}

void CMRBStorageMgrAdapter::cb_dlna_initialize(mrb_asf_serviceconnector_state_e state, void *user_data) {
    const auto *self = static_cast<const CMRBStorageMgrAdapter *>(user_data);
    MRB_ASSERT(self != nullptr, "self != __null");
    Json::Value document;
    document["param_event"] =
        state == MRB_SERVICE_STATE_STARTED ? SCRIPT_EVENT_DLNA_STARTED : SCRIPT_EVENT_DLNA_NOT_STARTED;
    const CallbackEntry cb = self->callback_entry_;
    MRB_ASSERT(cb != nullptr, "cb != __null");
    cb(FUNC_INIT_DLNA_SERVICE, document.toStyledString(), self->provider_);
}

} // namespace MRBBridge
