// Lists of USB sticks, cameras and DLNA servers.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { dlna, styled, usb } from './sample_devices.mjs';
import { call, callsOf, openBridge, rec } from './harness.mjs';
import { assertLogs, storage } from './log_lines.mjs';

const bridge = openBridge();
const COUNT = 'mrb_storage_get_list_count';
const AT = 'mrb_storage_get_storage';
const DESTROY = 'mrb_storage_list_destory';

/*
 * name   the method, and what its log line calls the command
 * fn     the operation, which the log line names
 * listCall  the framework's list call with its arguments: a list handle preset to null comes last
 * kind   what its devices are
 */
const LISTS = [
    { name: 'mrb_get_usb_list', fn: 'GetUSBList', listCall: ['mrb_get_usb_list', 1, 0], kind: usb },
    { name: 'mrb_get_ptp_list', fn: 'GetPTPList', listCall: ['mrb_get_usb_list', 2, 0], kind: usb },
    { name: 'mrb_get_dlna_list', fn: 'GetDLNAList', listCall: ['mrb_get_dlna_list', 0], kind: dlna },
];
const LIST_HANDLE = 1; // the first that the recording framework hands out

/** Has the framework list these devices. */
function attach(devices) {
    rec.queue(COUNT, { result: devices.length });
    for (const device of devices) rec.queue(AT, { result: device });
}

/** The devices of a successful answer. */
const devicesIn = (answer) => JSON.parse(answer.return_data).storage_devices;

/** A successful answer as its text. */
const successText = (data) => `${JSON.stringify({ return_data: data, return_ecode: 0, return_type: 4 })}\n`;

