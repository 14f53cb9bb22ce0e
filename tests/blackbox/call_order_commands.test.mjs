// The order in which commands log, read their keys and call the framework: the log of a
// call that never returned shows which function was about to be called, and with what.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { call, methodsThatTake, openBridge, rec } from './harness.mjs';
import { assertEvents, assertOrder } from './event_trace.mjs';
import { COMMANDS, requestOf, valuesOf } from './list_command_table.mjs';
import { agent, json, missingKey, provider, storage, thumbnail } from './log_lines.mjs';

// Never released: an object that opened a list cannot be.
const bridge = openBridge();
const ignore = () => {};
const REQUEST_LIST = 'mrb_request_list_v2';
const BATCH = 'mrb_batch_process_v2';
const UNREADABLE = '{nonsense';

// ---- an agent command's own lines, then the framework -----------------------------

for (const command of COMMANDS) {
    const { name: method, fn, keys } = command;

    test(`${method} logs its parameters before it calls the framework`, () => {
        const values = valuesOf(command);
        assertOrder(bridge, { method, fn, request: requestOf(command),
                              between: [...command.log(...values), ...command.calls(...values)] });
    });

    test(`${method} reads its keys, logs, and calls the framework, in this order`, () => {
        const values = keys.map(({ preset }) => preset);
        const unread = keys.map(({ name }) => missingKey(name));
        assertOrder(bridge, { method, fn, request: {},
                              between: [...unread, ...command.log(...values), ...command.calls(...values)] });
    });
}

/** The commands that are not in the table above: their calls and lines between the first and the last line. */
const OTHERS = [
    { method: 'mrb_cancel_request_list_v2', fn: 'CancelRequestList', own: [], calls: [[]] },
    { method: 'mrb_disconnect_v2', fn: 'DisConnect', own: ['Agent[0x12]'], calls: [[]] },
    { method: 'mrb_deselect_all_v2', fn: 'DeselectAll', own: ['Agent[0x12]'], calls: [[]] },
    { method: 'mrb_select_group_v2', fn: 'SelectGroup', label: 'mrb_deselect_group_v2', keys: { param_index: 4 },
      own: ['Agent[0x12] Index[4]'], calls: [[4]] },
    { method: 'mrb_deselect_group_v2', fn: 'DeSelectGroup', keys: { param_index: 4 }, own: ['Agent[0x12] Index[4]'],
      calls: [[4]] },
    { method: 'mrb_get_selected_state_v2', fn: 'GetSelectState', keys: { param_index: 4 },
      own: ['Agent[0x12], nItemIndex[4].'], calls: [[4, false]] },
    { method: 'mrb_get_selection_count_v2', fn: 'GetSelectCount', own: ['Agent[0x12]'], calls: [[0]] },
    { method: 'mrb_toggle_select_v2', fn: 'ToggleSelect', keys: { param_item_list: [7, 2] }, own: [],
      calls: [[7], [2]] },
];

for (const { method, fn, label, keys = {}, own, calls } of OTHERS) {
    test(`${method} logs its parameters before it calls the framework`, () => {
        assertOrder(bridge, { method, fn, label, request: { param_agent: 18, ...keys },
                              between: [...own.map((line) => agent(fn, line)),
                                        ...calls.map((args) => [method, 18, ...args])] });
    });

    test(`${method} reads its keys before it logs and calls`, () => {
        const names = ['param_agent', ...Object.keys(keys)];
        call(bridge, method, {});
        const isAbout = (line, name) => line?.text.includes(`NO strKey[${name}]`);
        const kinds = rec.events().map(({ line }) => names.findIndex((name) => isAbout(line, name)));
        assert.deepEqual(kinds.slice(1, names.length + 1), names.map((_, index) => index));
        assert.ok(!kinds.slice(names.length + 1).some((index) => index >= 0));
    });
}

test('a share is stopped between the first and the last line', () => {
    const method = 'mrb_stop_batch_process_v2';
    assertOrder(bridge, { method, fn: 'StopBatchProcess', request: { param_share_handle: 9 }, between: [[method, 9]] });
});

// ---- a request that cannot be parsed ------------------------------------------------

