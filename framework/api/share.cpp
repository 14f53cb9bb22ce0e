// The batch share process. Its parameter objects are real; no share runs.

#include "mrb/share.h"

#include <string>

#include "api/entry.h"

// The object behind mrb_share_param_h; owned by the client that created it.
struct mrb_share_param_s {
    int sourceDeviceType = 0;
    int destinationDeviceType = 0;
    std::string destinationPath;
    std::string dlnaDeviceId;
    std::string dlnaServiceProvider;
    bool lock = false;
};

// The object behind mrb_share_user_data_param_h; the client's until it is handed
// to mrb_batch_process_v2, the framework's from then on.
struct mrb_share_user_data_param_s {
    void *userData = nullptr;
    mrb_batch_process_cb callback = nullptr;
};

using Share = mrb_share_param_s;
using ShareUserData = mrb_share_user_data_param_s;

int mrb_create_share_param(mrb_share_param_h *param) { return mrb::createObject(param); }

int mrb_destroy_share_param(mrb_share_param_h param) { return mrb::destroyObject(param); }

int mrb_param_set_share_source_dev_type(mrb_share_param_h param, int device_type) {
    return mrb::setValue(param, &Share::sourceDeviceType, device_type);
}

int mrb_param_set_share_dest_dev_type(mrb_share_param_h param, int device_type) {
    return mrb::setValue(param, &Share::destinationDeviceType, device_type);
}

int mrb_param_set_share_dest_dev_path(mrb_share_param_h param, const char *path) {
    return mrb::setText(param, &Share::destinationPath, path);
}

int mrb_param_set_share_dlna_device_id(mrb_share_param_h param, const char *device_id) {
    return mrb::setText(param, &Share::dlnaDeviceId, device_id);
}

int mrb_param_set_share_dlna_service_provider(mrb_share_param_h param, const char *provider) {
    return mrb::setText(param, &Share::dlnaServiceProvider, provider);
}

int mrb_param_set_share_lock(mrb_share_param_h param, bool lock) {
    return mrb::setValue(param, &Share::lock, lock);
}

int mrb_create_share_user_data_param(mrb_share_user_data_param_h *param) { return mrb::createObject(param); }

int mrb_param_set_share_user_data_udata(mrb_share_user_data_param_h param, void *user_data) {
    return mrb::setValue(param, &ShareUserData::userData, user_data);
}

int mrb_param_set_share_user_data_cb(mrb_share_user_data_param_h param, mrb_batch_process_cb callback) {
    return mrb::setValue(param, &ShareUserData::callback, callback);
}

int mrb_batch_process_v2(int /*share_type*/, mrb_share_param_h /*param*/, mrb_agent_handler_h /*agent*/,
                         mrb_share_user_data_param_h user_data_param, mrb_share_handler_h * /*share*/) {
    // Handed over with the call, so nobody else would release it.
    delete user_data_param;
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_stop_batch_process_v2(mrb_share_handler_h /*share*/) { return MRB_ERR_NOT_SUPPORTED; }
