// Commands on an open list: cancel, disconnect, group count, one item.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { call, calledNames, callsOf, openBridge, rec } from './harness.mjs';
import { agent, agentCommand, assertLogs, json } from './log_lines.mjs';

const bridge = openBridge();

const CANCEL = 'mrb_cancel_request_list_v2';
const DISCONNECT = 'mrb_disconnect_v2';
const GROUPS = 'mrb_get_group_count_v2';
const ITEM = 'mrb_get_item_v2';

// What each command logs between its first and its last line.
const COMMANDS = [
    { name: CANCEL, fn: 'CancelRequestList', own: () => [] },
    { name: DISCONNECT, fn: 'DisConnect', own: (handle) => [agent('DisConnect', `Agent[${handle}]`)] },
    { name: GROUPS, fn: 'GetGroupCount', own: () => [] },
];

for (const { name, fn, own } of COMMANDS) {
    test(`${name} calls the framework with the list and returns its result`, () => {
        const request = { param_agent: 18 };
        const answer = call(bridge, name, request);
        assert.equal(answer.return_ecode, 0);
        assert.deepEqual(callsOf(name).map(([handle]) => handle), [18]);
        assert.deepEqual(calledNames(), [name]);
        assertLogs(agentCommand(fn, name, request, sorted(answer), own('0x12')), { onMainThread: true });
    });

    test(`${name} without a handle names handle 0`, () => {
        const answer = call(bridge, name, {});
        assert.deepEqual(callsOf(name).map(([handle]) => handle), [0]);
        assertLogs(agentCommand(fn, name, {}, sorted(answer),
                                [json('Get', 'NO strKey[param_agent] in josn.'), ...own('(nil)')]));
    });

    for (const code of [-1, -17, 1, 2, 2147483647, -2147483648]) {
        test(`${name} passes the framework's ${code} back alone`, () => {
            rec.queue(name, { result: code });
            assert.deepEqual(call(bridge, name, { param_agent: 1 }), { return_ecode: code });
            assertLogs(agentCommand(fn, name, { param_agent: 1 }, { return_ecode: code }, own('0x1')));
        });
    }
}

const sorted = (answer) => Object.fromEntries(Object.entries(answer).sort(([a], [b]) => (a < b ? -1 : 1)));

test('a list that was cancelled or disconnected can be cancelled and disconnected again', () => {
    for (const name of [CANCEL, CANCEL, DISCONNECT, DISCONNECT]) {
        assert.deepEqual(call(bridge, name, { param_agent: 3 }), { return_ecode: 0 });
    }
    assert.deepEqual(calledNames(), [CANCEL, CANCEL, DISCONNECT, DISCONNECT]);
});

test('a group count answers an integer', () => {
    rec.queue(GROUPS, { out: 6 });
    assert.deepEqual(call(bridge, GROUPS, { param_agent: 2 }), { return_ecode: 0, return_type: 1, return_data: 6 });
    assert.deepEqual(callsOf(GROUPS), [[2, 0]]);
});

test('a group count that came with an error is not answered', () => {
    rec.queue(GROUPS, { result: -2, out: 6 });
    assert.deepEqual(call(bridge, GROUPS, { param_agent: 2 }), { return_ecode: -2 });
});

// ---- one item -------------------------------------------------------------------

const itemLog = (request, answer, between) => agentCommand('GetItem', ITEM, request, answer, between);

test('an item is read by handle and index and returned as a text', () => {
    const request = { param_agent: 31, param_index: 4 };
    rec.queue(ITEM, { out: '{"name":"a"}' });
    assert.deepEqual(call(bridge, ITEM, request), { return_ecode: 0, return_type: 4, return_data: '{"name":"a"}' });
    assert.deepEqual(rec.trace(), [[ITEM, 31, 4, null]]);
    assertLogs(itemLog(request, { return_data: '{"name":"a"}', return_ecode: 0, return_type: 4 },
                       [agent('GetItem', 'Agent[0x1f] Index[4]')]), { onMainThread: true });
});

test('the text of an item is released once', () => {
    rec.queue(ITEM, { out: 'text' });
    call(bridge, ITEM, {});
    assert.deepEqual(rec.blocks(), [{ allocatedBy: ITEM, released: true }]);
});

test('a text that comes with an error is released and not answered', () => {
    rec.queue(ITEM, { result: -3, out: 'text' });
    const request = { param_agent: 1, param_index: 9 };
    assert.deepEqual(call(bridge, ITEM, request), { return_ecode: -3 });
    assert.deepEqual(rec.blocks(), [{ allocatedBy: ITEM, released: true }]);
    assertLogs(itemLog(request, { return_ecode: -3 }, [agent('GetItem', 'Agent[0x1] Index[9]')]));
});

for (const [what, out] of [['left untouched', undefined], ['set to null', null]]) {
    test(`an item whose text pointer was ${what} answers an empty text`, () => {
        rec.queue(ITEM, out === undefined ? {} : { out });
        assert.deepEqual(call(bridge, ITEM, { param_agent: 1, param_index: 0 }),
                         { return_ecode: 0, return_type: 4, return_data: '' });
        assert.deepEqual(rec.blocks(), []);
    });
}

test('an empty item text is answered and released', () => {
    rec.queue(ITEM, { out: '' });
    assert.deepEqual(call(bridge, ITEM, {}), { return_ecode: 0, return_type: 4, return_data: '' });
    assert.deepEqual(rec.blocks(), [{ allocatedBy: ITEM, released: true }]);
});

test('an item request without its keys reads item 0 of handle 0', () => {
    call(bridge, ITEM, {});
    assert.deepEqual(rec.trace(), [[ITEM, 0, 0, null]]);
    assertLogs(itemLog({}, { return_data: '', return_ecode: 0, return_type: 4 },
                       [json('Get', 'NO strKey[param_agent] in josn.'), json('Get', 'NO strKey[param_index] in josn.'),
                        agent('GetItem', 'Agent[(nil)] Index[0]')]));
});

test('an item request with mistyped keys reads item 0 of handle 0', () => {
    const request = { param_agent: '1', param_index: [2] };
    call(bridge, ITEM, request);
    assert.deepEqual(rec.trace(), [[ITEM, 0, 0, null]]);
    assertLogs(itemLog(request, { return_data: '', return_ecode: 0, return_type: 4 },
                       [json('Get', 'value.type[4].'), json('Get', 'value.type[6].'),
                        agent('GetItem', 'Agent[(nil)] Index[0]')]));
});

test('a negative index is the framework\'s to judge', () => {
    call(bridge, ITEM, { param_agent: 1, param_index: -5 });
    assert.deepEqual(rec.trace(), [[ITEM, 1, -5, null]]);
});

test('an item text of a million letters arrives whole', () => {
    rec.queue(ITEM, { out: 'ж'.repeat(500_000) });
    assert.equal(call(bridge, ITEM, {}).return_data, 'ж'.repeat(500_000));
});
