// Selecting items: everything of some types, groups, single items; state and count.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { call, openBridge, rec } from './harness.mjs';
import { agent, agentCommand, assertLogs, missingKey, mistypedKey, printedHandle } from './log_lines.mjs';

const bridge = openBridge();

/*
 * name    the method, which is also the framework's function
 * fn      the operation, which log lines name
 * label   the command's name in the log, where it is another one
 * keys    the request's keys in the order in which they are read
 * own     the command's own line
 * out     what the framework returns; `preset` what it finds before; `type` of the answer
 */
const THIN = [
    { name: 'mrb_deselect_all_v2', fn: 'DeselectAll', keys: ['param_agent'], own: (handle) => `Agent[${handle}]` },
    { name: 'mrb_select_group_v2', fn: 'SelectGroup', label: 'mrb_deselect_group_v2',
      keys: ['param_agent', 'param_index'], own: (handle, index) => `Agent[${handle}] Index[${index}]` },
    { name: 'mrb_deselect_group_v2', fn: 'DeSelectGroup', keys: ['param_agent', 'param_index'],
      own: (handle, index) => `Agent[${handle}] Index[${index}]` },
    { name: 'mrb_get_selected_state_v2', fn: 'GetSelectState', keys: ['param_agent', 'param_index'],
      own: (handle, index) => `Agent[${handle}], nItemIndex[${index}].`, out: true, preset: false, type: 5 },
    { name: 'mrb_get_selection_count_v2', fn: 'GetSelectCount', keys: ['param_agent'],
      own: (handle) => `Agent[${handle}]`, out: 31, preset: 0, type: 1 },
];

for (const { name, fn, label = name, keys, own, out, preset, type } of THIN) {
    const values = [18, -4].slice(0, keys.length);
    const zeros = keys.map(() => 0);
    const request = Object.fromEntries(keys.map((key, i) => [key, values[i]]));
    const success = (data) =>
        (out === undefined ? { return_ecode: 0 } : { return_data: data, return_ecode: 0, return_type: type });
    const trace = (of) => [[name, ...of, ...(out === undefined ? [] : [preset])]];
    const lines = (request, of, answer, before = []) =>
        agentCommand(fn, label, request, answer, [...before, agent(fn, own(printedHandle(of[0]), of[1]))]);

    test(`${name} calls the framework and returns its result`, () => {
        if (out !== undefined) rec.queue(name, { out });
        assert.deepEqual(call(bridge, name, request), success(out));
        assert.deepEqual(rec.trace(), trace(values));
        assertLogs(lines(request, values, success(out)), { onMainThread: true });
    });

    test(`${name} with a failing framework answers the code alone`, () => {
        rec.queue(name, out === undefined ? { result: -2 } : { result: -2, out });
        assert.deepEqual(call(bridge, name, request), { return_ecode: -2 });
        assertLogs(lines(request, values, { return_ecode: -2 }));
    });

    test(`${name} without its keys presets 0`, () => {
        call(bridge, name, {});
        assert.deepEqual(rec.trace(), trace(zeros));
        assertLogs(lines({}, zeros, success(preset), keys.map(missingKey)));
    });

    test(`${name} with texts for its keys presets 0`, () => {
        const mistyped = Object.fromEntries(keys.map((key) => [key, '7']));
        call(bridge, name, mistyped);
        assert.deepEqual(rec.trace(), trace(zeros));
        assertLogs(lines(mistyped, zeros, success(preset), keys.map(() => mistypedKey(4))));
    });
}

test('the log names the selection of a group after its opposite', () => {
    call(bridge, 'mrb_select_group_v2', { param_agent: 1, param_index: 2 });
    const lines = rec.logs().map(({ text }) => text);
    assert.match(lines.at(0), /ReqCmd\[mrb_deselect_group_v2\]/);
    assert.match(lines.at(-1), /strCmd\[mrb_deselect_group_v2\]/);
    assert.deepEqual(rec.trace(), [['mrb_select_group_v2', 1, 2]]);
});

