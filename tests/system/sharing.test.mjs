// Selecting by type with the total size, copying the selection, and stopping half-way, by script calls.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readdirSync, readFileSync, rmSync, statSync, truncateSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test, { after } from 'node:test';

import { folder, root, run } from './harness.mjs';

const large = [];
after(() => large.forEach((where) => rmSync(where, { recursive: true, force: true })));

/** A folder that is removed at the end, because much is copied into it. */
function largeFolder() {
  large.push(folder());
  return large.at(-1);
}

const MANY = 60;
const MANY_BYTES = 10_000_000; // each; sparse, so that they take no space

/** A folder with many films. */
function many() {
  const where = largeFolder();
  for (let number = 0; number < MANY; number += 1) {
    const file = path.join(where, `${number}.mp4`);
    writeFileSync(file, '');
    truncateSync(file, MANY_BYTES);
  }
  return where;
}

/** Checks that every file of many() is complete, and that there are no others; returns their number. */
function assertWhole(where) {
  const found = readdirSync(where);
  for (const name of found) {
    assert.match(name, /^\d+\.mp4$/);
    assert.equal(statSync(path.join(where, name)).size, MANY_BYTES);
  }
  return found.length;
}

/** The paths of all files below a folder, including hidden ones, relative to it. */
const filesBelow = (where) => readdirSync(where, { withFileTypes: true }).flatMap((entry) => (entry.isDirectory()
  ? filesBelow(path.join(where, entry.name)).map((name) => path.join(entry.name, name)) : [entry.name]));

const SHARING = `
const steps = [];
let onStep = () => {};
const copy = (agent, to) => JSON.parse(bridge.mrb_batch_process_v2((text) => {
  steps.push(JSON.parse(text));
  onStep(steps.at(-1));
}, JSON.stringify({ param_agent: agent, param_share_type: 2, param_source_device_type: 0, param_dest_device_type: 0,
                    param_dest_device_path: to })));
const isLast = ({ param_event }) => ![17, 8].includes(param_event);
const over = () => new Promise((resolve) => {
  onStep = (step) => { if (isLast(step)) resolve(); };
  if (steps.some(isLast)) resolve();
});
const [from, to] = process.argv.slice(2);
const { return_data: agent } = open({ param_scan_path: from });
await ended(agent);
const select = (types) => send('mrb_select_all_v2', { param_agent: agent, param_selected_item_type_arr: types });
`;

test('pictures are selected with their total size, copied, and arrive byte for byte', async () => {
  const [library, to] = [path.join(folder(), 'library'), folder()];
  execFileSync(path.join(root, 'tools', 'make-library'), [library], { stdio: 'ignore' });
  const pictures = filesBelow(library).filter((name) => /\.(jpg|png|webp|bmp|tiff|gif)$/.test(name));
  const bytes = pictures.reduce((sum, name) => sum + statSync(path.join(library, name)).size, 0);

  const { selected, number, started, steps } = await run(`${SHARING}
    const selected = select([2]);
    const number = send('mrb_get_selection_count_v2', { param_agent: agent });
    const started = copy(agent, to);
    await over();
    finish({ selected, number, started, steps });`, library, to);

  assert.deepEqual(selected, { return_ecode: 0, return_type: 1, return_data: bytes });
  assert.equal(number.return_data, pictures.length);
  assert.equal(started.return_ecode, 0);
  assert.ok(steps.every((step) => step.param_share_handle === started.return_data));
  assert.deepEqual([steps[0].param_event, steps.at(-1).param_event], [17, 18]);
  assert.equal(steps.at(-1).param_share_done_file_count, pictures.length);
  assert.equal(steps.at(-1).param_share_success_file_size, bytes);
  assert.deepEqual(filesBelow(to).sort(), pictures.sort());
  for (const name of pictures) {
    assert.ok(readFileSync(path.join(to, name)).equals(readFileSync(path.join(library, name))), name);
  }
});

test('a copy that is stopped half-way leaves only complete files', async () => {
  const [from, to] = [many(), largeFolder()];
  const { stopped, steps, selected } = await run(`${SHARING}
    const selected = select([3]).return_data;
    const { return_data: share } = copy(agent, to);
    let stopped;
    await new Promise((resolve) => {
      onStep = (step) => {
        const isHalf = step.param_share_done_file_count >= ${MANY / 2};
        if (isHalf && stopped === undefined) {
          stopped = send('mrb_stop_batch_process_v2', { param_share_handle: share });
        }
        if (isLast(step)) resolve();
      };
    });
    finish({ stopped, steps, selected });`, from, to);

  assert.equal(selected, MANY * MANY_BYTES);
  assert.deepEqual(stopped, { return_ecode: 0 });
  const end = steps.at(-1);
  assert.equal(end.param_event, 26);
  assert.ok(end.param_share_done_file_count > 0 && end.param_share_done_file_count < MANY);
  assert.equal(assertWhole(to), end.param_share_done_file_count);
  assert.equal(end.param_share_success_file_size, end.param_share_done_file_count * MANY_BYTES);
});

test('a source that is renamed during the copy is copied all the same', async () => {
  const [from, to] = [many(), largeFolder()];
  large.push(`${from}2`);
  const { end, isRenamed } = await run(`${SHARING}
    select([3]);
    let isRenamed = false;
    copy(agent, to);
    await new Promise((resolve) => {
      onStep = (step) => {
        if (!isRenamed && step.param_share_done_file_count > 0 && !isLast(step)) {
          require('node:fs').renameSync(from, from + '2');
          isRenamed = true;
        }
        if (isLast(step)) resolve();
      };
    });
    finish({ end: steps.at(-1), isRenamed });`, from, to);
  assert.ok(isRenamed);
  assert.equal(end.param_event, 18);
  assert.equal(assertWhole(to), MANY);
});
