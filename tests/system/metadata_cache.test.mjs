// The metadata cache of programs: across restarts, between processes, and after damage.
import assert from 'node:assert/strict';
import { existsSync, readFileSync, statSync, utimesSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { repetitions } from '../needs.mjs';
import { folder, runWith } from './harness.mjs';
import { pictureBytes, songBytes } from './small_media.mjs';

const CHANGED = 1_700_000_000;
const FILE = 'metadata-1.sqlite';

/** Writes a file with the same time of change, whatever its contents. */
function write(file, bytes) {
  writeFileSync(file, bytes);
  utimesSync(file, CHANGED, CHANGED);
}

/** Runs a script with a cache folder of its own. */
const runWithCache = (cache, body, ...args) => runWith({ env: { MRB_CACHE_FOLDER: cache, QUILL_LOG: 'off' } }, body, ...args)
  .then(({ value }) => value);

const ORDER = `
  const orders = [];
  for (const param_sort_category of JSON.parse(process.argv[3])) {
    const { return_data: agent } = open({ param_scan_path: process.argv[2], param_sort_category });
    await ended(agent);
    const names = [];
    const total = count(agent);
    for (let index = 0; index < total; index += 500) {
      const { param_item_list } = JSON.parse(send('mrb_get_item_list_v2', { param_agent: agent, param_index: index,
        param_count: 500 }).return_data);
      names.push(...param_item_list.map((item) => JSON.parse(item).name));
    }
    orders.push(names);
  }
  finish(orders);`;

test('a second program sorts thousands of files by artist and by date taken without reading them', async () => {
  const where = folder();
  const cache = folder();
  const HALF = repetitions(1_000, 5_000);
  const four = (number) => String(number).padStart(4, '0');
  const names = Array.from({ length: HALF }, (_, number) => four((number * 7919) % HALF));
  // `place` gives the order of the artists' numbers and of the dates' minutes.
  const make = (place) => names.forEach((name, number) => {
    write(path.join(where, `${name}.flac`), songBytes({ ARTIST: `Artist ${four(place(number))}` }));
    const [hour, minute] = [Math.floor(place(number) / 60), place(number) % 60];
    write(path.join(where, `${name}.jpg`), pictureBytes(
      `2024:07:${String(1 + Math.floor(hour / 24)).padStart(2, '0')} ${String(hour % 24).padStart(2, '0')}:${String(minute).padStart(2, '0')}:00`));
  });
  const order = (remembered) => runWithCache(remembered, ORDER, where, JSON.stringify(['ARTIST', 'DATE_TAKEN']));
  const first = (list, extension) => list.slice(0, HALF).map((name) => {
    assert.ok(name.endsWith(extension), name);
    return name.slice(0, -extension.length);
  });

  make((number) => number);
  const [byArtist, byDate] = await order(cache);
  assert.equal(byArtist.length, 2 * HALF);
  assert.deepEqual(first(byArtist, '.flac'), names);
  assert.deepEqual(first(byDate, '.jpg'), names);

  // Other contents of the same size and time: a program that reads them finds the reverse.
  const size = statSync(path.join(where, `${names[0]}.flac`)).size;
  make((number) => HALF - 1 - number);
  assert.equal(statSync(path.join(where, `${names[0]}.flac`)).size, size);
  assert.deepEqual(await order(cache), [byArtist, byDate]);
  const [rebuilt] = await order(folder());
  assert.deepEqual(first(rebuilt, '.flac'), [...names].reverse());
});

test('written fields are there after a restart, and not for another file of that name', async () => {
  const where = folder();
  const cache = folder();
  const file = path.join(where, 'a.flac');
  write(file, songBytes({ TITLE: 'Its own', ARTIST: 'Somebody' }));
  const FIELDS = ['TITLE', 'ARTIST', 'PLAYED_COUNT', 'PLAYED_POSITION', 'CONTENT_WATCH'];
  const READ = `
    const { return_data: agent } = open({ param_scan_path: process.argv[2] });
    await ended(agent);
    const request = { param_agent: agent, param_index: 0 };
    const codes = Object.entries(JSON.parse(process.argv[3])).map(([param_field, param_value]) =>
      send('mrb_set_item_value_v2', { ...request, param_field, param_value }).return_ecode);
    finish({ codes, values: ${JSON.stringify(FIELDS)}.map((param_field) =>
      send('mrb_get_item_value_v2', { ...request, param_field }).return_data) });`;
  const visit = (written) => runWithCache(cache, READ, where, JSON.stringify(written));

  assert.deepEqual((await visit({})).values, ['Its own', 'Somebody', 0, 0, false]);
  const written = ['Ein Stück', 'Somebody', 3, 95, true];
  assert.deepEqual(await visit({ TITLE: 'Ein Stück', PLAYED_COUNT: 3, PLAYED_POSITION: 95 }), { codes: [0, 0, 0], values: written });
  assert.deepEqual((await visit({})).values, written);
  assert.ok(readFileSync(file).equals(songBytes({ TITLE: 'Its own', ARTIST: 'Somebody' })), 'the file itself stays');

  utimesSync(file, CHANGED + 1, CHANGED + 1);
  assert.deepEqual((await visit({})).values, ['Its own', 'Somebody', 0, 0, false]);
});

test('two programs read and write at the same time, and a third finds all', async () => {
  const where = folder();
  const cache = path.join(folder(), 'not there yet');
  const SONGS = 200;
  for (let number = 0; number < SONGS; number += 1) {
    write(path.join(where, `${number}.flac`), songBytes({ ARTIST: `Artist ${number}` }));
  }
  const VISIT = `
    const { return_data: agent } = open({ param_scan_path: process.argv[2] });
    await ended(agent);
    const codes = new Set();
    const values = [];
    for (let index = 0; index < count(agent); index += 1) {
      const request = { param_agent: agent, param_index: index };
      values.push(['ARTIST', 'PLAYED_COUNT'].map((param_field) => send('mrb_get_item_value_v2', { ...request, param_field }).return_data));
      if (index % 2 === Number(process.argv[3])) {
        codes.add(send('mrb_set_item_value_v2', { ...request, param_field: 'PLAYED_COUNT', param_value: index + 1 }).return_ecode);
      }
    }
    finish({ codes: [...codes], values });`;
  const artists = Array.from({ length: SONGS }, (_, number) => `Artist ${number}`);
  const both = await Promise.all(['0', '1'].map((share) => runWithCache(cache, VISIT, where, share)));
  for (const { codes, values } of both) {
    assert.deepEqual(codes, [0]);
    assert.deepEqual(values.map(([artist]) => artist), artists);
  }
  const { values } = await runWithCache(cache, VISIT, where, 'neither');
  assert.deepEqual(values, artists.map((artist, number) => [artist, number + 1]));
});

test('a damaged cache is set aside, with a line in the log, and recreated', async () => {
  const where = folder();
  const cache = folder();
  write(path.join(where, 'a.flac'), songBytes({ ARTIST: 'Somebody' }));
  const READ = `
    const { return_data: agent } = open({ param_scan_path: process.argv[2] });
    await ended(agent);
    finish(send('mrb_get_item_value_v2', { param_agent: agent, param_index: 0, param_field: 'ARTIST' }).return_data);`;
  const read = async () => {
    const { value, stderr } = await runWith({ env: { MRB_CACHE_FOLDER: cache, QUILL_LOG: 'stderr' } }, READ, where);
    assert.equal(value, 'Somebody');
    return stderr.split('\n').filter((line) => line.includes('metadata cache'));
  };
  assert.deepEqual(await read(), []);
  const damaged = Buffer.from(`no database at all ${'x'.repeat(9000)}`);
  writeFileSync(path.join(cache, FILE), damaged);
  const lines = await read();
  assert.equal(lines.length, 1, lines.join('\n'));
  const aside = path.join(cache, `${FILE}.damaged`);
  assert.ok(lines[0].includes(`The metadata cache ${path.join(cache, FILE)} is damaged (`), lines[0]);
  assert.ok(lines[0].includes(`it is now ${aside}, and a new one is created.`), lines[0]);
  assert.ok(readFileSync(aside).equals(damaged));
  assert.deepEqual(await read(), []);
});

test('programs that find the same damaged cache at the same time all continue', async () => {
  const where = folder();
  const cache = folder();
  write(path.join(where, 'a.flac'), songBytes({ ARTIST: 'Somebody' }));
  writeFileSync(path.join(cache, FILE), 'x'.repeat(9000));
  const READ = `
    const { return_data: agent } = open({ param_scan_path: process.argv[2] });
    await ended(agent);
    finish(['ARTIST', 'TITLE'].map((param_field) => send('mrb_get_item_value_v2', { param_agent: agent, param_index: 0, param_field }).return_data));`;
  const all = await Promise.all(Array.from({ length: 4 }, () => runWithCache(cache, READ, where)));
  all.forEach((fields) => assert.deepEqual(fields, ['Somebody', 'a']));
  assert.ok(existsSync(path.join(cache, `${FILE}.damaged`)));
  assert.equal(readFileSync(path.join(cache, FILE)).subarray(0, 15).toString(), 'SQLite format 3');
});
