// The order in which the commands on items log, read their keys and call the framework.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { forget, openBridge, rec } from './harness.mjs';
import { assertOrder } from './event_trace.mjs';
import { agent, missingKey } from './log_lines.mjs';

const bridge = openBridge();

// ---- item fields --------------------------------------------------------------------

const MOVE = ['mrb_move_to_index_v2', 18, 7];
const GET = { method: 'mrb_get_item_value_v2', fn: 'GetItemValue' };
const SET = { method: 'mrb_set_item_value_v2', fn: 'SetItemValue' };
const field = (name, more = {}) => ({ param_agent: 18, param_index: 7, param_field: name, ...more });
const UNKNOWN = agent('GetItemValue', 'Dealing error field.');
const reading = (name) => agent('GetItemValue', `Agent[0x12],index[7], field[${name}]`);

for (const [name, kind, preset] of [['SIZE', 'lint', 0], ['LONGITUDE', 'double', 0], ['ADDED_TIME', 'time', 0],
                                    ['TITLE', 'char', null], ['WIDTH', 'int', 0], ['IS_DRM', 'bool', false]]) {
    test(`a ${kind} field is read after the cursor has moved and its kind was logged`, () => {
        const text = kind === 'double' ? '{"return_data":0.0,"return_ecode":0,"return_type":6}\n' : undefined;
        assertOrder(bridge, { ...GET, request: field(name), text,
                      between: [reading(name), MOVE, agent('GetItemValue', `Dealing get ${kind} value.`),
                                [`mrb_get_item_value_${kind}_v2`, 18, name, preset]] });
    });
}

test('a field that is not known moves the cursor, is logged and read from nowhere', () => {
    assertOrder(bridge, { ...GET, request: field('NONE'), between: [reading('NONE'), MOVE, UNKNOWN] });
});

test('a field is read by its whole name: a zero in it makes another of it', () => {
    for (const name of ['TITLE\0', 'TITLE\0X', '\0TITLE', 'SIZE\0']) {
        forget();
        const [printed] = name.split('\0');
        const answer = assertOrder(bridge, { ...GET, request: field(name),
                                     between: [reading(printed), MOVE, UNKNOWN] });
        assert.deepEqual(answer, { return_ecode: 0 });
    }
});

const setting = (text) => agent('SetItemValue', text);

test('a text is written after the cursor has moved, the kind was logged, the value read and logged', () => {
    const write = ['mrb_set_item_value_char_v2', 18, 'TITLE'];
    assertOrder(bridge, { ...SET, request: field('TITLE', { param_value: 'x' }),
                  between: [MOVE, setting('Dealing set string value.'), setting('agent[0x12] field[TITLE] pValue[x]'),
                            [...write, 'x']] });
    forget();
    assertOrder(bridge, { ...SET, request: field('TITLE'),
                  between: [MOVE, setting('Dealing set string value.'), missingKey('param_value'),
                            setting('agent[0x12] field[TITLE] pValue[]'), [...write, '']] });
});

test('a number is written after the cursor has moved, the kind was logged, the value read and logged', () => {
    const write = ['mrb_set_item_value_int_v2', 18, 'WIDTH'];
    assertOrder(bridge, { ...SET, request: field('WIDTH', { param_value: 5 }),
                  between: [MOVE, setting('Dealing set int value.'), setting('Agent[0x12] field[WIDTH] nValue[5]'),
                            [...write, 5]] });
    forget();
    assertOrder(bridge, { ...SET, request: field('WIDTH'),
                  between: [MOVE, setting('Dealing set int value.'), missingKey('param_value'),
                            setting('Agent[0x12] field[WIDTH] nValue[0]'), [...write, 0]] });
});

test('a field that cannot be written is refused after the cursor has moved, also one with a zero in its name', () => {
    for (const name of ['SIZE', 'TITLE\0', 'WIDTH\0']) {
        forget();
        const [printed] = name.split('\0');
        assertOrder(bridge, { ...SET, request: field(name, { param_value: 'x' }),
                      between: [MOVE, setting(`Not support operation for setting[${printed}].`)] });
    }
});

for (const { method, fn } of [GET, SET]) {
    test(`${method} reads agent, index and field in this order`, () => {
        rec.queue('mrb_move_to_index_v2', { result: -3 });
        const own = fn === 'GetItemValue' ? [agent(fn, 'Agent[(nil)],index[0], field[]')] : [];
        assertOrder(bridge, { method, fn, request: {},
                      between: [...['param_agent', 'param_index', 'param_field'].map(missingKey), ...own,
                                ['mrb_move_to_index_v2', 0, 0]] });
    });
}

// ---- runs of items, all of some types -----------------------------------------------

const LIST = { method: 'mrb_get_item_list_v2', fn: 'GetItemList' };
const COUNT = 'mrb_get_item_count_v2';
const ITEM = 'mrb_get_item_v2';
const listing = (text) => agent('GetItemList', text);

test('a run of items is logged, counted and fetched', () => {
    rec.queue(COUNT, { out: 10 });
    assertOrder(bridge, { ...LIST, request: { param_index: 8, param_count: 5, param_agent: 18 },
                  between: [listing('Agent[0x12] Index[8] nCount[5]'), [COUNT, 18, 0],
                            [ITEM, 18, 8, null], [ITEM, 18, 9, null]] });
});

test('a run of items reads index, count and agent in this order', () => {
    rec.queue(COUNT, { result: -2 });
    assertOrder(bridge, { ...LIST, request: {},
                  between: [...['param_index', 'param_count', 'param_agent'].map(missingKey),
                            listing('Agent[(nil)] Index[0] nCount[0]'), [COUNT, 0, 0],
                            listing('Dealing Fail: fail mrb_get_item_count.')] });
});