/** Every agent command: its operation, and the name that it logs where it is another. */
const AGENT = [
    [REQUEST_LIST, 'RequestList'], ['mrb_cancel_request_list_v2', 'CancelRequestList'],
    ['mrb_disconnect_v2', 'DisConnect'], [BATCH, 'BatchProcess'], ['mrb_stop_batch_process_v2', 'StopBatchProcess'],
    ['mrb_set_page_style_v2', 'SetPageStyle'], ['mrb_set_navigation_v2', 'SetNavigation'],
    ['mrb_get_navigation_v2', 'GetNavigation'], ['mrb_select_all_v2', 'SelectAll'],
    ['mrb_deselect_all_v2', 'DeselectAll'], ['mrb_select_group_v2', 'SelectGroup', 'mrb_deselect_group_v2'],
    ['mrb_deselect_group_v2', 'DeSelectGroup'], ['mrb_get_selected_state_v2', 'GetSelectState'],
    ['mrb_get_selection_count_v2', 'GetSelectCount'], ['mrb_toggle_select_v2', 'ToggleSelect'],
    ['mrb_get_group_count_v2', 'GetGroupCount'], ['mrb_get_item_count_v2', 'GetItemCount'],
    ['mrb_get_item_v2', 'GetItem'], ['mrb_get_item_list_v2', 'GetItemList'], ['mrb_move_to_index_v2', 'MoveToIndex'],
    ['mrb_get_page_index_v2', 'GetPageIndex'],
    ['mrb_prepare_play_data_v2', 'PreparePlayData'], ['mrb_set_item_value_v2', 'SetItemValue'],
    ['mrb_get_item_value_v2', 'GetItemValue'], ['mrb_get_rating_info_v2', 'GetRatingInfo'],
    ['mrb_get_storage_id_v2', 'GetStorageId'],
];

test('twenty-six commands are the agent\'s', () => {
    assert.deepEqual(AGENT.map(([method]) => method).filter((method) => methodsThatTake('E0').includes(method)), []);
    assert.equal(new Set(AGENT.map(([method]) => method)).size, 26);
});

for (const [method, fn, label = method] of AGENT) {
    test(`${method} logs its request before the parse failure`, () => {
        call(bridge, method, ...([REQUEST_LIST, BATCH].includes(method) ? [ignore] : []), UNREADABLE);
        assertEvents([agent(fn, `ReqCmd[${label}], ReqParam[${UNREADABLE}].`),
                      json('CMRBBridgeJson', `Json::Reader parse string[${UNREADABLE}] faild.`)],
                     { events: rec.events().slice(0, 2) });
        assert.equal(rec.events().filter(({ line }) => line?.text.includes('ReqCmd[')).length, 1);
    });
}

for (const [method, fn] of [['thumbnail_request_async', 'ThumbnailRequestAsync'],
                            ['thumbnail_request_cancel', 'ThumbnailRequestCancel']]) {
    const last = (code) =>
        thumbnail(fn, `strCmd[${method}] eResult[${code}] strReturnJson[{"return_ecode":${code}}\n].`);
    const run = (request) => call(bridge, method, ...(method.endsWith('async') ? [ignore] : []), request);

    test(`${method} that cannot be parsed logs it, then that it has no path`, () => {
        run(UNREADABLE);
        assertEvents([json('CMRBBridgeJson', `Json::Reader parse string[${UNREADABLE}] faild.`),
                      missingKey('param_origin_path'), thumbnail('m_GetThumbRequest', 'strPath empth!!!'),
                      last(2)]);
    });

    test(`${method} reads its keys, logs where images go, and calls the framework`, () => {
        run({ param_origin_path: '/a' });
        const keys = ['param_save_path', 'param_media_type', 'param_orientation', 'param_source_type', 'param_thumb_width',
                      'param_thumb_height', 'param_used_cache', 'param_thumb_type', 'param_video_frame_count',
                      'param_thumb_user_data'];
        assertEvents([...keys.map(missingKey), thumbnail('m_GetThumbRequest', 'Not Use the flash cache.'),
                      [method, '/a', 0, 0, 0, 0, 0, 0, 0, 'cb1', 'user1'], last(0)]);
    });
}

// ---- commands without a request -----------------------------------------------------

const plain = (logLine, fn, method) => logLine(fn, `strCmd[${method}] eResult[0] strReturnJson[{"return_ecode":0}\n].`);

