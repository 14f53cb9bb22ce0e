// Registering for notifications, the DLNA service's start and stop: commands without
// a request, each one call of the framework, whose result is the answer.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { call, openBridge, rec, REFUSED } from './harness.mjs';
import { assertLogs, provider, storage } from './log_lines.mjs';

const bridge = openBridge();

/*
 * name    the method, the framework's function, and what the log line calls the command
 * fn      the operation, which the log line names
 * args    the arguments of the framework: a callback and the adapter as its user data, or nothing
 * takes   the arguments of the script
 */
const COMMANDS = [
    { name: 'mrb_set_usb_callback', fn: 'SetUSBCallback', args: ['cb1', 'user1'], takes: [() => {}] },
    { name: 'mrb_unset_usb_callback', fn: 'UnsetUSBCallback', args: [], takes: [] },
    { name: 'mrb_Init_dlna_service', fn: 'InitDLNAService', args: ['cb1', 'user1'], takes: [() => {}] },
    { name: 'mrb_finalize_dlna_service', fn: 'FinalizeDLNAService', args: ['cb1', 'user1'], takes: [] },
    { name: 'mrb_set_dlna_callback', fn: 'SetDLNACallback', args: ['cb1', 'user1'], takes: [() => {}] },
    { name: 'mrb_unset_dlna_callback', fn: 'UnsetDLNACallback', args: [], takes: [] },
];

for (const { name, fn, args, takes } of COMMANDS) {
    for (const code of [0, -5, 1, 2, 2147483647, -2147483648]) {
        test(`${name} answers the framework's ${code} and no more, whatever was called before`, () => {
            rec.queue(name, { result: code });
            const text = `{"return_ecode":${code}}\n`;
            assert.equal(bridge[name](...takes), text);
            assert.deepEqual(rec.trace(), [[name, ...args]]);
            assertLogs([storage(fn, `strCmd[${name}] eResult[${code}] strReturnJson[${text}].`)],
                       { onMainThread: true });
        });
    }

    test(`${name} called twice reaches the framework twice, with the same arguments`, () => {
        call(bridge, name, ...takes);
        call(bridge, name, ...takes);
        assert.deepEqual(rec.trace(), [[name, ...args], [name, ...args]]);
    });
}

for (const { name } of COMMANDS.filter(({ takes }) => takes.length > 0)) {
    for (const [what, argument] of [['nothing', []], ['a request', ['{}']], ['null', [null]]]) {
        test(`${name} with ${what} for a function is refused and does not call the framework`, () => {
            assert.deepEqual(call(bridge, name, ...argument), { return_ecode: REFUSED });
            assert.deepEqual(rec.trace(), []);
            assertLogs([provider('ExecuteWithCallback', 'Invalid js callback.')], { onMainThread: true });
        });
    }

    for (const request of ['{', 7, null]) {
        test(`${name} reads no request: ${JSON.stringify(request)} changes nothing`, () => {
            assert.deepEqual(call(bridge, name, () => {}, request), { return_ecode: 0 });
            assert.deepEqual(rec.trace(), [[name, 'cb1', 'user1']]);
        });
    }
}

test('the adapter is the user data of all three registrations', () => {
    call(bridge, 'mrb_set_usb_callback', () => {});
    call(bridge, 'mrb_set_dlna_callback', () => {});
    call(bridge, 'mrb_Init_dlna_service', () => {});
    assert.deepEqual(rec.trace().map(([, , user]) => user), ['user1', 'user1', 'user1']);
});

test('two objects register different user data and the same callback', () => {
    const other = openBridge();
    call(bridge, 'mrb_set_usb_callback', () => {});
    call(other, 'mrb_set_usb_callback', () => {});
    assert.deepEqual(rec.trace().map(([, ...args]) => args), [['cb1', 'user1'], ['cb1', 'user2']]);
});

test('sticks and servers have callbacks of their own', () => {
    call(bridge, 'mrb_set_usb_callback', () => {});
    call(bridge, 'mrb_set_dlna_callback', () => {});
    assert.deepEqual(rec.trace().map(([, callback]) => callback), ['cb1', 'cb2']);
});

test('the service is stopped with the callback that it was started with', () => {
    call(bridge, 'mrb_Init_dlna_service', () => {});
    call(bridge, 'mrb_finalize_dlna_service');
    assert.deepEqual(rec.trace(), [['mrb_Init_dlna_service', 'cb1', 'user1'],
                                   ['mrb_finalize_dlna_service', 'cb1', 'user1']]);
});