test('an item of a run that cannot be fetched is logged after the call that failed', () => {
    rec.queue(COUNT, { out: 10 });
    rec.queue(ITEM, { out: 'first' });
    rec.queue(ITEM, { result: -3 });
    assertOrder(bridge, { ...LIST, request: { param_index: 0, param_count: 3, param_agent: 18 },
                  between: [listing('Agent[0x12] Index[0] nCount[3]'), [COUNT, 18, 0],
                            [ITEM, 18, 0, null], [ITEM, 18, 1, null], listing('Dealing Fail: fail mrb_get_item_v2.')] });
});

test('counts by type end with the line about the one that failed', () => {
    const byType = 'mrb_get_item_count_by_type_v2';
    rec.queue(byType, {});
    rec.queue(byType, { result: -8 });
    const counting = (text) => agent('GetItemCount', text);
    assertOrder(bridge, { method: COUNT, fn: 'GetItemCount',
                  request: { param_agent: 18, get_item_count_for_each_type: true },
                  between: [counting('Agent[0x12]'), counting('PARAM_GET_ITEM_COUNT_FOR_EACH_TYPE[1].'),
                            [COUNT, 18, 0], [byType, 18, 1, 0], [byType, 18, 2, 0],
                            counting('GetItemCount By Type faild.')] });
});

test('a toggle that failed is logged after its call, and the last', () => {
    const method = 'mrb_toggle_select_v2';
    rec.queue(method, {});
    rec.queue(method, { result: -3 });
    assertOrder(bridge, { method, fn: 'ToggleSelect', request: { param_agent: 18, param_item_list: [7, 2, 9] },
                  between: [[method, 18, 7], [method, 18, 2], agent('ToggleSelect', 'Toggle [1] faild.')] });
});

const ALL = { method: 'mrb_select_all_v2', fn: 'SelectAll' };
const CLEAR = 'mrb_deselect_all_v2';
const TOGGLE = 'mrb_toggle_select_v2';
const selecting = (text) => agent('SelectAll', text);
const wanting = (...types) => ({ param_agent: 18, param_selected_item_type_arr: types });
const announced = (...types) => [selecting(`You want to select[${types.length}] types of file, they are: `),
                                 ...types.map((type) => selecting(`[${type}]`)), selecting('Agent[0x12]')];
const typeOf = (index) => [['mrb_move_to_index_v2', 18, index], ['mrb_get_item_value_int_v2', 18, 'MEDIA_TYPE', -1]];
const sizeOf = ['mrb_get_item_value_lint_v2', 18, 'SIZE', 0];

test('selecting by type announces the types, clears, counts and walks, each with its line', () => {
    rec.queue(COUNT, { out: 2 });
    rec.queue('mrb_get_item_value_int_v2', { out: 3 });
    rec.queue('mrb_get_item_value_int_v2', { out: 2 });
    const text = '{"return_data":0.0,"return_ecode":0,"return_type":1}\n';
    assertOrder(bridge, { ...ALL, request: wanting(2, 5), text,
                  between: [...announced(2, 5), [CLEAR, 18], [COUNT, 18, 0], selecting('nItemCount[2]'), ...typeOf(0),
                            selecting('Item[0], type[3] need not be selected accroding to App.'), ...typeOf(1),
                            [TOGGLE, 18, 1], sizeOf] });
});

test('selecting by type logs a failure after the call that failed', () => {
    rec.queue(CLEAR, { result: -2 });
    assertOrder(bridge, { ...ALL, request: wanting(2),
                  between: [...announced(2), [CLEAR, 18], selecting('mrb_deselect_all_v2 faild [-2]!')] });
    forget();
    rec.queue(COUNT, { result: -8 });
    assertOrder(bridge, { ...ALL, request: wanting(2),
                  between: [...announced(2), [CLEAR, 18], [COUNT, 18, 0],
                            selecting('mrb_get_item_count_v2 faild [-8]!')] });
    forget();
    rec.queue(COUNT, { out: 1 });
    rec.queue('mrb_get_item_value_int_v2', { result: -3 });
    assertOrder(bridge, { ...ALL, request: wanting(2),
                  between: [...announced(2), [CLEAR, 18], [COUNT, 18, 0], selecting('nItemCount[1]'), ...typeOf(0),
                            selecting('mrb_move_to_index or mrb_get_item_value_int faild, page index[0].')] });
    forget();
    rec.queue(COUNT, { out: 1 });
    rec.queue('mrb_get_item_value_int_v2', { out: 2 });
    rec.queue('mrb_get_item_value_lint_v2', { result: -3 });
    assertOrder(bridge, { ...ALL, request: wanting(2),
                  between: [...announced(2), [CLEAR, 18], [COUNT, 18, 0], selecting('nItemCount[1]'), ...typeOf(0),
                            [TOGGLE, 18, 0], sizeOf,
                            selecting('mrb_toggle_select or mrb_get_item_value_lint faild, page index[0].')] });
});

test('selecting by type reads agent and types in this order', () => {
    rec.queue(CLEAR, { result: -2 });
    assertOrder(bridge, { ...ALL, request: {},
                  between: [missingKey('param_agent'), missingKey('param_selected_item_type_arr'),
                            selecting('You want to select[0] types of file, they are: '),
                            selecting('Agent[(nil)]'), [CLEAR, 0], selecting('mrb_deselect_all_v2 faild [-2]!')] });
});
