// The agent's page style, navigation, cursor, and what belongs to the item under it.

#include "MRBAgentAdapter.h"

#include "MRBBridgeJson.h"
#include "agent_command.h"
#include "envelope.h"
#include "request.h"

namespace MRBBridge {

std::string CMRBAgentAdapter::SetPageStyle(const std::string &request) {
    const char *const command = "mrb_set_page_style_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int page_style = Int(json, "param_page_style");
    const int order = Int(json, "param_page_order");
    const int group_index = Int(json, "param_group_index");
    const int row = Int(json, "param_row");
    const int column = Int(json, "param_column");
    const bool need_padding = Bool(json, "param_need_padding");
    MRB_LOG(LogTag::Agent,
            "Agent[%p] ePageStyle[%d] eOrder[%d] nGroupIndex[%d] nRow[%d] nColumn[%d] bNeedPadding[%d]",
            HandlePointer(agent), page_style, order, group_index, row, column,
            static_cast<int>(need_padding));

    mrb_page_param_h param = nullptr;
    const int eRet = mrb_create_page_param(&param);
    MRB_ASSERT(eRet == MRB_ERR_NONE, "eRet == MRB_ERR_NONE");
    mrb_param_set_page_style_mask(param, page_style);
    mrb_param_set_page_style_order(param, order);
    mrb_param_set_page_style_group_index(param, group_index);
    mrb_param_set_page_style_row(param, row);
    mrb_param_set_page_style_column(param, column);
    mrb_param_set_page_style_padding(param, need_padding);
    const int result = mrb_set_page_style_v2(agent, param);
    mrb_destroy_page_param(param);
    RETURN_ANSWER(command, result);
}

std::string CMRBAgentAdapter::SetNavigation(const std::string &request) {
    const char *const command = "mrb_set_navigation_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int navigation = Int(json, "param_navigation");
    MRB_LOG(LogTag::Agent, "Agent[%p], navigation[%d]", HandlePointer(agent), navigation);
    const int result = mrb_set_navigation_v2(agent, navigation);
    RETURN_ANSWER(command, result);
}

std::string CMRBAgentAdapter::GetNavigation(const std::string &request) {
    const char *const command = "mrb_get_navigation_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    MRB_LOG(LogTag::Agent, "Agent[%p]", HandlePointer(agent));
    int navigation = 0;
    const int result = mrb_get_navigation_v2(agent, &navigation);
    RETURN_ANSWER(command, result, RETURN_TYPE_INTEGER, navigation);
}

std::string CMRBAgentAdapter::MoveToIndex(const std::string &request) {
    const char *const command = "mrb_move_to_index_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int index = Int(json, "param_index");
    MRB_LOG(LogTag::Agent, "Agent[%p] Index[%d]", HandlePointer(agent), index);
    const int result = mrb_move_to_index_v2(agent, index);
    RETURN_ANSWER(command, result);
}

std::string CMRBAgentAdapter::GetPageIndex(const std::string &request) {
    const char *const command = "mrb_get_page_index_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const std::string media_id = Text(json, "param_media");
    MRB_LOG(LogTag::Agent, "Agent[%p] mediaId[%s]", HandlePointer(agent), media_id.c_str());
    int page_index = 0;
    const int result = mrb_get_page_index_v2(agent, media_id.c_str(), &page_index);
    RETURN_ANSWER(command, result, RETURN_TYPE_INTEGER, page_index);
}

std::string CMRBAgentAdapter::PreparePlayData(const std::string &request) {
    const char *const command = "mrb_prepare_play_data_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    char *play_data = nullptr;
    const int result = mrb_prepare_play_data_v2(Int(json, "param_agent"), &play_data);
    RETURN_ANSWER(command, result, RETURN_TYPE_TEXT, TakeText(play_data));
}

std::string CMRBAgentAdapter::GetRatingInfo(const std::string &request) {
    const char *const command = "mrb_get_rating_info_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    char *rating = nullptr;
    const int result = mrb_get_rating_info_v2(Int(json, "param_agent"), &rating);
    RETURN_ANSWER(command, result, RETURN_TYPE_TEXT, TakeText(rating));
}

std::string CMRBAgentAdapter::GetStorageId(const std::string &request) {
    const char *const command = "mrb_get_storage_id_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    char *storage_id = nullptr;
    const int result = mrb_get_storage_id_v2(Text(json, "param_mount_path").c_str(), &storage_id);
    RETURN_ANSWER(command, result, RETURN_TYPE_TEXT, TakeText(storage_id));
}

} // namespace MRBBridge
