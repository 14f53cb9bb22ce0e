// Delivery of arrivals, removals and changes of devices, and of the DLNA service's
// states, from the framework's threads to the script.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { dlna, styled, usb } from './sample_devices.mjs';
import { assertEvents, returned } from './event_trace.mjs';
import { call, inbox, openBridge, rec, requestRefusedList } from './harness.mjs';
import { assertLogs, deliveryLines, storage } from './log_lines.mjs';

const START = 'mrb_Init_dlna_service';
const STOP = 'mrb_finalize_dlna_service';

/*
 * register  the method that takes the function, and its number
 * kind      what its devices are
 * fire      has the framework report
 * logs      what the callback itself logs
 */
const NOTIFICATIONS = [
    { register: 'mrb_set_usb_callback', func: 31, kind: usb, fire: rec.fireUsb, logs: [] },
    { register: 'mrb_set_dlna_callback', func: 37, kind: dlna, fire: rec.fireDlna,
      logs: [storage('cb_dlna_notification', 'Calling cb_dlna_notification...')] },
];

const notification = (event, record) => styled({ storage_devices: [{ storage_event: event, ...record }] });
const deviceIn = (text) => JSON.parse(text).storage_devices[0];
const never = (what) => () => assert.fail(`${what} must not be called`);

/** An object whose function for `register` is an inbox's; its registration leaves no trace. */
function listening(register) {
    const bridge = openBridge();
    const { receive, calls, delivered } = inbox();
    call(bridge, register, receive);
    rec.clear();
    rec.clearLogs();
    return { bridge, receive, calls, delivered };
}

for (const { register, func, kind, fire, logs } of NOTIFICATIONS) {
    test(`${register}: one text with exactly one record, the event among its keys`, async () => {
        const { calls, delivered } = listening(register);
        fire({ event: 0, device: kind.device() });
        const [text] = await delivered();
        assert.equal(text, notification(0, kind.record));
        assert.deepEqual(calls, [[text]]);
        assert.deepEqual(JSON.parse(text), { storage_devices: [{ storage_event: 0, ...kind.record }] });
    });

    test(`${register}: the device is read by its getters in order, with no other call`, () => {
        listening(register);
        const device = kind.device();
        fire({ event: 0, device });
        assert.deepEqual(rec.trace(), kind.reads(device));
    });

    test(`${register}: the framework's thread writes the log`, () => {
        listening(register);
        fire({ event: 1, device: kind.device() });
        assertLogs([...logs, ...deliveryLines(func, notification(1, kind.record))], { onMainThread: false });
    });

    test(`${register}: the callback logs, reads the device, queues the delivery, and returns, on one thread`, () => {
        listening(register);
        const device = kind.device();
        fire({ event: 1, device });
        const text = notification(1, kind.record);
        assertEvents([...logs, ...kind.reads(device), ...deliveryLines(func, text), returned(func === 31 ? 'usb' : 'dlna', null)],
                     { onMainThread: false });
    });

    for (const event of [0, 1, 2, 3, 20, 28, -1, 2147483647, -2147483648]) {
        test(`${register}: event ${event} passes unchanged`, async () => {
            const { delivered } = listening(register);
            fire({ event, device: kind.device() });
            assert.equal(deviceIn((await delivered())[0]).storage_event, event);
        });
    }

    for (const [key, getter] of kind.texts) {
        test(`${register}: a null "${key}" becomes an empty text`, async () => {
            const { delivered } = listening(register);
            fire({ event: 0, device: kind.device({ [getter]: null }) });
            assert.equal((await delivered())[0], notification(0, { ...kind.record, [key]: '' }));
        });
    }

    for (const [key, getter] of kind.sizes) {
        test(`${register}: a "${key}" above the signed range is a negative text`, async () => {
            const { delivered } = listening(register);
            fire({ event: 0, device: kind.device({ [getter]: 2n ** 63n }) });
            assert.equal(deviceIn((await delivered())[0])[key], '-9223372036854775808');
        });
    }

    test(`${register}: a device without any values still has every key`, async () => {
        const { delivered } = listening(register);
        fire({ event: 1, device: rec.device({}) });
        assert.equal((await delivered())[0], notification(1, kind.emptyRecord));
    });

    test(`${register}: an arrival and a removal come in order, each with its own text`, async () => {
        const { delivered } = listening(register);
        fire({ event: 0, device: kind.device({ name: 'first' }) });
        fire({ event: 1, device: kind.device({ name: 'second' }) });
        assert.deepEqual((await delivered(2)).map(deviceIn).map((device) => [device.storage_event, device.storage_name]),
                         [[0, 'first'], [1, 'second']]);
    });

    test(`${register}: another function replaces the first, also for queued results`, async () => {
        const { bridge, calls } = listening(register);
        const second = inbox();
        fire({ event: 0, device: kind.device() });
        call(bridge, register, second.receive);
        assert.equal(deviceIn((await second.delivered())[0]).storage_event, 0);
        assert.deepEqual(calls, []);
    });

    test(`${register}: the function is kept although the framework refuses, and receives what it reports`, async () => {
        const bridge = openBridge();
        const { receive, delivered } = inbox();
        rec.queue(register, { result: -16 });
        assert.deepEqual(call(bridge, register, receive), { return_ecode: -16 });
        fire({ event: 0, device: kind.device() });
        await delivered();
    });

    test(`${register}: results queued when their object is released reach no function`, async () => {
        const bridge = openBridge();
        call(bridge, register, never('the function of a released object'));
        fire({ event: 0, device: kind.device() });
        quill.release(bridge);
        const { delivered } = listening(register); // its result comes after the others
        fire({ event: 0, device: kind.device() });
        await delivered();
    });
}

