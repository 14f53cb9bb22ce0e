// Pages, navigation, play data, item fields and selection: what lists do not do.
// Page parameter objects are real, so that a client can tell a refused page
// layout from a lack of memory.

#include "api/entry.h"
#include "mrb/agent.h"

// The object behind mrb_page_param_h; owned by the client that created it.
struct mrb_page_param_s {
    int style = 0;
    int order = 0;
    int groupIndex = 0;
    int rows = 0;
    int columns = 0;
    bool needPadding = false;
};

using Page = mrb_page_param_s;

int mrb_create_page_param(mrb_page_param_h *param) { return mrb::createObject(param); }

int mrb_destroy_page_param(mrb_page_param_h param) { return mrb::destroyObject(param); }

int mrb_param_set_page_style_mask(mrb_page_param_h param, int page_style) {
    return mrb::setValue(param, &Page::style, page_style);
}

int mrb_param_set_page_style_order(mrb_page_param_h param, int order) {
    return mrb::setValue(param, &Page::order, order);
}

int mrb_param_set_page_style_group_index(mrb_page_param_h param, int group_index) {
    return mrb::setValue(param, &Page::groupIndex, group_index);
}

int mrb_param_set_page_style_row(mrb_page_param_h param, int rows) {
    return mrb::setValue(param, &Page::rows, rows);
}

int mrb_param_set_page_style_column(mrb_page_param_h param, int columns) {
    return mrb::setValue(param, &Page::columns, columns);
}

int mrb_param_set_page_style_padding(mrb_page_param_h param, bool need_padding) {
    return mrb::setValue(param, &Page::needPadding, need_padding);
}

int mrb_set_page_style_v2(mrb_agent_handler_h /*agent*/, mrb_page_param_h /*param*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_set_navigation_v2(mrb_agent_handler_h /*agent*/, int /*navigation*/) { return MRB_ERR_NOT_SUPPORTED; }

int mrb_get_navigation_v2(mrb_agent_handler_h /*agent*/, int * /*navigation*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_get_page_index_v2(mrb_agent_handler_h /*agent*/, const char * /*media_id*/, int * /*page_index*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_prepare_play_data_v2(mrb_agent_handler_h /*agent*/, char ** /*play_data*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_get_rating_info_v2(mrb_agent_handler_h /*agent*/, char ** /*rating*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

int mrb_get_storage_id_v2(const char * /*mount_path*/, char ** /*storage_id*/) {
    return MRB_ERR_NOT_SUPPORTED;
}

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
