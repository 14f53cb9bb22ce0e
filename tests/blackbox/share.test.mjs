// Sharing the selection: starting, stopping, and the delivery of its progress.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { assertAborted, runChild } from './child.mjs';
import { call, callsOf, forget, inbox, openBridge, rec } from './harness.mjs';
import { assertEvents, returned } from './event_trace.mjs';
import { agentCommand, assertLogs, deliveryLines, missingKey, mistypedKey } from './log_lines.mjs';

// Kept to the end: the teardown of an object that started a share does not end.
const bridge = openBridge();
const ignore = () => {};

const START = 'mrb_batch_process_v2';
const STOP = 'mrb_stop_batch_process_v2';
const setter = (name) => `mrb_param_set_share_${name}`;
const SOURCE = setter('source_dev_type');
const DEST = setter('dest_dev_type');
const PATH = setter('dest_dev_path');
const DEVICE = setter('dlna_device_id');
const PROVIDER = setter('dlna_service_provider');
const LOCK = setter('lock');

/** Every key that a share may have. */
const FULL = { param_agent: 18, param_source_device_type: 3, param_dest_device_type: 5, param_dest_device_path: '/media/%s',
               param_dlna_device_id: 'uuid:1', param_dlna_service_provider: 'provider', param_is_lock: true };

/** All calls of a share of a type, with what is set between making and using the parameters. */
const shareTrace = (type, set, handle = 18) => {
    const registered = rec.trace().find(([name]) => name.endsWith('user_data_udata'));
    return [['mrb_create_share_param', 0], ...set.map(([name, value]) => [name, 1, value]),
            ['mrb_create_share_user_data_param', 0], ['mrb_param_set_share_user_data_udata', 1, registered?.[2]],
            ['mrb_param_set_share_user_data_cb', 1, callsOf('mrb_param_set_share_user_data_cb')[0]?.[1]],
            [START, type, 1, handle, 1, 0], ['mrb_destroy_share_param', 1]];
};

const SHARES = [
    { type: 1, set: [[SOURCE, 3]] },
    { type: 2, set: [[SOURCE, 3], [DEST, 5], [PATH, '/media/%s']] },
    { type: 4, set: [[SOURCE, 3], [DEST, 5], [DEVICE, 'uuid:1'], [PROVIDER, 'provider']] },
    { type: 4, source: 4, set: [[SOURCE, 4], [DEST, 5], [DEVICE, 'uuid:1'], [PATH, '/media/%s']] },
    { type: 32, set: [[LOCK, true]] },
    ...[3, 5, 7, 31, 33, 0, -1, 2147483647, -2147483648].map((type) => ({ type, set: [] })),
];

for (const { type, source = 3, set } of SHARES) {
    test(`a share of type ${type} from a device of type ${source} sets its parameters in order, and starts`, () => {
        const request = { ...FULL, param_share_type: type, param_source_device_type: source };
        rec.queue(START, { out: 77 });
        const answer = { return_data: 77, return_ecode: 0, return_type: 1 };
        assert.deepEqual(call(bridge, START, ignore, request), answer);
        assert.deepEqual(rec.trace(), shareTrace(type, set));
        assertLogs(agentCommand('BatchProcess', START, request, answer), { onMainThread: true });
    });
}

// What a share reads when its keys are missing, in the order in which it is read.
const ABSENT = [
    { type: 1, keys: ['param_source_device_type'], set: [[SOURCE, 0]] },
    { type: 2, keys: ['param_source_device_type', 'param_dest_device_type', 'param_dest_device_path'],
      set: [[SOURCE, 0], [DEST, 0], [PATH, '']] },
    { type: 4, keys: ['param_source_device_type', 'param_dest_device_type', 'param_dlna_device_id',
                      'param_dlna_service_provider'], set: [[SOURCE, 0], [DEST, 0], [DEVICE, ''], [PROVIDER, '']] },
    { type: 4, given: { param_source_device_type: 4 },
      keys: ['param_dest_device_type', 'param_dlna_device_id', 'param_dest_device_path'],
      set: [[SOURCE, 4], [DEST, 0], [DEVICE, ''], [PATH, '']] },
    { type: 32, keys: ['param_is_lock'], set: [[LOCK, false]] },
];

for (const { type, given = {}, keys, set } of ABSENT) {
    const what = `${type}${given.param_source_device_type === 4 ? ' from a DLNA server' : ''}`;
    test(`a share of type ${what} without its keys presets them, and reads no others`, () => {
        const request = { param_agent: 18, param_share_type: type, ...given };
        rec.queue(START, { result: -1 });
        assert.deepEqual(call(bridge, START, ignore, request), { return_ecode: -1 });
        assert.deepEqual(rec.trace(), shareTrace(type, set));
        assertLogs(agentCommand('BatchProcess', START, request, { return_ecode: -1 }, keys.map(missingKey)));
    });

    test(`a share of type ${what} with keys of another type presets them`, () => {
        const request = { param_agent: 18, param_share_type: type,
                          ...Object.fromEntries(keys.map((key) => [key, []])), ...given };
        rec.queue(START, { result: -1 });
        call(bridge, START, ignore, request);
        assert.deepEqual(rec.trace(), shareTrace(type, set));
        assertLogs(agentCommand('BatchProcess', START, request, { return_ecode: -1 }, keys.map(() => mistypedKey(6))));
    });
}

