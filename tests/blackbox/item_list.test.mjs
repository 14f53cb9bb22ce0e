// The descriptions of a run of items in one answer.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { call, openBridge, rec } from './harness.mjs';
import { agent, agentCommand, assertLogs, missingKey, mistypedKey, printedHandle } from './log_lines.mjs';

const bridge = openBridge();

const LIST = 'mrb_get_item_list_v2';
const COUNT = 'mrb_get_item_count_v2';
const ITEM = 'mrb_get_item_v2';

const listRequest = (index, count, handle = 18) => ({ param_index: index, param_count: count, param_agent: handle });
const lines = (request, answer, [handle, index, count], { before = [], failed } = {}) =>
    agentCommand('GetItemList', LIST, request, answer, [
        ...before, agent('GetItemList', `Agent[${printedHandle(handle)}] Index[${index}] nCount[${count}]`),
        ...(failed ? [agent('GetItemList', failed)] : [])]);

/** Requests items of a list of `total` and checks the envelope; returns the inner document. */
function getItems(request, total, texts = []) {
    rec.queue(COUNT, { out: total });
    for (const text of texts) rec.queue(ITEM, { out: text });
    const answer = call(bridge, LIST, request);
    assert.deepEqual([answer.return_ecode, answer.return_type], [0, 4]);
    assert.match(answer.return_data, /^\{.*\}\n$/);
    return JSON.parse(answer.return_data);
}
const indexes = () => rec.trace().filter(([name]) => name === ITEM).map(([, , index]) => index);

test('a run of items is counted, fetched in order, and answered as one document', () => {
    const texts = ['{"name":"a"}', 'b "%s"', 'ж'];
    assert.deepEqual(getItems(listRequest(2, 3), 10, texts), { param_index: 2, param_count: 3, param_item_list: texts });
    assert.deepEqual(rec.trace(), [[COUNT, 18, 0], [ITEM, 18, 2, null], [ITEM, 18, 3, null], [ITEM, 18, 4, null]]);
});

test('an item list is logged in order', () => {
    const request = listRequest(0, 1);
    getItems(request, 1, ['a']);
    const inner = '{"param_count":1,"param_index":0,"param_item_list":["a"]}\n';
    assertLogs(lines(request, { return_data: inner, return_ecode: 0, return_type: 4 }, [18, 0, 1]),
               { onMainThread: true });
});

test('every text of an item list is released exactly once', () => {
    getItems(listRequest(0, 3), 3, ['a', '', 'c']);
    assert.deepEqual(rec.blocks(), Array(3).fill({ allocatedBy: ITEM, released: true }));
});

test('a run past the end is cut, and so is the count: index 8, count 5, 10 items', () => {
    assert.deepEqual(getItems(listRequest(8, 5), 10, ['i', 'j']), { param_index: 8, param_count: 2, param_item_list: ['i', 'j'] });
    assert.deepEqual(indexes(), [8, 9]);
});

test('a run that begins past the end has a negative count and no items: index 12, 10 items', () => {
    assert.deepEqual(getItems(listRequest(12, 5), 10), { param_index: 12, param_count: -2, param_item_list: [] });
    assert.deepEqual(indexes(), []);
});

test('a run that begins at the end is empty', () => {
    assert.deepEqual(getItems(listRequest(10, 5), 10), { param_index: 10, param_count: 0, param_item_list: [] });
});

test('a count of 0 fetches nothing and reports 0', () => {
    assert.deepEqual(getItems(listRequest(3, 0), 10), { param_index: 3, param_count: 0, param_item_list: [] });
    assert.deepEqual(indexes(), []);
});

test('a negative count fetches nothing and is reported as it is', () => {
    assert.deepEqual(getItems(listRequest(3, -2), 10), { param_index: 3, param_count: -2, param_item_list: [] });
    assert.deepEqual(indexes(), []);
});