test('an item that is not selected answers false', () => {
    rec.queue('mrb_get_selected_state_v2', { out: false });
    assert.deepEqual(call(bridge, 'mrb_get_selected_state_v2', { param_agent: 1, param_index: 2 }),
                     { return_ecode: 0, return_type: 5, return_data: false });
});

// ---- toggling -------------------------------------------------------------------

const TOGGLE = 'mrb_toggle_select_v2';
const toggleLines = (request, answer, between = []) => agentCommand('ToggleSelect', TOGGLE, request, answer, between);

test('items are toggled in the order of the request', () => {
    const request = { param_agent: 4, param_item_list: [7, 2, 9, 7] };
    assert.deepEqual(call(bridge, TOGGLE, request), { return_ecode: 0 });
    assert.deepEqual(rec.trace(), [7, 2, 9, 7].map((item) => [TOGGLE, 4, item]));
    assertLogs(toggleLines(request, { return_ecode: 0 }), { onMainThread: true });
});

test('toggling ends at the first item that fails and names its position', () => {
    const request = { param_agent: 4, param_item_list: [7, 2, 9] };
    rec.queue(TOGGLE, {});
    rec.queue(TOGGLE, { result: -3 });
    assert.deepEqual(call(bridge, TOGGLE, request), { return_ecode: -3 });
    assert.deepEqual(rec.trace(), [[TOGGLE, 4, 7], [TOGGLE, 4, 2]]);
    assertLogs(toggleLines(request, { return_ecode: -3 }, [agent('ToggleSelect', 'Toggle [1] faild.')]));
});

test('toggling no item does not call the framework and succeeds', () => {
    assert.deepEqual(call(bridge, TOGGLE, { param_agent: 4, param_item_list: [] }), { return_ecode: 0 });
    assert.deepEqual(rec.trace(), []);
});

test('toggling without keys toggles nothing', () => {
    assert.deepEqual(call(bridge, TOGGLE, {}), { return_ecode: 0 });
    assert.deepEqual(rec.trace(), []);
    assertLogs(toggleLines({}, { return_ecode: 0 }, ['param_agent', 'param_item_list'].map(missingKey)));
});

for (const [list, type] of [[7, 1], ['7', 4], [[7, 'x'], 6], [[7, {}], 6]]) {
    test(`toggling ${JSON.stringify(list)} toggles nothing`, () => {
        const request = { param_agent: 4, param_item_list: list };
        assert.deepEqual(call(bridge, TOGGLE, request), { return_ecode: 0 });
        assert.deepEqual(rec.trace(), []);
        assertLogs(toggleLines(request, { return_ecode: 0 }, [mistypedKey(type)]));
    });
}

// ---- everything of some types ------------------------------------------------------

const ALL = 'mrb_select_all_v2';
const CLEAR = 'mrb_deselect_all_v2';
const COUNT = 'mrb_get_item_count_v2';
const MOVE = 'mrb_move_to_index_v2';
const TYPE = 'mrb_get_item_value_int_v2';
const SIZE = 'mrb_get_item_value_lint_v2';
const said = (text) => agent('SelectAll', text);

/** Puts items of these types and sizes into the list. */
function putItems(types, sizes = []) {
    rec.queue(COUNT, { out: types.length });
    types.forEach((type) => rec.queue(TYPE, { out: type }));
    sizes.forEach((size) => rec.queue(SIZE, { out: size }));
}

/** The calls of the walk for an item: its type, and for one to select also the rest. */
const skipped = (handle, index) => [[MOVE, handle, index], [TYPE, handle, 'MEDIA_TYPE', -1]];
const selected = (handle, index) => [...skipped(handle, index), [TOGGLE, handle, index], [SIZE, handle, 'SIZE', 0]];

/** The lines before the walk. */
const announced = (handle, types, count) => [
    said(`You want to select[${types.length}] types of file, they are: `), ...types.map((type) => said(`[${type}]`)),
    said(`Agent[${printedHandle(handle)}]`), ...(count === undefined ? [] : [said(`nItemCount[${count}]`)]),
];
const notWanted = (index, type) => said(`Item[${index}], type[${type}] need not be selected accroding to App.`);
const allLines = (request, answer, between, text) => agentCommand('SelectAll', ALL, request, answer, between, text);

