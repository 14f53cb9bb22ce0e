// Script objects and their native parts: construction, calls, release.
import assert from 'node:assert/strict';
import test from 'node:test';

import { evaluate } from './harness.mjs';

/** The output of a text, which must succeed. */
async function printed(code) {
  const { status, stdout, stderr } = await evaluate(code);
  assert.equal(stderr, '');
  assert.equal(status, 0);
  return stdout.trimEnd();
}

/** The error that an expression throws, as "Name: message". */
const thrown = (expression) => printed(`
  try { ${expression}; console.log('nothing thrown'); } catch (error) { console.log(String(error)); }`);

test('texts pass in both directions in any script', async () => {
  const text = 'aß漢字😀\\u0000b';
  assert.equal(await printed(`console.log(new Echo().echo("${text}") === "${text}")`), 'true');
});

test('a lone surrogate passes as the replacement character', async () => {
  assert.equal(await printed('console.log(new Echo().echo("a\\ud800b") === "a\\ufffdb")'), 'true');
});

test('a long text passes whole', async () => {
  assert.equal(await printed('const t = "é".repeat(5e6); console.log(new Echo().echo(t) === t)'), 'true');
});

test('a value that is not a string has an empty text and runs no script code', async () => {
  assert.equal(await printed(`
    const e = new Echo();
    const spy = { toString() { throw new Error('ran'); } };
    console.log([e.echo(spy), e.echo(Symbol('x')), e.echo(1), e.echo(), e.echo(null)].join('|'))`), '||||');
});

test('all arguments arrive', async () => {
  assert.equal(await printed('console.log(new Echo().count(1, 2, 3), new Echo().count())'), '3 0');
});

test('a handler without a value returns undefined', async () => {
  assert.equal(await printed('console.log(new Echo().nothing())'), 'undefined');
});

test('a handler\'s runtime exception becomes a script Error', async () => {
  assert.equal(await thrown('new Echo().fail()'), 'Error: refused by the echo');
});

test('a class needs new', async () => {
  assert.equal(await thrown('Echo()'), "TypeError: Class constructor Echo cannot be invoked without 'new'");
});

test('an exception of a constructor becomes a script Error', async () => {
  assert.equal(await thrown('new Echo("throw")'), 'Error: cannot construct Echo: the argument is "throw"');
});

test('a class can be extended', async () => {
  assert.equal(await printed(`
    class Louder extends Echo { echo(text) { return super.echo(text).toUpperCase(); } }
    const louder = new Louder();
    console.log(louder.echo('hi'), louder instanceof Echo, louder.count(1))`), 'HI true 1');
});

test('methods belong to the prototype and objects have no own properties', async () => {
  assert.equal(await printed(`
    const e = new Echo();
    console.log(Object.getOwnPropertyNames(e).length, Object.hasOwn(Echo.prototype, 'echo'), Echo.name)`),
  '0 true Echo');
});

test('a method on a plain object throws', async () => {
  assert.equal(await thrown('Echo.prototype.echo.call({}, "x")'),
    'Error: Cannot call native method without object instance');
});

test('a method on a native object of another kind throws', async () => {
  const error = await thrown('Echo.prototype.echo.call(new (process.binding("fs").FSReqCallback)(), "x")');
  assert.match(error, /^Error: (Attempt to access destroyed JavaScript object\.|Cannot call native method)/);
});

test('releasing an object destroys its native part', async () => {
  assert.equal(await printed(`
    const a = new Echo(), b = new Echo();
    console.log(b.live()); quill.release(a); console.log(b.live())`), '2\n1');
});

test('a method on a released object throws', async () => {
  assert.equal(await thrown('const e = new Echo(); quill.release(e); e.echo("x")'),
    'Error: Attempt to access destroyed JavaScript object.');
});

test('releasing an object twice does nothing more', async () => {
  assert.equal(await printed(`
    const a = new Echo(), b = new Echo();
    quill.release(a); quill.release(a); console.log(b.live())`), '1');
});

test('release, ref and unref refuse a value that is not an object of a class', async () => {
  for (const call of ['release', 'unref', 'ref']) {
    for (const value of ['{}', 'null', '1', '', 'Echo', 'Echo.prototype']) {
      assert.equal(await thrown(`quill.${call}(${value})`),
        `TypeError: quill.${call}: the argument must be an object made by a script class, such as MRBBridge`);
    }
  }
});

test('the garbage collector destroys no native part', async () => {
  const { stdout } = await evaluate(`
    const v8 = require('node:v8'); v8.setFlagsFromString('--expose-gc');
    const gc = require('node:vm').runInNewContext('gc');
    const keep = new Echo();
    for (let i = 0; i < 1000; i++) new Echo();
    gc(); gc();
    setImmediate(() => { gc(); console.log(keep.live()); });`);
  assert.equal(stdout, '1001\n');
});
