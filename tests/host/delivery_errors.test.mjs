// Every way in which an error can leave a delivery: what the function itself throws is
// reported and the program goes on; anything else ends as in Node.js.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import test from 'node:test';

import { quill, script, start, echoBridge } from './harness.mjs';

/** Replaces Echo in plain Node.js, whose behaviour is the expected one. */
const NODE_ECHO = `
class Echo {
  on(called) { this.called = called; }
  fire(text) { const called = this.called; setImmediate(() => called(text)); }
}
const quill = { release() {} };
`;

/** Runs a script in plain Node.js: {status, stdout}. */
function node(file) {
  const child = spawn(process.env.QUILL_NODE ?? process.execPath, [file], { stdio: ['ignore', 'pipe', 'ignore'] });
  let stdout = '';
  child.stdout.setEncoding('utf8').on('data', (text) => { stdout += text; });
  return new Promise((resolve, reject) => {
    child.on('error', reject);
    child.on('close', (status) => resolve({ status, stdout }));
  });
}

/** A script that receives two deliveries and runs `body` in the first of them. */
const twice = (body, before = '') => `${before}
const e = new Echo();
let count = 0;
e.on((text) => {
  count += 1;
  if (count === 2) { console.log('later:', text); quill.release(e); return; }
  ${body}
});
e.fire('one');
e.fire('two');
`;

// [where the error is thrown, the code of the delivery].
const FATAL = [
  ['process.nextTick', 'process.nextTick(() => { throw new Error("out"); });'],
  ['process.nextTick, after an exit code was set',
    'process.exitCode = 9; process.nextTick(() => { throw new Error("out"); });'],
  ['queueMicrotask', 'queueMicrotask(() => { throw new Error("out"); });'],
  ['setImmediate', 'setImmediate(() => { throw new Error("out"); });'],
  ['a rejected promise', 'Promise.reject(new Error("out"));'],
  ['an async function', '(async () => { await null; throw new Error("out"); })();'],
  ['an emitter without a listener, on a tick',
    'const emitter = new (require("node:events"))(); process.nextTick(() => emitter.emit("error", new Error("out")));'],
  ['a stream that is destroyed', 'new (require("node:stream").Writable)().destroy(new Error("out"));'],
  ['a tick queued by a tick',
    'process.nextTick(() => process.nextTick(() => { throw new Error("out"); }));'],
  ['a tick queued by a promise', 'Promise.resolve().then(() => process.nextTick(() => { throw new Error("out"); }));'],
];

for (const [what, body] of FATAL) {
  test(`an error in ${what} ends the program as in Node.js`, async () => {
    const expected = await node(script('node.js', NODE_ECHO + twice(body)));
    const { status, stdout, stderr } = await quill([script('app.js', twice(body))]);
    assert.match(stderr, /Error: out\n/);
    assert.equal(stderr.match(/Error: out\n/g).length, 1, stderr);
    assert.deepEqual({ status, stdout }, expected);
    assert.notEqual(status, 0);
  });
}

const HANDLED = [
  ['an uncaughtException listener', 'process.on("uncaughtException", (e, origin) => console.log("received:", e.message, origin));'],
  ['a capture callback', 'process.setUncaughtExceptionCaptureCallback((e) => console.log("captured:", e.message));'],
  ['an unhandledRejection listener',
    'process.on("unhandledRejection", (e) => console.log("rejected:", e.message));'
    + 'process.on("uncaughtException", (e) => console.log("received:", e.message));'],
  ['a monitor', 'process.on("uncaughtExceptionMonitor", (e, origin) => console.log("watched:", e.message, origin));'],
  ['a domain', 'const d = require("node:domain").create(); d.on("error", (e) => console.log("domain:", e.message)); d.enter();'],
  ['a domain that is loaded only', 'require("node:domain");'],
];

for (const [handler, before] of HANDLED) {
  for (const [what, body] of FATAL) {
    test(`an error in ${what} meets ${handler} as in Node.js`, async () => {
      const expected = await node(script('node.js', NODE_ECHO + twice(body, before)));
      const { status, stdout } = await quill([script('app.js', twice(body, before))]);
      assert.deepEqual({ status, stdout }, expected);
    });
  }
}

test('what the function itself throws is reported, and its ticks and promises run', async () => {
  const { status, stdout, stderr } = await quill([script('app.js', twice(`
    process.nextTick(() => console.log('tick'));
    Promise.resolve().then(() => console.log('promise'));
    throw new Error('own');`))]);
  assert.match(stderr, /Error: own\n/);
  assert.equal(stdout, 'tick\npromise\nlater: two\n');
  assert.equal(status, 1);
});

test('a tick that throws after the function threw ends the program', async () => {
  const { status, stdout, stderr } = await quill([script('app.js', twice(`
    process.nextTick(() => { throw new Error('of the tick'); });
    throw new Error('own');`))]);
  assert.match(stderr, /Error: own\n[^]*Error: of the tick\n/);
  assert.equal(stdout, '');
  assert.equal(status, 1);
});

test('what the function itself throws goes to the domain that it was registered in', async () => {
  const { status, stdout, stderr } = await quill([script('app.js', twice('throw new Error("own");',
    'const d = require("node:domain").create(); d.on("error", (e) => console.log("domain:", e.message)); d.enter();'))]);
  assert.equal(stderr, '');
  assert.equal(stdout, 'domain: own\nlater: two\n');
  assert.equal(status, 0);
});

