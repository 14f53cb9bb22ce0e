// Selection: what lists do not do.

#include "mrb/agent.h"

int mrb_select_all_v2(mrb_agent_handler_h /*agent*/) { return MRB_ERR_NOT_SUPPORTED; }

int mrb_deselect_all_v2(mrb_agent_handler_h /*agent*/) { return MRB_ERR_NOT_SUPPORTED; }

int mrb_select_group_v2(mrb_agent_handler_h /*agent*/, int /*group_index*/) { return MRB_ERR_NOT_SUPPORTED; }

int mrb_deselect_group_v2(mrb_agent_handler_h /*agent*/, int /*group_index*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_get_selected_state_v2(mrb_agent_handler_h /*agent*/, int /*index*/, bool * /*selected*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_get_selection_count_v2(mrb_agent_handler_h /*agent*/, int * /*count*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_toggle_select_v2(mrb_agent_handler_h /*agent*/, int /*index*/) { return MRB_ERR_NOT_SUPPORTED; }
