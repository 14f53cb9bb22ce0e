// Commands that this bridge does not serve yet: they refuse, they never pretend.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { call, METHODS, openBridge, rec, REFUSED } from './harness.mjs';

const SERVED = new Set(['mrb_request_list_v2', 'mrb_cancel_request_list_v2', 'mrb_disconnect_v2',
                        'mrb_get_group_count_v2', 'mrb_get_item_count_v2', 'mrb_get_item_v2',
                        'mrb_set_page_style_v2', 'mrb_set_navigation_v2', 'mrb_get_navigation_v2',
                        'mrb_move_to_index_v2', 'mrb_get_page_index_v2', 'mrb_prepare_play_data_v2',
                        'mrb_get_rating_info_v2', 'mrb_get_storage_id_v2',
                         'mrb_batch_process_v2', 'mrb_stop_batch_process_v2', 'mrb_select_all_v2',
                         'mrb_deselect_all_v2', 'mrb_select_group_v2', 'mrb_deselect_group_v2',
                         'mrb_get_selected_state_v2', 'mrb_get_selection_count_v2', 'mrb_toggle_select_v2',
                         'mrb_get_item_list_v2', 'mrb_set_item_value_v2', 'mrb_get_item_value_v2',
                         'mrb_set_usb_callback', 'mrb_unset_usb_callback', 'mrb_get_usb_list', 'mrb_get_ptp_list',
                         'mrb_Init_dlna_service', 'mrb_finalize_dlna_service',
                         'mrb_set_dlna_callback', 'mrb_unset_dlna_callback', 'mrb_get_dlna_list']);

for (const [name, takes] of METHODS.filter(([method]) => !SERVED.has(method))) {
    test(`${name} is refused and asks the framework nothing`, () => {
        const bridge = openBridge();
        const answer = call(bridge, name, ...(takes === 'EC' ? [() => {}, '{}'] : takes === 'E1' ? ['{}'] : []));
        assert.deepEqual(answer, { return_ecode: REFUSED });
        assert.deepEqual(rec.trace(), []);
    });
}
