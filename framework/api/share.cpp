// The batch share process.

#include "mrb/share.h"

#include <memory>

#include "api/c_api.h"
#include "api/session_manager.h"
#include "share/shares.h"

// The object behind mrb_share_param_h; owned by the client that created it.
struct mrb_share_param_s : mrb::ShareRequest {};

// The object behind mrb_share_user_data_param_h; the client's until it is passed to
// mrb_batch_process_v2, the framework's from then on.
struct mrb_share_user_data_param_s : mrb::ShareCallback {};

using mrb::SessionManager;
using mrb::ShareCallback;
using mrb::ShareRequest;

namespace {

template <typename Value>
int setValue(mrb_share_param_h param, Value ShareRequest::*member, Value value) {
    return mrb::setValue<ShareRequest>(param, member, value);
}

int setText(mrb_share_param_h param, std::string ShareRequest::*member, const char *text) {
    return mrb::setText<ShareRequest>(param, member, text);
}

} // namespace

int mrb_create_share_param(mrb_share_param_h *param) { return mrb::createObject(param); }

int mrb_destroy_share_param(mrb_share_param_h param) { return mrb::destroyObject(param); }

int mrb_param_set_share_source_dev_type(mrb_share_param_h param, int device_type) {
    return setValue(param, &ShareRequest::sourceDeviceType, device_type);
}

int mrb_param_set_share_dest_dev_type(mrb_share_param_h param, int device_type) {
    return setValue(param, &ShareRequest::destinationDeviceType, device_type);
}

int mrb_param_set_share_dest_dev_path(mrb_share_param_h param, const char *path) {
    return setText(param, &ShareRequest::destinationPath, path);
}

int mrb_param_set_share_dlna_device_id(mrb_share_param_h param, const char *device_id) {
    return setText(param, &ShareRequest::dlnaDeviceId, device_id);
}

int mrb_param_set_share_dlna_service_provider(mrb_share_param_h param, const char *provider) {
    return setText(param, &ShareRequest::dlnaServiceProvider, provider);
}

int mrb_param_set_share_lock(mrb_share_param_h param, bool lock) {
    return setValue(param, &ShareRequest::lock, lock);
}

int mrb_create_share_user_data_param(mrb_share_user_data_param_h *param) { return mrb::createObject(param); }

int mrb_param_set_share_user_data_udata(mrb_share_user_data_param_h param, void *user_data) {
    return mrb::setValue<ShareCallback>(param, &ShareCallback::userData, user_data);
}

int mrb_param_set_share_user_data_cb(mrb_share_user_data_param_h param, mrb_batch_process_cb callback) {
    return mrb::setValue<ShareCallback>(param, &ShareCallback::function, callback);
}

int mrb_batch_process_v2(int share_type, mrb_share_param_h param, mrb_agent_handler_h agent,
                         mrb_share_user_data_param_h user_data_param, mrb_share_handler_h *share) {
    // The call takes ownership, so it has to release it.
    const std::unique_ptr<mrb_share_user_data_param_s> callback(user_data_param);
    if (param == nullptr || share == nullptr || !callback || callback->function == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return mrb::guard([&] {
        SessionManager &sessions = SessionManager::instance();
        return sessions.shares().start(share_type, *param, sessions.find(agent), *callback, share);
    });
}

int mrb_stop_batch_process_v2(mrb_share_handler_h share) {
    return mrb::guard([&] { return SessionManager::instance().shares().stop(share); });
}
