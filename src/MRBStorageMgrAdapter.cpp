#include "MRBStorageMgrAdapter.h"

#include <json/value.h>

#include "envelope.h"
#include "log.h"

/// The last log line of every command.
#define LOG_ANSWER(command, result, answer)                                                                  \
    MRB_LOG(LogTag::StorageMgr, "strCmd[%s] eResult[%d] strReturnJson[%s].", command, result,                \
            (answer).c_str())

namespace MRBBridge {
namespace {

// "param_event" of the DLNA service document.
constexpr int SCRIPT_EVENT_DLNA_STARTED = 20;
constexpr int SCRIPT_EVENT_DLNA_NOT_STARTED = 21;

} // namespace

CMRBStorageMgrAdapter::~CMRBStorageMgrAdapter() {
    const std::string usb = UnsetUSBCallback();
    MRB_LOG(LogTag::StorageMgr, "strUnSetUsb [%s]\n", usb.c_str());
    const std::string dlna = UnsetDLNACallback();
    MRB_LOG(LogTag::StorageMgr, "strUnSetDlna [%s]\n", dlna.c_str());
    const std::string service = FinalizeDLNAService();
    MRB_LOG(LogTag::StorageMgr, "strFinalizeDlna [%s]\n", service.c_str());
}

std::string CMRBStorageMgrAdapter::UnsetUSBCallback() {
    const int result = mrb_unset_usb_callback();
    std::string answer = Answer(result);
    LOG_ANSWER("mrb_unset_usb_callback", result, answer);
    return answer;
}

std::string CMRBStorageMgrAdapter::UnsetDLNACallback() {
    const int result = mrb_unset_dlna_callback();
    std::string answer = Answer(result);
    LOG_ANSWER("mrb_unset_dlna_callback", result, answer);
    return answer;
}

std::string CMRBStorageMgrAdapter::FinalizeDLNAService() {
    // What the service reports while it stops goes the way of its other states.
    const int result = mrb_finalize_dlna_service(&CMRBStorageMgrAdapter::cb_dlna_initialize, this);
    std::string answer = Answer(result);
    LOG_ANSWER("mrb_finalize_dlna_service", result, answer);
    return answer;
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

/// Defines a command that is refused as a call the bridge cannot serve: the
/// framework is not asked, and no script takes the answer for a success.
#define REFUSED_COMMAND(operation, command)                                                                  \
    std::string CMRBStorageMgrAdapter::operation() {                                                         \
        std::string answer = Answer(RETURN_ECODE_REFUSED);                                                   \
        LOG_ANSWER(command, RETURN_ECODE_REFUSED, answer);                                                   \
        return answer;                                                                                       \
    }

REFUSED_COMMAND(SetUSBCallback, "mrb_set_usb_callback")
REFUSED_COMMAND(GetUSBList, "mrb_get_usb_list")
REFUSED_COMMAND(GetPTPList, "mrb_get_ptp_list")
REFUSED_COMMAND(InitDLNAService, "mrb_Init_dlna_service")
REFUSED_COMMAND(SetDLNACallback, "mrb_set_dlna_callback")
REFUSED_COMMAND(GetDLNAList, "mrb_get_dlna_list")
#undef REFUSED_COMMAND

} // namespace MRBBridge
