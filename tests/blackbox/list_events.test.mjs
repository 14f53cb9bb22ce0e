// Delivery of an open list's events from the framework's thread to the script.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { bridgeWithListCallback, call, inbox, openBridge, rec } from './harness.mjs';
import { assertEvents, returned } from './event_trace.mjs';
import { assertLogs, deliveryLines } from './log_lines.mjs';

const SCRIPT_EVENTS = new Map([[0, 0], [1, 1], [2, 8], [3, 25], [14, 13], [18, 17], [19, 18], [20, 19], [21, 26],
                               [22, 27], [23, 28], [28, 29]]);

/** Fires one list event at an object of its own; returns the arguments of the script function. */
async function deliver(event) {
    const { receive, calls, delivered } = inbox();
    const bridge = bridgeWithListCallback(receive);
    rec.fireList(event);
    await delivered();
    quill.release(bridge);
    return calls[0];
}

for (let event = -1; event <= 30; ++event) {
    const expected = SCRIPT_EVENTS.get(event) ?? -1;
    test(`the framework's event ${event} reaches the script as ${expected}`, async () => {
        const [text] = await deliver({ event });
        assert.equal(JSON.parse(text).param_event, expected);
    });
}

for (const event of [2147483647, -2147483648]) {
    test(`the framework's event ${event} reaches the script as -1`, async () => {
        const [text] = await deliver({ event });
        assert.equal(JSON.parse(text).param_event, -1);
    });
}

test('a list event is one compact line of three sorted keys, the only argument', async () => {
    assert.deepEqual(await deliver({ agent: 5, event: 3, serverData: '{"count":2}' }),
                     ['{"param_agent":5,"param_event":25,"param_server_data":"{\\"count\\":2}"}\n']);
});

test('a null server data reaches the script as an empty text', async () => {
    const [text] = await deliver({ event: 0, serverData: null });
    assert.equal(JSON.parse(text).param_server_data, '');
});

test('the reserved number of an event is not used', async () => {
    assert.deepEqual(await deliver({ agent: 1, event: 0, reserved: 99 }), await deliver({ agent: 1, event: 0 }));
});

test('a negative handle reaches the script as it is', async () => {
    const [text] = await deliver({ agent: -7 });
    assert.equal(JSON.parse(text).param_agent, -7);
});

test('server data with any letters reaches the script unchanged', async () => {
    const serverData = '{"path":"/mnt/写真 🎞 %s %n"}';
    const [text] = await deliver({ serverData });
    assert.equal(JSON.parse(text).param_server_data, serverData);
});

test('the delivery is logged on the thread of the framework', async () => {
    const { receive, delivered } = inbox();
    bridgeWithListCallback(receive);
    rec.fireList({ agent: 5, event: 0, serverData: 'x' });
    await delivered();
    const text = '{"param_agent":5,"param_event":0,"param_server_data":"x"}\n';
    assertLogs(deliveryLines(0, text), { onMainThread: false });
});

for (const event of [0, 1, 13, 28, 29, -1]) {
    test(`the callback of a list answers true to event ${event}, after its delivery was queued`, async () => {
        const { receive, delivered } = inbox();
        bridgeWithListCallback(receive);
        rec.fireList({ agent: 5, event, serverData: 'x' });
        const [text] = await delivered();
        assertEvents([...deliveryLines(0, text), returned('list', true)], { onMainThread: false });
    });
}

test('a script function runs on the main thread, after the call that was running', () => {
    const { receive, calls } = inbox();
    bridgeWithListCallback(receive);
    rec.fireList({});
    assert.deepEqual(calls, []);
});

test('two results queued before the main loop runs are delivered in order, each with its own text', async () => {
    const { receive, delivered } = inbox();
    bridgeWithListCallback(receive);
    rec.fireList({ serverData: 'first' });
    rec.fireList({ serverData: 'second' });
    const texts = await delivered(2);
    assert.deepEqual(texts.map((text) => JSON.parse(text).param_server_data), ['first', 'second']);
});

test('an event of a list that was opened carries its handle', async () => {
    const bridge = openBridge();
    const { receive, delivered } = inbox();
    rec.queue('mrb_request_list_v2', { out: 41 });
    const { return_data: handle } = call(bridge, 'mrb_request_list_v2', receive, { param_source_name: 'SOURCE_MSC' });
    rec.fireList({ agent: handle, event: 0 });
    const [text] = await delivered();
    assert.equal(JSON.parse(text).param_agent, 41);
});
