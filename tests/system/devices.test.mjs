// Devices as scripts see them: offered folders and mounts are reported, listed and shown.
import assert from 'node:assert/strict';
import { mkdirSync, renameSync, rmdirSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { script, start } from '../host/harness.mjs';
import { needs } from '../needs.mjs';
import { folder, quill, root, valueOf } from './harness.mjs';
import { OWN_NETWORK, configuration, serve } from './media_server.mjs';
import { Terminal } from './terminal.mjs';

const watcher = path.join(root, 'sdk', 'examples', 'devices.js');

const WATCH = `
const fs = require('node:fs');
const bridge = new MRBBridge();
const list = () => {
  const { return_ecode, return_data } = JSON.parse(bridge.mrb_get_usb_list());
  if (return_ecode !== 0) throw new Error(return_ecode);
  return JSON.parse(return_data)?.storage_devices ?? [];
};
const events = [];
let wake = () => {};
const watch = () => JSON.parse(bridge.mrb_set_usb_callback((text) => {
  events.push(...JSON.parse(text).storage_devices);
  wake();
})).return_ecode;
const received = (number) => new Promise((resolve) => {
  wake = () => { if (events.length >= number) resolve(events); };
  wake();
});
`;

/** Runs a script's body with the prelude; returns the value that it passes to finish(). */
const run = (body, ...options) => valueOf(WATCH, body, { before: options });

test('an offered folder is a device with a name that says so', async () => {
  const where = folder();
  const [device, ...others] = await run('finish(list());', '--device', where);
  assert.deepEqual(others, []);
  assert.equal(device.storage_name, `${path.basename(where)} (folder offered as a device)`);
  assert.equal(device.storage_mountpath, where);
  assert.equal(device.storage_class, 256);
  assert.equal(device.storage_id, `folder:${where}`);
  assert.ok(BigInt(device.storage_totalsize) > 0n);
});

test('several folders may be offered, relative ones too', async () => {
  const [one, two] = [folder(), folder()];
  const devices = await run('finish(list());', '--device', one, `--device=${path.relative(process.cwd(), two)}`);
  assert.deepEqual(devices.map((device) => device.storage_mountpath), [one, two]);
});

test('a script is notified when the folder is removed and appears again', async () => {
  const where = path.join(folder(), 'stick');
  mkdirSync(where);
  const events = await run(`
    const where = ${JSON.stringify(where)};
    watch();
    fs.renameSync(where, where + '2');
    await received(1);
    const without = list();
    fs.renameSync(where + '2', where);
    await received(2);
    finish([...events, without, list().length]);`, '--device', where);
  assert.deepEqual(events.map((event) => event.storage_event ?? event), [1, 0, [], 1]);
  assert.equal(events[0].storage_mountpath, where);
  assert.equal(events[1].storage_mountpath, where);
});

test('a folder that does not exist yet may be offered; a file, or no folder, is an error', async () => {
  const where = path.join(folder(), 'later');
  assert.deepEqual(await run('finish(list());', '--device', where), []);
  writeFileSync(where, '');
  for (const [options, message] of [[['--device', where], `quill: --device ${where}: not a folder\n`],
                                    [['--device'], 'quill: --device needs a folder\n'],
                                    [['--device='], 'quill: --device needs a folder\n']]) {
    const { status, stderr } = await quill(options);
    assert.equal(stderr, message);
    assert.equal(status, 1);
  }
});

test('registrations, releases and lists race with ten thousand arrivals and removals', async () => {
  const where = path.join(folder(), 'stick');
  const { stdout, ...rest } = await quill(['--device', where, script('app.js', `
    const { mkdirSync, rmdirSync } = require('node:fs');
    const where = ${JSON.stringify(where)};
    (async () => {
      for (let round = 0; round < 10_000; round += 1) {
        const bridge = new MRBBridge();
        bridge.mrb_set_usb_callback(() => {});
        round % 2 === 0 ? mkdirSync(where) : rmdirSync(where);
        if (round % 5 === 0) bridge.mrb_unset_usb_callback();
        if (round % 7 === 0) bridge.mrb_get_usb_list();
        if (round % 100 === 0) await new Promise(setImmediate);
        quill.release(bridge);
      }
      const last = new MRBBridge();
      last.mrb_set_usb_callback((text) => {
        console.log(JSON.parse(text).storage_devices[0].storage_event);
        quill.unref(last);
      });
      mkdirSync(where);
    })();`)]);
  assert.deepEqual(rest, { status: 0, signal: null, stderr: '' });
  assert.equal(stdout, '0\n');
});

/** Waits until a program has printed a line that matches. */
const printed = (child, pattern) => new Promise((resolve, reject) => {
  let text = '';
  child.stdout.on('data', (more) => {
    text += more;
    if (pattern.test(text)) resolve();
  });
  child.finished.then(({ stderr }) => reject(new Error(`ended after ${text}${stderr}`)));
});

// ---- the watcher ------------------------------------------------------------

test('the watcher prints what is attached', async () => {
  const where = folder();
  const { status, stdout } = await quill(['--device', where, watcher, '--once']);
  assert.equal(status, 0);
  assert.match(stdout, new RegExp(`^attached {2}${path.basename(where)} \\(folder offered as a device\\) {2}${where} {2}`));
});

test('the watcher prints the capacity of a camera, for which no list waits', async () => {
  const where = folder();
  const { status, stdout } = await quill(['--camera', where, watcher, '--once']);
  assert.equal(status, 0);
  assert.match(stdout, new RegExp(`^attached {2}${path.basename(where)} \\(folder offered as a camera\\) .*\\d [kMGT]B$`, 'm'));
});

test('the watcher shows media servers that start and stop, and stops its service', needs('user-networks'), async () => {
  const running = start([watcher], { inside: OWN_NETWORK });
  await printed(running, /^looking for media servers$/m);
  const server = serve(running.pid, configuration('Desk'));
  await printed(running, /^added {5}Desk {2}127\.0\.0\.1 {2}server$/m);
  server.kill();
  await printed(running, /^removed {3}Desk {2}127\.0\.0\.1 {2}server$/m);
  running.kill('SIGINT');
  const { status, stdout } = await running.finished;
  assert.equal(status, 0);
  assert.match(stdout, /\nnot looking for media servers\n$/);
});

test('without a terminal the watcher prints a line for each event, until it is interrupted', async () => {
  const where = path.join(folder(), 'stick');
  mkdirSync(where);
  const running = start(['--device', where, watcher]);
  await printed(running, /^attached {2}stick /m);
  renameSync(where, `${where}2`);
  await printed(running, /^removed {3}stick /m);
  renameSync(`${where}2`, where);
  await printed(running, /^added {5}stick /m);
  running.kill('SIGINT');
  assert.equal((await running.finished).status, 0);
});

test('on a terminal it is a table that is updated, and Ctrl-C restores the terminal', needs('terminals'), async () => {
  const where = path.join(folder(), 'stick');
  mkdirSync(where);
  const terminal = new Terminal(['--device', where, watcher], { columns: 120 });
  try {
    const lines = await terminal.shows(/^ 1 device/m);
    assert.match(lines[1], /^ name +mounted at +holds +room +where/);
    assert.match(lines[2], /^ stick \(folder offered/);
    assert.ok(lines.every((line) => line.length <= 120));
    rmdirSync(where);
    await terminal.shows(/^ 0 devices[^]*removed {2}stick/m);
    mkdirSync(where);
    await terminal.shows(/^ 1 device$[^]*added {4}stick/m);
    terminal.keys('C-c');
    await terminal.shows(/^ended with 0$/m);
    assert.doesNotMatch(terminal.screen(), /mounted at/);
  } finally {
    terminal.close();
  }
});

test('the watcher accepts no option but --once', async () => {
  const { status, stderr } = await quill([watcher, 'x']);
  assert.equal(status, 1);
  assert.match(stderr, /^devices: this takes no arguments but --once\n/);
});
