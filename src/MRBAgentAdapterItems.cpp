// The agent's counts and item descriptions.

#include "MRBAgentAdapter.h"

#include <array>
#include <utility>
#include <vector>

#include "MRBBridgeJson.h"
#include "agent_command.h"
#include "envelope.h"
#include "request.h"

namespace MRBBridge {

std::string CMRBAgentAdapter::GetGroupCount(const std::string &request) {
    const char *const command = "mrb_get_group_count_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    int count = 0;
    const int result = mrb_get_group_count_v2(Int(json, "param_agent"), &count);
    RETURN_ANSWER(command, result, RETURN_TYPE_INTEGER, count);
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
        RETURN_ANSWER(command, result, RETURN_TYPE_INTEGER, total);
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
    RETURN_ANSWER(command, result, RETURN_TYPE_TEXT, counts.ToString());
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
    RETURN_ANSWER(command, result, RETURN_TYPE_TEXT, TakeText(item));
}

std::string CMRBAgentAdapter::GetItemList(const std::string &request) {
    const char *const command = "mrb_get_item_list_v2";
    LOG_REQUEST(command, request);
    const CMRBBridgeJson json(request);
    const int index = Int(json, "param_index");
    const int count = Int(json, "param_count");
    const mrb_agent_handler_h agent = Int(json, "param_agent");
    MRB_LOG(LogTag::Agent, "Agent[%p] Index[%d] nCount[%d]", HandlePointer(agent), index, count);

    int total = 0;
    int result = mrb_get_item_count_v2(agent, &total);
    if (result != MRB_ERR_NONE) {
        MRB_LOG(LogTag::Agent, "Dealing Fail: fail mrb_get_item_count.");
        RETURN_ANSWER(command, result);
    }
    // Wider than what a request holds, so that no sum leaves the range.
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
        const bool given = item != nullptr;
        std::string text = TakeText(item);
        if (result != MRB_ERR_NONE) {
            MRB_LOG(LogTag::Agent, "Dealing Fail: fail mrb_get_item_v2.");
            RETURN_ANSWER(command, result);
        }
        if (given) {
            items.push_back(std::move(text));
        }
    }
    // The array is there before its texts: without any, setting them writes nothing.
    CMRBBridgeJson list(R"({"param_item_list":[]})");
    list.Set("param_index", index);
    list.Set("param_count", static_cast<int>(reported));
    list.Set("param_item_list", items);
    RETURN_ANSWER(command, result, RETURN_TYPE_TEXT, list.ToString());
}

} // namespace MRBBridge
