// The recorded content agent.

#include "mrb/agent.h"

#include "callbacks.h"
#include "function.h"

using recording::NewHandle;
using recording::Numbering;
using recording::Reply;
using recording::UserData;

RECORDED(int, mrb_create_general_param, (mrb_general_param_h * param), (param), Reply{{}, NewHandle{}})
RECORDED(int, mrb_destroy_general_param, (mrb_general_param_h param), (param))

// A setter of the general or the page parameter object.
#define SETTER(name, handle, type)                                                                           \
    RECORDED(int, mrb_param_set_##name, (handle param, type value), (param, value))

SETTER(general_content_type, mrb_general_param_h, const char *)
SETTER(general_sort_category, mrb_general_param_h, const char *)
SETTER(general_extension, mrb_general_param_h, const char *)
SETTER(general_key_word, mrb_general_param_h, const char *)
SETTER(general_prepare_data, mrb_general_param_h, const char *)
SETTER(general_source, mrb_general_param_h, const char *)
SETTER(general_path, mrb_general_param_h, const char *)
SETTER(general_folder_id, mrb_general_param_h, const char *)
SETTER(general_mode_name, mrb_general_param_h, const char *)
SETTER(general_bus_value, mrb_general_param_h, int)
SETTER(general_device_value, mrb_general_param_h, int)
SETTER(general_is_uhd_meta, mrb_general_param_h, bool)
SETTER(general_update_uhd_meta, mrb_general_param_h, bool)
SETTER(general_lang_id, mrb_general_param_h, const char *)
SETTER(general_duid, mrb_general_param_h, const char *)
SETTER(general_access_token, mrb_general_param_h, const char *)
SETTER(general_country, mrb_general_param_h, const char *)

static recording::Function request_list("mrb_request_list_v2", Reply{{}, NewHandle{}}, Numbering::PerProcess);

extern "C" int mrb_request_list_v2(mrb_general_param_h param, mrb_request_list_cb callback, void *user_data,
                                   mrb_agent_handler_h *agent) {
    recording::addList(callback, user_data);
    return request_list.call<int>(param, callback, UserData{user_data}, agent);
}

RECORDED(int, mrb_cancel_request_list_v2, (mrb_agent_handler_h agent), (agent))
RECORDED(int, mrb_disconnect_v2, (mrb_agent_handler_h agent), (agent))

RECORDED(int, mrb_create_page_param, (mrb_page_param_h * param), (param), Reply{{}, NewHandle{}})
RECORDED(int, mrb_destroy_page_param, (mrb_page_param_h param), (param))
SETTER(page_style_mask, mrb_page_param_h, int)
SETTER(page_style_order, mrb_page_param_h, int)
SETTER(page_style_group_index, mrb_page_param_h, int)
SETTER(page_style_row, mrb_page_param_h, int)
SETTER(page_style_column, mrb_page_param_h, int)
SETTER(page_style_padding, mrb_page_param_h, bool)
RECORDED(int, mrb_set_page_style_v2, (mrb_agent_handler_h agent, mrb_page_param_h param), (agent, param))

// A function of a list with one or two arguments more.
#define OF_LIST(name, type) RECORDED(int, name, (mrb_agent_handler_h agent, type a), (agent, a))
#define OF_LIST_2(name, type_a, type_b)                                                                      \
    RECORDED(int, name, (mrb_agent_handler_h agent, type_a a, type_b b), (agent, a, b))

OF_LIST(mrb_set_navigation_v2, int)
OF_LIST(mrb_get_navigation_v2, int *)
OF_LIST(mrb_get_group_count_v2, int *)
OF_LIST(mrb_get_item_count_v2, int *)
OF_LIST_2(mrb_get_item_count_by_type_v2, int, int *)
OF_LIST_2(mrb_get_item_v2, int, char **)
OF_LIST(mrb_move_to_index_v2, int)
OF_LIST_2(mrb_get_page_index_v2, const char *, int *)
OF_LIST(mrb_prepare_play_data_v2, char **)
OF_LIST(mrb_get_rating_info_v2, char **)
RECORDED(int, mrb_get_storage_id_v2, (const char *mount_path, char **storage_id), (mount_path, storage_id))

OF_LIST_2(mrb_get_item_value_lint_v2, const char *, long long *)
OF_LIST_2(mrb_get_item_value_double_v2, const char *, double *)
OF_LIST_2(mrb_get_item_value_time_v2, const char *, int *)
OF_LIST_2(mrb_get_item_value_char_v2, const char *, char **)
OF_LIST_2(mrb_get_item_value_int_v2, const char *, int *)
OF_LIST_2(mrb_get_item_value_bool_v2, const char *, bool *)
OF_LIST_2(mrb_set_item_value_char_v2, const char *, const char *)
OF_LIST_2(mrb_set_item_value_int_v2, const char *, int)

RECORDED(int, mrb_select_all_v2, (mrb_agent_handler_h agent), (agent))
RECORDED(int, mrb_deselect_all_v2, (mrb_agent_handler_h agent), (agent))
OF_LIST(mrb_select_group_v2, int)
OF_LIST(mrb_deselect_group_v2, int)
OF_LIST_2(mrb_get_selected_state_v2, int, bool *)
OF_LIST(mrb_get_selection_count_v2, int *)
OF_LIST(mrb_toggle_select_v2, int)
