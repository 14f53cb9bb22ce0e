// The declarations for editors and TypeScript match what scripts receive.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';

import { dlna, usb } from './sample_devices.mjs';
import { call, inbox, METHODS, openBridge, rec } from './harness.mjs';

const text = readFileSync(new URL('../../sdk/devices.d.ts', import.meta.url), 'utf8');

/** The body of a declared interface. */
const bodyOf = (name) => new RegExp(`^interface ${name} \\{\\n([^]*?)^\\}`, 'm').exec(text)[1];

/** The declared keys of an interface with their types, in order. */
const declared = (name) => Object.fromEntries(
    [...bodyOf(name).matchAll(/^ {2}(\w+): (\w+);$/gm)].map(([, key, type]) => [key, type]));

for (const [name, kind, register, fire] of [['UsbDevice', usb, 'mrb_set_usb_callback', rec.fireUsb],
                                            ['DlnaServer', dlna, 'mrb_set_dlna_callback', rec.fireDlna]]) {
    test(`${name} has the keys and types of a device that is delivered`, async () => {
        const { receive, delivered } = inbox();
        call(openBridge(), register, receive);
        fire({ event: 0, device: kind.device() });
        const [{ storage_event: event, ...device }] = JSON.parse((await delivered())[0]).storage_devices;
        assert.equal(event, 0);
        const types = Object.fromEntries(Object.entries(device).map(([key, value]) => [key, typeof value]));
        assert.deepEqual(declared(name), types);
    });
}

test('the methods are the nine of the storage manager, with a function where one is taken', () => {
    const methods = [...bodyOf('MRBBridge').matchAll(/^ {2}(mrb_\w+)\((\w*)/gm)].map(([, name, argument]) => [name, argument]);
    const expected = METHODS.slice(31).map(([name, takes]) => [name, takes === 'EC' ? 'notify' : '']);
    assert.deepEqual(methods.sort(), expected.sort());
});
