// The class MRBBridge as scripts see it.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { call, calledNames, METHODS, methodsThatTake, openBridge, rec } from './harness.mjs';

const bridge = openBridge();
const NO_INSTANCE = { name: 'Error', message: 'Cannot call native method without object instance' };
const DESTROYED = { name: 'Error', message: 'Attempt to access destroyed JavaScript object.' };

/** Own and inherited property names that a plain object does not have. */
function propertiesOf(object) {
    const names = [];
    for (let at = object; at !== null && at !== Object.prototype; at = Object.getPrototypeOf(at)) {
        names.push(...Reflect.ownKeys(at));
    }
    return names;
}

test('there are forty methods', () => assert.equal(METHODS.length, 40));

for (const [name] of METHODS) {
    test(`${name} is a callable property of an object`, () => assert.equal(typeof bridge[name], 'function'));

    test(`${name} called on a plain object throws an Error`, () => {
        assert.throws(() => bridge[name].call({}), NO_INSTANCE);
    });

    test(`${name} called on an object that was released throws an Error`, () => {
        const released = openBridge();
        quill.release(released);
        assert.throws(() => released[name](() => {}, '{}'), DESTROYED);
    });
}

test('an object has the forty methods, its constructor and nothing else', () => {
    const expected = METHODS.map(([name]) => name).concat('constructor');
    assert.deepEqual(propertiesOf(bridge).sort(), expected.sort());
});

test('a detached method throws an Error', () => {
    const { mrb_get_usb_list: detached } = bridge;
    assert.throws(() => detached(), NO_INSTANCE);
});

test('a method called on a value of any other kind throws an Error', () => {
    for (const receiver of [1, 'text', [], new Date(), new Map(), () => {}, Object.create(null)]) {
        assert.throws(() => bridge.mrb_get_usb_list.call(receiver), NO_INSTANCE);
    }
});

test('an object that only inherits from a real one is no instance', () => {
    const heir = Object.create(bridge);
    assert.throws(() => heir.mrb_get_usb_list(), NO_INSTANCE);
});

test('a method taken from one object serves another', () => {
    const other = openBridge();
    const { return_ecode } = JSON.parse(bridge.mrb_get_group_count_v2.call(other, '{}'));
    assert.equal(return_ecode, 0);
});

test('no handler runs for a wrong receiver or a released object', () => {
    const released = openBridge();
    quill.release(released);
    rec.clear();
    assert.throws(() => bridge.mrb_unset_usb_callback.call({}));
    assert.throws(() => released.mrb_unset_usb_callback());
    assert.deepEqual(rec.trace(), []);
});

test('the class is named MRBBridge', () => {
    assert.equal(MRBBridge.name, 'MRBBridge');
    assert.equal(bridge.constructor, MRBBridge);
    assert.ok(bridge instanceof MRBBridge);
});

test('the class cannot be called without new', () => assert.throws(() => MRBBridge(), TypeError));

test('construction ignores its arguments', () => {
    const object = new MRBBridge('{', 1, null, () => {});
    quill.unref(object);
    assert.equal(call(object, 'mrb_get_group_count_v2', '{}').return_ecode, 0);
});

test('a script class can extend the class', () => {
    class Listing extends MRBBridge {
        groups() { return call(this, 'mrb_get_group_count_v2', '{}').return_ecode; }
    }
    const listing = new Listing();
    quill.unref(listing);
    assert.equal(listing.groups(), 0);
});

for (const name of methodsThatTake('E0')) {
    test(`${name} answers the same with no argument and with any`, () => {
        const without = bridge[name]();
        for (const args of [['{}'], [undefined], [1, 2, 3], [() => {}, '{'], [Symbol('s')]]) {
            assert.equal(bridge[name](...args), without);
        }
    });
}

test('each object is served by native parts of its own', () => {
    const first = openBridge();
    const second = openBridge();
    quill.release(first);
    rec.clear();
    assert.equal(call(second, 'mrb_unset_usb_callback').return_ecode, 0);
    assert.deepEqual(calledNames(), ['mrb_unset_usb_callback']);
});
