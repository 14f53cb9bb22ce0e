#include "MRBAgentAdapter.h"

#include <array>
#include <cstdlib>

#include "MRBBridgeJson.h"
#include "envelope.h"
#include "list_source.h"
#include "log.h"
#include "mrb/share.h"
#include "request.h"

/// The first and the last log line of every command.
#define LOG_REQUEST(command, request)                                                                        \
    MRB_LOG(LogTag::Agent, "ReqCmd[%s], ReqParam[%s].", command, (request).c_str())
#define LOG_ANSWER(command, result, answer)                                                                  \
    MRB_LOG(LogTag::Agent, "strCmd[%s] eResult[%d] strReturnJson[%s].", command, result, (answer).c_str())

namespace MRBBridge {
namespace {

// Commands that open what the registry records, by the name it is recorded under.
constexpr const char *REQUEST_LIST = "mrb_request_list_v2";
constexpr const char *BATCH_PROCESS = "mrb_batch_process_v2";

/// Copies a text of the framework's and releases it. Null gives an empty text.
std::string TakeText(char *text) {
    if (text == nullptr) {
        return {};
    }
    std::string copy = text;
    std::free(text); // NOLINT(*-no-malloc): the framework allocates its texts with malloc
    return copy;
}

} // namespace

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
    std::string answer = Answer(result, RETURN_TYPE_INTEGER, static_cast<int>(agent));
    LOG_ANSWER(REQUEST_LIST, result, answer);
    return answer;
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
    std::string answer = Answer(result);
    LOG_ANSWER(command, result, answer);
    return answer;
}

std::string CMRBAgentAdapter::DisConnect(const std::string &request) {
    const char *const command = "mrb_disconnect_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    MRB_LOG(LogTag::Agent, "Agent[%p]", HandlePointer(agent));
    const int result = mrb_disconnect_v2(agent);
    std::string answer = Answer(result);
    LOG_ANSWER(command, result, answer);
    return answer;
}

int CMRBAgentAdapter::m_ConvertEvent(int event) {
    // Framework event to script event, as script applications know them.
    constexpr std::array<int, 29> script_events = {0,  1,  8,  25, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 13,
                                                   -1, -1, -1, 17, 18, 19, 26, 27, 28, -1, -1, -1, -1, 29};
    const auto index = static_cast<unsigned int>(event);
    return index < script_events.size() ? script_events[index] : -1;
}

// ---- counts and items -------------------------------------------------------

std::string CMRBAgentAdapter::GetGroupCount(const std::string &request) {
    const char *const command = "mrb_get_group_count_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    int count = 0;
    const int result = mrb_get_group_count_v2(Int(json, "param_agent"), &count);
    std::string answer = Answer(result, RETURN_TYPE_INTEGER, count);
    LOG_ANSWER(command, result, answer);
    return answer;
}

std::string CMRBAgentAdapter::GetItemCount(const std::string &request) {
    // The order in which the framework is asked, and that in which counts are written.
    constexpr std::array<int, 11> types = {MRB_ITEM_TYPE_FOLDER, MRB_ITEM_TYPE_IMAGE,   MRB_ITEM_TYPE_VIDEO,
                                           MRB_ITEM_TYPE_MUSIC,  MRB_ITEM_TYPE_RECORD,  MRB_ITEM_TYPE_UHD,
                                           MRB_ITEM_TYPE_SCSA,   MRB_ITEM_TYPE_M3U,     MRB_ITEM_TYPE_GROUP,
                                           MRB_ITEM_TYPE_EMPTY,  MRB_ITEM_TYPE_UPFOLDER};
    struct Key {
        const char *name;
        size_t type;
    };
    constexpr std::array<Key, types.size()> keys = {{
        {"item_count_folder", MRB_ITEM_TYPE_FOLDER},
        {"item_count_image", MRB_ITEM_TYPE_IMAGE},
        {"item_count_music", MRB_ITEM_TYPE_MUSIC},
        {"item_count_video", MRB_ITEM_TYPE_VIDEO},
        {"item_count_record", MRB_ITEM_TYPE_RECORD},
        {"item_count_uhd", MRB_ITEM_TYPE_UHD},
        {"item_count_scsa", MRB_ITEM_TYPE_SCSA},
        {"item_count_m3u", MRB_ITEM_TYPE_M3U},
        {"item_count_group", MRB_ITEM_TYPE_GROUP},
        {"item_count_empty", MRB_ITEM_TYPE_EMPTY},
        {"item_count_upfolder", MRB_ITEM_TYPE_UPFOLDER},
    }};

    const char *const command = "mrb_get_item_count_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const bool for_each_type = Bool(json, "get_item_count_for_each_type");
    MRB_LOG(LogTag::Agent, "Agent[%p]", HandlePointer(agent));
    MRB_LOG(LogTag::Agent, "PARAM_GET_ITEM_COUNT_FOR_EACH_TYPE[%d].", static_cast<int>(for_each_type));

    int total = 0;
    int result = mrb_get_item_count_v2(agent, &total);
    if (!for_each_type) {
        std::string answer = Answer(result, RETURN_TYPE_INTEGER, total);
        LOG_ANSWER(command, result, answer);
        return answer;
    }

    std::array<int, MRB_ITEM_TYPE_EMPTY + 1> fetched{}; // by type
    for (const int type : types) {
        result = mrb_get_item_count_by_type_v2(agent, type, &fetched[static_cast<size_t>(type)]);
        if (result != MRB_ERR_NONE) {
            MRB_LOG(LogTag::Agent, "GetItemCount By Type faild.");
            break;
        }
    }
    CMRBBridgeJson counts;
    counts.Set("item_count_all", total);
    for (const Key &key : keys) {
        counts.Set(key.name, fetched[key.type]);
    }
    std::string answer = Answer(result, RETURN_TYPE_TEXT, counts.ToString());
    LOG_ANSWER(command, result, answer);
    return answer;
}

