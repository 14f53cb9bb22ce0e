// Results that are still queued when their object is released: they reach no
// function and touch no memory of it. Worth running under AddressSanitizer.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { bridgeWithListCallback, call, inbox, openBridge, rec, requestRefusedList } from './harness.mjs';

const serverData = (text) => JSON.parse(text).param_server_data;
const never = (what) => () => assert.fail(`${what} must not be called`);

/** Waits until everything queued before has been delivered: a later result of another object comes last. */
async function queueDrained() {
    const { receive, delivered } = inbox();
    const other = bridgeWithListCallback(receive);
    rec.fireList({ serverData: 'drained' });
    await delivered();
    quill.release(other);
}

test('a result that is queued when its object is released reaches no function', async () => {
    const bridge = bridgeWithListCallback(never('the function of a released object'));
    rec.fireList({});
    quill.release(bridge);
    await queueDrained();
});

test('a thousand results that are queued when their object is released reach no function', async () => {
    const bridge = bridgeWithListCallback(never('the function of a released object'));
    for (let i = 0; i < 1000; ++i) rec.fireList({});
    quill.release(bridge);
    await queueDrained();
});

test('an object created right after a release does not receive the results of the released one', async () => {
    for (let round = 0; round < 50; ++round) {
        const released = bridgeWithListCallback(never('the function of a released object'));
        rec.fireList({ serverData: 'stale' });
        quill.release(released);
        const { receive, delivered } = inbox();
        const fresh = bridgeWithListCallback(receive);
        rec.fireList({ serverData: 'fresh' });
        assert.deepEqual((await delivered()).map(serverData), ['fresh']);
        quill.release(fresh);
    }
});

test('many objects created right after a release do not receive its results either', async () => {
    const released = bridgeWithListCallback(never('the function of a released object'));
    for (let i = 0; i < 10; ++i) rec.fireList({ serverData: 'stale' });
    quill.release(released);
    const objects = Array.from({ length: 50 }, () => bridgeWithListCallback(never('a new function')));
    await queueDrained();
    objects.forEach((object) => quill.release(object));
});

test('a function may release its own object, and later results reach no function', async () => {
    const { receive, calls, delivered } = inbox();
    const bridge = bridgeWithListCallback((text) => {
        quill.release(bridge);
        receive(text);
    });
    for (const text of ['1', '2', '3']) rec.fireList({ serverData: text });
    assert.deepEqual((await delivered()).map(serverData), ['1']);
    await queueDrained();
    assert.equal(calls.length, 1);
});

test('a function may release its object and open another, which receives only its own results', async () => {
    const second = inbox();
    const bridge = bridgeWithListCallback(() => {
        quill.release(bridge);
        const next = openBridge();
        requestRefusedList(next, second.receive);
        rec.fireList({ serverData: 'of the next' });
    });
    rec.fireList({ serverData: '1' });
    rec.fireList({ serverData: '2' });
    assert.deepEqual((await second.delivered()).map(serverData), ['of the next']);
    await queueDrained();
    assert.equal(second.calls.length, 1);
});

test('a function may release another object, whose results reach no function', async () => {
    const victim = bridgeWithListCallback(never('the function of a released object'));
    const { receive, delivered } = inbox();
    bridgeWithListCallback((text) => {
        quill.release(victim);
        receive(text);
    });
    rec.fireList({ registration: -1 });
    rec.fireList({ registration: -2 });
    await delivered();
    await queueDrained();
});

test('the script can call and discard a function of a released object', async () => {
    const bridge = bridgeWithListCallback(() => {});
    rec.fireList({});
    quill.release(bridge);
    assert.throws(() => call(bridge, 'mrb_get_group_count_v2', '{}'), /destroyed/);
    await queueDrained();
});

test('the results of four busy threads stop at the release of their object', async () => {
    // The framework itself is still: its threads have ended when the release begins.
    const bridge = bridgeWithListCallback(never('the function of a released object'));
    rec.setLogRecording(false);
    rec.startBulk({ threads: 4, perThread: 2500 });
    rec.joinBulk();
    rec.setLogRecording(true);
    quill.release(bridge);
    await queueDrained();
});
