// GLib's main context inside Node.js's event loop, and what keeps a program alive.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import test from 'node:test';

import { evaluate, quill, script, start, echoBridge } from './harness.mjs';

test('a source attached by the script runs', async () => {
  const { status, stdout } = await evaluate(`
    const e = new Echo(); e.on((t) => { console.log(t); e.on(null); }); e.fire('idle')`);
  assert.equal(stdout, 'idle\n');
  assert.equal(status, 0);
});

test('a source attached by another thread wakes the loop', async () => {
  const { stdout } = await evaluate(`
    const e = new Echo(); e.on((t) => { console.log(t); quill.release(e); }); e.fireFromThread()`);
  assert.equal(stdout, 'from a thread\n');
});

test('a timer of GLib runs', async () => {
  const { stdout } = await evaluate(`
    const e = new Echo(); const began = Date.now();
    e.on((t) => { console.log(t, Date.now() - began >= 99); quill.release(e); }); e.fireAfter('100')`);
  assert.equal(stdout, 'from a timer true\n');
});

test('a watched file descriptor runs its source', async () => {
  const { stdout } = await evaluate(`
    const e = new Echo(); e.on((t) => { console.log(t); quill.release(e); }); e.fireFromPipe()`);
  assert.equal(stdout, 'from a pipe\n');
});

test('file descriptors that are closed and reused are watched again', async () => {
  const { stdout } = await evaluate(`
    const e = new Echo(); let n = 0;
    e.on((t) => { if (++n === 20) { console.log(n, t); quill.release(e); } else e.fireFromPipe(); });
    e.fireFromPipe()`);
  assert.equal(stdout, '20 from a pipe\n');
});

test('sources and the timers and promises of Node.js take turns', async () => {
  const { stdout } = await evaluate(`
    const e = new Echo(); const seen = [];
    e.on(async (t) => {
      seen.push(t);
      process.nextTick(() => seen.push('tick'));
      await null;
      seen.push('microtask');
      if (t === 'second') setTimeout(() => { console.log(seen.join()); quill.release(e); }, 1);
    });
    e.fire('first'); e.fire('second')`);
  assert.equal(stdout, 'first,tick,microtask,second,tick,microtask\n');
});

test('a program that registered no function ends when its script does', async () => {
  assert.equal((await evaluate('new Echo().echo("x")')).status, 0);
});

test('a registered function keeps the program alive', async () => {
  const child = start(['--bridge', echoBridge, '-e',
    'new Echo().on(() => {}); process.on("SIGTERM", () => process.exit(5)); console.log("waiting")'], {});
  await new Promise((resolve) => child.stdout.once('data', resolve));
  // Only a loop with something to wait for gets as far as the signal.
  child.kill('SIGTERM');
  const { status, signal } = await child.finished;
  assert.deepEqual([status, signal], [5, null]);
});

test('releasing the object lets the program end', async () => {
  assert.equal((await evaluate('const e = new Echo(); e.on(() => {}); quill.release(e)')).status, 0);
});

test('unref lets the program end', async () => {
  assert.equal((await evaluate('const e = new Echo(); e.on(() => {}); quill.unref(e)')).status, 0);
});

test('unref before the function is registered counts too', async () => {
  assert.equal((await evaluate('const e = new Echo(); quill.unref(e); e.on(() => {})')).status, 0);
});

test('ref undoes unref', async () => {
  const { stdout } = await evaluate(`
    const e = new Echo(); e.on((t) => { console.log(t); quill.release(e); });
    quill.unref(e); quill.ref(e); e.fireFromThread()`);
  assert.equal(stdout, 'from a thread\n');
});

test('unref of one object leaves another to keep the program alive', async () => {
  const { stdout } = await evaluate(`
    const a = new Echo(), b = new Echo(); a.on(() => {});
    b.on((t) => { console.log(t); quill.release(b); });
    quill.unref(a); b.fireFromThread()`);
  assert.equal(stdout, 'from a thread\n');
});

test('a function replaced by nothing lets the program end', async () => {
  assert.equal((await evaluate('const e = new Echo(); e.on(() => {}); e.on(null)')).status, 0);
});

test('a waiting program uses no processor time', async () => {
  const child = start(['--bridge', echoBridge, '-e', 'new Echo().on(() => {}); console.log("waiting")'], {});
  await new Promise((resolve) => child.stdout.once('data', resolve));
  const ticks = () => {
    const fields = readFileSync(`/proc/${child.pid}/stat`, 'utf8').split(') ')[1].split(' ');
    return Number(fields[11]) + Number(fields[12]);
  };
  // Idle work after start-up (garbage collection) ends; a loop that spins does not.
  let quiet = false;
  for (let turn = 0; turn < 20 && !quiet; turn++) {
    const before = ticks();
    await new Promise((resolve) => setTimeout(resolve, 500));
    quiet = ticks() - before <= 2; // of 50
  }
  child.kill('SIGKILL');
  assert.ok(quiet);
});

test('a function registered again and again is counted once', async () => {
  const { status } = await evaluate(`
    const e = new Echo(); for (let i = 0; i < 1e5; i++) e.on(() => {}); e.on(null)`);
  assert.equal(status, 0);
});

test('process.exit inside a callback ends the program', async () => {
  const file = script('app.js', 'const e = new Echo(); e.on(() => process.exit(9)); e.fire("x"); e.fire("y")');
  assert.equal((await quill([file])).status, 9);
});
