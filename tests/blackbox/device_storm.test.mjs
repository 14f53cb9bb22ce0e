// Objects that register, replace, remove and go while the framework's threads report
// devices and service states as fast as they can. Worth running under AddressSanitizer.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { rec } from './harness.mjs';

const turn = () => new Promise(setImmediate);

/**
 * The function that a round calls between its steps. In every eighth run of a play it
 * returns while events are being reported: three more have begun, so that one of the two
 * threads that report them has queued one. In the others the steps follow each other as
 * fast as they can, which takes less time on a busy machine.
 */
const rainOf = (round) => (Math.floor(round / 8) % 8 === 0 ? () => rec.awaitStormEvents(3) : () => {});

/**
 * Runs `rounds` rounds in a storm, each on a new Listener. Nothing is recorded
 * in the meantime. Returns how many texts arrived, and those that should not have.
 */
async function inStorm(rounds, play) {
    const received = { usb: 0, dlna: 0, state: 0, wrong: [] };
    rec.setRecording(false);
    rec.startStorm();
    try {
        for (let round = 0; round < rounds; ++round) {
            await play(() => new Listener(received), rainOf(round), round);
            if (round % 8 === 0) await turn(); // queued results are delivered, or dropped with their object
        }
    } finally {
        rec.stopStorm();
        rec.setRecording(true);
    }
    await turn();
    return received;
}

/** An object whose functions receive only its own reports, and nothing after its release. */
class Listener {
    constructor(received) {
        this.bridge = new MRBBridge();
        quill.unref(this.bridge);
        this.received = received;
        this.released = false;
        this.created = rec.stormEvent(); // its events are newer
    }

    /** A function for `kind` of device events. */
    receiver(kind) {
        return (text, ...more) => {
            const [{ storage_event: event, storage_id: id }, ...others] = JSON.parse(text).storage_devices;
            const right = event > this.created && id === '' && others.length === 0 && more.length === 0;
            this.note(kind, right && !this.released, event);
        };
    }

    watchSticks() { this.answer('mrb_set_usb_callback', this.receiver('usb')); }
    watchServers() { this.answer('mrb_set_dlna_callback', this.receiver('dlna')); }
    start() {
        this.answer('mrb_Init_dlna_service', (text) => {
            const event = JSON.parse(text).param_event;
            this.note('state', [20, 21].includes(event) && !this.released, event);
        });
    }
    watchAll() {
        this.watchSticks();
        this.watchServers();
        this.start();
    }
    forgetAll() {
        for (const name of ['mrb_unset_usb_callback', 'mrb_unset_dlna_callback', 'mrb_finalize_dlna_service']) {
            this.answer(name);
        }
    }
    release() {
        quill.release(this.bridge);
        this.released = true;
    }

    answer(name, ...args) { assert.equal(this.bridge[name](...args), '{"return_ecode":0}\n'); }
    note(kind, right, event) {
        this.received[kind] += 1;
        if (!right) this.received.wrong.push({ kind, event, created: this.created, released: this.released });
    }
}

/** What a round may do with a new object, by name. */
const PLAYS = {
    async 'registers and is released at once'(open) {
        const object = open();
        object.watchAll();
        object.release();
    },
    async 'removes what it registered, then is released'(open, rain) {
        const object = open();
        object.watchAll();
        rain();
        object.forgetAll();
        object.release();
    },
    async 'replaces its functions and listens'(open, rain) {
        const object = open();
        object.watchAll();
        object.watchAll();
        rain();
        await turn();
        object.release();
    },
    async 'removes and registers again'(open, rain) {
        const object = open();
        object.watchAll();
        rain();
        object.forgetAll();
        object.watchAll();
        rain();
        object.release();
    },
    async 'is replaced by another and released first'(open, rain) {
        const [one, two] = [open(), open()];
        one.watchAll();
        rain();
        two.watchAll();
        rain();
        one.release();
        two.watchAll();
        rain();
        two.release();
    },
    async 'is replaced by another and released last'(open, rain) {
        const [one, two] = [open(), open()];
        one.watchAll();
        rain();
        two.watchAll();
        rain();
        two.release();
        one.release();
    },
    async 'stops the service while its states come'(open) {
        const object = open();
        object.start();
        object.answer('mrb_finalize_dlna_service');
        object.start();
        object.release();
    },
    async 'never registers, while another listens'(open, rain) {
        const [one, two] = [open(), open()];
        one.watchAll();
        two.release();
        one.watchSticks();
        rain();
        one.release();
    },
};

test('10,000 rounds of registering, replacing, removing and releasing: no event comes late or to another object', async () => {
    const plays = Object.values(PLAYS);
    const before = rec.stormEvent();
    const received = await inStorm(10_000, (open, rain, round) => plays[round % plays.length](open, rain));
    assert.deepEqual(received.wrong, []);
    assert.ok(rec.stormEvent() - before > 4_000, `only ${rec.stormEvent() - before} events were fired`);
    assert.ok(received.usb + received.dlna > 0, 'no event arrived');
});

for (const [name, play] of Object.entries(PLAYS)) {
    test(`500 rounds in which an object ${name}`, async () => {
        const { wrong } = await inStorm(500, play);
        assert.deepEqual(wrong, []);
    });
}
