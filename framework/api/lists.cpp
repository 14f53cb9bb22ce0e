// Opening, reading and closing lists.

#include "api/general_param.h"
#include "api/session_manager.h"
#include "api/with_list.h"
#include "media/media_types.h"
#include "mrb/agent.h"

using mrb::ListSession;
using mrb::SessionManager;
using mrb::withList;

int mrb_request_list_v2(mrb_general_param_h param, mrb_request_list_cb callback, void *user_data,
                        mrb_agent_handler_h *agent) {
    if (param == nullptr || callback == nullptr || agent == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return mrb::guard([&] { return SessionManager::instance().open(*param, {callback, user_data}, agent); });
}

int mrb_cancel_request_list_v2(mrb_agent_handler_h agent) {
    return mrb::guard([&] { return SessionManager::instance().cancel(agent); });
}

int mrb_disconnect_v2(mrb_agent_handler_h agent) {
    return mrb::guard([&] { return SessionManager::instance().disconnect(agent); });
}

int mrb_get_item_count_v2(mrb_agent_handler_h agent, int *count) {
    if (count == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return withList(agent, [&](ListSession &session) {
        *count = session.list().size();
        return MRB_ERR_NONE;
    });
}

int mrb_get_item_count_by_type_v2(mrb_agent_handler_h agent, int type, int *count) {
    if (count == nullptr || mrb::itemTypeName(type) == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return withList(agent, [&](ListSession &session) {
        *count = session.list().count(static_cast<unsigned>(type));
        return MRB_ERR_NONE;
    });
}

int mrb_get_item_v2(mrb_agent_handler_h agent, int index, char **item) {
    if (item == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return withList(agent, [&](const ListSession &session) {
        const std::optional<std::string> text = session.describe(index);
        return text ? mrb::copyToCaller(*text, item) : MRB_ERR_OUT_OF_RANGE;
    });
}

int mrb_move_to_index_v2(mrb_agent_handler_h agent, int index) {
    return withList(agent, [&](ListSession &session) {
        return session.list().cursor().moveTo(index) ? MRB_ERR_NONE : MRB_ERR_OUT_OF_RANGE;
    });
}
