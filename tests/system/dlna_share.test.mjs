// Uploads to real DLNA servers, and downloads from them.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdirSync, readFileSync, readdirSync } from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { build, script } from '../host/harness.mjs';
import { needs } from '../needs.mjs';
import { run } from './dlna_script.mjs';
import { folder, quill, root } from './harness.mjs';
import { OWN_NETWORK, configuration, rygelConfiguration } from './media_server.mjs';

const ffmpeg = (...args) => execFileSync('ffmpeg', ['-nostdin', '-loglevel', 'error', ...args]);
const picture = (file, width = 640) =>
  ffmpeg('-f', 'lavfi', '-i', `testsrc2=size=${width}x360:rate=1`, '-frames:v', '1', file);

test('files are uploaded to a server, and downloaded byte for byte', needs('user-networks'), async () => {
  const from = folder();
  const to = folder();
  picture(path.join(from, 'photo.jpg'));
  ffmpeg('-f', 'lavfi', '-i', 'sine=duration=20', path.join(from, 'song.flac'));
  ffmpeg('-f', 'lavfi', '-i', 'testsrc2=size=640x360:rate=25:duration=4', '-pix_fmt', 'yuv420p', path.join(from, 'film.mp4'));
  const { sent, back } = await run(`
    const { server, id } = await meet(() => serveRygel(process.argv[2]));
    const files = await list({ param_source_name: 'SOURCE_MSC', param_scan_path: process.argv[3] });
    select(files.agent);
    const sent = await share({ param_agent: files.agent, param_dlna_device_id: id, param_dest_device_type: 4 });
    const back = [];
    for (const type of ['IMAGE', 'MUSIC', 'VIDEO']) {
      const request = { param_source_name: 'SOURCE_DLNA', param_scan_path: id, param_content_type: type };
      let there = await listAll(request, 1);
      // It lists the object before it has read the file.
      while (!items(there.agent, 0, 1)[0].url) there = await listAll({ ...request, param_agent: there.agent }, 1);
      select(there.agent);
      back.push(await share({ param_agent: there.agent, param_dlna_device_id: id, param_source_device_type: 4,
                              param_dest_device_path: process.argv[4] }));
    }
    process.kill(-server.pid);
    finish({ sent, back });`, rygelConfiguration('Shelf'), from, to);
  assert.equal(sent.events.at(-1), 18);
  assert.equal(sent.status.param_share_done_file_count, 3);
  assert.equal(sent.status.param_share_success_file_size, sent.status.param_share_total_file_size);
  assert.deepEqual(back.map(({ events }) => events.at(-1)), [18, 18, 18]);
  const came = readdirSync(to).sort();
  assert.deepEqual(came, ['film.mp4', 'photo.jpeg', 'song.flac']); // the server's names
  for (const [index, name] of ['film.mp4', 'photo.jpg', 'song.flac'].entries()) {
    assert.ok(readFileSync(path.join(to, came[index])).equals(readFileSync(path.join(from, name))), name);
  }
});

test('a server that accepts no files refuses them', needs('user-networks'), async () => {
  const from = folder();
  picture(path.join(from, 'photo.jpg'));
  const { events, status } = await run(`
    const { server, id } = await meet(() => serve(process.argv[2]));
    const files = await list({ param_source_name: 'SOURCE_MSC', param_scan_path: process.argv[3] });
    select(files.agent);
    const end = await share({ param_agent: files.agent, param_dlna_device_id: id });
    server.kill();
    finish(end);`, configuration('Shelf'), from);
  assert.deepEqual(events, [17, 19]);
  assert.equal(status.param_share_current_file_name, 'photo.jpg');
});

/** Copies a file whose second half never arrives, and runs `doing` when the first half has; returns the end of the copy. */
const copyHeld = (doing) => {
  const to = folder();
  return run(`
    const { once } = require('node:events');
    const { server, id } = await meet(() => spawn('setpriv', [...WITH_US, process.execPath, process.argv[2], 1 << 20],
      { stdio: ['ignore', 'pipe', 'inherit'], env: { ...process.env, LD_PRELOAD: '' } }));
    const isHeld = once(server.stdout, 'data');
    const there = await listAll({ param_source_name: 'SOURCE_DLNA', param_scan_path: id, param_content_type: 'IMAGE' }, 1);
    select(there.agent);
    const end = await share({ param_agent: there.agent, param_dlna_device_id: id, param_source_device_type: 4,
                              param_dest_device_path: process.argv[3] },
                            async (handle) => { await isHeld; ${doing} });
    server.kill();
    finish(end);`, path.join(root, 'tests', 'system', 'holding_server.mjs'), to)
    .then((end) => ({ end, left: readdirSync(to) }));
};

