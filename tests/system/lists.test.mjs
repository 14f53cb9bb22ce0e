// Lists of real folders as a script sees them: several at once, cancelled, disconnected.
import assert from 'node:assert/strict';
import { mkdirSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test, { before } from 'node:test';

import { folder, quill, run } from './harness.mjs';
import { script } from '../host/harness.mjs';

const where = folder();
before(() => {
  for (let number = 0; number < 100; number += 1) {
    mkdirSync(path.join(where, `${number}`));
    for (let file = 0; file < 50; file += 1) {
      writeFileSync(path.join(where, `${number}`, `${file}.jpg`), '');
    }
  }
});

test('a request returns a handle before the list is ready', async () => {
  const [answer, before] = await run(`
    const answer = open({ param_scan_path: process.argv[2] });
    const before = events.length;
    await ended(answer.return_data);
    finish([answer, before]);`, where);
  assert.deepEqual(Object.keys(answer).sort(), ['return_data', 'return_ecode', 'return_type']);
  assert.deepEqual([answer.return_ecode, answer.return_type, before], [0, 1, 0]);
  assert.ok(answer.return_data > 0);
});

test('the last event of a list is ready, with the number of its items', async () => {
  const result = await run(`
    const { return_data: agent } = open({ param_scan_path: process.argv[2] });
    const end = await ended(agent);
    finish({ end, count: count(agent), last: events.at(-1) === end });`, where);
  assert.equal(result.end.param_event, 0);
  assert.equal(result.end.data.item_count, 5100);
  assert.equal(result.count, 5100);
  assert.equal(result.last, true);
});

test('several lists are open at once, each with a handle of its own', async () => {
  const result = await run(`
    const agents = [0, 1, 2].map((number) =>
      open({ param_scan_path: process.argv[2] + '/' + number }).return_data);
    for (const agent of agents) await ended(agent);
    finish({ agents, counts: agents.map(count) });`, where);
  assert.equal(new Set(result.agents).size, 3);
  assert.deepEqual(result.counts, [50, 50, 50]);
});

test('a list is reopened under its handle', async () => {
  const result = await run(`
    const { return_data: agent } = open({ param_scan_path: process.argv[2] + '/1' });
    await ended(agent);
    events.length = 0;
    const again = open({ param_scan_path: process.argv[2], param_agent: agent }).return_data;
    await ended(agent);
    finish({ same: again === agent, count: count(agent) });`, where);
  assert.deepEqual(result, { same: true, count: 5100 });
});

test('a cancelled list reports it once and keeps its items', async () => {
  const result = await run(`
    const { return_data: agent } = open({ param_scan_path: '/' });
    const answer = send('mrb_cancel_request_list_v2', { param_agent: agent });
    const end = await ended(agent);
    const had = count(agent);
    finish({ answer, event: end.param_event, had,
             item: had === 0 || send('mrb_get_item_v2', { param_agent: agent, param_index: had - 1 }).return_ecode });`);
  assert.deepEqual(result.answer, { return_ecode: 0 });
  assert.equal(result.event, 13);
  assert.ok(result.item === true || result.item === 0);
});

test('a disconnected list is unknown afterwards', async () => {
  const result = await run(`
    const { return_data: agent } = open({ param_scan_path: process.argv[2] });
    finish(['mrb_disconnect_v2', 'mrb_get_item_count_v2', 'mrb_disconnect_v2', 'mrb_cancel_request_list_v2']
      .map((method) => send(method, { param_agent: agent }).return_ecode));`, where);
  assert.deepEqual(result, [0, -2, -2, -2]);
});

test('errors of the framework are returned to the script as codes', async () => {
  const result = await run(`
    const { return_data: agent } = open({ param_scan_path: process.argv[2] });
    await ended(agent);
    finish([
      open({ param_scan_path: '/no/such' }), open({ param_scan_path: 'relative' }), open({ param_scan_path: '' }),
      open({ param_scan_path: '/etc/passwd' }),
      open({ param_source_name: 'SOURCE_DLNA', param_scan_path: '' }), open({ param_source_name: 'SOURCE_X' }),
      send('mrb_get_item_v2', { param_agent: agent, param_index: -1 }),
      send('mrb_get_item_v2', { param_agent: agent, param_index: 5100 }),
      send('mrb_get_item_v2', { param_agent: 999 }),
    ].map((answer) => answer.return_ecode));`, where);
  assert.deepEqual(result, [-4, -1, -1, -7, -16, 2, -3, -3, -2]); // -16: the DLNA service was not started
});

test('a program that ends while its lists are being filled ends at once', async () => {
  const file = script('app.js', `
    const bridge = new MRBBridge();
    for (let n = 0; n < 10; n++) {
      bridge.mrb_request_list_v2(() => {}, '{"param_source_name":"SOURCE_MSC","param_scan_path":"/"}');
    }
    process.exit(3);`);
  assert.equal((await quill([file])).status, 3);
});

test('a program with an open list goes on, and ends after unref', async () => {
  const file = script('app.js', `
    const bridge = new MRBBridge();
    bridge.mrb_request_list_v2((text) => {
      if (JSON.parse(text).param_event !== 0) return;
      console.log('ready');
      quill.unref(bridge);
    }, JSON.stringify({ param_source_name: 'SOURCE_MSC', param_scan_path: process.argv[2] }));`);
  const { status, stdout } = await quill([file, where]);
  assert.equal(stdout, 'ready\n');
  assert.equal(status, 0);
});