test('a share without any key starts one of type 0 of handle 0', () => {
    rec.queue(START, { result: -5 });
    assert.deepEqual(call(bridge, START, ignore, {}), { return_ecode: -5 });
    assert.deepEqual(rec.trace(), shareTrace(0, [], 0));
    assertLogs(agentCommand('BatchProcess', START, {}, { return_ecode: -5 },
                            ['param_agent', 'param_share_type'].map(missingKey)));
});

for (const type of [3, 7]) {
    test(`a share of type ${type} sets nothing and still starts`, () => {
        assert.equal(call(bridge, START, ignore, { ...FULL, param_share_type: type }).return_ecode, 0);
        assert.deepEqual(rec.trace().filter(([name]) => /share_(source|dest|dlna|lock)/.test(name)), []);
        assert.equal(callsOf(START).length, 1);
    });
}

test('a share that fails answers the code alone, and its parameters are destroyed', () => {
    rec.queue(START, { result: -12, out: 77 });
    const request = { ...FULL, param_share_type: 2 };
    assert.deepEqual(call(bridge, START, ignore, request), { return_ecode: -12 });
    assert.deepEqual(rec.trace().at(-1), ['mrb_destroy_share_param', 1]);
    assertLogs(agentCommand('BatchProcess', START, request, { return_ecode: -12 }));
});

test('parameter objects that cannot be created are passed on all the same', () => {
    rec.queue('mrb_create_share_param', { result: -9 });
    rec.queue('mrb_create_share_user_data_param', { result: -9 });
    rec.queue(START, { result: -1 });
    assert.deepEqual(call(bridge, START, ignore, { param_agent: 18, param_share_type: 32, param_is_lock: true }),
                     { return_ecode: -1 });
    assert.deepEqual(callsOf(LOCK), [[0, true]]);
    assert.deepEqual(callsOf(START), [[32, 0, 18, 0, 0]]);
});

test('the user-data parameters stay with the framework', () => {
    call(bridge, START, ignore, { ...FULL, param_share_type: 2 });
    assert.deepEqual(rec.trace().filter(([name]) => name.includes('destroy')), [['mrb_destroy_share_param', 1]]);
});

// ---- stopping ---------------------------------------------------------------------

for (const result of [0, -2]) {
    test(`stopping a share names its handle and answers the framework's ${result}`, () => {
        rec.queue(STOP, { result });
        const request = { param_share_handle: 77 };
        assert.deepEqual(call(bridge, STOP, request), { return_ecode: result });
        assert.deepEqual(rec.trace(), [[STOP, 77]]);
        assertLogs(agentCommand('StopBatchProcess', STOP, request, { return_ecode: result }), { onMainThread: true });
    });
}

for (const [what, request, line] of [['without', {}, missingKey('param_share_handle')],
                                     ['with a mistyped', { param_share_handle: '7' }, mistypedKey(4)]]) {
    test(`stopping ${what} handle names 0`, () => {
        call(bridge, STOP, request);
        assert.deepEqual(rec.trace(), [[STOP, 0]]);
        assertLogs(agentCommand('StopBatchProcess', STOP, request, { return_ecode: 0 }, [line]));
    });
}

// ---- progress ---------------------------------------------------------------------

/** An object whose share the framework refused: its callback is registered, and it can be released. */
function bridgeWithShareCallback(receive) {
    const object = openBridge();
    rec.queue(START, { result: -1 });
    assert.deepEqual(call(object, START, receive, { param_share_type: 2 }), { return_ecode: -1 });
    rec.clearLogs();
    return object;
}

/** Fires one share event at an object of its own; returns the arguments of the script function. */
async function deliver(event) {
    const { receive, calls, delivered } = inbox();
    const object = bridgeWithShareCallback(receive);
    rec.fireShare(event);
    await delivered();
    quill.release(object);
    return calls[0];
}

const SCRIPT_EVENTS = new Map([[0, 0], [1, 1], [2, 8], [3, 25], [14, 13], [18, 17], [19, 18], [20, 19], [21, 26],
                               [22, 27], [23, 28], [28, 29]]);
for (let event = -1; event <= 29; ++event) {
    const expected = SCRIPT_EVENTS.get(event) ?? -1;
    test(`the share event ${event} reaches the script as ${expected}`, async () => {
        const [text] = await deliver({ event });
        assert.equal(JSON.parse(text).param_event, expected);
    });
}

