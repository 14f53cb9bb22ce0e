// Page style, navigation, cursor, page index, play data, rating, storage id.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { assertAborted, runChild } from './child.mjs';
import { call, openBridge, rec } from './harness.mjs';
import { agent, agentCommand, assertLogs, json } from './log_lines.mjs';

const bridge = openBridge();

/*
 * name    the command and its framework function
 * fn      the operation, which log lines name
 * keys    request key, value, and what it is when it is missing
 * args    the framework's arguments, from the values
 * log     the command's own line, from the values; none for some
 * out     what the framework returns, and its "return_type"
 */
const COMMANDS = [
    { name: 'mrb_set_navigation_v2', fn: 'SetNavigation', keys: [['param_agent', 18, 0], ['param_navigation', 3, 0]],
      args: (handle, navigation) => [handle, navigation],
      log: (handle, navigation) => `Agent[${handle}], navigation[${navigation}]` },
    { name: 'mrb_get_navigation_v2', fn: 'GetNavigation', keys: [['param_agent', 18, 0]],
      args: (handle) => [handle, 0], log: (handle) => `Agent[${handle}]`, out: 4, type: 1 },
    { name: 'mrb_move_to_index_v2', fn: 'MoveToIndex', keys: [['param_agent', 18, 0], ['param_index', 7, 0]],
      args: (handle, index) => [handle, index], log: (handle, index) => `Agent[${handle}] Index[${index}]` },
    { name: 'mrb_get_page_index_v2', fn: 'GetPageIndex', keys: [['param_agent', 18, 0], ['param_media', 'id%s', '']],
      args: (handle, media) => [handle, media, 0], log: (handle, media) => `Agent[${handle}] mediaId[${media}]`,
      out: 12, type: 1 },
    { name: 'mrb_prepare_play_data_v2', fn: 'PreparePlayData', keys: [['param_agent', 18, 0]],
      args: (handle) => [handle, null], out: '{"url":"é"}', type: 4 },
    { name: 'mrb_get_rating_info_v2', fn: 'GetRatingInfo', keys: [['param_agent', 18, 0]],
      args: (handle) => [handle, null], out: 'PG', type: 4 },
    { name: 'mrb_get_storage_id_v2', fn: 'GetStorageId', keys: [['param_mount_path', '/media/stick', '']],
      args: (path) => [path, null], out: 'uuid', type: 4 },
];

/** The handle as a log line prints it; other values as they are. */
const printed = (values, [[first]]) =>
    first === 'param_agent'
        ? [values[0] === 0 ? '(nil)' : `0x${(values[0] >>> 0).toString(16)}`, ...values.slice(1)] : values;

const unicode = (text) => text.replace(/[\u0080-\uffff]/g, (c) => `\\u${c.charCodeAt(0).toString(16).padStart(4, '0')}`);

for (const { name, fn, keys, args, log, out, type } of COMMANDS) {
    const values = keys.map(([, value]) => value);
    const request = Object.fromEntries(keys.map(([key, value]) => [key, value]));
    const own = (of) => (log ? [agent(fn, log(...printed(of, keys)))] : []);
    const success = out === undefined ? { return_ecode: 0 } : { return_data: out, return_ecode: 0, return_type: type };

    test(`${name} passes the request on and answers what the framework returns`, () => {
        if (out !== undefined) rec.queue(name, { out });
        assert.deepEqual(call(bridge, name, request), success);
        assert.deepEqual(rec.trace(), [[name, ...args(...values)]]);
        const lines = agentCommand(fn, name, request, success, own(values));
        lines.at(-1).text = unicode(lines.at(-1).text);
        assertLogs(lines, { onMainThread: true });
    });

    test(`${name} passes a failure back alone, whatever came with it`, () => {
        rec.queue(name, out === undefined ? { result: -8 } : { result: -8, out });
        assert.deepEqual(call(bridge, name, request), { return_ecode: -8 });
        assertLogs(agentCommand(fn, name, request, { return_ecode: -8 }, own(values)));
    });

    test(`${name} presets what a request lacks`, () => {
        const presets = keys.map(([, , preset]) => preset);
        call(bridge, name, {});
        assert.deepEqual(rec.trace(), [[name, ...args(...presets)]]);
        const lines = rec.logs().map(({ text }) => text);
        for (const [key] of keys) {
            assert.ok(lines.some((line) => line.includes(`NO strKey[${key}] in josn.`)), key);
        }
    });

    test(`${name} presets what a request has of another type`, () => {
        const presets = keys.map(([, , preset]) => preset);
        const mistyped = Object.fromEntries(keys.map(([key, value]) => [key, typeof value === 'string' ? 5 : 'x']));
        call(bridge, name, mistyped);
        assert.deepEqual(rec.trace(), [[name, ...args(...presets)]]);
        const wrong = keys.map(([, value]) => json('Get', `value.type[${typeof value === 'string' ? 1 : 4}].`));
        const answer = JSON.parse(rec.logs().at(-1).text.match(/strReturnJson\[([^]*)\n\]\./)[1]);
        assertLogs(agentCommand(fn, name, mistyped, answer, [...wrong, ...own(presets)]));
    });

    if (typeof out === 'string') {
        test(`${name} answers an empty text for a null one`, () => {
            rec.queue(name, { out: null });
            assert.deepEqual(call(bridge, name, request), { return_ecode: 0, return_type: type, return_data: '' });
            assert.deepEqual(rec.blocks(), []);
        });

        for (const result of [0, -8]) {
            test(`${name} releases a text that comes with ${result} exactly once`, () => {
                rec.queue(name, { result, out });
                call(bridge, name, request);
                assert.deepEqual(rec.blocks(), [{ allocatedBy: name, released: true }]);
            });
        }
    }
}

