// The prompt in a terminal.
import assert from 'node:assert/strict';
import test from 'node:test';

import { dialogue } from '../system/terminal.mjs';
import { echoBridge } from './harness.mjs';

/** Runs steps at a prompt; see dialogue(). */
const atPrompt = (steps, { args = [] } = {}) =>
  dialogue(['--bridge', echoBridge, ...args], { columns: 100, rows: 40 }, [{ shows: /^>$/m }, ...steps]);

const ECHO = { type: 'const e = new Echo(); let n = 0; e.on((t) => console.log("received", ++n, t))', shows: /undefined\n>$/m };

test('results arrive at a prompt', async () => {
  const screen = await atPrompt([
    ECHO,
    { type: 'e.fire("a"); e.fire("b")', shows: /received 2 b/ },
    { type: 'e.fireFromThread()', shows: /received 3 from a thread/ },
  ]);
  assert.doesNotMatch(screen, /TypeError/);
});

test('promises, ticks and timers of a delivery run at a prompt', async () => {
  await atPrompt([
    { type: 'const e = new Echo(); e.on(async (t) => { process.nextTick(() => console.log("tick", t)); await null; '
      + 'console.log("promise", t); setTimeout(() => console.log("timer", t), 1); })', shows: /undefined\n>$/m },
    { type: 'e.fire("one")', shows: /tick one\npromise one\n[^]*timer one/ },
  ]);
});

test('an error of a function is shown at the prompt, which goes on', async () => {
  const screen = await atPrompt([
    { type: 'const e = new Echo(); e.on((t) => { throw new Error("out of " + t); })', shows: /undefined\n>$/m },
    { type: 'e.fire("one")', shows: /Uncaught Error: out of one[^]*>$/m },
    { type: 'e.fire("two")', shows: /Uncaught Error: out of two[^]*>$/m },
    { type: '20 + 22', shows: /^42\n/m },
  ]);
  assert.doesNotMatch(screen, /ended with/);
});

test('an error on a tick of a delivery is shown at the prompt, which goes on', async () => {
  await atPrompt([
    { type: 'const e = new Echo(); e.on((t) => { process.nextTick(() => { throw new Error("out of " + t); }); })',
      shows: /undefined\n>$/m },
    { type: 'e.fire("one")', shows: /Uncaught Error: out of one[^]*>$/m },
    { type: 'e.fire("two")', shows: /Uncaught Error: out of two[^]*>$/m },
  ]);
});

test('a prompt with a registered function ends at .exit', async () => {
  await atPrompt([ECHO, { type: '.exit', shows: /ended with 0/ }]);
});

test('results arrive at a prompt that -i opens after a text', async () => {
  await atPrompt([{ type: 'e.fire("a")', shows: /received a/ }],
    { args: ['-i', '-e', 'globalThis.e = new Echo(); e.on((t) => console.log("received", t))'] });
});
