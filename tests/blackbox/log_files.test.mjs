// The file that a log line names is that of the class which writes it: for every
// command, every result, and an object's construction and release.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { call, forget, METHODS, openBridge, rec } from './harness.mjs';
import { bitmapFolder } from './thumbnail_records.mjs';

/** The files that may begin the lines of a tag. */
const FILES = {
    'MRB-BRIDGE-COMMON': ['MRBAdapterProvider.cpp', 'MRBBridgeJson.cpp'],
    'MRB-BRIDGE-AGENT': ['MRBAgentAdapter.cpp'],
    'MRB-BRIDGE-THUMBNAIL': ['MRBThumbnailAdapter.cpp'],
    'MRB-BRIDGE-STORAGEMGR': ['MRBStorageMgrAdapter.cpp'],
};
const [AGENT, THUMBNAIL, STORAGE] = ['MRB-BRIDGE-AGENT', 'MRB-BRIDGE-THUMBNAIL', 'MRB-BRIDGE-STORAGEMGR'];

/** The tag of a method's adapter, by its number. */
const tagOf = (number) => (number <= 25 ? AGENT : number <= 30 ? THUMBNAIL : STORAGE);

/** Every line so far must begin with a file of its tag; the lines must be of these tags at least. */
function assertFiles(...tags) {
    const lines = rec.logs();
    for (const { tag, text } of lines) {
        assert.ok(FILES[tag]?.some((file) => text.startsWith(`${file}: `)), `${tag}: ${text.slice(0, 200)}`);
    }
    for (const tag of tags) assert.ok(lines.some((line) => line.tag === tag), `no line of ${tag}`);
}

// Never released: it opens a list.
const bridge = openBridge();
const folder = bitmapFolder();
const REQUEST = { param_source_name: 'SOURCE_MSC', param_origin_path: '/media/a.jpg',
                  param_save_path: [`${folder}/a.bmp`], param_field: 'TITLE', param_count: 1,
                  param_item_list: [0], param_selected_item_type_arr: [2] };

for (const [number, [name, takes]] of METHODS.entries()) {
    for (const [what, request] of [['with all keys', REQUEST], ['without keys', {}]]) {
        test(`the lines of ${name} ${what} begin with its adapter's file`, () => {
            const args = { E0: [], E1: [request], EC: [() => {}, request] }[takes];
            call(bridge, name, ...args);
            assertFiles(tagOf(number));
        });
    }
}

/** Requests that take the less common ways through a command. */
const FURTHER = [
    ['mrb_request_list_v2', { param_source_name: 'none' }, {}],
    ['mrb_get_item_count_v2', { get_item_count_for_each_type: true }, { mrb_get_item_count_by_type_v2: -1 }],
    ['mrb_get_item_list_v2', { param_count: 1 }, { mrb_get_item_count_v2: -1 }],
    ['mrb_toggle_select_v2', { param_item_list: [1] }, { mrb_toggle_select_v2: -1 }],
    ['mrb_select_all_v2', {}, { mrb_deselect_all_v2: -1 }],
    ['mrb_select_all_v2', {}, { mrb_get_item_count_v2: -1 }],
    ...['SIZE', 'LATITUDE', 'ADDED_TIME', 'TITLE', 'WIDTH', 'AD', 'none'].flatMap((field) => [
        ['mrb_get_item_value_v2', { param_field: field }, {}],
        ['mrb_set_item_value_v2', { param_field: field }, {}],
    ]),
    ['thumbnail_request_async', { param_origin_path: '/a', param_thumb_type: 1 }, {}],
    ['thumbnail_request_cancel', '', {}],
];
for (const [name, request, results] of FURTHER) {
    const more = Object.entries(results).map(([failing, result]) => ` when ${failing} is ${result}`).join();
    test(`the lines of ${name} ${JSON.stringify(request)}${more} begin with its adapter's file`, () => {
        for (const [failing, result] of Object.entries(results)) rec.queue(failing, { result });
        const number = METHODS.findIndex(([method]) => method === name);
        call(bridge, name, ...(METHODS[number][1] === 'EC' ? [() => {}] : []), request);
        assertFiles(tagOf(number));
    });
}

test('the lines of selecting items begin with the agent\'s file', () => {
    rec.queue('mrb_get_item_count_v2', { out: 3 });
    rec.queue('mrb_get_item_value_int_v2', { out: 1 });
    rec.queue('mrb_get_item_value_int_v2', { out: 2 });
    rec.queue('mrb_get_item_value_lint_v2', { result: -1 });
    call(bridge, 'mrb_select_all_v2', { param_selected_item_type_arr: [2] });
    assertFiles(AGENT);
});

test('the lines of an item list that breaks off begin with the agent\'s file', () => {
    rec.queue('mrb_get_item_count_v2', { out: 3 });
    rec.queue('mrb_get_item_v2', { result: -1 });
    call(bridge, 'mrb_get_item_list_v2', { param_count: 2 });
    assertFiles(AGENT);
});

test('the lines of events begin with the files of the delivery and of the adapter', () => {
    rec.fireList({});
    rec.fireShare({});
    rec.fireUsb({ device: rec.device({}) });
    rec.fireDlna({ device: rec.device({}) });
    rec.fireDlnaState({ state: 1 });
    assertFiles('MRB-BRIDGE-COMMON', STORAGE);
});

for (const [what, request, result] of [
    ['is stored', {}, {}],
    ['is stored in the flash cache', { param_thumb_type: 1 }, {}],
    ['cannot be written', { param_save_path: [`${folder}/none/a.bmp`] }, {}],
    ['has a path without a folder', { param_save_path: ['a.bmp'] }, {}],
    ['cannot be opened', { param_save_path: [folder] }, {}],
    ['has no place', { param_save_path: [] }, {}],
    ['failed', {}, { result: 1 }],
]) {
    test(`the lines of a thumbnail that ${what} begin with its adapter's file`, () => {
        call(bridge, 'thumbnail_request_async', () => {}, { ...REQUEST, ...request });
        forget();
        rec.fireThumbnail({ images: 1, width: 2, height: 2, preset: true, ...result });
        assertFiles(THUMBNAIL, 'MRB-BRIDGE-COMMON');
    });
}

test('the lines of a construction and of a release begin with the files of the provider and the adapters', () => {
    const other = new MRBBridge();
    quill.unref(other);
    assertFiles('MRB-BRIDGE-COMMON', THUMBNAIL);
    forget();
    quill.release(other);
    assertFiles('MRB-BRIDGE-COMMON', AGENT, THUMBNAIL, STORAGE);
});

test('the lines of calls that cannot be dispatched begin with the provider\'s file', () => {
    bridge.mrb_request_list_v2('no function');
    bridge.mrb_request_list_v2(() => {}, 1);
    bridge.mrb_get_item_v2(1);
    assertFiles('MRB-BRIDGE-COMMON');
});
