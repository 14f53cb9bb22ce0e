// Opening a list: which keys of the request reach the framework, in which order,
// for each source.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { call, callsOf, openBridge, rec, REFUSED } from './harness.mjs';
import { agent, agentCommand, assertLogs, json } from './log_lines.mjs';

const bridge = openBridge();
const COMMAND = 'mrb_request_list_v2';
const set = (name, value) => [`mrb_param_set_general_${name}`, 1, value];

const open = (request) => call(bridge, COMMAND, () => {}, request);

/** The calls of one opening: the setters between what every opening calls. */
const opening = (setters, { type = '', category = '', agentIn = 0 } = {}) => [
    ['mrb_create_general_param', 0],
    set('content_type', type),
    set('sort_category', category),
    ...setters,
    [COMMAND, 1, 'cb1', 'user1', agentIn],
    ['mrb_destroy_general_param', 1],
];

const common = { param_content_type: 'IMAGE', param_sort_category: 'TITLE' };
const named = { type: 'IMAGE', category: 'TITLE' };
const missing = (...keys) => keys.map((key) => json('Get', `NO strKey[${key}] in josn.`));
const success = (handle) => ({ return_data: handle, return_ecode: 0, return_type: 1 });

test('a folder is opened with its path, the plain-metadata flag and its source', () => {
    const request = { ...common, param_source_name: 'SOURCE_MSC', param_scan_path: '/mnt/usb', param_is_uhd: false };
    rec.queue(COMMAND, { out: 21 });
    assert.deepEqual(open(request), success(21));
    assert.deepEqual(rec.trace(), opening([set('path', '/mnt/usb'), set('is_uhd_meta', false),
                                           set('source', 'SOURCE_MSC')], named));
    assertLogs(agentCommand('RequestList', COMMAND, request, success(21)), { onMainThread: true });
});

const uhdKeys = { param_update_flag: true, param_lang_id: 'en', param_duid: 'D1', param_access_token: 'T2',
                  param_country: 'KR' };

test('without the UHD flag no UHD key is read or set', () => {
    const request = { ...common, ...uhdKeys, param_source_name: 'SOURCE_MSC', param_scan_path: '/a',
                      param_is_uhd: false };
    rec.queue(COMMAND, { out: 22 });
    open(request);
    assert.deepEqual(rec.trace(), opening([set('path', '/a'), set('is_uhd_meta', false),
                                           set('source', 'SOURCE_MSC')], named));
    assertLogs(agentCommand('RequestList', COMMAND, request, success(22)));
});

test('with the UHD flag the UHD keys are set after the source', () => {
    const request = { ...common, ...uhdKeys, param_source_name: 'SOURCE_MSC', param_scan_path: '/a',
                      param_is_uhd: true };
    rec.queue(COMMAND, { out: 23 });
    open(request);
    assert.deepEqual(rec.trace(), opening([
        set('path', '/a'), set('is_uhd_meta', true), set('source', 'SOURCE_MSC'), set('update_uhd_meta', true),
        set('lang_id', 'en'), set('duid', 'D1'), set('access_token', 'T2'), set('country', 'KR'),
    ], named));
    assertLogs(agentCommand('RequestList', COMMAND, request, success(23)));
});

test('with the UHD flag but without its keys the presets are set and the log names each', () => {
    const request = { ...common, param_source_name: 'SOURCE_MSC', param_scan_path: '/a', param_is_uhd: true };
    rec.queue(COMMAND, { out: 24 });
    open(request);
    assert.deepEqual(rec.trace(), opening([
        set('path', '/a'), set('is_uhd_meta', true), set('source', 'SOURCE_MSC'), set('update_uhd_meta', false),
        set('lang_id', ''), set('duid', ''), set('access_token', ''), set('country', ''),
    ], named));
    assertLogs(agentCommand('RequestList', COMMAND, request, success(24),
                            missing('param_update_flag', 'param_lang_id', 'param_duid', 'param_access_token',
                                    'param_country')));
});

test('a folder request with nothing else uses presets and the log names every key it reads', () => {
    const request = { param_source_name: 'SOURCE_MSC' };
    rec.queue(COMMAND, { out: 25 });
    open(request);
    assert.deepEqual(rec.trace(), opening([set('path', ''), set('is_uhd_meta', false), set('source', 'SOURCE_MSC')]));
    assertLogs(agentCommand('RequestList', COMMAND, request, success(25),
                            missing('param_content_type', 'param_sort_category', 'param_scan_path', 'param_is_uhd')));
});

