#include "MRBAgentAdapter.h"

#include <array>
#include <set>
#include <utility>

#include "MRBBridgeJson.h"
#include "command.h"
#include "field_value.h"
#include "framework_text.h"
#include "item_types.h"
#include "list_source.h"
#include "request.h"
#include "share_params.h"

/// How every command begins: it logs its name and the request, and parses the request.
/// RETURN_RESULT or RETURN_ANSWER ends it at every return.
#define BEGIN_COMMAND(name)                                                                                  \
    const char *const command = name;                                                                        \
    MRB_LOG(LogTag::Agent, "ReqCmd[%s], ReqParam[%s].", command, request.c_str());                           \
    const CMRBBridgeJson json(request)

namespace MRBBridge {
namespace {

// Commands that open what the registry records, by the name it is recorded under.
constexpr const char *REQUEST_LIST = "mrb_request_list_v2";
constexpr const char *BATCH_PROCESS = "mrb_batch_process_v2";

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
    // Every turn of the walk examines the first entry again. The platform's
    // applications rely on it: an object that opened a list stays until its
    // application ends, and no list is disconnected that a script did not close.
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

void CMRBAgentAdapter::m_InitFieldType(FieldTypes &types) {
    for (const Field &field : item_fields) {
        types.insert({field.name, field.type});
    }
}

_eMRBFieldType CMRBAgentAdapter::m_GetFieldType(const std::string &field) const {
    const auto found = field_types_.find(field);
    return found == field_types_.end() ? FIELD_TYPE_NONE : found->second;
}

int CMRBAgentAdapter::m_ConvertEvent(int event) {
    // Framework event to script event, as script applications know them.
    constexpr std::array<int, 29> script_events = {0,  1,  8,  25, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 13,
                                                   -1, -1, -1, 17, 18, 19, 26, 27, 28, -1, -1, -1, -1, 29};
    const auto index = static_cast<unsigned int>(event);
    return index < script_events.size() ? script_events[index] : -1;
}

// ---- opening and closing a list ---------------------------------------------

std::string CMRBAgentAdapter::RequestList(const std::string &request) {
    BEGIN_COMMAND(REQUEST_LIST);
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
        RETURN_RESULT(LogTag::Agent, command, RETURN_ECODE_REFUSED);
    }
    set_source_params(param, json);

