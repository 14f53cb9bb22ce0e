// The recording framework itself, on which the other tests rely.

import assert from 'node:assert/strict';
import { readdirSync, readFileSync } from 'node:fs';
import { test } from 'node:test';

import { call, openBridge, rec } from './harness.mjs';

const headers = new URL('../../platform/mrb/', import.meta.url);

/** Every function that the framework's headers declare. */
function declaredFunctions() {
    const text = readdirSync(headers)
        .map((name) => readFileSync(new URL(name, headers), 'utf8'))
        .join('\n')
        .replace(/\/\*[\s\S]*?\*\//g, '')
        .replace(/^\s*#.*$/gm, '');
    return [...text.matchAll(/\b((?:mrb|thumbnail)_\w+)\s*\(/g)].map(([, name]) => name);
}

test('the recording framework has every function that the headers declare, and no other', () => {
    const declared = declaredFunctions();
    assert.equal(declared.length, 110);
    assert.deepEqual(rec.functions().sort(), declared.sort());
});

test('the bridge runs on the recording framework', () => {
    const bridge = openBridge();
    call(bridge, 'mrb_get_group_count_v2', '{}');
    assert.deepEqual(rec.trace(), [['mrb_get_group_count_v2', 0, 0]]);
});

test('a function that does not exist cannot be steered', () => {
    assert.throws(() => rec.queue('mrb_no_such_function', {}), /there is no function mrb_no_such_function/);
});

test('a callback that is not registered cannot be fired', () => {
    assert.throws(() => rec.fireUsb({ device: rec.device({}) }), /nothing is registered/);
});

test('the release of a text that was handed out is seen', () => {
    const bridge = openBridge();
    rec.queue('mrb_get_item_v2', { out: 'text' });
    call(bridge, 'mrb_get_item_v2', '{}');
    assert.deepEqual(rec.blocks(), [{ allocatedBy: 'mrb_get_item_v2', released: true }]);
});

test('queued replies go before the default, in their order', () => {
    const bridge = openBridge();
    rec.setDefault('mrb_disconnect_v2', { result: -1 });
    rec.queue('mrb_disconnect_v2', { result: -2 });
    rec.queue('mrb_disconnect_v2', { result: -3 });
    const results = [1, 2, 3].map(() => call(bridge, 'mrb_disconnect_v2', '{}').return_ecode);
    assert.deepEqual(results, [-2, -3, -1]);
});

test('calls and log lines are in one trace, each with its thread', () => {
    const bridge = openBridge();
    call(bridge, 'mrb_disconnect_v2', { param_agent: 5 });
    const events = rec.events();
    assert.deepEqual(events.map(({ call: called, line }) => called ?? line.tag),
                     ['MRB-BRIDGE-AGENT', 'MRB-BRIDGE-AGENT', ['mrb_disconnect_v2', 5], 'MRB-BRIDGE-AGENT']);
    assert.deepEqual([...new Set(events.map(({ thread }) => thread))], [process.pid]);
    assert.deepEqual(rec.logs(), events.flatMap(({ line }) => line ?? []));
});

test('the result of a callback is in the trace, with the thread that it ran on', () => {
    const bridge = openBridge();
    call(bridge, 'thumbnail_request_async', () => {}, { param_origin_path: '/a' });
    rec.fireThumbnail({ result: -1 });
    const { returned, thread } = rec.events().at(-1);
    assert.deepEqual(returned, ['thumbnail', 0]);
    assert.notEqual(thread, process.pid);
    rec.clear();
    assert.deepEqual(rec.events().filter(({ line }) => !line), []);
});

test('clearing the lines leaves the calls, and the other way round', () => {
    const bridge = openBridge();
    call(bridge, 'mrb_disconnect_v2', {});
    rec.clearLogs();
    assert.deepEqual(rec.events().map(({ call: called }) => called), [['mrb_disconnect_v2', 0]]);
    call(bridge, 'mrb_disconnect_v2', {});
    rec.clear();
    assert.equal(rec.events().length, rec.logs().length);
    assert.ok(rec.logs().length > 0);
});

test('memory that is allocated and not released is counted', () => {
    const before = rec.allocatedBytes();
    const buffer = Buffer.alloc(10_000_000);
    assert.ok(rec.allocatedBytes() - before >= buffer.length);
});

test('with recording switched off calls return their defaults and leave no trace', () => {
    const bridge = openBridge();
    rec.setDefault('mrb_get_group_count_v2', { out: 7 });
    rec.setRecording(false);
    try {
        assert.equal(call(bridge, 'mrb_get_group_count_v2', '{}').return_data, 7);
    } finally {
        rec.setRecording(true);
    }
    assert.deepEqual([rec.trace(), rec.logs()], [[], []]);
});
