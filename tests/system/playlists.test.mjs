// Playlists as a script sees them: one in its request, and all that are found.
import assert from 'node:assert/strict';
import { randomBytes } from 'node:crypto';
import { mkdirSync, readdirSync, readFileSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { pathToFileURL } from 'node:url';

import { folder, quill, root, run, runWith } from './harness.mjs';

/** Writes files by their names into a new folder; returns the folder. */
function tree(files) {
  const where = folder();
  for (const [name, text] of Object.entries(files)) {
    const file = path.join(where, name);
    mkdirSync(path.dirname(file), { recursive: true });
    writeFileSync(file, text);
  }
  return where;
}

const LIST = `
const playlists = (request) => opened({ param_source_name: 'SOURCE_PLAYLIST', ...request });
`;

test('a script opens one playlist by its path or its URL', async () => {
  const where = tree({ 'party.m3u': '#EXTM3U\n#EXTINF:61,Über alles\nb.mp3\ngone.mp3\nhttp://host/radio\n', 'b.mp3': 'x' });
  const file = path.join(where, 'party.m3u');
  const [byPath, byUrl] = await run(`${LIST}
    finish([await playlists({ param_prepare_data: process.argv[2] }),
            await playlists({ param_prepare_data: process.argv[3] })]);`, file, pathToFileURL(file).href);
  assert.equal(byPath.event, 0);
  assert.deepEqual(byPath.items.map(({ name, title, duration, missing, type_name }) =>
    [name, title, duration, missing, type_name]),
  [['b.mp3', 'Über alles', 61000, false, 'music'], ['gone.mp3', null, null, true, 'music'],
    ['radio', null, null, false, 'music']]);
  assert.equal(byPath.items[0].media_id, `playlist:${file}#1`);
  assert.equal(byPath.items[2].url, 'http://host/radio');
  assert.deepEqual(byUrl.items, byPath.items);
});

test('the name of a playlist has no effect, and a file that is not a playlist is refused', async () => {
  const where = tree({ 'a.mp3': 'x', 'p.m3u': 'a.mp3\n' });
  const result = await run(`${LIST}
    const where = process.argv[2];
    const of = (request) => open({ param_source_name: 'SOURCE_PLAYLIST', ...request }).return_ecode;
    finish([of({ param_playlist_name: '/no/such.m3u' }), of({ param_prepare_data: where + '/gone.m3u' }),
            of({ param_prepare_data: where + '/a.mp3' }), of({ param_prepare_data: where }),
            of({ param_prepare_data: 'p.m3u' }),
            open({ param_scan_path: where, param_prepare_data: where + '/p.m3u' }).return_ecode]);`, where);
  assert.deepEqual(result, [0, -4, -5, -5, -1, -5]);
});

test('all playlists of an offered folder and of the music folder are found and browsed', async () => {
  const stick = tree({ 'sets/one.pls': '[playlist]\nFile1=..\\songs\\a.mp3\nTitle1=A\nLength1=5\n',
    'songs/a.mp3': 'x', 'songs/b.mp3': 'y' });
  const home = tree({ 'Music/two.xspf': `<?xml version="1.0"?><playlist version="1" xmlns="http://xspf.org/ns/0/">
    <trackList><track><location>${pathToFileURL(path.join(stick, 'songs', 'b.mp3')).href}</location></track>
    <track><location>../.ssh/key.mp3</location></track></trackList></playlist>`, '.ssh/key.mp3': 'z' });
  const { value } = await runWith({ env: { HOME: home, XDG_CONFIG_HOME: path.join(home, 'none'), MRB_DEVICES: stick } }, `${LIST}
    const list = await playlists({});
    const at = (method, more) => send(method, { param_agent: list.agent, ...more }).return_ecode;
    at('mrb_set_navigation_v2', { param_navigation: 1 });
    const top = itemsOf(list.agent).map((item) => item.name);
    at('mrb_move_to_index_v2', { param_index: 0 });
    at('mrb_set_navigation_v2', { param_navigation: 2 });
    const inside = itemsOf(list.agent).map((item) => item.name);
    at('mrb_move_to_index_v2', { param_index: 1 });
    const title = send('mrb_get_item_value_v2', { param_agent: list.agent, param_index: 1, param_field: 'TITLE' }).return_data;
    finish({ ...list, top, inside, title });`);
  assert.deepEqual(value.top.filter((name) => ['one.pls', 'two.xspf'].includes(name)), ['one.pls', 'two.xspf']);
  assert.deepEqual(value.inside, ['..', 'a.mp3']);
  assert.equal(value.title, 'A');
  const key = value.items.find(({ name }) => name === 'key.mp3');
  assert.equal(key.missing, true);
  const b = value.items.find(({ name }) => name === 'b.mp3');
  assert.equal(b.path, path.join(stick, 'songs', 'b.mp3'));
  assert.equal(b.missing, false);
});

test('a playlist on a device lists no file outside of the device', async () => {
  const where = tree({ 'secret.mp3': 'x', 'stick/p.m3u': '../secret.mp3\n/etc/passwd.mp3\nfile:///etc/passwd.mp3\n' });
  const { value } = await runWith({ env: { MRB_DEVICES: path.join(where, 'stick') } }, `${LIST}
    finish(await playlists({ param_prepare_data: process.argv[2] }));`, path.join(where, 'stick', 'p.m3u'));
  assert.deepEqual(value.items.map((item) => [item.missing, item.size]), [[true, null], [true, null], [true, null]]);
});

test('a playlist that contains itself ends', async () => {
  const where = tree({ 'p.m3u': 'p.m3u\nq.pls\n', 'q.pls': 'File1=p.m3u\n' });
  const list = await run(`${LIST} finish(await playlists({ param_prepare_data: process.argv[2] }));`,
    path.join(where, 'p.m3u'));
  assert.equal(list.event, 0);
  assert.deepEqual(list.items.map(({ name }) => name), ['p.m3u', 'q.pls', 'p.m3u']);
});

test('a cancellation ends the reading of a large playlist', async () => {
  const where = tree({ 'p.m3u': Array.from({ length: 100_000 }, (_, n) => `folder ${n}/${n}.mp3\n`).join('') });
  const event = await run(`${LIST}
    const { return_data: agent } = open({ param_source_name: 'SOURCE_PLAYLIST', param_prepare_data: process.argv[2] });
    send('mrb_cancel_request_list_v2', { param_agent: agent });
    finish((await ended(agent)).param_event);`, path.join(where, 'p.m3u'));
  assert.equal(event, 13);
});

// ---- copies ----------------------------------------------------------------

test('selected entries of a playlist are copied byte for byte, and those that cannot be are reported', async () => {
  const noise = (size) => randomBytes(size).toString('latin1');
  const where = tree({ 'deep/er/a.mp3': noise(1_500_000), 'b.flac': noise(40_000), 'other/b.flac': noise(50_000),
    'unwanted.mp3': 'x', 'sets/party.m3u': [['..', 'deep', 'er', 'a.mp3'].join('\\'), '../unwanted.mp3', '../gone.mp3',
      '../b.flac', 'http://host/radio.mp3', '../other/b.flac', ''].join('\n') });
  const to = folder();
  const file = path.join(where, 'sets', 'party.m3u');
  const { value, stderr } = await runWith({ env: { HOME: where, MRB_DEVICES: where, QUILL_LOG: 'stderr' } }, `${LIST}
    const [playlist, to] = process.argv.slice(2);
    const list = await playlists({ param_prepare_data: playlist });
    const wanted = list.items.flatMap(({ name }, index) => (name === 'unwanted.mp3' ? [] : [index]));
    const selected = send('mrb_toggle_select_v2', { param_agent: list.agent, param_item_list: wanted }).return_ecode;
    const steps = [];
    const last = await new Promise((resolve) => {
      const answer = JSON.parse(bridge.mrb_batch_process_v2((text) => {
        steps.push(JSON.parse(text));
        if (![17, 8].includes(steps.at(-1).param_event)) resolve(steps.at(-1));
      }, JSON.stringify({ param_agent: list.agent, param_share_type: 2, param_source_device_type: 1,
                          param_dest_device_type: 1, param_dest_device_path: to })));
      if (answer.return_ecode !== 0) resolve(answer);
    });
    finish({ selected, first: steps[0], last });`, file, to);
  assert.equal(value.selected, 0);
  assert.deepEqual([value.first.param_event, value.first.param_share_total_file_count], [17, 5]);
  assert.equal(value.last.param_event, 19);
  assert.equal(value.last.param_share_current_file_name, 'gone.mp3');
  assert.equal(value.last.param_share_done_file_count, 3);
  const bytes = (...names) => readFileSync(path.join(...names));
  assert.equal(value.last.param_share_success_file_size, ['a.mp3', 'b.flac', 'b (1).flac']
    .reduce((sum, name) => sum + bytes(to, name).length, 0));
  assert.deepEqual(readdirSync(to).sort(), ['a.mp3', 'b (1).flac', 'b.flac']);
  assert.ok(bytes(to, 'a.mp3').equals(bytes(where, 'deep', 'er', 'a.mp3')));
  assert.ok(bytes(to, 'b.flac').equals(bytes(where, 'b.flac')));
  assert.ok(bytes(to, 'b (1).flac').equals(bytes(where, 'other', 'b.flac')));
  assert.match(stderr, new RegExp(`Not copied: gone\\.mp3: there is no file ${where}/gone\\.mp3\\.`));
  assert.match(stderr, /Not copied: radio\.mp3: it lies on another machine/);
});

test('a playlist in UTF-16 is read, and xml:base of XSPF is applied', async () => {
  const where = tree({ 'songs/Übung 音.mp3': 'x', 'win.m3u': '',
    'based.xspf': `<playlist version="1" xmlns="http://xspf.org/ns/0/" xml:base="songs/"><trackList>
      <track><location>${encodeURIComponent('Übung 音.mp3')}</location></track></trackList></playlist>` });
  writeFileSync(path.join(where, 'win.m3u'),
    Buffer.from('\uFEFF#EXTM3U\r\n#EXTINF:5,Titel 音\r\nsongs\\Übung 音.mp3\r\n', 'utf16le'));
  const lists = await run(`${LIST}
    finish([await playlists({ param_prepare_data: process.argv[2] }), await playlists({ param_prepare_data: process.argv[3] })]);`,
  path.join(where, 'win.m3u'), path.join(where, 'based.xspf'));
  for (const { items } of lists) {
    assert.deepEqual(items.map((item) => [item.path, item.missing]), [[path.join(where, 'songs', 'Übung 音.mp3'), false]]);
  }
  assert.equal(lists[0].items[0].title, 'Titel 音');
});

// ---- the example ------------------------------------------------------------

const example = path.join(root, 'sdk', 'examples', 'playlists.js');

test('the example prints the entries of a playlist', async () => {
  const where = tree({ 'p.m3u': '#EXTINF:61,Title\nb.mp3\ngone.mp3\nhttp://host/radio\n', 'b.mp3': 'x' });
  const { status, stdout, stderr } = await quill([example, path.join(where, 'p.m3u')]);
  assert.deepEqual([status, stderr], [0, '']);
  assert.deepEqual(stdout.split('\n').map((line) => line.replace(/ +/g, ' ').trim()),
    ['3 entries, 1 not there', `Title 1:01 ${path.join(where, 'b.mp3')}`, 'gone.mp3 not there', 'radio http://host/radio', '']);
});

test('the example prints the playlists that are found, and the failures', async () => {
  const where = tree({ 'sets/p.m3u': '' });
  const found = await quill([example], { env: { MRB_DEVICES: where } });
  assert.deepEqual([found.status, found.stderr], [0, '']);
  assert.ok(found.stdout.includes(`  ${path.join(where, 'sets', 'p.m3u')}\n`), found.stdout);
  const gone = await quill([example, path.join(where, 'gone.m3u')]);
  assert.equal(gone.status, 1);
  assert.match(gone.stderr, /^playlists: .*gone\.m3u: .*\n$/);
  assert.equal((await quill([example, 'a', 'b'])).status, 1);
});
