// The generated library of real media, through the example.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { lstatSync, readdirSync, statSync } from 'node:fs';
import path from 'node:path';
import test, { before } from 'node:test';
import { fileURLToPath } from 'node:url';

import { example, folder, list, quill, root, run } from './harness.mjs';

const library = path.join(folder(), 'library');
const MEDIA = {
  image: ['.jpg', '.jpeg', '.png', '.webp', '.gif', '.tiff', '.tif', '.bmp', '.heic'],
  music: ['.mp3', '.flac', '.ogg', '.m4a', '.wav', '.opus'],
  video: ['.mp4', '.mkv', '.webm', '.avi', '.mov'],
  playlist: ['.m3u', '.m3u8', '.pls', '.xspf'],
};
let items;

/** Every folder and file below a folder, from the file system. */
function walk(where) {
  return readdirSync(where, { withFileTypes: true }).flatMap((entry) => {
    const file = path.join(where, entry.name);
    return entry.isDirectory() ? [file, ...walk(file)] : [file];
  });
}

const kindOf = (file) => {
  if (lstatSync(file).isDirectory()) {
    return 'folder';
  }
  const extension = path.extname(file).toLowerCase();
  return Object.keys(MEDIA).find((kind) => MEDIA[kind].includes(extension));
};

before(async () => {
  execFileSync(path.join(root, 'tools', 'make-library'), [library], { stdio: 'ignore' });
  items = await list(library);
});

test('every folder and media file is listed once, and nothing else', () => {
  const expected = walk(library).filter((file) => !path.basename(file).startsWith('.') && kindOf(file));
  assert.deepEqual(items.map((item) => item.path).sort(), expected.sort());
});

test('the library has a file that is not media, which is not listed', () => {
  assert.ok(walk(library).some((file) => !path.basename(file).startsWith('.') && !kindOf(file)));
});

test('every item has the type of its file', () => {
  for (const item of items) {
    assert.equal(item.type_name, kindOf(item.path), item.path);
  }
});

test('sizes and times are those of the file system', () => {
  for (const item of items.filter(({ type_name: type }) => type !== 'folder')) {
    const { size, mtimeMs } = statSync(item.path);
    assert.equal(item.size, size);
    assert.equal(item.modified, `${new Date(Math.floor(mtimeMs / 1000) * 1000).toISOString().slice(0, 19)}Z`);
  }
});

test('the mime types are of the same kind as those of the file tool', () => {
  for (const item of items.filter(({ type_name: type }) => ['image', 'video'].includes(type))) {
    assert.ok(item.mime_type.startsWith(`${item.type_name}/`), item.path);
  }
});

test('urls name the files', () => {
  for (const item of items) {
    assert.equal(fileURLToPath(item.url), item.path);
  }
});

test('media ids are unique', () => {
  assert.equal(new Set(items.map((item) => item.media_id)).size, items.length);
});

test('numbered names are in natural order', () => {
  const names = items.map((item) => item.name).filter((name) => /^IMG \d+\.jpg$/.test(name));
  assert.deepEqual(names, [...names].sort((a, b) => parseInt(a.slice(4), 10) - parseInt(b.slice(4), 10)));
  assert.ok(names.indexOf('IMG 2.jpg') < names.indexOf('IMG 10.jpg'));
});

test('names in several scripts are listed unchanged', () => {
  const names = items.map((item) => item.name).join(' ');
  for (const script of [/\p{Script=Cyrillic}/u, /\p{Script=Greek}/u, /\p{Script=Han}/u, /\p{Script=Hangul}/u,
                        /\p{Script=Arabic}/u, /\p{Emoji_Presentation}/u, /é/]) {
    assert.match(names, script);
  }
});

test('the pictures carry EXIF data, the songs tags and a cover', () => {
  const exif = (file, ...tags) => JSON.parse(execFileSync('exiftool', ['-j', ...tags, file], { encoding: 'utf8' }))[0];
  const picture = items.find((item) => item.name === 'IMG 1.jpg');
  const { DateTimeOriginal: taken, Model: model, GPSPosition: place } =
    exif(picture.path, '-DateTimeOriginal', '-Model', '-GPSPosition');
  assert.ok(taken && model && place);
  const songs = items.filter((item) => item.path.endsWith('.mp3'))
    .map((item) => exif(item.path, '-Title', '-Artist', '-Album', '-Picture'));
  assert.ok(songs.every((song) => song.Title && song.Artist && song.Album));
  assert.ok(songs.some((song) => song.Picture));
});

test('the counts by type add up to the items', async () => {
  const counts = await run(`
    const { return_data: agent } = open({ param_scan_path: process.argv[2] });
    await ended(agent);
    finish(JSON.parse(send('mrb_get_item_count_v2',
      { param_agent: agent, get_item_count_for_each_type: true }).return_data));`, library);
  const of = (type) => items.filter((item) => item.type_name === type).length;
  assert.deepEqual(counts, {
    item_count_all: items.length, item_count_folder: of('folder'), item_count_image: of('image'),
    item_count_music: of('music'), item_count_video: of('video'), item_count_m3u: of('playlist'),
    item_count_record: 0, item_count_uhd: 0, item_count_scsa: 0, item_count_group: 0, item_count_empty: 0,
    item_count_upfolder: 0,
  });
});

for (const [content, types] of [['IMAGE', ['image']], ['MUSIC', ['music']], ['VIDEO', ['video']],
                                ['FOLDER', ['folder']], ['PLAYLIST', ['playlist']]]) {
  test(`the content type ${content} lists that kind only`, async () => {
    const names = await run(`
      const { return_data: agent } = open({ param_scan_path: process.argv[2], param_content_type: '${content}' });
      await ended(agent);
      finish(Array.from({ length: count(agent) }, (_, index) =>
        JSON.parse(send('mrb_get_item_v2', { param_agent: agent, param_index: index }).return_data).path));`, library);
    assert.deepEqual(names, items.filter((item) => types.includes(item.type_name)).map((item) => item.path));
  });
}

test('the example prints a readable list', async () => {
  const { status, stdout, stderr } = await quill([example, library]);
  assert.equal(status, 0);
  assert.equal(stderr, '');
  assert.match(stdout, new RegExp(`^${items.length} items in \\d+ ms: \\d+ folders, \\d+ pictures, \\d+ songs`, 'm'));
  assert.match(stdout, /^ {2}Holiday\/\n {4}Café à Paris\.jpg +image +[\d.]+ kB {2}\d{4}-\d\d-\d\d {2}image\/jpeg$/m);
  assert.match(stdout, /"media_id": "msc:/);
});

test('the example prints its usage and rejects wrong arguments', async () => {
  assert.match((await quill([example, '--help'])).stdout, /^Usage: quill list\.js FOLDER/);
  for (const [args, message] of [[[], 'give one folder'], [['a', 'b'], 'give one folder'],
                                 [[library, '--bogus'], 'unknown option --bogus'],
                                 [['/no/such/folder'], '/no/such/folder: mrb_request_list_v2: it does not exist'],
                                 [[example], 'it is not a folder']]) {
    const { status, stderr } = await quill([example, ...args]);
    assert.equal(status, 1);
    assert.ok(stderr.startsWith('list: ') && stderr.includes(message), stderr);
  }
});