/** The very text of a total: 64-bit numbers are written in floating form. */
const totalText = (text) => `{"return_data":${text},"return_ecode":0,"return_type":1}\n`;
const wanting = (types, handle = 6) => ({ param_agent: handle, param_selected_item_type_arr: types });
const total = (size) => ({ return_ecode: 0, return_type: 1, return_data: size });

test('items of the requested types are selected one by one, and their sizes are added up', () => {
    putItems([2, 3, 5, 2], [100, 20, 3]);
    const request = wanting([2, 5], -2);
    assert.deepEqual(call(bridge, ALL, request), total(123));
    assert.deepEqual(rec.trace(), [[CLEAR, -2], [COUNT, -2, 0], ...selected(-2, 0), ...skipped(-2, 1),
                                   ...selected(-2, 2), ...selected(-2, 3)]);
    assertLogs(allLines(request, total(123), [...announced(-2, [2, 5], 4), notWanted(1, 3)], totalText('123.0')),
               { onMainThread: true });
});

test('selecting all never calls the framework\'s select-all', () => {
    putItems([2], [1]);
    call(bridge, ALL, wanting([2]));
    assert.ok(!rec.trace().some(([name]) => name === ALL));
});

test('selecting no types clears the selection, visits every item and selects none', () => {
    putItems([2, 3]);
    const request = wanting([]);
    assert.deepEqual(call(bridge, ALL, request), total(0));
    assert.deepEqual(rec.trace(), [[CLEAR, 6], [COUNT, 6, 0], ...skipped(6, 0), ...skipped(6, 1)]);
    assertLogs(allLines(request, total(0), [...announced(6, [], 2), notWanted(0, 2), notWanted(1, 3)],
                        totalText('0.0')));
});

test('selecting in a list without items answers 0 after clearing and counting', () => {
    putItems([]);
    assert.deepEqual(call(bridge, ALL, wanting([2])), total(0));
    assert.deepEqual(rec.trace(), [[CLEAR, 6], [COUNT, 6, 0]]);
});

test('a type that is named twice is logged twice and selects each item once', () => {
    putItems([3, 3], [1, 2]);
    const request = wanting([3, 3]);
    assert.deepEqual(call(bridge, ALL, request), total(3));
    assert.deepEqual(rec.trace(), [[CLEAR, 6], [COUNT, 6, 0], ...selected(6, 0), ...selected(6, 1)]);
    assertLogs(allLines(request, total(3), announced(6, [3, 3], 2), totalText('3.0')));
});

test('an item whose type the framework leaves alone has type -1', () => {
    rec.queue(COUNT, { out: 1 });
    const request = wanting([2]);
    assert.deepEqual(call(bridge, ALL, request), total(0));
    assertLogs(allLines(request, total(0), [...announced(6, [2], 1), notWanted(0, -1)], totalText('0.0')));
});

test('negative types are types like any other', () => {
    putItems([-7, -1, 0, 2147483647, -2147483648], [100, 20, 3]);
    const request = wanting([-7, -2147483648, -1]);
    assert.deepEqual(call(bridge, ALL, request), total(123));
    assert.deepEqual(rec.trace(), [[CLEAR, 6], [COUNT, 6, 0], ...selected(6, 0), ...selected(6, 1), ...skipped(6, 2),
                                   ...skipped(6, 3), ...selected(6, 4)]);
    assertLogs(allLines(request, total(123), [...announced(6, [-7, -2147483648, -1], 5), notWanted(2, 0),
                                              notWanted(3, 2147483647)], totalText('123.0')));
});

test('a total beyond 32 bits is answered whole', () => {
    putItems([3, 3], [5_000_000_000, 6_000_000_000]);
    assert.deepEqual(call(bridge, ALL, wanting([3])), total(11_000_000_000));
});

test('a total of negative sizes wraps as an unsigned number', () => {
    putItems([3, 3], [-5, 7]);
    assert.deepEqual(call(bridge, ALL, wanting([3])), total(2));
});

