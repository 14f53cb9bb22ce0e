// Lists of real media servers as scripts see them.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { linkSync, statSync } from 'node:fs';
import path from 'node:path';

import { repetitions, testWith } from '../needs.mjs';
import { folder } from './harness.mjs';
import { run } from './dlna_script.mjs';
import { configuration, rygelConfiguration } from './media_server.mjs';

const test = testWith('user-networks');

const COUNT = 5000;

const ffmpeg = (...args) => execFileSync('ffmpeg', ['-nostdin', '-loglevel', 'error', ...args]);

/** A folder of `count` pictures, which are links to one. */
function pictures(count) {
  const media = folder();
  const first = path.join(media, 'picture 1.jpg');
  ffmpeg('-f', 'lavfi', '-i', 'testsrc2=size=32x18:rate=1', '-frames:v', '1', first);
  for (let number = 2; number <= count; number += 1) linkSync(first, path.join(media, `picture ${number}.jpg`));
  return media;
}

test('five thousand items of a server are listed, paged, searched and sorted', async () => {
  const media = pictures(COUNT);
  const { whole, names, page, last, found, backwards, width } = await run(`
    const COUNT = Number(process.argv[3]);
    const { server, id } = await meet(() => serve(process.argv[2]));
    const where = { param_source_name: 'SOURCE_DLNA', param_scan_path: id, param_content_type: 'IMAGE' };
    const sorted = { ...where, param_sort_category: 'NAME' };
    const whole = await listAll(sorted, COUNT);
    const all = items(whole.agent, 0, COUNT);
    const page = items(whole.agent, 2480, 20).map((item) => item.name);
    const width = send('mrb_get_item_value_v2', { param_agent: whole.agent, param_index: 4321, param_field: 'WIDTH' });
    const found = await list({ ...sorted, param_key_word: 'PICTURE 49' });
    const down = await list({ ...where, param_sort_category: 'NAME DESC' });
    const backwards = items(down.agent, 0, 2).map((item) => item.name);
    server.kill();
    finish({ whole, names: all.map((item) => item.name), page, last: all.at(-1), found, backwards, width });`,
  configuration('Shelf', media), String(COUNT));
  assert.deepEqual([whole.event, whole.item_count, whole.unreadable], [0, COUNT, 0]);
  assert.deepEqual(names, Array.from({ length: COUNT }, (_, index) => `picture ${index + 1}`));
  assert.deepEqual(page, names.slice(2480, 2500));
  assert.equal(last.mime_type, 'image/jpeg');
  assert.equal(last.size, statSync(path.join(media, 'picture 1.jpg')).size);
  assert.match(last.url, /^http:\/\/127\.0\.0\.1:8200\/MediaItems\/\d+\.jpg$/);
  assert.equal(width.return_data, 32);
  // 49, 490 to 499, 4900 to 4999
  assert.deepEqual([found.event, found.item_count], [0, 111]);
  assert.deepEqual(backwards, ['picture 5000', 'picture 4999']);
});