for (const [method, fn] of [['thumbnail_request_cancel_all', 'ThumbnailRequestCancelAll'],
                            ['thumbnail_stop_ptp_decode_sync', 'ThumbnailStopPtpDecodeSync']]) {
    test(`${method} logs after its call`, () => {
        call(bridge, method);
        assertEvents([[method], plain(thumbnail, fn, method)]);
    });
}

test('thumbnail_flash_cache_init logs before and after its call', () => {
    const method = 'thumbnail_flash_cache_init';
    call(bridge, method);
    assertEvents([thumbnail('ThumbnailFlashCacheInit', `strCmd is :${method} \n`),
                  ['mrb_thumbnail_flash_cache_init', '/opt/usr/apps/media-resource-broker/data/thumbCache.txt'],
                  plain(thumbnail, 'ThumbnailFlashCacheInit', method)]);
});

for (const [method, fn, args] of [['mrb_set_usb_callback', 'SetUSBCallback', ['cb1', 'user1']],
                                  ['mrb_unset_usb_callback', 'UnsetUSBCallback', []],
                                  ['mrb_Init_dlna_service', 'InitDLNAService', ['cb1', 'user1']],
                                  ['mrb_finalize_dlna_service', 'FinalizeDLNAService', ['cb1', 'user1']],
                                  ['mrb_set_dlna_callback', 'SetDLNACallback', ['cb1', 'user1']],
                                  ['mrb_unset_dlna_callback', 'UnsetDLNACallback', []]]) {
    test(`${method} logs after its call`, () => {
        call(bridge, method, ignore);
        assertEvents([[method, ...args], plain(storage, fn, method)]);
    });
}

for (const [method, fn, list, args] of [['mrb_get_usb_list', 'GetUSBList', 'mrb_get_usb_list', [1, 0]],
                                        ['mrb_get_ptp_list', 'GetPTPList', 'mrb_get_usb_list', [2, 0]],
                                        ['mrb_get_dlna_list', 'GetDLNAList', 'mrb_get_dlna_list', [0]]]) {
    test(`${method} logs when the list has been read and released`, () => {
        call(bridge, method);
        const answer = '{"return_data":"null\\n","return_ecode":0,"return_type":4}\n';
        assertEvents([[list, ...args], ['mrb_storage_get_list_count', 1], ['mrb_storage_list_destory', 1],
                      storage(fn, `strCmd[${method}] eResult[0] strReturnJson[${answer}].`)]);
    });
}

// ---- the life of an object ------------------------------------------------------------

test('an object is created between its log lines', () => {
    quill.unref(new MRBBridge());
    assertEvents([provider('CMRBAdapterProvider', 'create CMRBAdapterProvider.'),
                  thumbnail('CMRBThumbnailAdapter', 'create CMRBThumbnailAdapter...'), ['thumbnail_init'],
                  thumbnail('CMRBThumbnailAdapter', 'thumbnail_init [1]...')]);
});

test('an object ends thumbnails, lists and devices, and logs before the first and after each of the others', () => {
    const released = openBridge();
    quill.release(released);
    const ended = (fn, method, name, args = []) =>
        [[method, ...args], plain(storage, fn, method),
         storage('~CMRBStorageMgrAdapter', `${name} [{"return_ecode":0}\n]\n`)];
    assertEvents([provider('~CMRBAdapterProvider', 'release CMRBAdapterProvider.'),
                  thumbnail('~CMRBThumbnailAdapter', 'release CMRBThumbnailAdapter...'), ['thumbnail_finalize'],
                  agent('~CMRBAgentAdapter', 'Start to destroy CMRBAgentAdapter[%p].'),
                  agent('m_DestroyHandler', 'Num of handle for send[0].'),
                  agent('m_DestroyHandler', 'Num of handle for agent[0].'),
                  agent('~CMRBAgentAdapter', 'End to destroy CMRBAgentAdapter[%p].'),
                  ...ended('UnsetUSBCallback', 'mrb_unset_usb_callback', 'strUnSetUsb'),
                  ...ended('UnsetDLNACallback', 'mrb_unset_dlna_callback', 'strUnSetDlna'),
                  ...ended('FinalizeDLNAService', 'mrb_finalize_dlna_service', 'strFinalizeDlna', ['cb1', 'user1'])]);
});
