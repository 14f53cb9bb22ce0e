// Unusual JSON requests, and the form of answers. Commands use presets for the keys
// that they cannot read; the log names the cause.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { call, callsOf, openBridge, rec } from './harness.mjs';
import { agent, agentCommand, assertLogs, json } from './log_lines.mjs';

const bridge = openBridge();
const GROUPS = 'mrb_get_group_count_v2';
const ITEM = 'mrb_get_item_v2';

/** The log of a group count whose request was read with these lines in between. */
const groupCountLog = (request, between) =>
    agentCommand('GetGroupCount', GROUPS, request, { return_data: 0, return_ecode: 0, return_type: 1 }, between);

const invalid = (type) => json('Get', `Get fail. jsonvalue is invalid type[${type}].`);
const unparsed = (text) => json('CMRBBridgeJson', `Json::Reader parse string[${text}] faild.`);

/** Counts groups with a request text; returns the handle that reached the framework. */
function handleOf(text) {
    const answer = call(bridge, GROUPS, text);
    assert.equal(answer.return_ecode, 0);
    const [[handle]] = callsOf(GROUPS);
    return handle;
}

test('an empty text is not a document: the preset is used and the log says type 0', () => {
    assert.equal(handleOf(''), 0);
    assertLogs(groupCountLog('', [invalid(0)]), { onMainThread: true });
});

test('an array of two elements parses but is not a document: the log says type 6', () => {
    assert.equal(handleOf('[1,2]'), 0);
    assertLogs(groupCountLog('[1,2]', [invalid(6)]));
});

for (const [text, type] of [['null', 0], ['7', 1], ['-2147483649', 1], ['18446744073709551615', 2], ['1.5', 3],
                            ['"text"', 4], ['true', 5], ['[]', 6]]) {
    test(`the text ${text} is not a document: the log says type ${type}`, () => {
        assert.equal(handleOf(text), 0);
        assert.ok(rec.logs().some((line) => line.text.includes(`Get fail. jsonvalue is invalid type[${type}].`)));
    });
}

test('a text that does not parse is logged whole', () => {
    assert.equal(handleOf('{nonsense'), 0);
    const [, line] = rec.logs();
    assertLogs([unparsed('{nonsense')], { lines: [line] });
});

test('a text that ends after some members is read up to there', () => {
    const text = '{"param_agent":5,';
    assert.equal(handleOf(text), 5);
    assertLogs(groupCountLog(text, [unparsed(text)]));
});

test('a text with something after the object is read', () => {
    assert.equal(handleOf('{"param_agent":6} and more'), 6);
});

test('a percent sign in a request is no format', () => {
    const text = '{"param_agent":7,"%s%n%d":"%s"}';
    assert.equal(handleOf(text), 7);
    assertLogs(groupCountLog(text, []));
});

test('a missing key is logged with its name and the preset used', () => {
    assert.equal(handleOf('{}'), 0);
    assertLogs(groupCountLog('{}', [json('Get', 'NO strKey[param_agent] in josn.')]));
});

test('a text where an integer is expected is logged as type 4 and the preset used', () => {
    assert.equal(handleOf('{"param_agent":"5"}'), 0);
    assertLogs(groupCountLog('{"param_agent":"5"}', [json('Get', 'value.type[4].')]));
});

for (const [value, type] of [['null', 0], ['2147483648', 2], ['-2147483649', 1], ['18446744073709551615', 2],
                             ['1.5', 3], ['true', 5], ['[5]', 6], ['{"a":5}', 7]]) {
    test(`the value ${value} where an integer is expected is logged as type ${type}`, () => {
        const text = `{"param_agent":${value}}`;
        assert.equal(handleOf(text), 0);
        assertLogs(groupCountLog(text, [json('Get', `value.type[${type}].`)]));
    });
}

test('the limits of an integer are read exactly', () => {
    for (const limit of [2147483647, -2147483648]) {
        rec.clear();
        assert.equal(handleOf(`{"param_agent":${limit}}`), limit);
    }
});