test('a DLNA server is opened with path, folder, key word and its source', () => {
    const request = { ...common, param_source_name: 'SOURCE_DLNA', param_scan_path: 'uuid:1', param_folder_id: '64',
                      param_key_word: 'cat' };
    rec.queue(COMMAND, { out: 26 });
    open(request);
    assert.deepEqual(rec.trace(), opening([
        set('key_word', 'cat'), set('path', 'uuid:1'), set('folder_id', '64'), set('key_word', 'cat'),
        set('source', 'SOURCE_DLNA'),
    ], named));
    assertLogs(agentCommand('RequestList', COMMAND, request, success(26)));
});

test('a DLNA server without key word has an empty one set', () => {
    const request = { ...common, param_source_name: 'SOURCE_DLNA', param_scan_path: 'uuid:1', param_folder_id: '64' };
    rec.queue(COMMAND, { out: 27 });
    open(request);
    assert.deepEqual(rec.trace(), opening([
        set('path', 'uuid:1'), set('folder_id', '64'), set('key_word', ''), set('source', 'SOURCE_DLNA'),
    ], named));
    assertLogs(agentCommand('RequestList', COMMAND, request, success(27), missing('param_key_word')));
});

test('a camera is opened with folder, model, bus, device and its source', () => {
    const request = { ...common, param_source_name: 'SOURCE_PTP', param_model_name: 'EOS', param_bus_value: 3,
                      param_device_value: 14, param_folder_id: '/store' };
    rec.queue(COMMAND, { out: 28 });
    open(request);
    assert.deepEqual(rec.trace(), opening([
        set('folder_id', '/store'), set('mode_name', 'EOS'), set('bus_value', 3), set('device_value', 14),
        set('source', 'SOURCE_PTP'),
    ], named));
    assertLogs(agentCommand('RequestList', COMMAND, request, success(28)));
});

test('a camera request without its keys uses presets and the log names each in reading order', () => {
    const request = { ...common, param_source_name: 'SOURCE_PTP' };
    rec.queue(COMMAND, { out: 29 });
    open(request);
    assert.deepEqual(rec.trace(), opening([
        set('folder_id', ''), set('mode_name', ''), set('bus_value', 0), set('device_value', 0),
        set('source', 'SOURCE_PTP'),
    ], named));
    assertLogs(agentCommand('RequestList', COMMAND, request, success(29),
                            missing('param_model_name', 'param_bus_value', 'param_device_value', 'param_folder_id')));
});

for (const name of ['Evening', undefined]) {
    test(`a playlist request ${name ? 'with' : 'without'} a name sets only its source`, () => {
        const request = { ...common, param_source_name: 'SOURCE_PLAYLIST', param_playlist_name: name };
        rec.queue(COMMAND, { out: 30 });
        open(request);
        assert.deepEqual(rec.trace(), opening([set('source', 'SOURCE_PLAYLIST')], named));
        assertLogs(agentCommand('RequestList', COMMAND, request, success(30),
                                name ? [] : missing('param_playlist_name')));
    });
}

test('all optional keys are set after the common ones, before those of the source', () => {
    const request = { ...common, param_source_name: 'SOURCE_MSC', param_scan_path: '/a', param_is_uhd: false,
                      param_media_extension: 'jpg|png', param_key_word: 'sea', param_agent: 77,
                      param_prepare_data: 'full' };
    rec.queue(COMMAND, { out: 77 });
    assert.deepEqual(open(request), success(77));
    assert.deepEqual(rec.trace(), opening([
        set('extension', 'jpg|png'), set('key_word', 'sea'), set('prepare_data', 'full'),
        set('path', '/a'), set('is_uhd_meta', false), set('source', 'SOURCE_MSC'),
    ], { ...named, agentIn: 77 }));
    assertLogs(agentCommand('RequestList', COMMAND, request, success(77)));
});