test('sticks, servers and states reach the function registered for them and no other', async () => {
    const bridge = openBridge();
    const [sticks, servers, states, lists] = [inbox(), inbox(), inbox(), inbox()];
    call(bridge, 'mrb_set_usb_callback', sticks.receive);
    call(bridge, 'mrb_set_dlna_callback', servers.receive);
    call(bridge, START, states.receive);
    requestRefusedList(bridge, lists.receive);
    rec.fireUsb({ event: 0, device: usb.device() });
    rec.fireDlna({ event: 0, device: dlna.device() });
    rec.fireDlnaState({ state: 1 });
    rec.fireList({});
    await Promise.all([sticks.delivered(), servers.delivered(), states.delivered(), lists.delivered()]);
    assert.deepEqual([sticks.calls.length, servers.calls.length, states.calls.length, lists.calls.length], [1, 1, 1, 1]);
});

test('each object receives its own reports', async () => {
    const one = listening('mrb_set_usb_callback');
    const two = listening('mrb_set_usb_callback');
    rec.fireUsb({ event: 1, device: usb.device(), registration: -2 });
    rec.fireUsb({ event: 2, device: usb.device(), registration: -1 });
    assert.equal(deviceIn((await one.delivered())[0]).storage_event, 1);
    assert.equal(deviceIn((await two.delivered())[0]).storage_event, 2);
});

// ---- the DLNA service's states --------------------------------------------------

for (const [state, event] of [[1, 20], [0, 21], [2, 21], [-1, 21], [3, 21], [257, 21], [2147483647, 21]]) {
    const text = `{\n\t"param_event" : ${event}\n}\n`;

    test(`a DLNA service state ${state} reaches the service's function as ${event}`, async () => {
        const { calls, delivered } = listening(START);
        rec.fireDlnaState({ state });
        const logged = rec.logs();
        assert.deepEqual(await delivered(), [text]);
        assert.deepEqual(calls, [[text]]);
        assert.deepEqual(rec.trace(), []);
        assertLogs(deliveryLines(35, text), { lines: logged, onMainThread: false });
    });

    test(`a DLNA service state ${state} while it stops reaches the service's function as ${event}`, async () => {
        const { bridge, delivered } = listening(START);
        call(bridge, STOP);
        rec.fireDlnaState({ state });
        assert.deepEqual(await delivered(), [text]);
    });
}

test('a function given to the stopping of the service is never called', async () => {
    const { bridge, calls, delivered } = listening(START);
    bridge[STOP](never('a function given to the stopping'));
    rec.fireDlnaState({ state: 0 });
    rec.fireDlnaState({ state: 1 });
    await delivered(2);
    assert.equal(calls.length, 2);
});

test('a DLNA service state for an object without a function for it is logged and reaches no function', async () => {
    const bridge = openBridge();
    const lists = inbox();
    requestRefusedList(bridge, lists.receive);
    call(bridge, STOP);
    rec.clearLogs();
    rec.fireDlnaState({ state: 1 });
    const logged = rec.logs();
    rec.fireList({ serverData: 'after' }); // delivered later than the state would be
    const texts = await lists.delivered();
    assert.deepEqual(texts.map((text) => JSON.parse(text).param_server_data), ['after']);
    assertLogs(deliveryLines(35, '{\n\t"param_event" : 20\n}\n'), { lines: logged });
});