test('a whole number in floating form is an integer', () => assert.equal(handleOf('{"param_agent":5.0}'), 5));

test('the last of two equal keys is read', () => {
    assert.equal(handleOf('{"param_agent":1,"param_agent":2}'), 2);
});

test('a number where a bool is expected is logged and the preset used', () => {
    rec.queue('mrb_get_item_count_v2', { out: 3 });
    const text = '{"param_agent":1,"get_item_count_for_each_type":1}';
    assert.deepEqual(call(bridge, 'mrb_get_item_count_v2', text),
                     { return_ecode: 0, return_type: 1, return_data: 3 });
    assert.ok(rec.logs().some((line) => line.text.includes('value.type[1].')));
});

test('a text nested too deeply answers as one that does not parse', () => {
    const deep = '['.repeat(100_000);
    assert.equal(handleOf(deep), 0);
    assert.equal(rec.logs().filter((line) => line.text.includes('faild.')).length, 1);
});

test('members nested too deeply leave the program alive', () => {
    for (const depth of [900, 1_001, 5_000]) {
        rec.clear();
        handleOf(`{"param_agent":3,"a":${'{"a":'.repeat(depth)}1${'}'.repeat(depth)}}`);
    }
});

test('a request of a million letters is read and logged whole', () => {
    const text = JSON.stringify({ param_agent: 8, filler: 'x'.repeat(1_000_000) });
    assert.equal(handleOf(text), 8);
    assertLogs(groupCountLog(text, []));
});

test('an answer is one compact line with sorted keys, ended by a line feed', () => {
    rec.queue(GROUPS, { out: 12 });
    assert.equal(bridge[GROUPS]('{}'), '{"return_data":12,"return_ecode":0,"return_type":1}\n');
});

test('a text of the framework is escaped in the answer and comes back unchanged', () => {
    const item = '{"name":"Ünï/写真 🎞\\"\n\t\\u0001"}';
    rec.queue(ITEM, { out: item });
    const text = bridge[ITEM]('{}');
    assert.match(text, /^[\x20-\x7e]*\n$/);
    assert.equal(JSON.parse(text).return_data, item);
});

for (const [what, bytes] of [['bytes that begin no letter', [0x61, 0xff, 0xfe, 0x62]],
                             ['a letter that breaks off at the end', [0x61, 0xe5, 0x86]],
                             ['an overlong form', [0x61, 0xc0, 0xaf, 0x62]],
                             ['a surrogate', [0x61, 0xed, 0xa0, 0x80, 0x62]],
                             ['a code point past the last', [0x61, 0xf7, 0xbf, 0xbf, 0xbf, 0x62]]]) {
    test(`a text of the framework with ${what} is answered as readable JSON`, () => {
        rec.queue(ITEM, { out: Buffer.from(bytes) });
        const answer = call(bridge, ITEM, '{}');
        assert.deepEqual([answer.return_ecode, answer.return_type, answer.return_data[0]], [0, 4, 'a']);
    });
}

test('bytes that are not UTF-8 in a request do not reach the framework as a broken text', () => {
    // A lone surrogate has no UTF-8: the engine hands over the replacement character.
    rec.queue('mrb_request_list_v2', { result: -1 });
    call(bridge, 'mrb_request_list_v2', () => {}, '{"param_source_name":"SOURCE_MSC","param_scan_path":"a\ud800b"}');
    assert.deepEqual(callsOf('mrb_param_set_general_path'), [[1, 'a\ufffdb']]);
});

test('a handle of any sign is printed as the pointer made of its 32 bits', () => {
    for (const [handle, printed] of [[0, '(nil)'], [1, '0x1'], [-1, '0xffffffff'], [2147483647, '0x7fffffff']]) {
        rec.clearLogs();
        call(bridge, 'mrb_disconnect_v2', { param_agent: handle });
        assertLogs([agent('DisConnect', `Agent[${printed}]`)], { lines: [rec.logs()[1]] });
    }
});