test('what the function itself throws goes to a capture callback', async () => {
  const { status, stdout, stderr } = await quill([script('app.js', twice('throw new Error("own");',
    'process.setUncaughtExceptionCaptureCallback((e) => console.log("captured:", e.message));'))]);
  assert.equal(stderr, '');
  assert.equal(stdout, 'captured: own\nlater: two\n');
  assert.equal(status, 0);
});

test('ticks and promises run after an error that a domain or a capture callback handled', async () => {
  for (const before of ['process.setUncaughtExceptionCaptureCallback((e) => console.log("took:", e.message));',
    'const d = require("node:domain").create(); d.on("error", (e) => console.log("took:", e.message)); d.enter();']) {
    const { stdout } = await quill([script('app.js', twice(`
      process.nextTick(() => console.log('tick'));
      Promise.resolve().then(() => console.log('promise'));
      throw new Error('own');`, before))]);
    assert.equal(stdout, 'took: own\ntick\npromise\nlater: two\n');
  }
});

test('hooks see each delivery end once, whatever handled its error', async () => {
  for (const before of ['', 'process.on("uncaughtException", () => {});',
    'process.setUncaughtExceptionCaptureCallback(() => {});',
    'const d = require("node:domain").create(); d.on("error", () => {}); d.enter();']) {
    const { stdout } = await quill([script('app.js', twice('throw new Error("own");', `${before}
      const hooks = require('node:async_hooks');
      const ids = new Set();
      const log = [];
      hooks.createHook({
        init(id, type) { if (type === 'QuillFunction') ids.add(id); },
        before(id) { if (ids.has(id)) log.push('before'); },
        after(id) { if (ids.has(id)) log.push('after'); },
      }).enable();
      process.on('exit', () => console.log(log.join()));`))]);
    assert.equal(stdout, 'later: two\nbefore,after,before,after\n', before);
  }
});

test('a monitor sees what the function itself throws', async () => {
  const { stdout, stderr } = await quill([script('app.js', twice('throw new Error("own");',
    'process.on("uncaughtExceptionMonitor", (e, origin) => console.log("watched:", e.message, origin));'))]);
  assert.match(stderr, /Error: own\n/);
  assert.equal(stdout, 'watched: own uncaughtException\nlater: two\n');
});

test('process.exit in a delivery ends the program at once', async () => {
  for (const body of ['process.exit(7)', 'process.nextTick(() => process.exit(7))', 'queueMicrotask(() => process.exit(7))']) {
    const { status, stdout } = await quill([script('app.js', twice(`${body}; process.on('exit', (c) => console.log('exit', c));`))]);
    assert.equal(status, 7, body);
    assert.ok(stdout === 'exit 7\n' || stdout === '', stdout);
  }
});

test('results arrive where built-in modules are globals', async () => {
  for (const load of ['', 'require("node:domain").create(); ', 'domain.create(); ']) {
    const { status, stdout, stderr } = await quill(['-e',
      `${load}const e = new Echo(); e.on((t) => { console.log(t); quill.release(e); }); e.fire('arrived')`]);
    assert.equal(stderr, '');
    assert.equal(stdout, 'arrived\n');
    assert.equal(status, 0);
  }
});

test('errors of a text that -e runs end as those of a script', async () => {
  const { status, stdout, stderr } = await quill(['-e', twice('process.nextTick(() => { throw new Error("out"); });',
    'domain.create();')]);
  assert.match(stderr, /Error: out\n/);
  assert.equal(stdout, '');
  assert.equal(status, 1);
});

test('a program whose reader closed the pipe ends at the first EPIPE', async () => {
  const file = script('app.js', `
    const e = new Echo();
    e.on((text) => { console.log(text); e.fire('more'); });
    process.on('exit', () => process.stderr.write('the end\\n'));
    e.fire('first');`);
  const child = start(['--bridge', echoBridge, file], { input: '' });
  await new Promise((resolve) => child.stdout.once('data', resolve));
  child.stdout.destroy();
  const { status, signal, stderr } = await child.finished;
  assert.deepEqual([status, signal], [1, null], stderr);
  assert.equal(stderr.match(/write EPIPE/g)?.length, 1, stderr);
  assert.match(stderr, /the end\n/);
});

test('an error that is not an object leaves a tick as in Node.js', async () => {
  for (const what of ['undefined', 'null', '"text"', '{ code: 12 }']) {
    const body = `process.nextTick(() => { throw ${what}; });`;
    const expected = await node(script('node.js', NODE_ECHO + twice(body)));
    const { status, stdout } = await quill([script('app.js', twice(body))]);
    assert.deepEqual({ status, stdout }, expected);
  }
});

test('a result that is delivered while the program ends reaches no function and is no error', async () => {
  const { status, stdout, stderr } = await quill(['--bridge', echoBridge, script('app.js', `
const e = new Echo();
e.on(() => console.log('called'));
process.on('exit', () => { console.log('the end'); e.fire('late'); });
quill.unref(e);
`)]);
  assert.deepEqual({ status, stdout, stderr }, { status: 0, stdout: 'the end\n', stderr: '' });
});