for (const [key, setter] of [['param_media_extension', 'extension'], ['param_key_word', 'key_word'],
                             ['param_prepare_data', 'prepare_data']]) {
    test(`an empty ${key} is not set`, () => {
        open({ ...common, param_source_name: 'SOURCE_PLAYLIST', [key]: '' });
        assert.deepEqual(callsOf(`mrb_param_set_general_${setter}`), []);
    });

    test(`a ${key} that is not a text is logged and not set`, () => {
        const request = { ...common, param_source_name: 'SOURCE_PLAYLIST', param_playlist_name: '', [key]: 5 };
        rec.queue(COMMAND, { out: 31 });
        open(request);
        assert.deepEqual(callsOf(`mrb_param_set_general_${setter}`), []);
        assertLogs(agentCommand('RequestList', COMMAND, request, success(31), [json('Get', 'value.type[1].')]));
    });
}

test('mistyped keys of the source are logged and replaced by presets', () => {
    const request = { ...common, param_source_name: 'SOURCE_MSC', param_scan_path: 1, param_is_uhd: 'true' };
    rec.queue(COMMAND, { out: 32 });
    open(request);
    assert.deepEqual(rec.trace(), opening([set('path', ''), set('is_uhd_meta', false), set('source', 'SOURCE_MSC')],
                                          named));
    assertLogs(agentCommand('RequestList', COMMAND, request, success(32),
                            [json('Get', 'value.type[1].'), json('Get', 'value.type[4].')]));
});

test('a handle in the request goes into the framework call', () => {
    open({ param_source_name: 'SOURCE_MSC', param_agent: 1234 });
    assert.equal(callsOf(COMMAND)[0].at(-1), 1234);
});

test('a request without a handle hands 0 to the framework', () => {
    open({ param_source_name: 'SOURCE_MSC' });
    assert.equal(callsOf(COMMAND)[0].at(-1), 0);
});

for (const name of ['source_msc', 'Source_MSC', 'SOURCE_MSC ', '', 'SOURCE_']) {
    test(`the source name "${name}" is refused, and no list is opened`, () => {
        const request = { ...common, param_source_name: name };
        assert.deepEqual(open(request), { return_ecode: REFUSED });
        assert.deepEqual(rec.trace(), [['mrb_create_general_param', 0], set('content_type', 'IMAGE'),
                                       set('sort_category', 'TITLE'), ['mrb_destroy_general_param', 1]]);
        assertLogs(agentCommand('RequestList', COMMAND, request, { return_ecode: REFUSED },
                                [agent('RequestList', `Invalid source name[${name}].`)]));
    });
}

test('a request that is not a JSON object is refused for its missing source name', () => {
    assert.deepEqual(open('[]'), { return_ecode: REFUSED });
    const unread = Array(3).fill(json('Get', 'Get fail. jsonvalue is invalid type[6].'));
    assertLogs(agentCommand('RequestList', COMMAND, '[]', { return_ecode: REFUSED },
                            [...unread, agent('RequestList', 'Invalid source name[].')]));
});

test('the framework refusing the list passes its code back without a handle', () => {
    const request = { ...common, param_source_name: 'SOURCE_PLAYLIST', param_playlist_name: '' };
    rec.queue(COMMAND, { result: -4, out: 99 });
    assert.deepEqual(open(request), { return_ecode: -4 });
    assert.deepEqual(rec.trace(), opening([set('source', 'SOURCE_PLAYLIST')], named));
    assertLogs(agentCommand('RequestList', COMMAND, request, { return_ecode: -4 }));
});

test('failing setters change nothing', () => {
    rec.setDefault('mrb_param_set_general_path', { result: -1 });
    rec.setDefault('mrb_destroy_general_param', { result: -1 });
    rec.queue(COMMAND, { out: 33 });
    assert.deepEqual(open({ param_source_name: 'SOURCE_MSC' }), success(33));
});

test('every object names itself as user data of its lists', () => {
    const other = openBridge();
    open({ param_source_name: 'SOURCE_MSC' });
    call(other, COMMAND, () => {}, { param_source_name: 'SOURCE_MSC' });
    open({ param_source_name: 'SOURCE_MSC' });
    assert.deepEqual(callsOf(COMMAND).map(([, callback, user]) => [callback, user]),
                     [['cb1', 'user1'], ['cb1', 'user2'], ['cb1', 'user1']]);
});
