// Helpers of all tests of the shipped bridge. Each file runs in `quill`, with the
// recording framework and log, which LD_LIBRARY_PATH selects:
//
//   QUILL_BUILD=build/dev LD_LIBRARY_PATH=build/dev/tests/recording \
//     build/dev/bin/quill tests/blackbox/FILE.test.mjs

import assert from 'node:assert/strict';
import { createRequire } from 'node:module';
import path from 'node:path';
import { beforeEach } from 'node:test';

import { LIMIT_MS } from '../limits.mjs';

assert.ok(process.env.QUILL_BUILD, 'QUILL_BUILD names the build folder to test');
export const build = path.resolve(process.env.QUILL_BUILD);

/** The recorder; tests/recording/addon documents its functions. */
export const rec = createRequire(import.meta.url)(`${build}/tests/recording/recorder.node`);

/** The "return_ecode" with which the bridge itself refuses a call. */
export const REFUSED = 2;

/** Clears the recorder's calls, replies, blocks and lines; runs before every test. */
export function forget() {
    rec.clear();
    rec.clearLogs();
}
beforeEach(forget);

/** Opens a bridge object that does not keep the program alive; its construction is not in the trace. */
export function openBridge() {
    const bridge = new MRBBridge();
    quill.unref(bridge);
    forget();
    return bridge;
}

/** A request's text: other values than texts are converted to JSON. */
export const requestText = (request) => (typeof request === 'string' ? request : JSON.stringify(request));

/**
 * Calls a method; requests given as plain objects become texts. Answers must be
 * one line of JSON; returns it parsed.
 */
export function call(bridge, name, ...args) {
    const answer = bridge[name](...args.map((arg) => (isPlainObject(arg) ? requestText(arg) : arg)));
    assert.equal(typeof answer, 'string');
    assert.match(answer, /^\{.*\}\n$/);
    return JSON.parse(answer);
}

const isPlainObject = (value) =>
    typeof value === 'object' && value !== null && Object.getPrototypeOf(value) === Object.prototype;

/** The recorded calls of one function, without the name. */
export const callsOf = (name) =>
    rec.trace().filter(([called]) => called === name).map(([, ...args]) => args);

/** The names of all recorded calls. */
export const calledNames = () => rec.trace().map(([name]) => name);

/**
 * A script function that records its calls. `calls` are the argument lists,
 * `delivered(n)` waits until there are n and resolves to the texts; a wait for longer
 * than LIMIT_MS fails.
 */
export function inbox() {
    const calls = [];
    let wake = () => {};
    const receive = (...args) => {
        calls.push(args);
        wake();
    };
    const delivered = (count = 1) =>
        new Promise((resolve, reject) => {
            const timer = setTimeout(
                () => reject(new Error(`${calls.length} of ${count} results were delivered`)), LIMIT_MS);
            wake = () => {
                if (calls.length < count) return;
                clearTimeout(timer);
                resolve(calls.map(([text]) => text));
            };
            wake();
        });
    return { receive, calls, delivered };
}

/**
 * Opens a bridge whose list callback is registered with the recorder although no list
 * is open, since the framework refused it: such an object can be released. `receive`
 * becomes the function for list results.
 */
export function bridgeWithListCallback(receive) {
    const bridge = openBridge();
    requestRefusedList(bridge, receive);
    forget();
    return bridge;
}

/** Registers `receive` for list results through a request that the framework refuses. */
export function requestRefusedList(bridge, receive) {
    rec.queue('mrb_request_list_v2', { result: -1 });
    const answer = call(bridge, 'mrb_request_list_v2', receive, { param_source_name: 'SOURCE_MSC' });
    assert.deepEqual(answer, { return_ecode: -1 });
}

/** The forty methods in order, with their arguments: E0 none, E1 a request, EC a function first. */
export const METHODS = [
    ['mrb_request_list_v2', 'EC'],
    ['mrb_cancel_request_list_v2', 'E1'],
    ['mrb_disconnect_v2', 'E1'],
    ['mrb_batch_process_v2', 'EC'],
    ['mrb_stop_batch_process_v2', 'E1'],
    ['mrb_set_page_style_v2', 'E1'],
    ['mrb_set_navigation_v2', 'E1'],
    ['mrb_get_navigation_v2', 'E1'],
    ['mrb_select_all_v2', 'E1'],
    ['mrb_deselect_all_v2', 'E1'],
    ['mrb_select_group_v2', 'E1'],
    ['mrb_deselect_group_v2', 'E1'],
    ['mrb_get_selected_state_v2', 'E1'],
    ['mrb_get_selection_count_v2', 'E1'],
    ['mrb_toggle_select_v2', 'E1'],
    ['mrb_get_group_count_v2', 'E1'],
    ['mrb_get_item_count_v2', 'E1'],
    ['mrb_get_item_v2', 'E1'],
    ['mrb_get_item_list_v2', 'E1'],
    ['mrb_move_to_index_v2', 'E1'],
    ['mrb_get_page_index_v2', 'E1'],
    ['mrb_prepare_play_data_v2', 'E1'],
    ['mrb_set_item_value_v2', 'E1'],
    ['mrb_get_item_value_v2', 'E1'],
    ['mrb_get_rating_info_v2', 'E1'],
    ['mrb_get_storage_id_v2', 'E1'],
    ['thumbnail_request_async', 'EC'],
    ['thumbnail_request_cancel', 'E1'],
    ['thumbnail_request_cancel_all', 'E0'],
    ['thumbnail_stop_ptp_decode_sync', 'E0'],
    ['thumbnail_flash_cache_init', 'E0'],
    ['mrb_set_usb_callback', 'EC'],
    ['mrb_unset_usb_callback', 'E0'],
    ['mrb_get_usb_list', 'E0'],
    ['mrb_get_ptp_list', 'E0'],
    ['mrb_Init_dlna_service', 'EC'],
    ['mrb_finalize_dlna_service', 'E0'],
    ['mrb_set_dlna_callback', 'EC'],
    ['mrb_unset_dlna_callback', 'E0'],
    ['mrb_get_dlna_list', 'E0'],
];
export const methodsThatTake = (variant) => METHODS.filter(([, takes]) => takes === variant).map(([name]) => name);
