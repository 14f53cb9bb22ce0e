// Item fields: what lists do not do.

#include "mrb/agent.h"

int mrb_get_item_value_lint_v2(mrb_agent_handler_h /*agent*/, const char * /*field*/, long long * /*value*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_get_item_value_double_v2(mrb_agent_handler_h /*agent*/, const char * /*field*/, double * /*value*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_get_item_value_time_v2(mrb_agent_handler_h /*agent*/, const char * /*field*/, int * /*value*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_get_item_value_char_v2(mrb_agent_handler_h /*agent*/, const char * /*field*/, char ** /*value*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_get_item_value_int_v2(mrb_agent_handler_h /*agent*/, const char * /*field*/, int * /*value*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_get_item_value_bool_v2(mrb_agent_handler_h /*agent*/, const char * /*field*/, bool * /*value*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_set_item_value_char_v2(mrb_agent_handler_h /*agent*/, const char * /*field*/,
                               const char * /*value*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_set_item_value_int_v2(mrb_agent_handler_h /*agent*/, const char * /*field*/, int /*value*/) {
    return MRB_ERR_NOT_SUPPORTED;
}