test('a selection that cannot be cleared ends the command', () => {
    rec.queue(CLEAR, { result: -2 });
    const request = wanting([2]);
    assert.deepEqual(call(bridge, ALL, request), { return_ecode: -2 });
    assert.deepEqual(rec.trace(), [[CLEAR, 6]]);
    assertLogs(allLines(request, { return_ecode: -2 },
                        [...announced(6, [2]), said('mrb_deselect_all_v2 faild [-2]!')]));
});

test('items that cannot be counted end the command', () => {
    rec.queue(COUNT, { result: -8, out: 5 });
    const request = wanting([2]);
    assert.deepEqual(call(bridge, ALL, request), { return_ecode: -8 });
    assert.deepEqual(rec.trace(), [[CLEAR, 6], [COUNT, 6, 0]]);
    assertLogs(allLines(request, { return_ecode: -8 },
                        [...announced(6, [2]), said('mrb_get_item_count_v2 faild [-8]!')]));
});

for (const [what, name, calls] of [['reach', MOVE, 1], ['read the type of', TYPE, 2]]) {
    test(`an item that the framework cannot ${what} ends the walk`, () => {
        rec.queue(COUNT, { out: 3 });
        rec.queue(name, {});
        rec.queue(name, { result: -3 });
        const request = wanting([2]);
        assert.deepEqual(call(bridge, ALL, request), { return_ecode: -3 });
        assert.deepEqual(rec.trace(), [[CLEAR, 6], [COUNT, 6, 0], ...skipped(6, 0), ...skipped(6, 1).slice(0, calls)]);
        assertLogs(allLines(request, { return_ecode: -3 }, [
            ...announced(6, [2], 3), notWanted(0, -1),
            said('mrb_move_to_index or mrb_get_item_value_int faild, page index[1].')]));
    });
}

test('an item that cannot be toggled ends the walk, and its size is not read', () => {
    putItems([2, 2, 2], [10]);
    rec.queue(TOGGLE, {});
    rec.queue(TOGGLE, { result: -3 });
    const request = wanting([2]);
    assert.deepEqual(call(bridge, ALL, request), { return_ecode: -3 });
    assert.deepEqual(rec.trace(), [[CLEAR, 6], [COUNT, 6, 0], ...selected(6, 0), ...selected(6, 1).slice(0, 3)]);
    assertLogs(allLines(request, { return_ecode: -3 }, [
        ...announced(6, [2], 3), said('mrb_toggle_select or mrb_get_item_value_lint faild, page index[1].')]));
});

test('a size that cannot be read on item 5 leaves the items 0 to 5 of the types selected', () => {
    putItems([2, 2, 3, 2, 2, 2, 2], [1, 2, 3, 4]);
    rec.queue(SIZE, { result: -17, out: 9 });
    assert.deepEqual(call(bridge, ALL, wanting([2])), { return_ecode: -17 });
    assert.deepEqual(rec.trace().filter(([name]) => name === TOGGLE).map(([, , index]) => index), [0, 1, 3, 4, 5]);
    assert.deepEqual(rec.trace().filter(([name]) => name === CLEAR).length, 1);
});

test('selecting all without keys works on handle 0 with no types', () => {
    rec.queue(COUNT, { out: 0 });
    assert.deepEqual(call(bridge, ALL, {}), total(0));
    assert.deepEqual(rec.trace(), [[CLEAR, 0], [COUNT, 0, 0]]);
    assertLogs(allLines({}, total(0), [missingKey('param_agent'), missingKey('param_selected_item_type_arr'),
                                       ...announced(0, [], 0)], totalText('0.0')));
});

test('selecting all with mistyped keys works on handle 0 with no types', () => {
    const request = { param_agent: '6', param_selected_item_type_arr: 2 };
    assert.deepEqual(call(bridge, ALL, request), total(0));
    assert.deepEqual(rec.trace(), [[CLEAR, 0], [COUNT, 0, 0]]);
    assertLogs(allLines(request, total(0), [mistypedKey(4), mistypedKey(1), ...announced(0, [], 0)],
                        totalText('0.0')));
});
