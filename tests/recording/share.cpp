// The recorded batch share process.

#include "mrb/share.h"

#include "callbacks.h"
#include "function.h"

using recording::NewHandle;
using recording::Numbering;
using recording::Reply;
using recording::UserData;

RECORDED(int, mrb_create_share_param, (mrb_share_param_h * param), (param), Reply{{}, NewHandle{}})
RECORDED(int, mrb_destroy_share_param, (mrb_share_param_h param), (param))

#define SETTER(name, type)                                                                                   \
    RECORDED(int, mrb_param_set_share_##name, (mrb_share_param_h param, type value), (param, value))

SETTER(source_dev_type, int)
SETTER(dest_dev_type, int)
SETTER(dest_dev_path, const char *)
SETTER(dlna_device_id, const char *)
SETTER(dlna_service_provider, const char *)
SETTER(lock, bool)

RECORDED(int, mrb_create_share_user_data_param, (mrb_share_user_data_param_h * param), (param),
         Reply{{}, NewHandle{}})

static recording::Function set_user_data("mrb_param_set_share_user_data_udata");
static recording::Function set_callback("mrb_param_set_share_user_data_cb");
static recording::Function batch_process("mrb_batch_process_v2", Reply{{}, NewHandle{}},
                                         Numbering::PerProcess);

extern "C" int mrb_param_set_share_user_data_udata(mrb_share_user_data_param_h param, void *user_data) {
    recording::setShareUserData(user_data);
    return set_user_data.call<int>(param, UserData{user_data});
}

extern "C" int mrb_param_set_share_user_data_cb(mrb_share_user_data_param_h param,
                                                mrb_batch_process_cb callback) {
    recording::setShareCallback(callback);
    return set_callback.call<int>(param, callback);
}

extern "C" int mrb_batch_process_v2(int share_type, mrb_share_param_h param, mrb_agent_handler_h agent,
                                    mrb_share_user_data_param_h user_data_param, mrb_share_handler_h *share) {
    recording::addShare();
    return batch_process.call<int>(share_type, param, agent, user_data_param, share);
}

RECORDED(int, mrb_stop_batch_process_v2, (mrb_share_handler_h share), (share))
