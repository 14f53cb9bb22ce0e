// How long registered functions and objects are held.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import v8 from 'node:v8';
import vm from 'node:vm';

import { bridgeWithListCallback, call, inbox, openBridge, rec, requestRefusedList } from './harness.mjs';

v8.setFlagsFromString('--expose-gc');
const collectGarbage = vm.runInNewContext('gc');

/** Collects until `weak` has lost its object; collection needs turns of the main loop. */
async function isCollected(weak) {
    for (let i = 0; i < 50 && weak.deref() !== undefined; ++i) {
        await new Promise(setImmediate);
        collectGarbage();
    }
    return weak.deref() === undefined;
}

/** Waits for a result of another object, behind all that was queued before. */
async function drained() {
    const { receive, delivered } = inbox();
    const bridge = bridgeWithListCallback(receive);
    rec.fireList({});
    await delivered();
    quill.release(bridge);
}

test('a registered function and its object stay alive without a reference in the script', async () => {
    const { receive, delivered } = inbox();
    const registration = rec.registrations('list');
    (() => { bridgeWithListCallback((text) => receive(text)); })();
    for (let i = 0; i < 5; ++i) {
        await new Promise(setImmediate);
        collectGarbage();
    }
    rec.fireList({ registration });
    await delivered();
});

test('a function that was replaced is not held', async () => {
    const bridge = openBridge();
    const weak = (() => {
        const replaced = () => {};
        requestRefusedList(bridge, replaced);
        return new WeakRef(replaced);
    })();
    requestRefusedList(bridge, () => {});
    assert.ok(await isCollected(weak));
});

test('a function whose object was released is not held', async () => {
    const weak = (() => {
        const forgotten = () => {};
        const bridge = bridgeWithListCallback(forgotten);
        rec.fireList({});
        quill.release(bridge);
        return new WeakRef(forgotten);
    })();
    await drained();
    assert.ok(await isCollected(weak));
});

test('an object that was released is not held', async () => {
    const weak = (() => {
        const bridge = openBridge();
        call(bridge, 'mrb_get_group_count_v2', '{}');
        quill.release(bridge);
        return new WeakRef(bridge);
    })();
    assert.ok(await isCollected(weak));
});

test('a thousand objects created and released leave no function held', async () => {
    const functions = [];
    for (let i = 0; i < 1000; ++i) {
        const receive = () => i;
        const bridge = bridgeWithListCallback(receive);
        functions.push(new WeakRef(receive));
        quill.release(bridge);
    }
    const held = () => functions.filter((reference) => reference.deref() !== undefined).length;
    for (let i = 0; i < 100 && held() > 1; ++i) {
        await new Promise(setImmediate); // a reference holds its target for the rest of a turn
        collectGarbage();
    }
    assert.ok(held() <= 1, `${held()} functions are still held`);
});
