// The fields of real media, as scripts read them: against independent tools, and against the documents.
import assert from 'node:assert/strict';
import { copyFileSync, readFileSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test, { before } from 'node:test';

import { folder, root, run } from './harness.mjs';
import { makeTaggedMedia, tool } from './tagged_media.mjs';

// ---- the documents' tables --------------------------------------------------

const rows = (document) => readFileSync(path.join(root, 'docs', document), 'utf8').split('\n')
  .filter((line) => /^\| `[A-Z]/.test(line)).map((line) => line.split('|').map((cell) => cell.trim()));
const names = (text) => [...text.matchAll(/`([A-Z_]+)`/g)].map(([, name]) => name);

/** Every field and its "return_type", by the script API's table. */
const TYPES = new Map(rows('script-api.md').filter((row) => /^[1456]$/.test(row[3]))
  .flatMap((row) => names(row[1]).map((name) => [name, Number(row[3])])));
const VALUES = { 1: 'number', 4: 'string', 5: 'boolean', 6: 'number' };

/** For these, 0 is a real value: where it is missing they return -4. */
const WITHOUT_EMPTY_VALUE = ['LATITUDE', 'LONGITUDE', 'ALTITUDE', 'TIMEZONE'];

// ---- real media -------------------------------------------------------------

const media = folder();
const of = (name) => path.join(media, name);

before(() => makeTaggedMedia(media));

/** The raw results of all fields of a file: {name: result}. */
const answers = (name) => run(`
  const { return_data: agent } = open({ param_scan_path: ${JSON.stringify(media)} });
  await ended(agent);
  const fields = {};
  for (let index = 0; index < count(agent); index += 1) {
    const { name } = JSON.parse(send('mrb_get_item_v2', { param_agent: agent, param_index: index }).return_data);
    if (name !== ${JSON.stringify(name)}) continue;
    for (const field of ${JSON.stringify([...TYPES.keys()])}) {
      fields[field] = send('mrb_get_item_value_v2', { param_agent: agent, param_index: index, param_field: field });
    }
  }
  finish(fields);`);

test('pictures: exiftool reads the same', async () => {
  const fields = await answers('photo.jpg');
  const [tags] = JSON.parse(tool('exiftool', '-n', '-j', of('photo.jpg')));
  for (const [field, tag] of [['WIDTH', 'ImageWidth'], ['HEIGHT', 'ImageHeight'], ['ORIENTATION', 'Orientation'],
    ['MODEL', 'Model'], ['MIME_TYPE', 'MIMEType']]) {
    assert.equal(fields[field].return_data, tags[tag], field);
  }
  for (const [field, tag] of [['LATITUDE', 'GPSLatitude'], ['LONGITUDE', 'GPSLongitude'], ['ALTITUDE', 'GPSAltitude']]) {
    assert.ok(Math.abs(fields[field].return_data - tags[tag]) < 1e-6, field);
  }
  assert.equal(fields.DATE_TAKEN.return_data, tags.DateTimeOriginal.replace(/(\d+):(\d+):(\d+) /, '$1-$2-$3T'));
});

test('music and videos: ffprobe reads the same', async () => {
  for (const [name, kinds] of [['song.mp3', ['audio']], ['film.mp4', ['audio', 'video']]]) {
    const fields = await answers(name);
    const { streams, format } = JSON.parse(tool('ffprobe', '-v', 'error', '-of', 'json', '-show_streams', '-show_format', of(name)));
    const stream = (kind) => streams.find((one) => one.codec_type === kind);
    for (const kind of kinds) {
      assert.equal(fields[`${kind.toUpperCase()}_CODEC`].return_data, stream(kind).codec_name);
    }
    assert.equal(fields.SAMPLERATE.return_data, Number(stream('audio').sample_rate));
    assert.equal(fields.TITLE.return_data, format.tags.title);
    assert.ok(Math.abs(fields.DURATION.return_data - Number(format.duration) * 1000) < 60, name);
    assert.equal(fields.SIZE.return_data, Number(format.size));
    if (!kinds.includes('video')) {
      // One uses the bytes of the whole stream, the other those of its frames.
      assert.ok(Math.abs(fields.BITRATE.return_data / Number(stream('audio').bit_rate) - 1) < 0.03);
    } else {
      assert.equal(fields.WIDTH.return_data, stream('video').width);
      assert.equal(fields.HEIGHT.return_data, stream('video').height);
    }
  }
});

test('the script API names eighty fields', () => assert.equal(TYPES.size, 80));

for (const [name, kind] of [['photo.jpg', 'P'], ['song.mp3', 'M'], ['film.mp4', 'V']]) {
  test(`${name}: every field has the value that the page about fields documents`, async () => {
    const fields = await answers(name);
    const foreign = rows('fields.md').filter((row) => /^[PMV ]+$/.test(row[3]) && row[3] !== '' && !row[3].includes(kind))
      .flatMap((row) => names(row[1]));
    const page = readFileSync(path.join(root, 'docs', 'fields.md'), 'utf8');
    const [nowhere] = page.match(/## Empty on this framework\n([^]*?)\n##/);
    const empty = [...foreign, ...names(nowhere)];
    assert.ok(empty.length > 30, String(empty.length));
    for (const [field, expected] of TYPES) {
      const { return_ecode: code, return_type: type, return_data: value } = fields[field];
      assert.ok(page.includes(`\`${field}\``), field);
      if (code !== 0) {
        assert.equal(code, -4, field);
        assert.ok(WITHOUT_EMPTY_VALUE.includes(field), field);
        continue;
      }
      assert.equal(type, expected, field);
      assert.equal(typeof value, VALUES[expected], field);
      if (empty.includes(field)) {
        assert.ok(value === 0 || value === false || value === '', `${field}: ${value}`);
      }
    }
  });
}

