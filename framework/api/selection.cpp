// The selection of a list.

#include "api/with_list.h"
#include "mrb/agent.h"

using mrb::ListSession;
using mrb::withList;

int mrb_select_all_v2(mrb_agent_handler_h agent) {
    return withList(agent, [](ListSession &session) {
        session.list().selection().selectAll();
        return MRB_ERR_NONE;
    });
}

int mrb_deselect_all_v2(mrb_agent_handler_h agent) {
    return withList(agent, [](ListSession &session) {
        session.list().selection().deselectAll();
        return MRB_ERR_NONE;
    });
}

int mrb_select_group_v2(mrb_agent_handler_h agent, int group_index) {
    return withList(agent, [&](ListSession &session) {
        return session.list().selection().selectGroup(group_index, true);
    });
}

int mrb_deselect_group_v2(mrb_agent_handler_h agent, int group_index) {
    return withList(agent, [&](ListSession &session) {
        return session.list().selection().selectGroup(group_index, false);
    });
}

int mrb_get_selected_state_v2(mrb_agent_handler_h agent, int index, bool *selected) {
    if (selected == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return withList(agent, [&](ListSession &session) {
        const std::optional<bool> state = session.list().selection().isSelected(index);
        *selected = state.value_or(*selected);
        return state ? MRB_ERR_NONE : MRB_ERR_OUT_OF_RANGE;
    });
}

int mrb_get_selection_count_v2(mrb_agent_handler_h agent, int *count) {
    if (count == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return withList(agent, [&](ListSession &session) {
        *count = session.list().selection().count();
        return MRB_ERR_NONE;
    });
}

int mrb_toggle_select_v2(mrb_agent_handler_h agent, int index) {
    return withList(agent, [&](ListSession &session) { return session.list().selection().toggle(index); });
}
