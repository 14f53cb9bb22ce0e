// Delivery of results from framework threads to script functions, in bulk and while
// scripts do unusual things.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { bridgeWithListCallback, call, inbox, rec, requestRefusedList } from './harness.mjs';
import { runChild } from './child.mjs';

const serverData = (text) => JSON.parse(text).param_server_data;

test('100,000 results from four threads arrive while a script runs: none lost, the order of each thread kept',
     async () => {
    const THREADS = 4;
    const PER_THREAD = 25_000;
    const next = new Array(THREADS).fill(0);
    let count = 0;
    let done;
    const all = new Promise((resolve) => { done = resolve; });
    const bridge = bridgeWithListCallback((text, ...more) => {
        const [thread, number] = serverData(text).split(':').map(Number);
        assert.equal(number, next[thread], `the order of thread ${thread}`);
        assert.deepEqual(more, []);
        next[thread] += 1;
        if (++count === THREADS * PER_THREAD) done('all');
    });
    rec.setLogRecording(false);
    try {
        rec.startBulk({ threads: THREADS, perThread: PER_THREAD, event: 3 });
        // A script that makes calls of its own at the same time.
        const busy = setInterval(() => {
            for (let i = 0; i < 50; ++i) call(bridge, 'mrb_get_group_count_v2', { param_agent: i });
        }, 0);
        const limit = setTimeout(() => done(`only ${count}`), 120_000);
        assert.equal(await all, 'all');
        clearInterval(busy);
        clearTimeout(limit);
        rec.joinBulk();
    } finally {
        rec.setLogRecording(true);
    }
    assert.deepEqual(next, new Array(THREADS).fill(PER_THREAD));
});

test('timers and promises of a script run between results', async () => {
    const { receive, delivered } = inbox();
    bridgeWithListCallback(receive);
    const order = [];
    const { receive: later, delivered: laterDelivered } = inbox();
    const bridge = bridgeWithListCallback((text) => {
        order.push(serverData(text));
        Promise.resolve().then(() => order.push(`promise of ${serverData(text)}`));
        process.nextTick(() => order.push(`tick of ${serverData(text)}`));
        later(text);
    });
    rec.fireList({ serverData: '1' });
    rec.fireList({ serverData: '2' });
    await laterDelivered(2);
    await new Promise(setImmediate);
    assert.deepEqual(order, ['1', 'tick of 1', 'promise of 1', '2', 'tick of 2', 'promise of 2']);
    rec.fireList({ registration: -2 });
    await delivered();
    quill.release(bridge);
});

test('a function that registers another is replaced for the next result', async () => {
    const second = inbox();
    const texts = [];
    const bridge = bridgeWithListCallback((text) => {
        texts.push(serverData(text));
        requestRefusedList(bridge, second.receive);
    });
    rec.fireList({ serverData: '1' });
    rec.fireList({ serverData: '2' });
    rec.fireList({ serverData: '3' });
    assert.deepEqual((await second.delivered(2)).map(serverData), ['2', '3']);
    assert.deepEqual(texts, ['1']);
});

test('a function may call any command of its object', async () => {
    const { receive, delivered } = inbox();
    const bridge = bridgeWithListCallback(() => receive(call(bridge, 'mrb_get_item_v2', { param_index: 1 })));
    rec.queue('mrb_get_item_v2', { out: 'item' });
    rec.fireList({});
    const [answer] = await delivered();
    assert.equal(answer.return_data, 'item');
});

test('a function that fires more results receives them after it has returned', async () => {
    const { receive, delivered } = inbox();
    let depth = 0;
    bridgeWithListCallback((text) => {
        depth += 1;
        assert.equal(depth, 1, 'a delivery never runs inside another');
        if (serverData(text) !== '3') rec.fireList({ serverData: String(Number(serverData(text)) + 1) });
        receive(text);
        depth -= 1;
    });
    rec.fireList({ serverData: '1' });
    assert.deepEqual((await delivered(3)).map(serverData), ['1', '2', '3']);
});

test('a function that throws is reported with file and line, and later results still come', async () => {
    const result = await runChild(`
        const bridge = openBridge();
        let count = 0;
        const keepAlive = setTimeout(() => { console.log('too late'); }, 20_000);
        bridge.mrb_request_list_v2((text) => {
            const { param_server_data } = JSON.parse(text);
            console.log('got ' + param_server_data);
            if (param_server_data === '3') { clearTimeout(keepAlive); return; }
            throw new TypeError('thrown on purpose by ' + param_server_data);
        }, msc);
        for (const serverData of ['1', '2', '3']) rec.fireList({ serverData });
    `);
    assert.equal(result.stdout, 'got 1\ngot 2\ngot 3\n');
    for (const number of ['1', '2']) {
        const report = new RegExp(`TypeError: thrown on purpose by ${number}\n\\s+at \\[eval\\]:\\d+:\\d+`);
        assert.match(result.stderr, report);
    }
    assert.match(result.stderr, /^\[eval\]:\d+$/m);
    assert.deepEqual([result.status, result.signal], [1, null]);
});

test('what a function throws may be any value', async () => {
    const result = await runChild(`
        const bridge = openBridge();
        const keepAlive = setTimeout(() => {}, 20_000);
        const thrown = [undefined, null, 7, 'text', Symbol('s'), { a: 1 }];
        let count = 0;
        bridge.mrb_request_list_v2(() => {
            console.log('result ' + count);
            if (count === thrown.length) { clearTimeout(keepAlive); return; }
            throw thrown[count++];
        }, msc);
        for (let i = 0; i <= thrown.length; ++i) rec.fireList({});
    `);
    assert.equal(result.stdout, [0, 1, 2, 3, 4, 5, 6].map((n) => `result ${n}\n`).join(''));
    assert.equal(result.signal, null);
});

test('a registered function keeps the program alive until its object is released', async () => {
    const result = await runChild(`
        const bridge = new MRBBridge();
        rec.queue('mrb_request_list_v2', { result: -1 });
        bridge.mrb_request_list_v2(() => { console.log('delivered'); quill.release(bridge); }, msc);
        setTimeout(() => rec.fireList({}), 300).unref();
    `);
    assert.deepEqual([result.status, result.stdout], [0, 'delivered\n']);
});

test('a result of a million letters arrives whole', async () => {
    const { receive, delivered } = inbox();
    bridgeWithListCallback(receive);
    rec.fireList({ serverData: 'я'.repeat(500_000) });
    const [text] = await delivered();
    assert.equal(serverData(text), 'я'.repeat(500_000));
});

for (const [how, ending, status] of [['with process.exit', 'process.exit(3)', 3], ['by itself', '', 0]]) {
    test(`a script may end ${how} while framework threads go on delivering`, async () => {
        const result = await runChild(`
            const bridge = openBridge();
            bridge.mrb_request_list_v2(() => {}, msc);
            rec.setLogRecording(false);
            rec.startBulk({ threads: 4, perThread: 1_000_000 });
            setTimeout(() => { ${ending} }, 100);`);
        assert.deepEqual([result.killedFor, result.signal, result.status, result.stderr.includes('ERROR:')],
                         [undefined, null, status, false]);
    });
}
