// Errors that scripts do not catch.
import assert from 'node:assert/strict';
import path from 'node:path';
import test from 'node:test';

import { bridges, evaluate, quill, sanitized, script } from './harness.mjs';

test('an uncaught error prints file, line and stack and ends with status 1', async () => {
  const file = script('app.js', '\nfunction inner() { throw new Error("out"); }\ninner();');
  const { status, stderr } = await quill([file]);
  assert.equal(status, 1);
  assert.ok(stderr.includes(`${file}:2\n`), stderr);
  assert.match(stderr, /Error: out\n {4}at inner \(.*app\.js:2:/);
});

/** A script whose callback throws at the first of two deliveries. */
const throwing = (what, before = '') => script('app.js', `${before}
const e = new Echo();
let n = 0;
e.on((text) => {
  if (n++ === 0) throw ${what};
  console.log('later:', text);
  quill.release(e);
});
e.fire('one');
e.fire('two');
`);

test('an error in a callback is reported with file, line and stack', async () => {
  const file = throwing('new Error("thrown")');
  const { stderr } = await quill([file]);
  assert.ok(stderr.startsWith(`${file}:5\n  if (n++ === 0) throw new Error("thrown");\n`), stderr);
  assert.match(stderr, /\n\nError: thrown\n {4}at .*app\.js:5:24/);
});

test('an error in a callback does not stop later deliveries', async () => {
  assert.equal((await quill([throwing('new Error("thrown")')])).stdout, 'later: two\n');
});

test('an error in a callback gives status 1 in the end', async () => {
  assert.equal((await quill([throwing('new Error("thrown")')])).status, 1);
});

test('a status that the script set is kept after an error in a callback', async () => {
  assert.equal((await quill([throwing('new Error("thrown")', 'process.exitCode = 4;')])).status, 4);
});

test('a thrown value need not be an Error', async () => {
  const { stderr, stdout } = await quill([throwing('{ code: 12 }')]);
  assert.match(stderr, /app\.js:5\n[^]*Uncaught \{ code: 12 \}/);
  assert.equal(stdout, 'later: two\n');
});

test('a listener for uncaught errors receives an error in a callback', async () => {
  const file = throwing('new Error("thrown")',
    'process.on("uncaughtException", (error, origin) => console.log("received:", error.message, origin));');
  const { status, stdout, stderr } = await quill([file]);
  assert.equal(stdout, 'received: thrown uncaughtException\nlater: two\n');
  assert.equal(stderr, '');
  assert.equal(status, 0);
});

test('a listener for uncaught errors that throws is reported and stops nothing', async () => {
  const file = throwing('new Error("thrown")',
    'process.on("uncaughtException", () => { throw new Error("again"); });');
  const { stdout, stderr } = await quill([file]);
  assert.match(stderr, /listener for uncaught errors: Error: again/);
  assert.equal(stdout, 'later: two\n');
});

test('an endless recursion in a callback is an error like others', async () => {
  const { stdout, stderr } = await evaluate(`
    const e = new Echo(); let n = 0;
    const deep = () => deep() + 1;
    e.on((t) => { if (n++ === 0) deep(); console.log('later:', t); quill.release(e); });
    e.fire('one'); e.fire('two')`);
  assert.match(stderr, /RangeError: Maximum call stack size exceeded/);
  assert.equal(stdout, 'later: two\n');
});

test('bridges bind to the system\'s libraries, not to what node exports', async () => {
  const { stdout } = await quill(['--bridge', path.join(bridges, 'libsymbols-bridge.so'), '-p',
    'const s = new Symbols(); [s.zlib(), s.v8()].join()']);
  const [zlib, v8] = stdout.trim().split(',');
  assert.match(v8, /node/);
  // Sanitizers refuse the loader flag that does it.
  if (sanitized) {
    assert.notEqual(zlib, '');
  } else {
    assert.match(zlib, /\/libz\.so\.1/);
  }
});
