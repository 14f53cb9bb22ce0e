// Difficult folders, through the shipped bridge and the real framework.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import {
  chmodSync, mkdirSync, rmSync, symlinkSync, writeFileSync,
} from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { example, folder, list, quill, run } from './harness.mjs';

const FILES = 10_000;

test('a folder with 10,000 files is listed whole', async () => {
  const where = folder();
  for (let number = 0; number < FILES; number += 1) {
    writeFileSync(path.join(where, `picture ${number}.jpg`), '');
  }
  const items = await list(where);
  assert.deepEqual(items.map((item) => item.name),
    Array.from({ length: FILES }, (_, number) => `picture ${number}.jpg`));
});

test('the example shows the beginning of a long list and counts the rest', async () => {
  const where = folder();
  for (let number = 0; number < 150; number += 1) {
    writeFileSync(path.join(where, `${number}.png`), '');
  }
  const { stdout } = await quill([example, where]);
  assert.match(stdout, /… and 50 more items \(--all prints them\)/);
  assert.doesNotMatch((await quill([example, where, '--all'])).stdout, /more items/);
});

test('a closed pipe does not disturb the example', async () => {
  const where = folder();
  for (let number = 0; number < 5_000; number += 1) {
    writeFileSync(path.join(where, `${number}.png`), '');
  }
  const { stdout, stderr } = spawnSync('sh', ['-c', '"$0" "$1" "$2" --json | head -n 1'].concat(
    path.join(process.env.QUILL_BUILD, 'bin', 'quill'), example, where), { encoding: 'utf8' });
  assert.equal(stderr, '');
  assert.equal(JSON.parse(stdout).name, '0.png');
});

test('an empty folder is an empty list', async () => {
  assert.deepEqual(await list(folder()), []);
  assert.match((await quill([example, folder()])).stdout, /^0 items in/m);
});

test('dangling links are left out, links to files are listed, links to folders are not followed', async () => {
  const where = folder();
  writeFileSync(path.join(where, 'real.jpg'), 'x');
  symlinkSync('real.jpg', path.join(where, 'link.jpg'));
  symlinkSync('gone.jpg', path.join(where, 'dangling.jpg'));
  symlinkSync('.', path.join(where, 'loop'));
  symlinkSync('itself.jpg', path.join(where, 'itself.jpg'));
  assert.deepEqual((await list(where)).map((item) => item.name), ['link.jpg', 'real.jpg']);
});

test('names that are not UTF-8 are shown with replacement characters and opened by their url', async () => {
  const where = folder();
  const bytes = Buffer.concat([Buffer.from(`${where}/caf`), Buffer.from([0xe9]), Buffer.from('.jpg')]);
  writeFileSync(bytes, 'x');
  const [item] = await list(where);
  assert.equal(item.name, 'caf\ufffd.jpg');
  assert.equal(item.url, `file://${where}/caf%E9.jpg`);
  assert.equal(item.size, 1);
});

test('control characters in names do not reach the terminal', async () => {
  const where = folder();
  writeFileSync(path.join(where, 'a\x1b[31m\nb.jpg'), '');
  const { stdout } = await quill([example, where]);
  assert.ok(!stdout.includes('\x1b'));
  assert.match(stdout, /^ {2}a\ufffd\[31m\ufffdb\.jpg /m);
  assert.equal((await list(where))[0].name, 'a\x1b[31m\nb.jpg');
});

test('files that vanish during the scan are left out and the list is completed', async () => {
  const where = folder();
  for (let number = 0; number < 200; number += 1) {
    mkdirSync(path.join(where, `folder ${number}`));
    for (let file = 0; file < 20; file += 1) {
      writeFileSync(path.join(where, `folder ${number}`, `${file}.jpg`), '');
    }
  }
  // The scan runs on a thread of its own while the script removes every second folder.
  const result = await run(`
    const fs = require('node:fs');
    const where = process.argv[2];
    const { return_data: agent } = open({ param_scan_path: where });
    for (let number = 199; number >= 0; number -= 2) fs.rmSync(where + '/folder ' + number, { recursive: true });
    const end = await ended(agent);
    const all = Array.from({ length: count(agent) }, (_, index) =>
      JSON.parse(send('mrb_get_item_v2', { param_agent: agent, param_index: index }).return_data).path);
    finish({ event: end.param_event, all });`, where);
  assert.equal(result.event, 0);
  for (let number = 0; number < 200; number += 2) {
    for (let file = 0; file < 20; file += 1) {
      assert.ok(result.all.includes(path.join(where, `folder ${number}`, `${file}.jpg`)));
    }
  }
});

test('a list whose folder vanishes ends with an event', async () => {
  const where = folder();
  writeFileSync(path.join(where, 'a.jpg'), '');
  const result = await run(`
    const { return_data: agent } = open({ param_scan_path: process.argv[2] });
    require('node:fs').rmSync(process.argv[2], { recursive: true });
    finish((await ended(agent)).param_event);`, where);
  assert.ok([0, 1].includes(result));
});

test('a folder that cannot be read is listed and counted, its neighbours are read', async (t) => {
  const where = folder();
  mkdirSync(path.join(where, 'closed'));
  writeFileSync(path.join(where, 'closed', 'hidden.jpg'), '');
  mkdirSync(path.join(where, 'open'));
  writeFileSync(path.join(where, 'open', 'seen.jpg'), '');
  chmodSync(path.join(where, 'closed'), 0);
  t.after(() => {
    chmodSync(path.join(where, 'closed'), 0o700);
    rmSync(where, { recursive: true });
  });
  const { status, stdout, stderr } = await quill([example, where], { ordinary: true });
  assert.equal(status, 0, stderr);
  assert.match(stdout, /^3 items in/m);
  assert.match(stdout, /^1 folder could not be read$/m);
  assert.match(stdout, /^ {2}closed\/\n {2}open\/\n {4}seen\.jpg /m);
});

test('a folder that cannot be opened is refused with the reason', async (t) => {
  const where = folder();
  chmodSync(where, 0);
  t.after(() => rmSync(where, { recursive: true }));
  const { status, stderr } = await quill([example, where], { ordinary: true });
  assert.equal(status, 1);
  assert.match(stderr, /MRB_ERR_PERMISSION_DENIED, -6/);
});