test('a server of another implementation lists thousands of items too', async () => {
  const total = repetitions(1000, COUNT); // the server takes far longer to index them than we to list them
  const { whole, names, last, found } = await run(`
    const COUNT = Number(process.argv[3]);
    const { server, id } = await meet(() => serveRygel(process.argv[2]));
    const where = { param_source_name: 'SOURCE_DLNA', param_scan_path: id, param_content_type: 'IMAGE',
                    param_sort_category: 'NAME' };
    const whole = await listAll(where, COUNT);
    const all = items(whole.agent, 0, COUNT);
    const found = await list({ ...where, param_key_word: 'PICTURE 49' });
    process.kill(-server.pid);
    finish({ whole, names: all.map((item) => item.name), last: all.at(-1), found });`,
  rygelConfiguration('Shelf', pictures(total)), String(total));
  assert.deepEqual([whole.event, whole.item_count], [0, total]);
  assert.deepEqual(names, Array.from({ length: total }, (_, index) => `picture ${index + 1}`));
  assert.match(last.url, /^http:\/\/127\.0\.0\.1:\d+\//);
  assert.deepEqual([found.event, found.item_count], [0, names.filter((name) => name.startsWith('picture 49')).length]);
});

/** A song, a picture and a film, and their metadata. */
function library() {
  const media = folder();
  ffmpeg('-f', 'lavfi', '-i', 'sine=duration=3:sample_rate=44100', '-metadata', 'title=夜想曲', '-metadata', 'artist=Zoë',
    '-metadata', 'album=Été', '-metadata', 'genre=Jazz', '-metadata', 'track=7', path.join(media, 'song.flac'));
  ffmpeg('-f', 'lavfi', '-i', 'testsrc2=size=64x36:rate=1', '-frames:v', '1', path.join(media, 'photo.jpg'));
  ffmpeg('-f', 'lavfi', '-i', 'testsrc2=size=128x72:rate=25:duration=2', '-pix_fmt', 'yuv420p', path.join(media, 'film.mp4'));
  return media;
}

for (const [kind, configure, start] of [['minidlna', configuration, 'serve'], ['rygel', rygelConfiguration, 'serveRygel']]) {
  test(`the fields of items of ${kind} are those of the files`, async () => {
    const media = library();
    const found = await run(`
      const { server, id } = await meet(() => ${start}(process.argv[2]));
      const found = {};
      for (const type of ['MUSIC', 'IMAGE', 'VIDEO']) {
        const request = { param_source_name: 'SOURCE_DLNA', param_scan_path: id, param_content_type: type };
        let fields = {};
        let agent = 0;
        // It lists an item before it has read the file.
        while (!fields.URL || !fields.SIZE) {
          ({ agent } = await listAll({ ...request, ...(agent && { param_agent: agent }) }, 1));
          fields = Object.fromEntries(['TITLE', 'ARTIST', 'ALBUM', 'GENRE', 'DURATION', 'SAMPLERATE', 'WIDTH', 'HEIGHT',
            'MIME_TYPE', 'SIZE', 'URL', 'FILE_PATH'].map((field) => [field, send('mrb_get_item_value_v2',
              { param_agent: agent, param_index: 0, param_field: field }).return_data]));
        }
        found[type] = fields;
      }
      ${start === 'serve' ? 'server.kill()' : 'process.kill(-server.pid)'};
      finish(found);`, configure('Shelf', media));
    const size = (name) => statSync(path.join(media, name)).size;
    assert.equal(found.MUSIC.SIZE, size('song.flac'));
    assert.equal(found.MUSIC.FILE_PATH, '');
    if (kind === 'minidlna') { // Rygel's engine does not read files
      const { TITLE, ARTIST, ALBUM, GENRE, SAMPLERATE } = found.MUSIC;
      assert.deepEqual({ TITLE, ARTIST, ALBUM, GENRE, SAMPLERATE },
        { TITLE: '夜想曲', ARTIST: 'Zoë', ALBUM: 'Été', GENRE: 'Jazz', SAMPLERATE: 44100 });
      assert.ok(Math.abs(found.MUSIC.DURATION - 3000) < 100, String(found.MUSIC.DURATION));
      assert.deepEqual([found.IMAGE.WIDTH, found.IMAGE.HEIGHT], [64, 36]);
      assert.deepEqual([found.VIDEO.WIDTH, found.VIDEO.HEIGHT], [128, 72]);
    }
    assert.equal(found.IMAGE.SIZE, size('photo.jpg'));
    assert.equal(found.IMAGE.MIME_TYPE, 'image/jpeg');
    assert.equal(found.VIDEO.SIZE, size('film.mp4'));
    assert.equal(found.VIDEO.MIME_TYPE, 'video/mp4');
    assert.match(found.VIDEO.URL, /^http:\/\/127\.0\.0\.1:\d+\//);
  });
}

test('a server that is killed while it is listed ends the list, which keeps its items', async () => {
  const { end, count } = await run(`
    const { server, id } = await meet(() => serve(process.argv[2]));
    const request = { param_source_name: 'SOURCE_DLNA', param_scan_path: id, param_content_type: 'IMAGE' };
    const { agent } = await listAll(request, Number(process.argv[3]));
    const ended = list({ ...request, param_agent: agent });
    server.kill('SIGKILL'); // it has had time for two pages at most
    const end = await ended;
    finish({ end, count: send('mrb_get_item_count_v2', { param_agent: agent }).return_data });`,
  configuration('Shelf', pictures(COUNT)), String(COUNT));
  assert.deepEqual([end.event, end.error], [1, 'MRB_ERR_DEVICE_REMOVED']);
  assert.equal(end.item_count, count);
  assert.ok(count < COUNT);
});

test('a list of a server needs the service', async () => {
  assert.equal(await run(`finish(call('mrb_request_list_v2', () => {}, JSON.stringify({ param_source_name: 'SOURCE_DLNA',
    param_scan_path: 'uuid:1' })).return_ecode);`), -16);
});
