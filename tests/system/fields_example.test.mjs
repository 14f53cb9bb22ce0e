// The fields example, against the values that ffmpeg and exiftool read from the same files.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { chmodSync, cpSync, readdirSync, readFileSync, statSync } from 'node:fs';
import path from 'node:path';
import test, { before } from 'node:test';

import { folder, quill, root } from './harness.mjs';
import { testUsage } from './usage_tests.mjs';

const program = path.join(root, 'sdk', 'examples', 'fields.js');
const library = path.join(folder(), 'library');
before(() => execFileSync(path.join(root, 'tools', 'make-library'), [library], { stdio: 'ignore' }));

const outside = (command, args) =>
  JSON.parse(execFileSync(command, args, { env: { ...process.env, LD_PRELOAD: '' }, encoding: 'utf8' }));
const exif = (file) => outside('exiftool', ['-json', '-n', file])[0];
const probe = (file) => outside('ffprobe', ['-v', 'error', '-of', 'json', '-show_format', '-show_streams', file]);

/** The printed fields, as a map for each file by its path. */
function parse(stdout) {
  const files = new Map();
  for (const block of stdout.split('\n\n').filter(Boolean)) {
    const [file, ...lines] = block.split('\n');
    files.set(file, new Map(lines.map((line) => [line.slice(2, 25).trim(), line.slice(25)])));
  }
  return files;
}

/** The fields of one file of the library. */
async function fieldsOf(name, ...options) {
  const file = path.join(library, name);
  const { status, stdout, stderr } = await quill([program, ...options, file]);
  assert.deepEqual([status, stderr], [0, '']);
  const files = parse(stdout);
  assert.deepEqual([...files.keys()], [file]);
  return { file, fields: files.get(file) };
}

test('a picture has what exiftool wrote', async () => {
  const { file, fields } = await fieldsOf('Holiday/IMG 10.jpg');
  const written = exif(file);
  assert.equal(fields.get('DATE_TAKEN').replace('T', ' '), written.DateTimeOriginal.replace(/^(\d+):(\d+):/, '$1-$2-'));
  assert.equal(fields.get('MODEL'), written.Model);
  assert.equal(fields.get('ISO'), String(written.ISO));
  assert.equal(fields.get('FNUMBER'), `f/${written.FNumber}`);
  assert.equal(fields.get('EXPOSURE_TIME'), `1/${Math.round(1 / written.ExposureTime)} s`);
  assert.equal(fields.get('LATITUDE'), `${written.GPSLatitude.toFixed(6)}°`);
  assert.equal(fields.get('LONGITUDE'), `${written.GPSLongitude.toFixed(6)}°`);
  assert.equal(fields.get('WIDTH'), `${written.ImageWidth} pixels`);
  assert.equal(fields.get('HEIGHT'), `${written.ImageHeight} pixels`);
  assert.equal(fields.get('ORIENTATION'), `turned by 180° (${written.Orientation})`);
  assert.match(fields.get('SIZE'), new RegExp(`\\(${statSync(file).size.toLocaleString('en')} bytes\\)$`));
});

test('music has what ffmpeg wrote', async () => {
  const { file, fields } = await fieldsOf('Music/東京トリオ/夜想曲.m4a');
  const { format, streams } = probe(file);
  const sound = streams.find(({ codec_type: type }) => type === 'audio');
  for (const [field, tag] of [['TITLE', 'title'], ['ARTIST', 'artist'], ['ALBUM', 'album'], ['GENRE', 'genre'], ['YEAR', 'date']]) {
    assert.equal(fields.get(field), format.tags[tag], field);
  }
  assert.equal(fields.get('AUDIO_CODEC'), sound.codec_name);
  assert.equal(fields.get('SAMPLERATE'), `${Number(sound.sample_rate).toLocaleString('en')} Hz`);
  const [, seconds] = /^0:03 \((\d+\.\d{3}) s\)$/.exec(fields.get('DURATION'));
  assert.ok(Math.abs(seconds - format.duration) < 0.1, `${seconds} ${format.duration}`);
  assert.equal(fields.get('HAS_AUDIO_ONLY'), 'yes');
});

test('a video has what ffmpeg wrote', async () => {
  const { file, fields } = await fieldsOf('Video/Countdown.mp4');
  const { format, streams } = probe(file);
  const codec = (wanted) => streams.find(({ codec_type: type }) => type === wanted).codec_name;
  assert.equal(fields.get('TITLE'), format.tags.title);
  assert.equal(fields.get('VIDEO_CODEC'), codec('video'));
  assert.equal(fields.get('AUDIO_CODEC'), codec('audio'));
  assert.equal(fields.get('WIDTH'), `${streams[0].width} pixels`);
  assert.equal(fields.get('DURATION'), `0:04 (${Number(format.duration).toFixed(3)} s)`);
});

test('without --all no field is empty; with it each field of the manual is printed once', async () => {
  const some = await fieldsOf('Welcome.jpg');
  assert.ok([...some.fields.values()].every((value) => value !== '-' && value !== ''));
  assert.ok(!some.fields.has('ARTIST'));
  const { fields } = await fieldsOf('Welcome.jpg', '--all');
  const manual = readFileSync(path.join(root, 'docs', 'script-api.md'), 'utf8');
  const [table] = /\| fields \| value \|[^]*?\n\n/.exec(manual);
  const named = [...table.matchAll(/`([A-Z_]+)`/g)].map(([, name]) => name).filter((name) => name !== 'return_type');
  assert.equal(named.length, 80);
  assert.deepEqual([...fields.keys()].sort(), named.sort());
  assert.equal(fields.get('ARTIST'), '-');
  assert.equal(fields.get('ALTITUDE'), '-');
});

test('a folder shows every picture, song and video in it', async () => {
  const { status, stdout } = await quill([program, path.join(library, 'Music'), path.join(library, 'Video')]);
  assert.equal(status, 0);
  const isMedia = (name) => /\.(mp3|flac|ogg|m4a|opus|wav|mp4|mkv|webm|avi)$/.test(name);
  const expected = ['Music', 'Video'].flatMap((name) => readdirSync(path.join(library, name), { recursive: true })
    .filter(isMedia).map((file) => path.join(library, name, file)));
  assert.deepEqual([...parse(stdout).keys()].sort(), expected.sort());
});

test('a file that does not exist, and one that is not media, is named; the others are shown', async () => {
  const none = path.join(library, 'none.jpg');
  const text = path.join(library, 'Read me.txt');
  const { status, stdout, stderr } = await quill([program, none, text, path.join(library, 'Welcome.jpg')]);
  assert.equal(status, 1);
  assert.equal(stderr, `fields: ${none}: it does not exist\nfields: ${text}: it is not a picture, music or video file\n`);
  assert.equal(parse(stdout).size, 1);
});

test('a file that cannot be read is reported with the reason, and shows the values of the list', async () => {
  const where = folder();
  const file = path.join(where, 'a.jpg');
  cpSync(path.join(library, 'Welcome.jpg'), file);
  chmodSync(file, 0);
  const { status, stdout, stderr } = await quill([program, where], { ordinary: true });
  assert.equal(status, 1);
  assert.match(stderr, /^fields: \/.*\/a\.jpg: .*\bWIDTH\b.*: .*\(MRB_ERR_PERMISSION_DENIED, -6\)\n$/);
  assert.match(parse(stdout).get(file).get('SIZE'), /^15\.\d kB /);
});

testUsage(program, 'fields.js [--all] FILE|FOLDER ...', [
  ['nothing', [], 'give files or folders'],
  ['an unknown option', ['a', '--json'], 'unknown option --json'],
]);
