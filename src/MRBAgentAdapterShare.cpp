// The agent's batch share process: copying, sending or locking what is selected.

#include "MRBAgentAdapter.h"

#include "MRBBridgeJson.h"
#include "agent_command.h"
#include "envelope.h"
#include "request.h"

namespace MRBBridge {
namespace {

/// Reads the keys that a share type has, and sets its parameters. A type without any
/// is the framework's to judge.
void SetShareParams(mrb_share_param_h param, int share_type, const CMRBBridgeJson &json) {
    switch (share_type) {
    case MRB_SHARE_DELETE:
        mrb_param_set_share_source_dev_type(param, Int(json, "param_source_device_type"));
        break;
    case MRB_SHARE_COPY: {
        const int source = Int(json, "param_source_device_type");
        const int destination = Int(json, "param_dest_device_type");
        const std::string path = Text(json, "param_dest_device_path");
        mrb_param_set_share_source_dev_type(param, source);
        mrb_param_set_share_dest_dev_type(param, destination);
        mrb_param_set_share_dest_dev_path(param, path.c_str());
        break;
    }
    case MRB_SHARE_DLNA: {
        const int source = Int(json, "param_source_device_type");
        const int destination = Int(json, "param_dest_device_type");
        const std::string device_id = Text(json, "param_dlna_device_id");
        mrb_param_set_share_source_dev_type(param, source);
        mrb_param_set_share_dest_dev_type(param, destination);
        mrb_param_set_share_dlna_device_id(param, device_id.c_str());
        if (source == MRB_SHARE_DEVICE_DLNA) {
            mrb_param_set_share_dest_dev_path(param, Text(json, "param_dest_device_path").c_str());
        } else {
            mrb_param_set_share_dlna_service_provider(param,
                                                      Text(json, "param_dlna_service_provider").c_str());
        }
        break;
    }
    case MRB_SHARE_LOCK:
        mrb_param_set_share_lock(param, Bool(json, "param_is_lock"));
        break;
    default:
        break;
    }
}

} // namespace

std::string CMRBAgentAdapter::BatchProcess(const std::string &request) {
    LOG_REQUEST(BATCH_PROCESS, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int share_type = Int(json, "param_share_type");

    mrb_share_param_h param = nullptr;
    mrb_create_share_param(&param);
    SetShareParams(param, share_type, json);
    mrb_share_user_data_param_h user_data = nullptr; // the framework's from the start of the share on
    mrb_create_share_user_data_param(&user_data);
    mrb_param_set_share_user_data_udata(user_data, this);
    mrb_param_set_share_user_data_cb(user_data, &CMRBAgentAdapter::cb_batch_process);

    mrb_share_handler_h share = 0;
    const int result = mrb_batch_process_v2(share_type, param, agent, user_data, &share);
    mrb_destroy_share_param(param);
    if (result == MRB_ERR_NONE) {
        // The list, not the share: one that RequestList opened keeps its entry.
        handles_.insert({agent, BATCH_PROCESS});
    }
    RETURN_ANSWER(BATCH_PROCESS, result, RETURN_TYPE_INTEGER, static_cast<int>(share));
}

bool CMRBAgentAdapter::cb_batch_process(void *user_data, mrb_share_handler_h share, mrb_event_e event,
                                        mrb_share_status_info_s *status) {
    const auto *self = static_cast<const CMRBAgentAdapter *>(user_data);
    MRB_ASSERT(self != nullptr, "self != __null");
    CMRBBridgeJson json;
    json.Set("param_event", m_ConvertEvent(event));
    json.Set("param_share_handle", static_cast<int>(share));
    json.Set("param_share_total_file_count", static_cast<long long>(status->total_file_count));
    json.Set("param_share_done_file_count", static_cast<long long>(status->done_file_count));
    json.Set("param_share_total_file_size", static_cast<unsigned long long>(status->total_file_size));
    json.Set("param_share_success_file_size", static_cast<unsigned long long>(status->success_file_size));
    json.Set("param_share_current_file_size", static_cast<unsigned long long>(status->current_file_size));
    json.Set("param_share_progress_file_size", static_cast<unsigned long long>(status->progress_file_size));
    json.Set("param_share_current_file_name", static_cast<const char *>(status->current_file_name));
    const CallbackEntry cb = self->callback_entry_;
    MRB_ASSERT(cb != nullptr, "cb != __null");
    cb(FUNC_BATCH_PROCESS, json.ToString(), self->provider_);
    return true;
}

std::string CMRBAgentAdapter::StopBatchProcess(const std::string &request) {
    const char *const command = "mrb_stop_batch_process_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const int result = mrb_stop_batch_process_v2(Int(json, "param_share_handle"));
    RETURN_ANSWER(command, result);
}

} // namespace MRBBridge