test('a run that ends exactly at the end is whole', () => {
    assert.deepEqual(getItems(listRequest(8, 2), 10, ['i', 'j']).param_count, 2);
    assert.deepEqual(indexes(), [8, 9]);
});

test('an index and a count whose sum leaves 32 bits are cut at the end', () => {
    assert.deepEqual(getItems(listRequest(1, 2147483647), 3, ['b', 'c']), { param_index: 1, param_count: 2, param_item_list: ['b', 'c'] });
    assert.deepEqual(getItems(listRequest(2147483647, 2147483647), 3),
                     { param_index: 2147483647, param_count: 3 - 2147483647, param_item_list: [] });
});

test('the most negative index and count fetch nothing', () => {
    assert.deepEqual(getItems(listRequest(-2147483648, -2147483648), 3),
                     { param_index: -2147483648, param_count: -2147483648, param_item_list: [] });
    assert.deepEqual(indexes(), []);
});

test('a negative index is the framework\'s to judge', () => {
    rec.queue(COUNT, { out: 10 });
    rec.queue(ITEM, { result: -3 });
    assert.deepEqual(call(bridge, LIST, listRequest(-2, 4)), { return_ecode: -3 });
    assert.deepEqual(indexes(), [-2]);
});

test('items that cannot be counted end the command', () => {
    rec.queue(COUNT, { result: -2, out: 5 });
    const request = listRequest(0, 3);
    assert.deepEqual(call(bridge, LIST, request), { return_ecode: -2 });
    assert.deepEqual(rec.trace(), [[COUNT, 18, 0]]);
    assertLogs(lines(request, { return_ecode: -2 }, [18, 0, 3], { failed: 'Dealing Fail: fail mrb_get_item_count.' }));
});

test('an item that cannot be fetched ends the command without a partial list, and every text is released', () => {
    rec.queue(COUNT, { out: 5 });
    rec.queue(ITEM, { out: 'a' });
    rec.queue(ITEM, { result: -17, out: 'b' });
    const request = listRequest(0, 5);
    assert.deepEqual(call(bridge, LIST, request), { return_ecode: -17 });
    assert.deepEqual(indexes(), [0, 1]);
    assert.deepEqual(rec.blocks(), Array(2).fill({ allocatedBy: ITEM, released: true }));
    assertLogs(lines(request, { return_ecode: -17 }, [18, 0, 5], { failed: 'Dealing Fail: fail mrb_get_item_v2.' }));
});

test('an item without a text is left out of the list, and the count stays', () => {
    assert.deepEqual(getItems(listRequest(0, 3), 3, ['a', null, 'c']), { param_index: 0, param_count: 3, param_item_list: ['a', 'c'] });
});

test('an item list without keys requests no items of handle 0', () => {
    call(bridge, LIST, {});
    assert.deepEqual(rec.trace(), [[COUNT, 0, 0]]);
    const inner = '{"param_count":0,"param_index":0,"param_item_list":[]}\n';
    assertLogs(lines({}, { return_data: inner, return_ecode: 0, return_type: 4 }, [0, 0, 0],
                     { before: ['param_index', 'param_count', 'param_agent'].map(missingKey) }));
});

test('an item list with mistyped keys requests no items of handle 0', () => {
    const request = { param_index: '1', param_count: [2], param_agent: true };
    call(bridge, LIST, request);
    assert.deepEqual(rec.trace(), [[COUNT, 0, 0]]);
    const inner = '{"param_count":0,"param_index":0,"param_item_list":[]}\n';
    assertLogs(lines(request, { return_data: inner, return_ecode: 0, return_type: 4 }, [0, 0, 0],
                     { before: [mistypedKey(4), mistypedKey(6), mistypedKey(5)] }));
});

test('two thousand items arrive in order', () => {
    const texts = Array.from({ length: 2000 }, (_, i) => `{"index":${i}}`);
    assert.deepEqual(getItems(listRequest(0, 5000), 2000, texts).param_item_list, texts);
});