// ---- page style -----------------------------------------------------------------

const STYLE = 'mrb_set_page_style_v2';
const PAGES = { param_agent: -2, param_page_style: 5, param_page_order: 1, param_group_index: 2, param_row: 3,
                param_column: 4, param_need_padding: true };
const pagesLine = (handle, style, order, group, row, column, padding) => agent('SetPageStyle',
    `Agent[${handle}] ePageStyle[${style}] eOrder[${order}] nGroupIndex[${group}] nRow[${row}] ` +
    `nColumn[${column}] bNeedPadding[${padding}]`);

/** The calls that set a page style, from creation to destruction. */
const pagesTrace = (handle, style, order, group, row, column, padding) => [
    ['mrb_create_page_param', 0], ['mrb_param_set_page_style_mask', 1, style],
    ['mrb_param_set_page_style_order', 1, order], ['mrb_param_set_page_style_group_index', 1, group],
    ['mrb_param_set_page_style_row', 1, row], ['mrb_param_set_page_style_column', 1, column],
    ['mrb_param_set_page_style_padding', 1, padding], [STYLE, handle, 1], ['mrb_destroy_page_param', 1],
];

test('a page style is set through a parameter object, in order', () => {
    assert.deepEqual(call(bridge, STYLE, PAGES), { return_ecode: 0 });
    assert.deepEqual(rec.trace(), pagesTrace(-2, 5, 1, 2, 3, 4, true));
    assertLogs(agentCommand('SetPageStyle', STYLE, PAGES, { return_ecode: 0 },
                            [pagesLine('0xfffffffe', 5, 1, 2, 3, 4, 1)]), { onMainThread: true });
});

test('the parameter object is destroyed after a page style that failed', () => {
    rec.queue(STYLE, { result: -3 });
    assert.deepEqual(call(bridge, STYLE, PAGES), { return_ecode: -3 });
    assert.deepEqual(rec.trace().at(-1), ['mrb_destroy_page_param', 1]);
});

test('a page style without keys is all zeros without padding', () => {
    call(bridge, STYLE, {});
    assert.deepEqual(rec.trace(), pagesTrace(0, 0, 0, 0, 0, 0, false));
    const missing = Object.keys(PAGES).map((key) => json('Get', `NO strKey[${key}] in josn.`));
    assertLogs(agentCommand('SetPageStyle', STYLE, {}, { return_ecode: 0 },
                            [...missing, pagesLine('(nil)', 0, 0, 0, 0, 0, 0)]));
});

test('a page style with keys of another type presets them', () => {
    const mistyped = Object.fromEntries(Object.keys(PAGES).map((key) => [key, 'x']));
    call(bridge, STYLE, mistyped);
    assert.deepEqual(rec.trace(), pagesTrace(0, 0, 0, 0, 0, 0, false));
});

test('a page parameter object that cannot be created ends the process', async () => {
    const result = await runChild(`
        const bridge = openBridge();
        rec.queue('mrb_create_page_param', { result: -9 });
        bridge.mrb_set_page_style_v2('{}');
        console.log('answered');`);
    assertAborted(result, 'eRet == MRB_ERR_NONE');
    assert.equal(result.stdout, '');
});
