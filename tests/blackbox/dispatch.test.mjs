// How a call is checked before it reaches a command, and the answer and log line of a
// call that is refused.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { call, callsOf, inbox, METHODS, methodsThatTake, openBridge, rec, REFUSED,
         requestRefusedList } from './harness.mjs';
import { assertLogs, hasLogged, provider } from './log_lines.mjs';

const bridge = openBridge();
const NOT_TEXTS = [undefined, null, 1, true, {}, ['{}'], () => {}, Symbol('s'), 10n, new String('{}')];
const NOT_FUNCTIONS = [undefined, null, 1, true, '{}', {}, [], Symbol('s'), 10n];

/** The refused answer, as its very text. */
const refusedText = '{"return_ecode":2}\n';

for (const name of methodsThatTake('E1')) {
    test(`${name} without an argument is refused and logged`, () => {
        assert.equal(bridge[name](), refusedText);
        assertLogs([provider('Execute', 'Invalid js string.')], { onMainThread: true });
        assert.deepEqual(rec.trace(), []);
    });

    test(`${name} with anything but a text is refused and logged`, () => {
        for (const wrong of NOT_TEXTS) assert.equal(bridge[name](wrong), refusedText);
        assertLogs(NOT_TEXTS.map(() => provider('Execute', 'Invalid js string.')));
        assert.deepEqual(rec.trace(), []);
    });
}

for (const name of methodsThatTake('EC')) {
    test(`${name} without a function first is refused and logged`, () => {
        for (const wrong of NOT_FUNCTIONS) assert.equal(bridge[name](wrong, '{}'), refusedText);
        assertLogs(NOT_FUNCTIONS.map(() => provider('ExecuteWithCallback', 'Invalid js callback.')));
        assert.deepEqual(rec.trace(), []);
    });
}

for (const name of ['mrb_request_list_v2', 'mrb_batch_process_v2', 'thumbnail_request_async']) {
    test(`${name} with a function but no text after it is refused and logged`, () => {
        for (const wrong of NOT_TEXTS) assert.equal(bridge[name](() => {}, wrong), refusedText);
        assertLogs(NOT_TEXTS.map(() => provider('ExecuteWithCallback', 'Invalid js string.')));
        assert.deepEqual(rec.trace(), []);
    });
}

for (const name of ['mrb_set_usb_callback', 'mrb_Init_dlna_service', 'mrb_set_dlna_callback']) {
    test(`${name} reads no request`, () => {
        const answer = bridge[name](() => {});
        for (const second of NOT_TEXTS) assert.equal(bridge[name](() => {}, second), answer);
        assert.ok(!rec.logs().some(({ text }) => text.includes('Invalid js')));
    });
}

test('arguments after the request are ignored', () => {
    assert.equal(bridge.mrb_get_group_count_v2('{}', 1, () => {}), bridge.mrb_get_group_count_v2('{}'));
});

test('every method answers a one-line object with an integer return_ecode', () => {
    for (const [name, takes] of METHODS) {
        const object = openBridge();
        rec.queue('mrb_request_list_v2', { result: -1 });
        const answer = call(object, name, ...(takes === 'EC' ? [() => {}, '{}'] : ['{}']));
        assert.ok(Number.isInteger(answer.return_ecode), name);
    }
});

test('a list request with a function and a number is refused, and the function is registered all the same',
     async () => {
    const object = openBridge();
    const first = inbox();
    const second = inbox();
    requestRefusedList(object, first.receive);
    assert.equal(object.mrb_request_list_v2(second.receive, 7), refusedText);
    assert.ok(hasLogged(provider('ExecuteWithCallback', 'Invalid js string.')));
    rec.fireList({ agent: 3, event: 0 });
    await second.delivered();
    assert.deepEqual(first.calls, []);
});

test('a list request with a text first is refused, and the function registered before is kept', async () => {
    const object = openBridge();
    const kept = inbox();
    requestRefusedList(object, kept.receive);
    assert.equal(object.mrb_request_list_v2('{}', () => assert.fail('never registered')), refusedText);
    assert.ok(hasLogged(provider('ExecuteWithCallback', 'Invalid js callback.')));
    rec.fireList({});
    await kept.delivered();
});

test('a USB registration needs nothing but its function', () => {
    call(bridge, 'mrb_set_usb_callback', () => {});
    assert.ok(!hasLogged(provider('ExecuteWithCallback', 'Invalid js string.')));
    assert.ok(!hasLogged(provider('ExecuteWithCallback', 'Invalid js callback.')));
});

test('a cancel without an argument is refused', () => {
    assert.deepEqual(call(bridge, 'mrb_cancel_request_list_v2'), { return_ecode: REFUSED });
    assertLogs([provider('Execute', 'Invalid js string.')]);
});

test('a second function for the same command replaces the first, also for results that wait already',
     async () => {
    const object = openBridge();
    const second = inbox();
    requestRefusedList(object, () => assert.fail('the first function was replaced'));
    rec.fireList({ serverData: 'waiting' });
    requestRefusedList(object, second.receive);
    const [text] = await second.delivered();
    assert.equal(JSON.parse(text).param_server_data, 'waiting');
});

test('functions of different commands are kept apart', async () => {
    const object = openBridge();
    const lists = inbox();
    const service = inbox();
    call(object, 'mrb_Init_dlna_service', service.receive);
    requestRefusedList(object, lists.receive);
    call(object, 'mrb_finalize_dlna_service');
    rec.fireDlnaState({ state: 1 });
    rec.fireList({ event: 0 });
    await lists.delivered();
    assert.deepEqual([service.calls.length, lists.calls.length], [1, 1]);
});

test('functions of different objects are kept apart', async () => {
    const one = openBridge();
    const other = openBridge();
    const [ofOne, ofOther] = [inbox(), inbox()];
    requestRefusedList(one, ofOne.receive);
    requestRefusedList(other, ofOther.receive);
    rec.fireList({ registration: -2, serverData: 'one' });
    rec.fireList({ registration: -1, serverData: 'other' });
    const texts = [...await ofOne.delivered(), ...await ofOther.delivered()];
    assert.deepEqual(texts.map((text) => JSON.parse(text).param_server_data), ['one', 'other']);
});

test('the request reaches the framework unchanged, whatever its letters', () => {
    for (const path of ['/mnt/Фото', '/mnt/写真/🎞', '/mnt/"quoted"\\n', '/mnt/\u0001']) {
        rec.clear();
        rec.queue('mrb_request_list_v2', { result: -1 });
        call(bridge, 'mrb_request_list_v2', () => {},
             { param_source_name: 'SOURCE_MSC', param_scan_path: path });
        assert.deepEqual(callsOf('mrb_param_set_general_path'), [[1, path]]);
    }
});