test('a server that is killed during a download ends the copy, and no file is left', needs('user-networks'), async () => {
  const { end, left } = await copyHeld("server.kill('SIGKILL');");
  assert.equal(end.events.at(-1), 28);
  assert.equal(end.status.param_share_done_file_count, 0);
  assert.equal(end.status.param_share_current_file_name, 'large');
  assert.deepEqual(left, []);
});

test('a download from a server is stopped, and no file is left', needs('user-networks'), async () => {
  const { end, left } = await copyHeld("send('mrb_stop_batch_process_v2', { param_share_handle: handle });");
  assert.equal(end.events.at(-1), 26);
  assert.deepEqual(left, []);
});

// ---- the example ------------------------------------------------------------

const example = path.join(root, 'sdk', 'examples', 'servers.js');

/** Runs the example in the network of a server that runs as long as the commands. */
const besides = (configuration, ...commands) => quill([script('app.js', `
  const { spawn, spawnSync } = require('node:child_process');
  const env = { ...process.env, PATH: process.env.PATH + ':/usr/sbin' };
  const server = spawn('minidlnad', ['-S', '-f', process.argv[2], '-P', process.argv[2] + '.pid'],
    { stdio: 'ignore', env: { ...env, LD_PRELOAD: '' } });
  const said = JSON.parse(process.argv[4]).map((command) => {
    const { status, stdout, stderr } = spawnSync(process.argv[3], command, { encoding: 'utf8', env });
    return { status, stdout, stderr };
  });
  server.kill();
  console.log(JSON.stringify(said));`), configuration, path.join(build, 'bin', 'quill'),
  JSON.stringify(commands.map((command) => [example, ...command]))], { inside: OWN_NETWORK })
  .then(({ status, stdout, stderr }) => {
    assert.deepEqual([status, stderr], [0, '']);
    return JSON.parse(stdout);
  });

test('the example lists the items of a server, and copies them', needs('user-networks'), async () => {
  const media = folder();
  const to = folder();
  picture(path.join(media, 'photo.jpg'));
  const [all, shown, got, put, none] = await besides(configuration('Shelf', media),
    [], ['Shelf'], ['127.0.0.1', 'get', to], ['Shelf', 'put', media], ['Nobody']);
  assert.deepEqual([all.status, all.stderr], [0, '']);
  assert.match(all.stdout, /^1 media server\n {2}Shelf +127\.0\.0\.1 {2}uuid:.*\n$/);
  assert.match(shown.stdout, /^\d+ items?\n( {2}photo .*http:\/\/127\.0\.0\.1:8200\/MediaItems\/\d+\.jpg\n)+$/);
  assert.match(got.stdout, /^\d+ of \d+ files? \(.*\)\n$/);
  assert.equal(put.status, 1);
  assert.match(put.stderr, /^servers: the share ended: FAILED/m);
  assert.deepEqual([none.status, none.stderr], [1, 'servers: there is no media server "Nobody"\n']);
});

test('the example copies each file once, in however many folders the server lists it', needs('user-networks'), async () => {
  const media = folder();
  const to = folder();
  mkdirSync(path.join(media, 'trip'));
  const files = ['one.jpg', 'two.jpg', path.join('trip', 'three.jpg')];
  files.forEach((file, index) => picture(path.join(media, file), 320 + 32 * index));
  const [shown, got] = await besides(configuration('Shelf', media), ['Shelf'], ['Shelf', 'get', to]);
  const names = shown.stdout.split('\n').slice(1, -1).map((line) => line.trim().split(' ')[0]);
  assert.deepEqual([...new Set(names)].sort(), [...names].sort());
  assert.match(got.stdout, /^(\d+) of \1 files? \(.*\)\n$/);
  const contents = readdirSync(to).map((file) => readFileSync(path.join(to, file)).toString('base64'));
  assert.equal(new Set(contents).size, contents.length);
});

test('the example prints its usage', async () => {
  const { status, stderr } = await quill([example, 'Shelf', 'take', '/tmp']);
  assert.equal(status, 1);
  assert.match(stderr, /^servers: give a server, and get or put with a folder\n\nUsage: quill servers\.js/);
});
