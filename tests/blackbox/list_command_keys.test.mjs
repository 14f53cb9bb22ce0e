// Every key of every command on an open list: absent, of every other type, and at
// its limits; every command's failures; and what the log says of each, to the line.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { runChild } from './child.mjs';
import { call, callsOf, openBridge, rec } from './harness.mjs';
import { COMMANDS, requestOf, valuesOf } from './list_command_table.mjs';
import { agentCommand, assertLogs, json } from './log_lines.mjs';

const bridge = openBridge();

/** A value of each JSON type, with the type's number in the log, and the types that accept the value. */
const JSON_VALUES = [
    { text: 'null', type: 0 }, { text: '5', type: 1, fits: 'int' }, { text: '-2147483649', type: 1 },
    { text: '4294967296', type: 2 }, { text: '1.5', type: 3 }, { text: '"5"', type: 4, fits: 'text' },
    { text: 'true', type: 5, fits: 'bool' }, { text: '[1]', type: 6 }, { text: '{"a":1}', type: 7 },
];

/** Calls with a request's text; what reached the framework, the answer and the log must be those of `values`. */
function assertWorksWith(command, text, values, between) {
    const answer = command.answer(...values);
    assert.deepEqual(call(bridge, command.name, text), answer);
    assert.deepEqual(rec.trace(), command.calls(...values));
    assertLogs(agentCommand(command.fn, command.name, text, sorted(answer), [...between, ...command.log(...values)]),
               { onMainThread: true });
}

const sorted = (answer) => Object.fromEntries(Object.entries(answer).sort(([a], [b]) => (a < b ? -1 : 1)));

for (const command of COMMANDS) {
    const { name, fn, keys } = command;

    test(`${name} works with its request and logs nothing else`, () => {
        assertWorksWith(command, JSON.stringify(requestOf(command)), valuesOf(command), []);
    });

    test(`${name} reads its keys in any order, and no others`, () => {
        const entries = Object.entries({ zzz: [{}], ...requestOf(command), param_unknown: null }).reverse();
        assertWorksWith(command, JSON.stringify(Object.fromEntries(entries)), valuesOf(command), []);
    });

    test(`${name} without any key works with its presets and names the keys in order`, () => {
        assertWorksWith(command, '{}', keys.map(({ preset }) => preset),
                        keys.map((key) => json('Get', `NO strKey[${key.name}] in josn.`)));
    });

    test(`${name} with a text that is not an object logs it for each key in order`, () => {
        assertWorksWith(command, '[]', keys.map(({ preset }) => preset),
                        keys.map(() => json('Get', 'Get fail. jsonvalue is invalid type[6].')));
    });

    for (const key of keys) {
        test(`${name} without "${key.name}" presets that alone`, () => {
            assertWorksWith(command, JSON.stringify(requestOf(command, { [key.name]: undefined })),
                            valuesOf(command, { [key.name]: key.preset }),
                            [json('Get', `NO strKey[${key.name}] in josn.`)]);
        });

        for (const { text, type } of JSON_VALUES.filter(({ fits }) => fits !== key.kind)) {
            test(`${name} with ${text} as "${key.name}" presets that alone`, () => {
                const request = JSON.stringify(requestOf(command, { [key.name]: '@' })).replace('"@"', text);
                assertWorksWith(command, request, valuesOf(command, { [key.name]: key.preset }),
                                [json('Get', `value.type[${type}].`)]);
            });
        }

        for (const value of key.kind === 'int' ? [0, -1, 2147483647, -2147483648]
                          : key.kind === 'bool' ? [true, false] : ['', 'é/写真/🎞', '"\\\n', '%s%n', 'x'.repeat(100_000)]) {
            test(`${name} hands ${shown(value)} as "${key.name}" on`, () => {
                const replaced = { [key.name]: value };
                assertWorksWith(command, JSON.stringify(requestOf(command, replaced)), valuesOf(command, replaced), []);
            });
        }
    }

    for (const code of [-1, -17, 1, 2, 2147483647, -2147483648]) {
        test(`${name} passes the framework's ${code} back alone`, () => {
            const replaced = 'get_item_count_for_each_type';
            const request = requestOf(command, keys.some((key) => key.name === replaced) ? { [replaced]: false } : {});
            const values = keys.map((key) => request[key.name]);
            rec.queue(name, { result: code });
            assert.deepEqual(call(bridge, name, request), { return_ecode: code });
            assert.deepEqual(rec.trace(), command.calls(...values));
            assertLogs(agentCommand(fn, name, request, { return_ecode: code }, command.log(...values)));
        });
    }
}

/** A value for a test's name. */
function shown(value) {
    const text = JSON.stringify(value);
    return text.length > 40 ? `${value.length} letters` : text;
}

// ---- what the framework returns ---------------------------------------------------

