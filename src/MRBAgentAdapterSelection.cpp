// The agent's selection: which items of a list are marked.

#include "MRBAgentAdapter.h"

#include <set>
#include <vector>

#include "MRBBridgeJson.h"
#include "agent_command.h"
#include "envelope.h"
#include "request.h"

namespace MRBBridge {

std::string CMRBAgentAdapter::SelectAll(const std::string &request) {
    const char *const command = "mrb_select_all_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const std::vector<int> wanted = Ints(json, "param_selected_item_type_arr");
    MRB_LOG(LogTag::Agent,
            "You want to select[%d] types of file, they are: ", static_cast<int>(wanted.size()));
    std::set<int> types;
    for (const int type : wanted) {
        types.insert(type);
        MRB_LOG(LogTag::Agent, "[%d]", type);
    }
    MRB_LOG(LogTag::Agent, "Agent[%p]", HandlePointer(agent));

    int result = mrb_deselect_all_v2(agent);
    if (result != MRB_ERR_NONE) {
        MRB_LOG(LogTag::Agent, "mrb_deselect_all_v2 faild [%d]!", result);
        RETURN_ANSWER(command, result);
    }
    int count = 0;
    result = mrb_get_item_count_v2(agent, &count);
    if (result != MRB_ERR_NONE) {
        MRB_LOG(LogTag::Agent, "mrb_get_item_count_v2 faild [%d]!", result);
        RETURN_ANSWER(command, result);
    }
    MRB_LOG(LogTag::Agent, "nItemCount[%d]", count);

    // The framework's own select-all knows no types: with nothing selected, toggling
    // an item selects it. What was selected stays so when a later item fails.
    unsigned long long total_size = 0;
    for (int index = 0; index < count; ++index) {
        int type = -1;
        result = mrb_move_to_index_v2(agent, index);
        if (result == MRB_ERR_NONE) {
            result = mrb_get_item_value_int_v2(agent, "MEDIA_TYPE", &type);
        }
        if (result != MRB_ERR_NONE) {
            MRB_LOG(LogTag::Agent, "mrb_move_to_index or mrb_get_item_value_int faild, page index[%d].",
                    index);
            break;
        }
        if (!types.contains(type)) {
            MRB_LOG(LogTag::Agent, "Item[%d], type[%d] need not be selected accroding to App.", index, type);
            continue;
        }
        long long size = 0;
        result = mrb_toggle_select_v2(agent, index);
        if (result == MRB_ERR_NONE) {
            result = mrb_get_item_value_lint_v2(agent, "SIZE", &size);
        }
        if (result != MRB_ERR_NONE) {
            MRB_LOG(LogTag::Agent, "mrb_toggle_select or mrb_get_item_value_lint faild, page index[%d].",
                    index);
            total_size = 0;
            break;
        }
        total_size += static_cast<unsigned long long>(size);
    }
    RETURN_ANSWER(command, result, RETURN_TYPE_INTEGER, total_size);
}

std::string CMRBAgentAdapter::DeselectAll(const std::string &request) {
    const char *const command = "mrb_deselect_all_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    MRB_LOG(LogTag::Agent, "Agent[%p]", HandlePointer(agent));
    const int result = mrb_deselect_all_v2(agent);
    RETURN_ANSWER(command, result);
}

std::string CMRBAgentAdapter::SelectGroup(const std::string &request) {
    // The log knows this command by the name of its opposite, and who reads logs
    // looks for it there.
    const char *const command = "mrb_deselect_group_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int index = Int(json, "param_index");
    MRB_LOG(LogTag::Agent, "Agent[%p] Index[%d]", HandlePointer(agent), index);
    const int result = mrb_select_group_v2(agent, index);
    RETURN_ANSWER(command, result);
}

std::string CMRBAgentAdapter::DeSelectGroup(const std::string &request) {
    const char *const command = "mrb_deselect_group_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int index = Int(json, "param_index");
    MRB_LOG(LogTag::Agent, "Agent[%p] Index[%d]", HandlePointer(agent), index);
    const int result = mrb_deselect_group_v2(agent, index);
    RETURN_ANSWER(command, result);
}

std::string CMRBAgentAdapter::GetSelectState(const std::string &request) {
    const char *const command = "mrb_get_selected_state_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int index = Int(json, "param_index");
    MRB_LOG(LogTag::Agent, "Agent[%p], nItemIndex[%d].", HandlePointer(agent), index);
    bool selected = false;
    const int result = mrb_get_selected_state_v2(agent, index, &selected);
    RETURN_ANSWER(command, result, RETURN_TYPE_BOOL, selected);
}

std::string CMRBAgentAdapter::GetSelectCount(const std::string &request) {
    const char *const command = "mrb_get_selection_count_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    MRB_LOG(LogTag::Agent, "Agent[%p]", HandlePointer(agent));
    int count = 0;
    const int result = mrb_get_selection_count_v2(agent, &count);
    RETURN_ANSWER(command, result, RETURN_TYPE_INTEGER, count);
}

std::string CMRBAgentAdapter::ToggleSelect(const std::string &request) {
    const char *const command = "mrb_toggle_select_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const std::vector<int> items = Ints(json, "param_item_list");
    int result = MRB_ERR_NONE;
    int position = 0;
    for (const int item : items) {
        result = mrb_toggle_select_v2(agent, item);
        if (result != MRB_ERR_NONE) {
            MRB_LOG(LogTag::Agent, "Toggle [%d] faild.", position);
            break;
        }
        ++position;
    }
    RETURN_ANSWER(command, result);
}

} // namespace MRBBridge
