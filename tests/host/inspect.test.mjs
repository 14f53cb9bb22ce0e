// quill inspect: Node.js's debugger on a program that has the bridges.
import assert from 'node:assert/strict';
import test from 'node:test';

import { dialogue } from '../system/terminal.mjs';
import { echoBridge, script, start } from './harness.mjs';

/** Takes steps in the debugger: what to type, and what to wait for. */
const debugging = (args, steps) =>
  dialogue(args, { columns: 120, rows: 50 }, steps.map(([type, shows]) => ({ type, shows })));

// Any free port: other debuggers may run on this machine.
const INSPECT = ['inspect', '--port=0'];

test('the debugger stops at the start of a script that has the bridges and its arguments', async () => {
  const file = script('app.js', 'const e = new Echo();\nconsole.log(e.echo("echoed"), process.argv.slice(2).join("|"));\n');
  await debugging(['--bridge', echoBridge, ...INSPECT, file, 'one', 'two words'], [
    ['', /Break on start in .*app\.js:1\n> 1 const e = new Echo/],
    ['exec("typeof Echo + typeof quill")', /'functionobject'/],
    ['cont', /< echoed one\|two words/],
    ['.exit', /ended with 0/],
  ]);
});

test('the debugger stops in a delivery', async () => {
  const file = script('app.js', `const e = new Echo();
e.on((text) => {
  debugger;
  quill.release(e);
});
e.fire('delivered');
`);
  await debugging(['--bridge', echoBridge, ...INSPECT, file], [
    ['', /Break on start/],
    ['cont', /break in .*app\.js:3\n/],
    ['exec("text")', /'delivered'/],
    ['cont', /Waiting for the debugger to disconnect/],
    ['.exit', /ended with 0/],
  ]);
});

test('the debugger\'s program has the other options of quill', async () => {
  const file = script('app.js', 'new MRBBridge();\ndebugger;\n');
  await debugging(['--log=common', ...INSPECT, file], [
    ['', /Break on start/],
    ['cont', /< MRB-BRIDGE-COMMON: MRBAdapterProvider\.cpp/],
    ['.exit', /ended with 0/],
  ]);
});

test('a missing script is named in the debugger', async () => {
  const screen = await debugging([...INSPECT, 'no/such/app.js'], [['', /no such script: 'no\/such\/app\.js'/]]);
  assert.match(screen, /quill: no such script/);
});

test('inspect without a script prints its usage', async () => {
  const { status, stderr } = await start(['inspect'], { input: '' }).finished;
  assert.notEqual(status, 0);
  assert.match(stderr, /inspect (\[--port|script\.js)/);
});

test('a script of the name inspect runs by its path', async () => {
  const file = script('inspect', 'console.log("ran", process.argv.length)');
  const { stdout } = await start(['./inspect'], { input: '', cwd: file.replace(/\/inspect$/, '') }).finished;
  assert.equal(stdout, 'ran 2\n');
});

test('the environment of the debugged program does not pass its bridges on', async () => {
  const file = script('app.js', 'console.log(Object.keys(process.env).filter((n) => /INSPECTED/.test(n)).length, "left");\n');
  await debugging(['--bridge', echoBridge, ...INSPECT, file], [
    ['', /Break on start/],
    ['cont', /< 0 left/],
  ]);
});
