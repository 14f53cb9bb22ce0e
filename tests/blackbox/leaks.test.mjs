// Memory that calls of the shipped library leave allocated, measured over so many calls
// that the smallest leaked block would show. The engine's own garbage is collected before each look.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import v8 from 'node:v8';
import vm from 'node:vm';

import { LIMIT_MS } from '../limits.mjs';
import { bridgeWithListCallback, METHODS, openBridge, rec } from './harness.mjs';

v8.setFlagsFromString('--expose-gc');
const collectGarbage = vm.runInNewContext('gc');

/** Less than the smallest block that can leak; the engine's own bookkeeping is smaller by far. */
const BYTES_PER_CALL = 8;

/** The allocated bytes when garbage has gone and the main loop has turned. */
async function allocated() {
    for (let turn = 0; turn < 3; ++turn) {
        collectGarbage();
        await new Promise(setImmediate);
    }
    return rec.allocatedBytes();
}

/**
 * Runs `calls(count)`, after fewer that warm everything up; the process must not grow. What
 * the engine allocates for itself comes in some rounds, a leak in each.
 */
async function assertLeavesNothing(count, calls) {
    rec.setRecording(false);
    try {
        await calls(Math.ceil(count / 10));
        let bytes = BYTES_PER_CALL;
        for (let round = 0; round < 4 && bytes >= BYTES_PER_CALL; ++round) {
            const before = await allocated();
            await calls(count);
            bytes = (await allocated() - before) / count;
        }
        assert.ok(bytes < BYTES_PER_CALL, `${bytes} bytes are left of each call`);
    } finally {
        rec.setRecording(true);
    }
}

/** Calls that all throw `message`. */
const failing = (run, message) => (count) => {
    for (let i = 0; i < count; ++i) {
        try {
            run(i);
            assert.fail('it returned');
        } catch (error) {
            if (error.message !== message) throw error;
        }
    }
};

const bridge = openBridge();
const names = METHODS.map(([name]) => name);

test('100,000 calls on a receiver without a native part leave nothing', async () => {
    const receiver = {};
    await assertLeavesNothing(100_000, failing((i) => bridge[names[i % 40]].call(receiver, '{}'),
                                               'Cannot call native method without object instance'));
});

test('100,000 calls on an object that was released leave nothing', async () => {
    const released = openBridge();
    quill.release(released);
    await assertLeavesNothing(100_000, failing((i) => released[names[i % 40]](() => {}, '{}'),
                                               'Attempt to access destroyed JavaScript object.'));
});

test('100,000 calls that are answered leave nothing', async () => {
    await assertLeavesNothing(100_000, (count) => {
        for (let i = 0; i < count; ++i) bridge.mrb_get_group_count_v2('{"param_agent":1}');
    });
});

test('100,000 calls that are refused leave nothing', async () => {
    await assertLeavesNothing(100_000, (count) => {
        for (let i = 0; i < count; ++i) {
            bridge.mrb_get_group_count_v2(i);
            bridge.mrb_request_list_v2('no function');
        }
    });
});

test('20,000 deliveries to a function leave nothing', async () => {
    let left = 0;
    let wake = () => {};
    bridgeWithListCallback(() => {
        left -= 1;
        if (left === 0) wake();
    });
    const registration = rec.registrations('list') - 1;
    await assertLeavesNothing(20_000, async (count) => {
        left = count;
        const all = new Promise((resolve, reject) => {
            const limit = setTimeout(() => reject(new Error(`${left} results were not delivered`)), LIMIT_MS);
            wake = () => { clearTimeout(limit); resolve(); };
        });
        rec.startBulk({ threads: 1, perThread: count, registration });
        await all;
        rec.joinBulk();
    });
});

test('2,000 objects that are created and released leave nothing', async () => {
    await assertLeavesNothing(2_000, async (count) => {
        for (let i = 0; i < count; ++i) {
            const object = new MRBBridge();
            quill.unref(object);
            quill.release(object);
            if (i % 100 === 0) await new Promise(setImmediate); // the main loop gives their storage back
        }
    });
});
