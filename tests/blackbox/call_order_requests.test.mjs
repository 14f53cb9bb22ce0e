// The order in which lists and shares read their keys, set their parameters and start.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { call, forget, openBridge, rec, REFUSED } from './harness.mjs';
import { assertEvents, assertOrder } from './event_trace.mjs';
import { agent, missingKey, mistypedKey } from './log_lines.mjs';

// Never released: an object that opened a list cannot be.
const bridge = openBridge();
const REQUEST_LIST = 'mrb_request_list_v2';
const BATCH = 'mrb_batch_process_v2';

// ---- opening a list -----------------------------------------------------------------

const set = (name, value) => [`mrb_param_set_general_${name}`, 1, value];
const OPEN = { method: REQUEST_LIST, fn: 'RequestList' };
const created = [['mrb_create_general_param', 0], set('content_type', ''), set('sort_category', '')];
const unread = (...keys) => keys.map((key) => missingKey(`param_${key}`));
const common = unread('content_type', 'sort_category');
const requested = [[REQUEST_LIST, 1, 'cb1', 'user1', 0], ['mrb_destroy_general_param', 1]];

/** The keys and parameters that the requests of each source read and set with the source name alone. */
const SOURCES = [
    { source: 'SOURCE_MSC', own: [...unread('scan_path', 'is_uhd'), set('path', ''), set('is_uhd_meta', false),
                                  set('source', 'SOURCE_MSC')] },
    { source: 'SOURCE_MSC', more: { param_is_uhd: true },
      own: [...unread('scan_path'), set('path', ''), set('is_uhd_meta', true), set('source', 'SOURCE_MSC'),
            ...unread('update_flag', 'lang_id', 'duid', 'access_token', 'country'), set('update_uhd_meta', false),
            set('lang_id', ''), set('duid', ''), set('access_token', ''), set('country', '')] },
    { source: 'SOURCE_DLNA', own: [...unread('scan_path', 'folder_id', 'key_word'), set('path', ''), set('folder_id', ''),
                                   set('key_word', ''), set('source', 'SOURCE_DLNA')] },
    { source: 'SOURCE_PTP', own: [...unread('model_name', 'bus_value', 'device_value', 'folder_id'),
                                  set('folder_id', ''), set('mode_name', ''), set('bus_value', 0), set('device_value', 0),
                                  set('source', 'SOURCE_PTP')] },
    { source: 'SOURCE_PLAYLIST', own: [...unread('playlist_name'), set('source', 'SOURCE_PLAYLIST')] },
];

for (const { source, more = {}, own } of SOURCES) {
    const what = Object.keys(more).length > 0 ? `${source} with UHD metadata` : source;
    test(`a list of ${what} reads and sets the common keys, then those of the source, and is opened`, () => {
        rec.queue(REQUEST_LIST, { result: -4 });
        assertOrder(bridge, { ...OPEN, request: { param_source_name: source, ...more },
                              between: [...common, ...created, ...own, ...requested] });
    });
}

// A value of another type for each key, so that the log shows which is read when.
const MISTYPED = [['param_source_name', '5', 1], ['param_content_type', '4294967296', 2],
                  ['param_sort_category', '1.5', 3], ['param_media_extension', 'true', 5],
                  ['param_key_word', '[]', 6], ['param_agent', '"x"', 4], ['param_prepare_data', '{}', 7]];

test('the common keys of a list are read in their order, all before anything is called', () => {
    for (const keys of [MISTYPED, [...MISTYPED].reverse()]) {
        forget();
        const request = `{${keys.map(([key, value]) => `"${key}":${value}`).join()}}`;
        const answer = assertOrder(bridge, { ...OPEN, request,
                                     between: [...MISTYPED.map(([, , type]) => mistypedKey(type)), ...created,
                                               agent('RequestList', 'Invalid source name[].'),
                                               ['mrb_destroy_general_param', 1]] });
        assert.deepEqual(answer, { return_ecode: REFUSED });
    }
});

test('the keys that every list has are missed in their order, and the optional ones not at all', () => {
    const keys = ['param_source_name', 'param_content_type', 'param_sort_category'];
    assertOrder(bridge, { ...OPEN, request: {},
                  between: [...keys.map(missingKey), ...created, agent('RequestList', 'Invalid source name[].'),
                            ['mrb_destroy_general_param', 1]] });
});

for (const name of ['SOURCE_MSC\0', 'SOURCE_DLNA\0x', 'SOURCE_PTP\0\0', '\0SOURCE_PLAYLIST', 'SOURCE_PLAYLIST\0']) {
    test(`the source name ${JSON.stringify(name)} is unknown: a zero belongs to a name`, () => {
        const [printed] = name.split('\0');
        const answer = assertOrder(bridge, { ...OPEN, request: { param_source_name: name },
                                     between: [...common, ...created,
                                               agent('RequestList', `Invalid source name[${printed}].`),
                                               ['mrb_destroy_general_param', 1]] });
        assert.deepEqual(answer, { return_ecode: REFUSED });
    });
}

// ---- shares -------------------------------------------------------------------------

const share = (name, value) => [`mrb_param_set_share_${name}`, 1, value];
const SHARES = [
    { type: 1, own: [...unread('source_device_type'), share('source_dev_type', 0)] },
    { type: 2, own: [...unread('source_device_type', 'dest_device_type', 'dest_device_path'), share('source_dev_type', 0),
                     share('dest_dev_type', 0), share('dest_dev_path', '')] },
    { type: 4, own: [...unread('source_device_type', 'dest_device_type', 'dlna_device_id'), share('source_dev_type', 0),
                     share('dest_dev_type', 0), share('dlna_device_id', ''), ...unread('dlna_service_provider'),
                     share('dlna_service_provider', '')] },
    { type: 4, more: { param_source_device_type: 4 },
      own: [...unread('dest_device_type', 'dlna_device_id'), share('source_dev_type', 4), share('dest_dev_type', 0),
            share('dlna_device_id', ''), ...unread('dest_device_path'), share('dest_dev_path', '')] },
    { type: 32, own: [...unread('is_lock'), share('lock', false)] },
    { type: 7, own: [] },
];

for (const { type, more = {}, own } of SHARES) {
    const from = more.param_source_device_type ? ' from a server' : '';
    test(`a share of type ${type}${from} reads and sets in order, and starts`, () => {
        rec.queue(BATCH, { result: -4 });
        assertOrder(bridge, { method: BATCH, fn: 'BatchProcess',
                      request: { param_agent: 18, param_share_type: type, ...more },
                      between: [['mrb_create_share_param', 0], ...own, ['mrb_create_share_user_data_param', 0],
                                ['mrb_param_set_share_user_data_udata', 1, 'user1'],
                                ['mrb_param_set_share_user_data_cb', 1, 'cb1'],
                                [BATCH, type, 1, 18, 1, 0], ['mrb_destroy_share_param', 1]] });
    });
}

test('a share reads its list and its type, in this order, before it creates anything', () => {
    rec.queue(BATCH, { result: -4 });
    call(bridge, BATCH, () => {}, {});
    const [, first, second, third] = rec.events();
    assertEvents([missingKey('param_agent'), missingKey('param_share_type'), ['mrb_create_share_param', 0]],
                 { events: [first, second, third] });
});