test('every field of files that are damaged, empty or something else can be read', async () => {
  const damaged = folder();
  for (const name of ['photo.jpg', 'song.mp3', 'film.mp4']) {
    const whole = readFileSync(of(name));
    for (const size of [0, 1, 40, 1000, Math.floor(whole.length / 2), whole.length - 1]) {
      writeFileSync(path.join(damaged, `${size} ${name}`), whole.subarray(0, size));
    }
    writeFileSync(path.join(damaged, `noise ${name}`), Buffer.concat([whole.subarray(0, 300), Buffer.alloc(5000, 0xa5)]));
  }
  copyFileSync(of('photo.jpg'), path.join(damaged, 'picture.mp3'));
  copyFileSync(of('song.mp3'), path.join(damaged, 'song.mp4'));
  copyFileSync(of('film.mp4'), path.join(damaged, 'film.jpg'));
  const items = await run(`
    const { return_data: agent } = open({ param_scan_path: process.argv[2] });
    await ended(agent);
    const items = {};
    for (let index = 0; index < count(agent); index += 1) {
      const { name } = JSON.parse(send('mrb_get_item_v2', { param_agent: agent, param_index: index }).return_data);
      items[name] = Object.fromEntries(JSON.parse(process.argv[3]).map((field) => [field,
        send('mrb_get_item_value_v2', { param_agent: agent, param_index: index, param_field: field })]));
    }
    finish(items);`, damaged, JSON.stringify([...TYPES.keys()]));
  assert.equal(Object.keys(items).length, 24);
  for (const [name, fields] of Object.entries(items)) {
    for (const [field, { return_ecode: code, return_data: value }] of Object.entries(fields)) {
      const isRefused = code === -4 && WITHOUT_EMPTY_VALUE.includes(field);
      assert.ok(isRefused || (code === 0 && typeof value === VALUES[TYPES.get(field)]), `${name}: ${field} ${code}`);
    }
  }
  // The bytes decide, not the name.
  assert.equal(items['picture.mp3'].MODEL.return_data, 'Desk Camera 1');
  assert.equal(items['song.mp4'].ARTIST.return_data, '東京トリオ');
  assert.equal(items['film.jpg'].WIDTH.return_data, 1280);
});