for (const { name, fn, listCall, kind } of LISTS) {
    const lastLine = (code, answer) => storage(fn, `strCmd[${name}] eResult[${code}] strReturnJson[${answer}].`);

    for (const count of [0, -1]) {
        test(`${name}: a list of ${count} devices is the text of null, and is destroyed`, () => {
            rec.queue(COUNT, { result: count });
            assert.equal(bridge[name](), successText('null\n'));
            assert.deepEqual(rec.trace(), [listCall, [COUNT, LIST_HANDLE], [DESTROY, LIST_HANDLE]]);
            assertLogs([lastLine(0, successText('null\n'))], { onMainThread: true });
        });
    }

    for (const count of [1, 3]) {
        test(`${name}: a list of ${count} is read in order, each device by its getters in order, and destroyed once`,
             () => {
            const devices = Array.from({ length: count }, (_, index) => kind.device({ name: `Device ${index}` }));
            attach(devices);
            const answer = call(bridge, name);
            const reads = devices.flatMap((device, index) => [[AT, index, LIST_HANDLE], ...kind.reads(device)]);
            assert.deepEqual(rec.trace(), [listCall, [COUNT, LIST_HANDLE], ...reads, [DESTROY, LIST_HANDLE]]);
            const records = devices.map((_, index) => ({ ...kind.record, storage_name: `Device ${index}` }));
            assert.deepEqual(answer, { return_data: styled({ storage_devices: records }), return_ecode: 0,
                                       return_type: 4 });
            assertLogs([lastLine(0, successText(styled({ storage_devices: records })))], { onMainThread: true });
        });
    }

    for (const code of [-16, 1, 2, 2147483647, -2147483648]) {
        test(`${name} answers a failing list call's ${code} alone, and leaves the list untouched`, () => {
            rec.setDefault(COUNT, { result: 3 });
            rec.queue(listCall[0], { result: code });
            const text = `{"return_ecode":${code}}\n`;
            assert.equal(bridge[name](), text);
            assert.deepEqual(rec.trace(), [listCall]);
            assertLogs([lastLine(code, text)], { onMainThread: true });
        });
    }

    test(`${name} leaves a list that comes with a failure untouched`, () => {
        rec.queue(listCall[0], { result: -8, out: 77 });
        assert.deepEqual(call(bridge, name), { return_ecode: -8 });
        assert.deepEqual(rec.trace(), [listCall]);
    });

    test(`${name} succeeds whatever the destruction of the list returns`, () => {
        rec.queue(COUNT, { result: 0 });
        rec.queue(DESTROY, { result: -8 });
        assert.equal(call(bridge, name).return_ecode, 0);
        assert.deepEqual(callsOf(DESTROY), [[LIST_HANDLE]]);
    });

    for (const [key, getter] of kind.texts) {
        test(`${name}: a null "${key}" becomes an empty text`, () => {
            attach([kind.device({ [getter]: null })]);
            assert.deepEqual(devicesIn(call(bridge, name)), [{ ...kind.record, [key]: '' }]);
        });
    }

    for (const [key, getter] of kind.numbers) {
        for (const value of [0, -1, 2147483647, -2147483648]) {
            test(`${name}: "${key}" carries ${value} as an integer`, () => {
                attach([kind.device({ [getter]: value })]);
                assert.deepEqual(devicesIn(call(bridge, name)), [{ ...kind.record, [key]: value }]);
            });
        }
    }

    for (const [key, getter] of kind.sizes) {
        for (const [value, text] of [[0n, '0'], [2n ** 53n + 1n, '9007199254740993'],
                                     [2n ** 63n - 1n, '9223372036854775807'], [-1n, '-1'],
                                     [2n ** 63n, '-9223372036854775808'], [2n ** 64n - 2n, '-2']]) {
            test(`${name}: a "${key}" of ${value} bytes is the text "${text}"`, () => {
                attach([kind.device({ [getter]: value })]);
                assert.deepEqual(devicesIn(call(bridge, name)), [{ ...kind.record, [key]: text }]);
            });
        }
    }

    test(`${name}: texts of any letters arrive unchanged, texts that are not UTF-8 readable`, () => {
        attach([kind.device({ name: '写真 🎞 "%s\\n" \n\u0001' }),
                kind.device({ name: Buffer.from([0x4d, 0xfc, 0x6c, 0x6c]) })]); // Latin-1
        assert.deepEqual(devicesIn(call(bridge, name)).map((device) => device.storage_name),
                         ['写真 🎞 "%s\\n" \n\u0001', 'M\ufffdll']);
    });

    test(`${name}: a device without any values still has every key`, () => {
        attach([rec.device({})]);
        assert.deepEqual(devicesIn(call(bridge, name)), [kind.emptyRecord]);
    });

    test(`${name} takes no notice of arguments`, () => {
        assert.deepEqual(call(bridge, name, () => assert.fail('not to be called'), '{'),
                         { return_data: 'null\n', return_ecode: 0, return_type: 4 });
    });

    test(`${name}: a list of 5,000 devices is read whole and destroyed once`, () => {
        const device = kind.device();
        rec.queue(COUNT, { result: 5000 });
        rec.setDefault(AT, { result: device });
        const records = devicesIn(call(bridge, name));
        assert.equal(records.length, 5000);
        assert.deepEqual(records[4999], kind.record);
        assert.equal(callsOf(DESTROY).length, 1);
    });
}

for (const value of [true, false]) {
    test(`"storage_bOrvaneDev" of a server is ${value}, a bool`, () => {
        attach([dlna.device({ bOrvaneDevice: value })]);
        assert.deepEqual(devicesIn(call(bridge, 'mrb_get_dlna_list')), [{ ...dlna.record, storage_bOrvaneDev: value }]);
    });
}

test('sticks and cameras are distinguished by the kind: 1 and 2 of the same list call', () => {
    call(bridge, 'mrb_get_usb_list');
    call(bridge, 'mrb_get_ptp_list');
    assert.deepEqual(callsOf('mrb_get_usb_list'), [[1, 0], [2, 0]]);
    assert.deepEqual(rec.logs().map(({ text }) => /strCmd\[(\w+)\]/.exec(text)[1]),
                     ['mrb_get_usb_list', 'mrb_get_ptp_list']);
});