    const int result = mrb_request_list_v2(param, &CMRBAgentAdapter::cb_requestList, this, &agent);
    mrb_destroy_general_param(param);
    if (result == MRB_ERR_NONE) {
        handles_.insert({agent, REQUEST_LIST});
    }
    RETURN_ANSWER(LogTag::Agent, command, result, RETURN_TYPE_INTEGER, static_cast<int>(agent));
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
    BEGIN_COMMAND("mrb_cancel_request_list_v2");
    RETURN_RESULT(LogTag::Agent, command, mrb_cancel_request_list_v2(Int(json, "param_agent")));
}

std::string CMRBAgentAdapter::DisConnect(const std::string &request) {
    BEGIN_COMMAND("mrb_disconnect_v2");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    MRB_LOG(LogTag::Agent, "Agent[%p]", HandlePointer(agent));
    RETURN_RESULT(LogTag::Agent, command, mrb_disconnect_v2(agent));
}

// ---- copying and sending what is selected -----------------------------------

std::string CMRBAgentAdapter::BatchProcess(const std::string &request) {
    BEGIN_COMMAND(BATCH_PROCESS);
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int share_type = Int(json, "param_share_type");

    mrb_share_param_h param = nullptr;
    mrb_create_share_param(&param);
    SetShareParams(param, share_type, json);
    mrb_share_user_data_param_h user_data = nullptr; // owned by the framework once it is passed on
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
    RETURN_ANSWER(LogTag::Agent, command, result, RETURN_TYPE_INTEGER, static_cast<int>(share));
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
    BEGIN_COMMAND("mrb_stop_batch_process_v2");
    RETURN_RESULT(LogTag::Agent, command, mrb_stop_batch_process_v2(Int(json, "param_share_handle")));
}

// ---- pages and navigation ---------------------------------------------------

std::string CMRBAgentAdapter::SetPageStyle(const std::string &request) {
    BEGIN_COMMAND("mrb_set_page_style_v2");
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
    RETURN_RESULT(LogTag::Agent, command, result);
}

std::string CMRBAgentAdapter::SetNavigation(const std::string &request) {
    BEGIN_COMMAND("mrb_set_navigation_v2");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int navigation = Int(json, "param_navigation");
    MRB_LOG(LogTag::Agent, "Agent[%p], navigation[%d]", HandlePointer(agent), navigation);
    RETURN_RESULT(LogTag::Agent, command, mrb_set_navigation_v2(agent, navigation));
}

std::string CMRBAgentAdapter::GetNavigation(const std::string &request) {
    BEGIN_COMMAND("mrb_get_navigation_v2");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    MRB_LOG(LogTag::Agent, "Agent[%p]", HandlePointer(agent));
    int navigation = 0;
    const int result = mrb_get_navigation_v2(agent, &navigation);
    RETURN_ANSWER(LogTag::Agent, command, result, RETURN_TYPE_INTEGER, navigation);
}

// ---- selection --------------------------------------------------------------

std::string CMRBAgentAdapter::SelectAll(const std::string &request) {
    BEGIN_COMMAND("mrb_select_all_v2");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const std::vector<int> requested = Ints(json, "param_selected_item_type_arr");
    MRB_LOG(LogTag::Agent,
            "You want to select[%d] types of file, they are: ", static_cast<int>(requested.size()));
    std::set<int> types;
    for (const int type : requested) {
        types.insert(type);
        MRB_LOG(LogTag::Agent, "[%d]", type);
    }
    MRB_LOG(LogTag::Agent, "Agent[%p]", HandlePointer(agent));

    int result = mrb_deselect_all_v2(agent);
    if (result != MRB_ERR_NONE) {
        MRB_LOG(LogTag::Agent, "mrb_deselect_all_v2 faild [%d]!", result);
        RETURN_RESULT(LogTag::Agent, command, result);
    }
    int count = 0;
    result = mrb_get_item_count_v2(agent, &count);
    if (result != MRB_ERR_NONE) {
        MRB_LOG(LogTag::Agent, "mrb_get_item_count_v2 faild [%d]!", result);
        RETURN_RESULT(LogTag::Agent, command, result);
    }
    MRB_LOG(LogTag::Agent, "nItemCount[%d]", count);

    // The framework's own select-all cannot filter by type. With nothing selected,
    // toggling an item selects it; items selected before a failure stay selected.
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
        if (types.count(type) == 0) {
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
    RETURN_ANSWER(LogTag::Agent, command, result, RETURN_TYPE_INTEGER, total_size);
}

std::string CMRBAgentAdapter::DeselectAll(const std::string &request) {
    BEGIN_COMMAND("mrb_deselect_all_v2");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    MRB_LOG(LogTag::Agent, "Agent[%p]", HandlePointer(agent));
    RETURN_RESULT(LogTag::Agent, command, mrb_deselect_all_v2(agent));
}

std::string CMRBAgentAdapter::SelectGroup(const std::string &request) {
    // Log lines name this command after its opposite, and tools that read logs rely
    // on it.
    BEGIN_COMMAND("mrb_deselect_group_v2");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int index = Int(json, "param_index");
    MRB_LOG(LogTag::Agent, "Agent[%p] Index[%d]", HandlePointer(agent), index);
    RETURN_RESULT(LogTag::Agent, command, mrb_select_group_v2(agent, index));
}

std::string CMRBAgentAdapter::DeSelectGroup(const std::string &request) {
    BEGIN_COMMAND("mrb_deselect_group_v2");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int index = Int(json, "param_index");
    MRB_LOG(LogTag::Agent, "Agent[%p] Index[%d]", HandlePointer(agent), index);
    RETURN_RESULT(LogTag::Agent, command, mrb_deselect_group_v2(agent, index));
}

std::string CMRBAgentAdapter::GetSelectState(const std::string &request) {
    BEGIN_COMMAND("mrb_get_selected_state_v2");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int index = Int(json, "param_index");
    MRB_LOG(LogTag::Agent, "Agent[%p], nItemIndex[%d].", HandlePointer(agent), index);
    bool selected = false;
    const int result = mrb_get_selected_state_v2(agent, index, &selected);
    RETURN_ANSWER(LogTag::Agent, command, result, RETURN_TYPE_BOOL, selected);
}

std::string CMRBAgentAdapter::GetSelectCount(const std::string &request) {
    BEGIN_COMMAND("mrb_get_selection_count_v2");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    MRB_LOG(LogTag::Agent, "Agent[%p]", HandlePointer(agent));
    int count = 0;
    const int result = mrb_get_selection_count_v2(agent, &count);
    RETURN_ANSWER(LogTag::Agent, command, result, RETURN_TYPE_INTEGER, count);
}

std::string CMRBAgentAdapter::ToggleSelect(const std::string &request) {
    BEGIN_COMMAND("mrb_toggle_select_v2");
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
    RETURN_RESULT(LogTag::Agent, command, result);
}

// ---- counts and descriptions ------------------------------------------------

std::string CMRBAgentAdapter::GetGroupCount(const std::string &request) {
    BEGIN_COMMAND("mrb_get_group_count_v2");
    int count = 0;
    const int result = mrb_get_group_count_v2(Int(json, "param_agent"), &count);
    RETURN_ANSWER(LogTag::Agent, command, result, RETURN_TYPE_INTEGER, count);
}

std::string CMRBAgentAdapter::GetItemCount(const std::string &request) {
    BEGIN_COMMAND("mrb_get_item_count_v2");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const bool for_each_type = Bool(json, "get_item_count_for_each_type");
    MRB_LOG(LogTag::Agent, "Agent[%p]", HandlePointer(agent));
    MRB_LOG(LogTag::Agent, "PARAM_GET_ITEM_COUNT_FOR_EACH_TYPE[%d].", static_cast<int>(for_each_type));

    int total = 0;
    int result = mrb_get_item_count_v2(agent, &total);
    if (!for_each_type) {
        RETURN_ANSWER(LogTag::Agent, command, result, RETURN_TYPE_INTEGER, total);
    }

    ItemCounts fetched{};
    for (const int type : counted_item_types) {
        result = mrb_get_item_count_by_type_v2(agent, type, &fetched[static_cast<size_t>(type)]);
        if (result != MRB_ERR_NONE) {
            MRB_LOG(LogTag::Agent, "GetItemCount By Type faild.");
            break;
        }
    }
    CMRBBridgeJson counts;
    counts.Set("item_count_all", total);
    for (const ItemCountKey &key : item_count_keys) {
        counts.Set(key.name, fetched[key.type]);
    }
    RETURN_ANSWER(LogTag::Agent, command, result, RETURN_TYPE_TEXT, counts.ToString());
}

std::string CMRBAgentAdapter::GetItem(const std::string &request) {
    BEGIN_COMMAND("mrb_get_item_v2");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int index = Int(json, "param_index");
    MRB_LOG(LogTag::Agent, "Agent[%p] Index[%d]", HandlePointer(agent), index);
    char *item = nullptr;
    const int result = mrb_get_item_v2(agent, index, &item);
    RETURN_ANSWER(LogTag::Agent, command, result, RETURN_TYPE_TEXT, TakeText(item));
}

std::string CMRBAgentAdapter::GetItemList(const std::string &request) {
    BEGIN_COMMAND("mrb_get_item_list_v2");
    const int index = Int(json, "param_index");
    const int count = Int(json, "param_count");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    MRB_LOG(LogTag::Agent, "Agent[%p] Index[%d] nCount[%d]", HandlePointer(agent), index, count);

    int total = 0;
    int result = mrb_get_item_count_v2(agent, &total);
    if (result != MRB_ERR_NONE) {
        MRB_LOG(LogTag::Agent, "Dealing Fail: fail mrb_get_item_count.");
        RETURN_RESULT(LogTag::Agent, command, result);
    }
    // 64 bits, so that the sum of two 32-bit integers cannot overflow.
    long long end = static_cast<long long>(index) + count;
    long long reported = count;
    if (end > total) {
        end = total;
        reported = static_cast<long long>(total) - index;
    }
    std::vector<std::string> items;
    for (long long position = index; position < end; ++position) {
        char *item = nullptr;
        result = mrb_get_item_v2(agent, static_cast<int>(position), &item);
        const bool has_text = item != nullptr;
        std::string text = TakeText(item);
        if (result != MRB_ERR_NONE) {
            MRB_LOG(LogTag::Agent, "Dealing Fail: fail mrb_get_item_v2.");
            RETURN_RESULT(LogTag::Agent, command, result);
        }
        if (has_text) {
            items.push_back(std::move(text));
        }
    }
    // The array exists before its texts are set: setting none would not create it.
    CMRBBridgeJson list(R"({"param_item_list":[]})");
    list.Set("param_index", index);
    list.Set("param_count", static_cast<int>(reported));
    list.Set("param_item_list", items);
    RETURN_ANSWER(LogTag::Agent, command, result, RETURN_TYPE_TEXT, list.ToString());
}

// ---- the cursor, and what belongs to the item under it ----------------------

std::string CMRBAgentAdapter::MoveToIndex(const std::string &request) {
    BEGIN_COMMAND("mrb_move_to_index_v2");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int index = Int(json, "param_index");
    MRB_LOG(LogTag::Agent, "Agent[%p] Index[%d]", HandlePointer(agent), index);
    RETURN_RESULT(LogTag::Agent, command, mrb_move_to_index_v2(agent, index));
}

std::string CMRBAgentAdapter::GetPageIndex(const std::string &request) {
    BEGIN_COMMAND("mrb_get_page_index_v2");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const std::string media_id = Text(json, "param_media");
    MRB_LOG(LogTag::Agent, "Agent[%p] mediaId[%s]", HandlePointer(agent), media_id.c_str());
    int page_index = 0;
    const int result = mrb_get_page_index_v2(agent, media_id.c_str(), &page_index);
    RETURN_ANSWER(LogTag::Agent, command, result, RETURN_TYPE_INTEGER, page_index);
}

std::string CMRBAgentAdapter::PreparePlayData(const std::string &request) {
    BEGIN_COMMAND("mrb_prepare_play_data_v2");
    char *play_data = nullptr;
    const int result = mrb_prepare_play_data_v2(Int(json, "param_agent"), &play_data);
    RETURN_ANSWER(LogTag::Agent, command, result, RETURN_TYPE_TEXT, TakeText(play_data));
}

std::string CMRBAgentAdapter::SetItemValue(const std::string &request) {
    BEGIN_COMMAND("mrb_set_item_value_v2");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int index = Int(json, "param_index");
    const std::string field = Text(json, "param_field");

    int result = mrb_move_to_index_v2(agent, index);
    if (result == MRB_ERR_NONE) {
        switch (m_GetFieldType(field)) {
        case FIELD_TYPE_CHAR: {
            MRB_LOG(LogTag::Agent, "Dealing set string value.");
            const std::string value = Text(json, "param_value");
            MRB_LOG(LogTag::Agent, "agent[%p] field[%s] pValue[%s]", HandlePointer(agent), field.c_str(),
                    value.c_str());
            result = mrb_set_item_value_char_v2(agent, field.c_str(), value.c_str());
            break;
        }
        case FIELD_TYPE_INT: {
            MRB_LOG(LogTag::Agent, "Dealing set int value.");
            const int value = Int(json, "param_value");
            MRB_LOG(LogTag::Agent, "Agent[%p] field[%s] nValue[%d]", HandlePointer(agent), field.c_str(),
                    value);
            result = mrb_set_item_value_int_v2(agent, field.c_str(), value);
            break;
        }
        default:
            MRB_LOG(LogTag::Agent, "Not support operation for setting[%s].", field.c_str());
            break;
        }
    }
    RETURN_RESULT(LogTag::Agent, command, result);
}

std::string CMRBAgentAdapter::GetItemValue(const std::string &request) {
    BEGIN_COMMAND("mrb_get_item_value_v2");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    const int index = Int(json, "param_index");
    const std::string field = Text(json, "param_field");
    MRB_LOG(LogTag::Agent, "Agent[%p],index[%d], field[%s]", HandlePointer(agent), index, field.c_str());

    const int moved = mrb_move_to_index_v2(agent, index);
    if (moved != MRB_ERR_NONE) {
        RETURN_RESULT(LogTag::Agent, command, moved);
    }
    const FieldGetter *const getter = FindFieldGetter(m_GetFieldType(field));
    if (getter == nullptr) {
        // A success without data: applications also request fields of newer systems.
        MRB_LOG(LogTag::Agent, "Dealing error field.");
        RETURN_RESULT(LogTag::Agent, command, MRB_ERR_NONE);
    }
    MRB_LOG(LogTag::Agent, "Dealing get %s value.", getter->type);
    const FieldValue value = getter->read(agent, field.c_str());
    LOG_ANSWER(LogTag::Agent, command, value.result, value.answer);
    return value.answer;
}

std::string CMRBAgentAdapter::GetRatingInfo(const std::string &request) {
    BEGIN_COMMAND("mrb_get_rating_info_v2");
    char *rating = nullptr;
    const int result = mrb_get_rating_info_v2(Int(json, "param_agent"), &rating);
    RETURN_ANSWER(LogTag::Agent, command, result, RETURN_TYPE_TEXT, TakeText(rating));
}

// ---- storages ---------------------------------------------------------------

std::string CMRBAgentAdapter::GetStorageId(const std::string &request) {
    BEGIN_COMMAND("mrb_get_storage_id_v2");
    char *storage_id = nullptr;
    const int result = mrb_get_storage_id_v2(Text(json, "param_mount_path").c_str(), &storage_id);
    RETURN_ANSWER(LogTag::Agent, command, result, RETURN_TYPE_TEXT, TakeText(storage_id));
}

} // namespace MRBBridge
