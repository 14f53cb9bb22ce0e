// The quill command: its arguments, its messages, its exit status.
import assert from 'node:assert/strict';
import { mkdirSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { bridges, build, echoBridge, evaluate, quill, script, start } from './harness.mjs';

const lines = (text) => text.split('\n').filter(Boolean);

/** One clear line on standard error, nothing on standard output, status 1. */
function assertRefused({ status, stdout, stderr }, pattern) {
  assert.equal(status, 1);
  assert.equal(stdout, '');
  assert.equal(lines(stderr).length, 1, stderr);
  assert.match(stderr, pattern);
}

test('a script runs with its arguments', async () => {
  const file = script('app.js', 'console.log(process.argv.slice(2).join("|"), new Echo().echo("ok"))');
  const { status, stdout } = await quill([file, '--bridge', 'two words', '-e', '']);
  assert.equal(stdout, '--bridge|two words|-e| ok\n');
  assert.equal(status, 0);
});

test('a script may be a module', async () => {
  const file = script('app.mjs', 'import os from "node:os"; console.log(typeof os.cpus, typeof Echo)');
  assert.equal((await quill([file])).stdout, 'function function\n');
});

test('-e runs a text with arguments', async () => {
  const { stdout } = await evaluate('console.log(new Echo().echo("hi"), process.argv.slice(1))', 'a', 'b c');
  assert.equal(stdout, "hi [ 'a', 'b c' ]\n");
});

test('-p prints the value of a text', async () => {
  assert.equal((await quill(['-p', 'new Echo().echo("hi")'])).stdout, 'hi\n');
});

test('a prompt reads lines and sees the classes', async () => {
  const { stdout } = await quill(['-i'], { input: 'new Echo().echo("at the " + "prompt")\n' });
  assert.match(stdout, /'at the prompt'/);
});

test('standard input is a script when it is not a terminal', async () => {
  assert.equal((await quill([], { input: 'console.log(typeof Echo)' })).stdout, 'function\n');
});

test('--help explains the command', async () => {
  const { status, stdout } = await quill(['--help']);
  assert.equal(status, 0);
  for (const word of ['--bridge FILE', '-e CODE', '--log', '--version', 'quill.release', 'quill.unref']) {
    assert.ok(stdout.includes(word), word);
  }
});

test('--version names the versions of quill, Node.js and V8', async () => {
  const { stdout } = await quill(['--version']);
  assert.match(stdout, /^quill \d+\.\d+\.\d+, Node\.js v\d+\.\d+\.\d+, V8 \d+\.[^\n]+\n$/);
});

test('options of Node.js are passed through', async () => {
  const { stdout } = await quill(['--stack-trace-limit=3', '--no-warnings', '-p', 'Error.stackTraceLimit']);
  assert.equal(stdout, '3\n');
});

test('--inspect opens the inspector', async () => {
  const { status, stderr } = await quill(['--inspect=127.0.0.1:0', '-e', '0']);
  assert.equal(status, 0);
  assert.match(stderr, /Debugger listening on ws:\/\/127\.0\.0\.1:/);
});

test('a missing script is one clear line', async () => {
  assertRefused(await quill(['no/such/app.js']), /^quill: no such script: 'no\/such\/app\.js'$/m);
});

test('a missing bridge library is one clear line', async () => {
  assertRefused(await start(['--bridge', '/no/such/bridge.so', '-e', '0'], { input: '' }).finished,
    /^quill: cannot load the bridge \/no\/such\/bridge\.so: no such file$/m);
});

test('a bridge that is not a library is one clear line', async () => {
  const file = script('text.so', 'this is text');
  assertRefused(await quill(['--bridge', file, '-e', '0']),
    new RegExp(`^quill: cannot load the bridge ${file}: .+$`, 'm'));
});

test('a library without loadBridges is one clear line', async () => {
  assertRefused(await quill(['--bridge', path.join(bridges, 'libbroken-bridge-1.so'), '-e', '0']),
    /it is not a bridge library: it does not export loadBridges$/m);
});

test('a bridge library that throws is one clear line', async () => {
  assertRefused(await quill(['--bridge', path.join(bridges, 'libbroken-bridge-2.so'), '-e', '0']),
    /loadBridges failed: no media today$/m);
});

test('a bridge library without classes is one clear line', async () => {
  assertRefused(await quill(['--bridge', path.join(bridges, 'libbroken-bridge-3.so'), '-e', '0']),
    /loadBridges returned no script class$/m);
});

test('a bridge library whose class throws is one clear line', async () => {
  assertRefused(await quill(['--bridge', path.join(bridges, 'libbroken-bridge-4.so'), '-e', '0']),
    /its script class failed: no methods today$/m);
});

test('options that lack their value are one clear line', async () => {
  assertRefused(await quill(['--bridge']), /--bridge needs the file of a bridge library$/m);
  assertRefused(await quill(['-e']), /-e needs the text to run$/m);
});

test('QUILL_NODE that is not a program is one clear line', async () => {
  assertRefused(await quill(['-e', '0'], { env: { QUILL_NODE: '/no/such/node' } }),
    /QUILL_NODE names '\/no\/such\/node', which is not a program$/m);
});

test('--bridge adds a class to that of the default bridge', async () => {
  const { stdout } = await quill(
    ['--bridge', path.join(bridges, 'libsymbols-bridge.so'), '-p', 'typeof Echo + typeof Symbols']);
  assert.equal(stdout, 'functionfunction\n');
});

test('--bridge takes a path that is relative, and one with spaces', async () => {
  const folder = path.join(path.dirname(script('x', '')), 'with spaces');
  mkdirSync(folder);
  const { copyFileSync } = await import('node:fs');
  copyFileSync(echoBridge, path.join(folder, 'libquillmrbbridge.so'));
  const { stdout } = await start(['--bridge=libquillmrbbridge.so', '-p', 'typeof Echo'],
    { cwd: folder, input: '' }).finished;
  assert.equal(stdout, 'function\n');
});

test('quill runs through a symbolic link from anywhere', async () => {
  const { symlinkSync } = await import('node:fs');
  const { spawnSync } = await import('node:child_process');
  const link = path.join(path.dirname(script('x', '')), 'quill-link');
  symlinkSync(path.join(build, 'bin', 'quill'), link);
  const { stdout } = spawnSync(link, ['--bridge', echoBridge, '-p', 'typeof Echo'], { encoding: 'utf8', cwd: '/' });
  assert.equal(stdout, 'function\n');
});

test('worker threads run without the classes', async () => {
  const file = script('app.js', `
    const { Worker, isMainThread } = require('node:worker_threads');
    if (isMainThread) new Worker(__filename); else console.log(typeof Echo, typeof quill);`);
  assert.equal((await quill([file])).stdout, 'undefined undefined\n');
});

test('a program that ends itself keeps its status', async () => {
  assert.equal((await evaluate('new Echo().on(() => {}); process.exit(7)')).status, 7);
});

test('a script that cannot be read says so', async () => {
  const file = script('app.js', 'let = ;');
  const { status, stderr } = await quill([file]);
  assert.equal(status, 1);
  assert.match(stderr, /app\.js:1\n/);
  writeFileSync(file, '');
});
