// A delivery runs in the asynchronous context in which its function was registered, as
// Node.js's own callbacks do.
import assert from 'node:assert/strict';
import test from 'node:test';

import { quill, script } from './harness.mjs';

/** The output of a script, which must succeed. */
async function printed(body) {
  const file = script('app.js', `
    const { AsyncLocalStorage, AsyncResource, createHook, executionAsyncId, executionAsyncResource } = require('node:async_hooks');
    const store = new AsyncLocalStorage();
    ${body}`);
  const { status, stdout, stderr } = await quill([file]);
  assert.equal(stderr, '');
  assert.equal(status, 0);
  return stdout.trimEnd();
}

test('the store of the registration is set in every delivery', async () => {
  assert.equal(await printed(`
    const e = new Echo();
    let n = 0;
    store.run('registered', () => e.on((t) => {
      console.log(t, store.getStore());
      if (++n === 2) quill.release(e);
    }));
    store.run('fired', () => e.fire('a'));
    e.fire('b');`), 'a registered\nb registered');
});

test('the store is set in what a delivery queues and awaits', async () => {
  assert.equal(await printed(`
    const e = new Echo();
    store.run('registered', () => e.on(async () => {
      process.nextTick(() => console.log('tick', store.getStore()));
      queueMicrotask(() => console.log('microtask', store.getStore()));
      await new Promise((resolve) => setTimeout(resolve, 1));
      console.log('timer', store.getStore());
      quill.release(e);
    }));
    e.fireFromThread();`), 'tick registered\nmicrotask registered\ntimer registered');
});

test('a function registered outside of any store has none', async () => {
  assert.equal(await printed(`
    const e = new Echo();
    e.on(() => { console.log(store.getStore()); quill.release(e); });
    store.run('fired', () => e.fire('a'));`), 'undefined');
});

test('a function that replaces another has its own store', async () => {
  assert.equal(await printed(`
    const e = new Echo();
    const replace = () => { store.run(2, () => e.on(receive)); e.fire('b'); };
    const receive = (t) => {
      console.log(t, store.getStore());
      if (t === 'b') quill.release(e); else setImmediate(replace);
    };
    store.run(1, () => e.on(receive));
    e.fire('a');`), 'a 1\nb 2');
});

test('a function that a delivery registers has the store of that delivery', async () => {
  assert.equal(await printed(`
    const a = new Echo();
    const b = new Echo();
    store.run('first', () => a.on(() => {
      b.on(() => { console.log(store.getStore()); quill.release(a); quill.release(b); });
      b.fire('b');
    }));
    a.fire('a');`), 'first');
});

test('deliveries of two objects keep their stores apart', async () => {
  assert.equal(await printed(`
    const all = ['a', 'b'].map((name) => {
      const e = new Echo();
      store.run(name, () => e.on((t) => { console.log(name, store.getStore(), t); if (t === 'end') quill.release(e); }));
      return e;
    });
    for (const t of ['one', 'end']) for (const e of all) e.fire(t);`),
  'a a one\nb b one\na a end\nb b end');
});

test('a store is not set any more after a delivery', async () => {
  assert.equal(await printed(`
    const a = new Echo();
    const b = new Echo();
    b.on(() => { console.log('b', store.getStore()); quill.release(b); });
    store.run('of a', () => a.on(() => { console.log('a', store.getStore()); quill.release(a); }));
    a.fire(''); b.fire('');
    setImmediate(() => console.log('immediate', store.getStore()));`), 'a of a\nb undefined\nimmediate undefined');
});

test('a listener for uncaught errors has the store of the delivery that threw', async () => {
  assert.equal(await printed(`
    const e = new Echo();
    process.on('uncaughtException', () => { console.log(store.getStore()); quill.release(e); });
    store.run('registered', () => e.on(() => { throw new Error('x'); }));
    e.fire('');`), 'registered');
});

test('hooks see one resource for a registered function, its calls, and its end', async () => {
  assert.equal(await printed(`
    const log = [];
    const ids = new Set();
    const hook = createHook({
      init(id, type, trigger) { if (type === 'QuillFunction') { ids.add(id); log.push('init ' + (trigger === executionAsyncId())); } },
      before(id) { if (ids.has(id)) log.push('before'); },
      after(id) { if (ids.has(id)) log.push('after'); },
      destroy(id) { if (ids.has(id)) log.push('destroy'); },
    }).enable();
    const e = new Echo();
    e.on((t) => {
      log.push(t + ' ' + ids.has(executionAsyncId()) + ' ' + typeof executionAsyncResource());
      if (t === 'two') {
        e.on(null);
        setTimeout(() => { hook.disable(); console.log(log.join()); }, 20);
      }
    });
    e.fire('one');
    e.fire('two');`), 'init true,before,one true object,after,before,two true object,after,destroy');
});

test('a function bound to another context runs in that one', async () => {
  assert.equal(await printed(`
    const e = new Echo();
    const bound = store.run('bound', () => AsyncResource.bind(() => { console.log(store.getStore()); quill.release(e); }));
    store.run('registered', () => e.on(bound));
    e.fire('');`), 'bound');
});

test('functions that were replaced release their stores', async () => {
  assert.equal(await printed(`
    require('node:v8').setFlagsFromString('--expose-gc');
    const gc = require('node:vm').runInNewContext('gc');
    const e = new Echo();
    let collected = 0;
    const registry = new FinalizationRegistry(() => { collected += 1; });
    const register = (value) => {
      registry.register(value);
      store.run(value, () => e.on(() => {}));
    };
    for (let i = 0; i < 100; i++) register({ i });
    e.on(null);
    (async () => {
      for (let turn = 0; turn < 200 && collected < 100; turn++) {
        gc();
        await new Promise((resolve) => setTimeout(resolve, 10));
      }
      console.log(collected);
    })();`), '100');
});