std::string CMRBAgentAdapter::GetItem(const std::string &request) {
    const char *const command = "mrb_get_item_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int index = Int(json, "param_index");
    MRB_LOG(LogTag::Agent, "Agent[%p] Index[%d]", HandlePointer(agent), index);
    char *item = nullptr;
    const int result = mrb_get_item_v2(agent, index, &item);
    std::string answer = Answer(result, RETURN_TYPE_TEXT, TakeText(item));
    LOG_ANSWER(command, result, answer);
    return answer;
}

// ---- pages, navigation, positions -------------------------------------------

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
    std::string answer = Answer(result);
    LOG_ANSWER(command, result, answer);
    return answer;
}

std::string CMRBAgentAdapter::SetNavigation(const std::string &request) {
    const char *const command = "mrb_set_navigation_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int navigation = Int(json, "param_navigation");
    MRB_LOG(LogTag::Agent, "Agent[%p], navigation[%d]", HandlePointer(agent), navigation);
    const int result = mrb_set_navigation_v2(agent, navigation);
    std::string answer = Answer(result);
    LOG_ANSWER(command, result, answer);
    return answer;
}

std::string CMRBAgentAdapter::GetNavigation(const std::string &request) {
    const char *const command = "mrb_get_navigation_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    MRB_LOG(LogTag::Agent, "Agent[%p]", HandlePointer(agent));
    int navigation = 0;
    const int result = mrb_get_navigation_v2(agent, &navigation);
    std::string answer = Answer(result, RETURN_TYPE_INTEGER, navigation);
    LOG_ANSWER(command, result, answer);
    return answer;
}

std::string CMRBAgentAdapter::MoveToIndex(const std::string &request) {
    const char *const command = "mrb_move_to_index_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int index = Int(json, "param_index");
    MRB_LOG(LogTag::Agent, "Agent[%p] Index[%d]", HandlePointer(agent), index);
    const int result = mrb_move_to_index_v2(agent, index);
    std::string answer = Answer(result);
    LOG_ANSWER(command, result, answer);
    return answer;
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
    std::string answer = Answer(result, RETURN_TYPE_INTEGER, page_index);
    LOG_ANSWER(command, result, answer);
    return answer;
}

std::string CMRBAgentAdapter::PreparePlayData(const std::string &request) {
    const char *const command = "mrb_prepare_play_data_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    char *play_data = nullptr;
    const int result = mrb_prepare_play_data_v2(Int(json, "param_agent"), &play_data);
    std::string answer = Answer(result, RETURN_TYPE_TEXT, TakeText(play_data));
    LOG_ANSWER(command, result, answer);
    return answer;
}

std::string CMRBAgentAdapter::GetRatingInfo(const std::string &request) {
    const char *const command = "mrb_get_rating_info_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    char *rating = nullptr;
    const int result = mrb_get_rating_info_v2(Int(json, "param_agent"), &rating);
    std::string answer = Answer(result, RETURN_TYPE_TEXT, TakeText(rating));
    LOG_ANSWER(command, result, answer);
    return answer;
}

std::string CMRBAgentAdapter::GetStorageId(const std::string &request) {
    const char *const command = "mrb_get_storage_id_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    char *storage_id = nullptr;
    const int result = mrb_get_storage_id_v2(Text(json, "param_mount_path").c_str(), &storage_id);
    std::string answer = Answer(result, RETURN_TYPE_TEXT, TakeText(storage_id));
    LOG_ANSWER(command, result, answer);
    return answer;
}

// ---- commands that this release refuses -------------------------------------

/// Defines a command that is refused as a call the bridge cannot serve: the
/// framework is not asked, and no script takes the answer for a success.
#define REFUSED_COMMAND(operation, command)                                                                  \
    std::string CMRBAgentAdapter::operation(const std::string &request) {                                    \
        LOG_REQUEST(command, request);                                                                       \
        std::string answer = Answer(RETURN_ECODE_REFUSED);                                                   \
        LOG_ANSWER(command, RETURN_ECODE_REFUSED, answer);                                                   \
        return answer;                                                                                       \
    }

REFUSED_COMMAND(BatchProcess, BATCH_PROCESS)
REFUSED_COMMAND(StopBatchProcess, "mrb_stop_batch_process_v2")
REFUSED_COMMAND(SelectAll, "mrb_select_all_v2")
REFUSED_COMMAND(DeselectAll, "mrb_deselect_all_v2")
REFUSED_COMMAND(SelectGroup, "mrb_deselect_group_v2")
REFUSED_COMMAND(DeSelectGroup, "mrb_deselect_group_v2")
REFUSED_COMMAND(GetSelectState, "mrb_get_selected_state_v2")
REFUSED_COMMAND(GetSelectCount, "mrb_get_selection_count_v2")
REFUSED_COMMAND(ToggleSelect, "mrb_toggle_select_v2")
REFUSED_COMMAND(GetItemList, "mrb_get_item_list_v2")
REFUSED_COMMAND(SetItemValue, "mrb_set_item_value_v2")
REFUSED_COMMAND(GetItemValue, "mrb_get_item_value_v2")
#undef REFUSED_COMMAND

// ---- item fields ------------------------------------------------------------

void CMRBAgentAdapter::m_InitFieldType(FieldTypes &types) {
    for (const Field &field : item_fields) {
        types.insert({field.name, field.type});
    }
}

_eMRBFieldType CMRBAgentAdapter::m_GetFieldType(const std::string &field) const {
    const auto found = field_types_.find(field);
    return found == field_types_.end() ? FIELD_TYPE_NONE : found->second;
}

} // namespace MRBBridge