test('progress is one compact line of nine sorted keys, the only argument', async () => {
    const args = await deliver({ share: -7, event: 2, totalFileCount: 3, doneFileCount: 1, totalFileSize: 1000,
                                 successFileSize: 100, currentFileSize: 50, progressFileSize: 25,
                                 currentFileName: 'a "%s".jpg' });
    assert.deepEqual(args, ['{"param_event":8,"param_share_current_file_name":"a \\"%s\\".jpg",' +
        '"param_share_current_file_size":50.0,"param_share_done_file_count":1.0,"param_share_handle":-7,' +
        '"param_share_progress_file_size":25.0,"param_share_success_file_size":100.0,' +
        '"param_share_total_file_count":3.0,"param_share_total_file_size":1000.0}\n']);
});

test('file counts are unsigned', async () => {
    const [text] = await deliver({ event: 2, totalFileCount: 4294967295, doneFileCount: 4294967295 });
    const progress = JSON.parse(text);
    assert.equal(progress.param_share_total_file_count, 4294967295);
    assert.equal(progress.param_share_done_file_count, 4294967295);
});

test('file sizes go beyond 32 bits', async () => {
    const size = 2 ** 52 + 1;
    const [text] = await deliver({ event: 2, totalFileSize: size, successFileSize: size + 1, currentFileSize: size + 2,
                                   progressFileSize: size + 3 });
    const progress = JSON.parse(text);
    assert.deepEqual(['total', 'success', 'current', 'progress'].map((which) => progress[`param_share_${which}_file_size`]),
                     [size, size + 1, size + 2, size + 3]);
});

test('a file name of any letters and of the greatest length arrives whole', async () => {
    for (const name of ['写真 🎞.jpg', 'x'.repeat(1023)]) {
        const [text] = await deliver({ event: 2, currentFileName: name });
        assert.equal(JSON.parse(text).param_share_current_file_name, name);
    }
});

test('progress is logged on the thread of the framework', async () => {
    const { receive, delivered } = inbox();
    const object = bridgeWithShareCallback(receive);
    rec.fireShare({ share: 5, event: 2 });
    const [text] = await delivered();
    assertLogs(deliveryLines(3, text), { onMainThread: false });
    quill.release(object);
});

test('the callback of a share answers true, after its delivery was queued', async () => {
    for (const event of [0, 2, 5, 29, -1]) {
        const { receive, delivered } = inbox();
        const object = bridgeWithShareCallback(receive);
        forget();
        rec.fireShare({ share: 5, event });
        const [text] = await delivered();
        assertEvents([...deliveryLines(3, text), returned('share', true)], { onMainThread: false });
        quill.release(object);
    }
});

test('progress is delivered in order, after the call that was running', async () => {
    const { receive, calls, delivered } = inbox();
    const object = bridgeWithShareCallback(receive);
    for (let share = 1; share <= 20; ++share) rec.fireShare({ share, event: 2 });
    assert.deepEqual(calls, []);
    const texts = await delivered(20);
    assert.deepEqual(texts.map((text) => JSON.parse(text).param_share_handle), Array.from({ length: 20 }, (_, i) => i + 1));
    quill.release(object);
});

test('progress goes to the function of shares and to no other', async () => {
    const object = bridgeWithShareCallback(() => assert.fail('replaced'));
    rec.queue('mrb_request_list_v2', { result: -1 });
    call(object, 'mrb_request_list_v2', () => assert.fail('of lists'), { param_source_name: 'SOURCE_MSC' });
    const { receive, delivered } = inbox();
    rec.fireShare({ share: 1, event: 2 }); // queued when its function is replaced
    rec.queue(START, { result: -1 });
    call(object, START, receive, {});
    const [text] = await delivered();
    assert.equal(JSON.parse(text).param_share_handle, 1);
    quill.release(object);
});

test('progress that is queued when its object is released reaches no function, nor an object created after it', async () => {
    for (let round = 0; round < 50; ++round) {
        const released = bridgeWithShareCallback(() => assert.fail('of a released object'));
        for (let share = 0; share < 10; ++share) rec.fireShare({ share: 1, event: 2 });
        quill.release(released);
        const { receive, delivered } = inbox();
        const fresh = bridgeWithShareCallback(receive);
        rec.fireShare({ share: 2, event: 2 });
        assert.deepEqual((await delivered()).map((text) => JSON.parse(text).param_share_handle), [2]);
        quill.release(fresh);
    }
});

test('a function may release its object inside a progress call', async () => {
    const { receive, calls, delivered } = inbox();
    const object = bridgeWithShareCallback((text) => {
        quill.release(object);
        receive(text);
    });
    for (const share of [1, 2]) rec.fireShare({ share, event: 2 });
    await delivered();
    const later = inbox();
    const other = bridgeWithShareCallback(later.receive);
    rec.fireShare({ share: 3, event: 2 });
    await later.delivered();
    assert.equal(calls.length, 1);
    quill.release(other);
});

test('progress without an adapter ends the process', async () => {
    const result = await runChild(`
        const bridge = openBridge();
        bridge.mrb_batch_process_v2(() => {}, '{}');
        rec.fireShare({ nullUserData: true });
        console.log('went on');`);
    assertAborted(result, 'self != __null');
    assert.equal(result.stdout, '');
});
