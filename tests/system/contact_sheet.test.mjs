// The contact sheet: a page with thumbnails of a folder, from the outside.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { cpSync, existsSync, mkdirSync, readdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test, { before } from 'node:test';

import { folder, quill, root } from './harness.mjs';
import { testUsage } from './usage_tests.mjs';

const sheet = path.join(root, 'sdk', 'examples', 'contact_sheet.js');
const library = path.join(folder(), 'library');
before(() => execFileSync(path.join(root, 'tools', 'make-library'), [library], { stdio: 'ignore' }));

/** Creates a sheet; returns how the program ended, and the page and bitmaps. */
async function make(where, ...options) {
  const output = path.join(folder(), 'sheet');
  const result = await quill([sheet, where, output, ...options]);
  const files = existsSync(output) ? readdirSync(output).sort() : [];
  return { ...result, output, bitmaps: files.filter((name) => name.endsWith('.bmp')),
           page: files.includes('index.html') ? readFileSync(path.join(output, 'index.html'), 'utf8') : undefined };
}

const shownIn = (page) => [...page.matchAll(/<img src="([^"]+)" width="(\d+)" height="(\d+)"/g)];
const identify = (file) => execFileSync('identify', ['-format', '%m %w %h', file],
  { env: { ...process.env, LD_PRELOAD: '' }, encoding: 'utf8' });

/** A folder with one picture under each of these names. */
function pictures(...names) {
  const where = folder();
  for (const name of names) {
    mkdirSync(path.dirname(path.join(where, name)), { recursive: true });
    cpSync(path.join(library, 'Welcome.jpg'), path.join(where, name));
  }
  return where;
}

test('a library becomes bitmaps that ImageMagick opens, and a page that shows each once', async () => {
  const { status, stdout, stderr, output, bitmaps, page } = await make(library);
  assert.deepEqual([status, stderr], [0, '']);
  assert.match(stdout, /^29 files shown in .*\/sheet\/index\.html\n/);
  const shown = shownIn(page);
  assert.deepEqual(shown.map(([, name]) => name).sort(), bitmaps);
  assert.equal(bitmaps.length, 29);
  for (const [, name, width, height] of shown) {
    assert.match(identify(path.join(output, name)), new RegExp(`^BMP\\d? ${width} ${height}$`));
  }
});

test('files without a thumbnail are listed, on the page as well', async () => {
  const { stdout, page } = await make(library);
  const named = [...stdout.matchAll(/^ {2}without a thumbnail: (.*) \(.*\)$/gm)].map(([, name]) => name);
  assert.ok(named.includes('Music/Beep.wav'), stdout);
  assert.equal(page.match(/>no thumbnail</g).length, named.length);
  named.map((name) => path.basename(name)).forEach((name) =>
    assert.ok(page.includes(`<figcaption title="${name}">${name}</figcaption>`), name));
});

test('files are under the names of their folders, those of the folder itself first', async () => {
  const { page } = await make(library);
  const folders = [...page.matchAll(/<h2>([^<]*)<\/h2>/g)].map(([, name]) => name);
  assert.equal(new Set(folders).size, folders.length, 'a folder has two headings');
  assert.ok(folders.includes('Music/The Oscillators/Sine of the Times'), folders);
  const [top, holiday] = page.split(/<h2>Holiday<\/h2>/);
  assert.match(top, />Welcome\.jpg</);
  assert.match(holiday.split('<h2>')[0], />IMG 2\.jpg<[^]*>IMG 10\.jpg</);
});

test('the frames of a video have their times', async () => {
  const { page } = await make(path.join(library, 'Video'), '--size', '64', '--frames=3');
  const countdown = page.match(/<figure(?:(?!<\/figure>)[^])*Countdown\.mp4/)[0];
  const moments = [...countdown.matchAll(/title="(\d+:\d\d\.\d)"/g)].map(([, moment]) => moment);
  assert.equal(moments.length, 3);
  assert.deepEqual([...moments].sort(), moments);
});

test('--size is the longer side, --frames the frames of a video', async () => {
  const { bitmaps, page } = await make(path.join(library, 'Video'), '--size', '64', '--frames=3');
  const videos = page.match(/<figure/g).length;
  assert.equal(bitmaps.length, 3 * videos);
  shownIn(page).forEach(([, , width, height]) => assert.equal(Math.max(width, height), 64));
});

test('names cannot become markup or other links', async () => {
  const names = [`<script>alert('1')<`, 'a&amp;b "quoted"', 'http:', `it's #1?`].map((name) => `${name}/x.jpg`);
  const { status, page, output } = await make(pictures(...names));
  assert.equal(status, 0);
  assert.ok(!page.includes('<script>') && !page.includes('alert(\''), page);
  assert.match(page, /<h2>&lt;script&gt;alert\(&#39;1&#39;\)&lt;<\/h2>/);
  assert.match(page, /<h2>a&amp;amp;b &quot;quoted&quot;<\/h2>/);
  const links = [...page.matchAll(/<a href="([^"]*)"/g)].map(([, link]) => link);
  assert.equal(links.length, names.length);
  for (const link of links) {
    assert.match(link, /^\.\/\.\.\//);
    assert.ok(existsSync(path.resolve(output, decodeURIComponent(link))), link);
  }
});

test('an output folder that is not empty is not changed', async () => {
  const output = folder();
  writeFileSync(path.join(output, 'mine'), 'mine');
  const { status, stdout, stderr } = await quill([sheet, pictures('a.jpg'), output]);
  assert.deepEqual([status, stdout], [1, '']);
  assert.equal(stderr, `contact_sheet: ${output} is not empty; give a new or an empty folder\n`);
  assert.deepEqual(readdirSync(output), ['mine']);
});

test('a damaged picture lacks a thumbnail, the others have theirs', async () => {
  const where = pictures('a.jpg', 'c.jpg');
  writeFileSync(path.join(where, 'b.jpg'), 'no picture');
  const { status, stdout, bitmaps } = await make(where);
  assert.equal(status, 0);
  assert.match(stdout, /^2 files shown/);
  assert.match(stdout, /without a thumbnail: b\.jpg/);
  assert.equal(bitmaps.length, 2);
});

testUsage(sheet, 'contact_sheet.js FOLDER OUTPUT [--size N] [--frames N]', [
  ['no folders', [], 'give one folder to show and one to write to'],
  ['one folder', ['a'], 'give one folder to show and one to write to'],
  ['three folders', ['a', 'b', 'c'], 'give one folder to show and one to write to'],
  ['an unknown option', ['a', 'b', '--fast'], 'unknown option --fast'],
  ['a size of no number', ['a', 'b', '--size', 'big'], "--size takes a number from 16 to 4096, not 'big'"],
  ['a size that is too large', ['a', 'b', '--size=4097'], "--size takes a number from 16 to 4096, not '4097'"],
  ['frames without a number', ['a', 'b', '--frames'], "--frames takes a number from 1 to 5, not ''"],
]);

for (const [what, prepare, message] of [
  ['that does not exist', (where) => rmSync(where, { recursive: true }), /^contact_sheet: .*: .+\n$/],
  ['without media', () => {}, /^contact_sheet: .*: no pictures, videos or music in it\n$/],
]) {
  test(`a folder ${what} is an error, and makes no output`, async () => {
    const where = folder();
    prepare(where);
    const { status, stderr, output } = await make(where);
    assert.equal(status, 1);
    assert.match(stderr, message);
    assert.equal(existsSync(output), false);
  });
}
