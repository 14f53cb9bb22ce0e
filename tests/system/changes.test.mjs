// Folders that change under an open list, as a script sees it.
import assert from 'node:assert/strict';
import { mkdirSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test, { beforeEach } from 'node:test';

import { folder, quill, run } from './harness.mjs';
import { script } from '../host/harness.mjs';

let where;
beforeEach(() => {
  where = path.join(folder(), 'library');
  mkdirSync(path.join(where, 'sub'), { recursive: true });
  for (const name of ['1.jpg', '2.jpg', 'sub/3.jpg']) writeFileSync(path.join(where, name), 'picture');
});

/** Resolves to the next event with that number. */
const AWAIT = `
const fs = require('node:fs');
const where = process.argv[2];
const nextEvent = (number) => new Promise((resolve) => {
  wake = () => { if (events.at(-1)?.param_event === number) resolve(events.at(-1)); };
  wake();
});
const item = (agent, index) => JSON.parse(
  send('mrb_get_item_v2', { param_agent: agent, param_index: index }).return_data).name;
const numbers = () => events.map((event) => event.param_event).filter((number) => number !== 25);`;

test('a file that is added, removed or renamed is reported, and a reload shows it', async () => {
  const result = await run(`${AWAIT}
    const { return_data: agent } = open({ param_scan_path: where });
    await ended(agent);
    const seen = [];
    for (const change of [
      () => fs.writeFileSync(where + '/sub/4.jpg', ''),
      () => fs.rmSync(where + '/1.jpg'),
      () => fs.renameSync(where + '/sub', where + '/other'),
    ]) {
      events.length = 0;
      change();
      const { param_agent, data } = await nextEvent(29);
      events.length = 0;
      open({ param_scan_path: where, param_agent: agent });
      await ended(agent);
      seen.push([param_agent === agent, data.item_count, count(agent)]);
    }
    finish(seen);`, where);
  assert.deepEqual(result, [[true, 4, 5], [true, 5, 4], [true, 4, 4]]);
});

test('many changes are reported once, and removed items can still be read', async () => {
  const result = await run(`${AWAIT}
    const { return_data: agent } = open({ param_scan_path: where });
    await ended(agent);
    for (let number = 10; number < 200; number += 1) fs.writeFileSync(where + '/' + number + '.jpg', '');
    await nextEvent(29);
    fs.rmSync(where + '/1.jpg');
    fs.rmSync(where + '/sub', { recursive: true });
    // A second list is notified of a change that was made after those.
    fs.mkdirSync(where + '/witness');
    const { return_data: witness } = open({ param_scan_path: where + '/witness' });
    await ended(witness);
    fs.writeFileSync(where + '/witness/1.jpg', '');
    while ((await nextEvent(29)).param_agent !== witness) await new Promise((resolve) => setTimeout(resolve, 10));
    finish({ numbers: numbers(), first: item(agent, 0), last: item(agent, 3) });`, where);
  assert.deepEqual(result, { numbers: [0, 29, 0, 29], first: '1.jpg', last: '3.jpg' });
});

test('the removal of the scanned folder is reported as a removed device', async () => {
  const result = await run(`${AWAIT}
    const { return_data: agent } = open({ param_scan_path: where });
    await ended(agent);
    fs.rmSync(where, { recursive: true });
    await nextEvent(28);
    const again = open({ param_scan_path: where, param_agent: agent }).return_ecode;
    finish({ numbers: numbers(), again, last: item(agent, 3) });`, where);
  assert.deepEqual(result, { numbers: [0, 28], again: -4, last: '3.jpg' });
});

test('a program that watches can end at any time', async () => {
  const file = script('app.js', `
    const bridge = new MRBBridge();
    bridge.mrb_request_list_v2((text) => {
      const { param_event } = JSON.parse(text);
      if (param_event === 0) require('node:fs').writeFileSync(process.argv[2] + '/new.jpg', '');
      if (param_event === 29) process.exit(3);
    }, JSON.stringify({ param_source_name: 'SOURCE_MSC', param_scan_path: process.argv[2] }));`);
  assert.equal((await quill([file, where])).status, 3);
});
