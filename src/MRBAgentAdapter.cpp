#include "MRBAgentAdapter.h"

#include <array>

#include "MRBBridgeJson.h"
#include "agent_command.h"
#include "envelope.h"
#include "list_source.h"
#include "log.h"
#include "mrb/share.h"
#include "request.h"

namespace MRBBridge {

// ---- life -------------------------------------------------------------------

CMRBAgentAdapter::CMRBAgentAdapter() { m_InitFieldType(field_types_); }

CMRBAgentAdapter::~CMRBAgentAdapter() {
    MRB_LOG(LogTag::Agent, "Start to destroy CMRBAgentAdapter[%p].", static_cast<void *>(this));
    m_DestroyHandler();
    field_types_.clear();
    MRB_LOG(LogTag::Agent, "End to destroy CMRBAgentAdapter[%p].", static_cast<void *>(this));
    handles_.clear();
}

void CMRBAgentAdapter::m_DestroyHandler() {
    std::vector<int> send;
    std::vector<int> agent;
    // The walk looks at the first entry again in every turn. That is how the
    // platform's applications know it: an object that opened a list stays until
    // its application ends, and none is disconnected behind a script's back.
    for (const auto entry = handles_.begin(); entry != handles_.end();) {
        const auto [handle, command] = *entry;
        if (command == REQUEST_LIST) {
            agent.push_back(handle);
        } else if (command == BATCH_PROCESS) {
            send.push_back(handle);
        } else {
            MRB_LOG(LogTag::Agent, "Error handle[%s].", command.c_str());
            return;
        }
    }
    m_DestroyHandler(send, agent);
}

void CMRBAgentAdapter::m_DestroyHandler(const std::vector<int> &send, const std::vector<int> &agent) {
    MRB_LOG(LogTag::Agent, "Num of handle for send[%d].", static_cast<int>(send.size()));
    for (const int handle : send) {
        MRB_LOG(LogTag::Agent, "Stop Send Handle[%p].", HandlePointer(handle));
        if (mrb_stop_batch_process_v2(handle) != MRB_ERR_NONE) {
            MRB_LOG(LogTag::Agent, "Destroy Handle[%p] faild.", HandlePointer(handle));
            break;
        }
    }
    MRB_LOG(LogTag::Agent, "Num of handle for agent[%d].", static_cast<int>(agent.size()));
    for (const int handle : agent) {
        MRB_LOG(LogTag::Agent, "Disconnect Agent Handle[%p].", HandlePointer(handle));
        if (mrb_disconnect_v2(handle) != MRB_ERR_NONE) {
            MRB_LOG(LogTag::Agent, "Destroy Handle[%p] faild.", HandlePointer(handle));
            break;
        }
    }
}

// ---- opening and closing a list ---------------------------------------------

std::string CMRBAgentAdapter::RequestList(const std::string &request) {
    LOG_REQUEST(REQUEST_LIST, request);
    const CMRBBridgeJson json(request);
    const std::string source_name = Text(json, "param_source_name");
    const std::string content_type = Text(json, "param_content_type");
    const std::string sort_category = Text(json, "param_sort_category");
    const std::string extension = OptionalText(json, "param_media_extension");
    const std::string key_word = OptionalText(json, "param_key_word");
    mrb_agent_handler_h agent = json.Has("param_agent") ? Int(json, "param_agent") : 0;
    const std::string prepare_data = OptionalText(json, "param_prepare_data");

    mrb_general_param_h param = nullptr;
    const int eRet = mrb_create_general_param(&param);
    MRB_ASSERT(eRet == MRB_ERR_NONE, "eRet == MRB_ERR_NONE");
    mrb_param_set_general_content_type(param, content_type.c_str());
    mrb_param_set_general_sort_category(param, sort_category.c_str());
    if (!extension.empty()) {
        mrb_param_set_general_extension(param, extension.c_str());
    }
    if (!key_word.empty()) {
        mrb_param_set_general_key_word(param, key_word.c_str());
    }
    if (!prepare_data.empty()) {
        mrb_param_set_general_prepare_data(param, prepare_data.c_str());
    }

    const SetSourceParams set_source_params = FindListSource(source_name);
    if (set_source_params == nullptr) {
        MRB_LOG(LogTag::Agent, "Invalid source name[%s].", source_name.c_str());
        mrb_destroy_general_param(param);
        std::string refused = Answer(RETURN_ECODE_REFUSED);
        LOG_ANSWER(REQUEST_LIST, RETURN_ECODE_REFUSED, refused);
        return refused;
    }
    set_source_params(param, json);

    const int result = mrb_request_list_v2(param, &CMRBAgentAdapter::cb_requestList, this, &agent);
    mrb_destroy_general_param(param);
    if (result == MRB_ERR_NONE) {
        handles_.insert({agent, REQUEST_LIST});
    }
    RETURN_ANSWER(REQUEST_LIST, result, RETURN_TYPE_INTEGER, static_cast<int>(agent));
}

bool CMRBAgentAdapter::cb_requestList(void *user_data, mrb_agent_handler_h agent, mrb_event_e event,
                                      int /*reserved*/, const char *server_data) {
    const auto *self = static_cast<const CMRBAgentAdapter *>(user_data);
    MRB_ASSERT(self != nullptr, "self != __null");
    CMRBBridgeJson json;
    json.Set("param_event", m_ConvertEvent(event));
    json.Set("param_agent", static_cast<int>(agent));
    json.Set("param_server_data", server_data);
    const CallbackEntry cb = self->callback_entry_;
    MRB_ASSERT(cb != nullptr, "cb != __null");
    cb(FUNC_REQUEST_LIST, json.ToString(), self->provider_);
    return true;
}

std::string CMRBAgentAdapter::CancelRequestList(const std::string &request) {
    const char *const command = "mrb_cancel_request_list_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const int result = mrb_cancel_request_list_v2(Int(json, "param_agent"));
    RETURN_ANSWER(command, result);
}

std::string CMRBAgentAdapter::DisConnect(const std::string &request) {
    const char *const command = "mrb_disconnect_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    MRB_LOG(LogTag::Agent, "Agent[%p]", HandlePointer(agent));
    const int result = mrb_disconnect_v2(agent);
    RETURN_ANSWER(command, result);
}

int CMRBAgentAdapter::m_ConvertEvent(int event) {
    // Framework event to script event, as script applications know them.
    constexpr std::array<int, 29> script_events = {0,  1,  8,  25, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 13,
                                                   -1, -1, -1, 17, 18, 19, 26, 27, 28, -1, -1, -1, -1, 29};
    const auto index = static_cast<unsigned int>(event);
    return index < script_events.size() ? script_events[index] : -1;
}

} // namespace MRBBridge