for (const { name, answer } of COMMANDS.filter((command) => command.answer(18, false).return_type === 1)) {
    for (const value of [2147483647, -2147483648, -1]) {
        test(`${name} answers ${value} unchanged`, () => {
            rec.queue(name, { out: value });
            assert.deepEqual(call(bridge, name, { param_agent: 1 }), { ...answer(1, false), return_data: value });
        });
    }

    test(`${name} answers no number for an error`, () => {
        rec.queue(name, { result: -8, out: 77 });
        assert.equal(bridge[name]('{"param_agent":1}'), '{"return_ecode":-8}\n');
    });
}

for (const command of COMMANDS.filter(({ answer }) => answer(18, false).return_type === 4)) {
    const { name, fn } = command;

    for (const [what, reply] of [['left untouched', {}], ['set to null', { out: null }]]) {
        test(`${name} answers an empty text when its pointer was ${what}`, () => {
            rec.queue(name, reply);
            assertWorksWith(command, JSON.stringify(requestOf(command)), valuesOf(command), []);
            assert.deepEqual(rec.blocks(), []);
        });
    }

    test(`${name} answers an empty text for an empty one, and releases it`, () => {
        rec.queue(name, { out: '' });
        assert.equal(bridge[name]('{}'), '{"return_data":"","return_ecode":0,"return_type":4}\n');
        assert.deepEqual(rec.blocks(), [{ allocatedBy: name, released: true }]);
    });

    test(`${name} fails without a text as with one`, () => {
        rec.queue(name, { result: -4, out: null });
        const request = requestOf(command);
        assert.deepEqual(call(bridge, name, request), { return_ecode: -4 });
        assertLogs(agentCommand(fn, name, request, { return_ecode: -4 }, command.log(...valuesOf(command))));
        assert.deepEqual(rec.blocks(), []);
    });

    test(`${name} releases a text that came with an error, and does not return it`, () => {
        rec.queue(name, { result: -4, out: 'secret' });
        const request = requestOf(command);
        assert.deepEqual(call(bridge, name, request), { return_ecode: -4 });
        assertLogs(agentCommand(fn, name, request, { return_ecode: -4 }, command.log(...valuesOf(command))));
        assert.deepEqual(rec.blocks(), [{ allocatedBy: name, released: true }]);
    });

    test(`${name} answers a text of a million letters whole`, () => {
        rec.queue(name, { out: 'ж'.repeat(500_000) });
        assert.equal(call(bridge, name, '{}').return_data, 'ж'.repeat(500_000));
        assert.deepEqual(rec.blocks(), [{ allocatedBy: name, released: true }]);
    });

    test(`${name} answers a JSON document as a text, not as an object`, () => {
        rec.queue(name, { out: '{"a":[1,"b"]}' });
        assert.equal(bridge[name]('{}'), '{"return_data":"{\\"a\\":[1,\\"b\\"]}","return_ecode":0,"return_type":4}\n');
    });
}

// ---- page styles ----------------------------------------------------------------

const STYLE = COMMANDS.find(({ fn }) => fn === 'SetPageStyle');

test('a page style that failed releases its parameter object and logs as one that was set', () => {
    const request = requestOf(STYLE);
    rec.queue(STYLE.name, { result: -3 });
    assert.deepEqual(call(bridge, STYLE.name, request), { return_ecode: -3 });
    assert.deepEqual(callsOf('mrb_destroy_page_param').length, 1);
    assertLogs(agentCommand('SetPageStyle', STYLE.name, request, { return_ecode: -3 },
                            STYLE.log(...valuesOf(STYLE))));
});

test('a setter of a page parameter that fails changes nothing: the style is set all the same', () => {
    for (const setter of STYLE.calls(18).map(([called]) => called).filter((called) => called.includes('_param_set_'))) {
        rec.clear();
        rec.queue(setter, { result: -1 });
        assert.deepEqual(call(bridge, STYLE.name, requestOf(STYLE)), { return_ecode: 0 }, setter);
        assert.deepEqual(rec.trace(), STYLE.calls(...valuesOf(STYLE)), setter);
    }
});

test('a failing creation of a page parameter comes after the log of the request and before any answer', async () => {
    const { stderr } = await runChild(`
        const bridge = openBridge();
        rec.queue('mrb_create_page_param', { result: -9 });
        bridge.mrb_set_page_style_v2(${JSON.stringify(JSON.stringify(requestOf(STYLE)))});`);
    const order = ['ReqCmd[mrb_set_page_style_v2]', 'nColumn[4] bNeedPadding[1]', 'eRet == MRB_ERR_NONE']
        .map((text) => stderr.indexOf(text));
    assert.ok(order[0] >= 0 && order[0] < order[1] && order[1] < order[2], stderr);
    assert.ok(!stderr.includes('strCmd['), stderr);
});

test('a hundred page styles make and release a hundred parameter objects', () => {
    for (let turn = 0; turn < 100; turn += 1) call(bridge, STYLE.name, requestOf(STYLE));
    const made = callsOf('mrb_create_page_param').length;
    const released = callsOf('mrb_destroy_page_param').map(([param]) => param);
    assert.equal(made, 100);
    assert.deepEqual(released, Array.from({ length: 100 }, (_, index) => index + 1));
});
