// Counting the items of a list, in total and by type.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { call, callsOf, openBridge, rec } from './harness.mjs';
import { agent, agentCommand, assertLogs, json } from './log_lines.mjs';

const bridge = openBridge();
const COMMAND = 'mrb_get_item_count_v2';
const BY_TYPE = 'mrb_get_item_count_by_type_v2';

/** The types in the order in which their counts are read, and the key of each count. */
const TYPES = [[1, 'folder'], [2, 'image'], [3, 'video'], [5, 'music'], [6, 'record'], [10, 'uhd'], [11, 'scsa'],
               [7, 'm3u'], [9, 'group'], [14, 'empty'], [13, 'upfolder']];

const each = (handle) => ({ param_agent: handle, get_item_count_for_each_type: true });
const ownLines = (handle, flag) => [agent('GetItemCount', `Agent[${handle}]`),
                                    agent('GetItemCount', `PARAM_GET_ITEM_COUNT_FOR_EACH_TYPE[${flag}].`)];
const FAILED = agent('GetItemCount', 'GetItemCount By Type faild.');

/** Sets the count of every type to its number plus 100. */
const queueTypes = (count = TYPES.length) => {
    for (const [type] of TYPES.slice(0, count)) rec.queue(BY_TYPE, { out: 100 + type });
};

test('without the flag the total is returned as an integer and no type is counted', () => {
    const request = { param_agent: 16, get_item_count_for_each_type: false };
    rec.queue(COMMAND, { out: 250 });
    assert.deepEqual(call(bridge, COMMAND, request), { return_ecode: 0, return_type: 1, return_data: 250 });
    assert.deepEqual(rec.trace(), [[COMMAND, 16, 0]]);
    assertLogs(agentCommand('GetItemCount', COMMAND, request, { return_data: 250, return_ecode: 0, return_type: 1 },
                            ownLines('0x10', 0)), { onMainThread: true });
});

test('an absent flag is false', () => {
    const request = { param_agent: 16 };
    rec.queue(COMMAND, { out: 2 });
    assert.equal(call(bridge, COMMAND, request).return_data, 2);
    assertLogs(agentCommand('GetItemCount', COMMAND, request, { return_data: 2, return_ecode: 0, return_type: 1 },
                            [json('Get', 'NO strKey[get_item_count_for_each_type] in josn.'), ...ownLines('0x10', 0)]));
});

test('a request without a handle counts handle 0', () => {
    call(bridge, COMMAND, { get_item_count_for_each_type: false });
    assert.deepEqual(rec.trace(), [[COMMAND, 0, 0]]);
});

test('without the flag a failure is answered alone', () => {
    rec.queue(COMMAND, { result: -2, out: 5 });
    assert.deepEqual(call(bridge, COMMAND, { param_agent: 1 }), { return_ecode: -2 });
});

test('with the flag the total is fetched first, then the types in their fixed order', () => {
    queueTypes();
    call(bridge, COMMAND, each(9));
    assert.deepEqual(rec.trace(), [[COMMAND, 9, 0], ...TYPES.map(([type]) => [BY_TYPE, 9, type, 0])]);
});

test('with the flag the counts are answered as the text of an object', () => {
    rec.queue(COMMAND, { out: 777 });
    queueTypes();
    const answer = call(bridge, COMMAND, each(9));
    assert.deepEqual([answer.return_ecode, answer.return_type, typeof answer.return_data], [0, 4, 'string']);
    const expected = { item_count_all: 777 };
    for (const [type, key] of TYPES) expected[`item_count_${key}`] = 100 + type;
    assert.deepEqual(JSON.parse(answer.return_data), expected);
});

test('the counts are one compact line with sorted keys, ended by a line feed', () => {
    rec.queue(COMMAND, { out: 777 });
    queueTypes();
    const text = '{"item_count_all":777,"item_count_empty":114,"item_count_folder":101,"item_count_group":109,' +
                 '"item_count_image":102,"item_count_m3u":107,"item_count_music":105,"item_count_record":106,' +
                 '"item_count_scsa":111,"item_count_uhd":110,"item_count_upfolder":113,"item_count_video":103}\n';
    const answer = { return_data: text, return_ecode: 0, return_type: 4 };
    assert.equal(bridge[COMMAND](JSON.stringify(each(9))), `${JSON.stringify(answer)}\n`);
    assertLogs(agentCommand('GetItemCount', COMMAND, each(9), answer, ownLines('0x9', 1)));
});

test('with the flag a total that failed is reported as the types are', () => {
    rec.queue(COMMAND, { result: -2 });
    queueTypes();
    const answer = call(bridge, COMMAND, each(9));
    assert.equal(answer.return_ecode, 0);
    assert.equal(JSON.parse(answer.return_data).item_count_all, 0);
});

test('with the flag a total that came with an error is written all the same', () => {
    rec.queue(COMMAND, { result: -2, out: 777 });
    queueTypes();
    const answer = call(bridge, COMMAND, each(9));
    assert.equal(answer.return_ecode, 0);
    assert.equal(JSON.parse(answer.return_data).item_count_all, 777);
    assert.equal(callsOf(BY_TYPE).length, TYPES.length);
});

TYPES.forEach(([type, key], position) => {
    test(`a failing count of type ${type} (${key}) ends the fetching and is answered alone`, () => {
        rec.queue(COMMAND, { out: 777 });
        queueTypes(position);
        rec.queue(BY_TYPE, { result: -8, out: 1 });
        assert.deepEqual(call(bridge, COMMAND, each(9)), { return_ecode: -8 });
        assert.deepEqual(callsOf(BY_TYPE).map(([, type]) => type),
                         TYPES.slice(0, position + 1).map(([type]) => type));
        assertLogs(agentCommand('GetItemCount', COMMAND, each(9), { return_ecode: -8 },
                                [...ownLines('0x9', 1), FAILED]));
    });
});

test('a failing music count leaves folders, images and videos fetched and unreported', () => {
    queueTypes(3);
    rec.queue(BY_TYPE, { result: -5 });
    const answer = call(bridge, COMMAND, each(1));
    assert.deepEqual(answer, { return_ecode: -5 });
    assert.deepEqual(callsOf(BY_TYPE).map(([, type]) => type), [1, 2, 3, 5]);
});

test('a type without items counts 0', () => {
    const answer = call(bridge, COMMAND, each(9));
    assert.deepEqual([...new Set(Object.values(JSON.parse(answer.return_data)))], [0]);
});
