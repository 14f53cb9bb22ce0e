// Media servers of the network as scripts see them, in a network that nothing else is in.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { copyFileSync } from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { script, start } from '../host/harness.mjs';
import { folder, quill } from './harness.mjs';
import { OWN_NETWORK, configuration, rygelConfiguration } from './media_server.mjs';

const PRELUDE = `
const { spawn } = require('node:child_process');
const bridge = new MRBBridge();
const call = (method, ...args) => JSON.parse(bridge[method](...args));
const told = []; // what happened, in order
let wake = () => {};
const hear = (line) => { told.push(line); wake(); };
const until = (number) => new Promise((resolve) => {
  wake = () => { if (told.length >= number) resolve(); };
  wake();
});
const watch = () => call('mrb_set_dlna_callback', (text) => {
  for (const { storage_event: event, ...server } of JSON.parse(text).storage_devices) hear([event, server]);
}).return_ecode;
const begin = () => call('mrb_Init_dlna_service', (text) => hear(JSON.parse(text).param_event)).return_ecode;
const servers = () => {
  const { return_ecode, return_data } = call('mrb_get_dlna_list');
  return return_ecode === 0 ? JSON.parse(return_data)?.storage_devices ?? [] : return_ecode;
};
// A server of another project's; the sanitizer's runtime must not go into it.
const serve = (configuration) => spawn('minidlnad', ['-S', '-f', configuration, '-P', configuration + '.pid'],
  { stdio: 'ignore', env: { ...process.env, LD_PRELOAD: '', PATH: process.env.PATH + ':/usr/sbin' } });
const finish = (value) => { console.log(JSON.stringify(value)); quill.unref(bridge); };
(async () => {
`;

/** Runs a script's body with the prelude; what it gave to finish(). */
async function run(body, ...args) {
  const { stdout, ...rest } = await quill([script('app.js', `${PRELUDE}${body}\n})();`), ...args],
    { inside: OWN_NETWORK });
  assert.deepEqual(rest, { status: 0, signal: null, stderr: '' });
  return JSON.parse(stdout);
}

test('a server is seen when it starts, and is gone when it stops', async () => {
  const { codes, listed, told, after } = await run(`
    const codes = [watch(), begin()];
    await until(1);
    const server = serve(process.argv[2]);
    await until(2);
    const listed = servers();
    server.kill();
    await until(3);
    codes.push(call('mrb_finalize_dlna_service').return_ecode, call('mrb_unset_dlna_callback').return_ecode);
    await until(4);
    finish({ codes, listed, told, after: servers() });`, configuration('Desk'));
  assert.deepEqual(codes, [0, 0, 0, 0]);
  assert.equal(listed.length, 1);
  assert.match(listed[0].storage_id, /^uuid:/);
  assert.deepEqual({ ...listed[0], storage_id: '' },
    { storage_id: '', storage_name: 'Desk', storage_ip: '127.0.0.1', storage_bOrvaneDev: false });
  assert.deepEqual(told, [20, [0, listed[0]], [1, listed[0]], 21]);
  assert.equal(after, -16);
});

test('a server that was there before the service is seen too', async () => {
  const told = await run(`
    const server = serve(process.argv[2]);
    watch();
    begin();
    await until(2);
    call('mrb_finalize_dlna_service');
    server.kill();
    await until(4);
    finish(told.map((each) => each[1]?.storage_name ?? each));`, configuration('Steady'));
  assert.deepEqual(told, [20, 'Steady', 'Steady', 21]);
});

test('a server of another kind is seen when it starts, and is gone when it stops', async () => {
  const file = rygelConfiguration('Shelf');
  const told = await run(`
    const { readFileSync } = require('node:fs');
    const path = require('node:path');
    const home = path.dirname(process.argv[2]);
    watch();
    begin();
    await until(1);
    const session = spawn('dbus-run-session', ['--', 'rygel', '-n', 'lo', '-c', process.argv[2]], { stdio: 'ignore',
      env: { ...process.env, LD_PRELOAD: '', HOME: home, XDG_RUNTIME_DIR: home, XDG_CONFIG_HOME: home,
             XDG_CACHE_HOME: home, XDG_DATA_HOME: home } });
    await until(2);
    // Without its bus it would end before it has said goodbye.
    const children = readFileSync('/proc/' + session.pid + '/task/' + session.pid + '/children', 'utf8').trim();
    for (const child of children.split(' ')) {
      if (readFileSync('/proc/' + child + '/comm', 'utf8') === 'rygel\\n') process.kill(Number(child));
    }
    await until(3);
    call('mrb_finalize_dlna_service');
    await until(4);
    finish(told.map((each) => (each.length ? [each[0], each[1].storage_name, each[1].storage_ip] : each)));`, file);
  assert.deepEqual(told, [20, [0, 'Shelf', '127.0.0.1'], [1, 'Shelf', '127.0.0.1'], 21]);
});

test('five thousand items of a server are listed, paged, searched and sorted', async () => {
  const COUNT = 5000;
  const media = folder();
  const first = path.join(media, 'picture 1.jpg');
  execFileSync('ffmpeg', ['-nostdin', '-loglevel', 'error', '-f', 'lavfi', '-i', 'testsrc2=size=32x18:rate=1', '-frames:v', '1', first]);
  for (let number = 2; number <= COUNT; number += 1) copyFileSync(first, path.join(media, `picture ${number}.jpg`));
  const { counts, events, names, last, found } = await run(`
    const COUNT = Number(process.argv[3]);
    const ask = (method, request) => call(method, JSON.stringify(request)).return_data;
    const events = [];
    let ended = () => {};
    const list = (request, agent) => new Promise((resolve) => {
      ended = resolve;
      const { return_ecode, return_data } = call('mrb_request_list_v2', (text) => {
        const { param_event: event, param_agent, param_server_data } = JSON.parse(text);
        const data = JSON.parse(param_server_data);
        if ([0, 1, 13].includes(event)) ended({ event, agent: param_agent, ...data });
        else if (data.total_count !== undefined) events.push(data.total_count);
      }, JSON.stringify({ param_source_name: 'SOURCE_DLNA', param_content_type: 'IMAGE', param_sort_category: 'NAME',
                          ...(agent && { param_agent: agent }), ...request }));
      if (return_ecode !== 0) resolve({ event: return_ecode });
    });
    watch();
    begin();
    await until(1);
    const server = serve(process.argv[2]);
    await until(2);
    const where = { param_scan_path: servers()[0].storage_id };
    // It looks through its folder while it is asked.
    let whole = await list(where);
    const ends = [];
    while (whole.agent && whole.item_count !== COUNT) {
      if (whole.event !== 0) ends.push([whole.event, whole.error]);
      whole = await list(where, whole.agent);
    }
    const { param_item_list: items } = JSON.parse(ask('mrb_get_item_list_v2',
      { param_agent: whole.agent, param_index: 0, param_count: COUNT }));
    const names = items.map((item) => JSON.parse(item).name);
    const last = JSON.parse(items.at(-1));
    const found = await list({ ...where, param_key_word: 'PICTURE 49' });
    server.kill();
    finish({ counts: [whole.event, whole.item_count], events: [...new Set(events)].slice(-1), names, last, found });`,
  configuration('Shelf', media), String(COUNT));
  assert.deepEqual(counts, [0, COUNT]);
  assert.deepEqual(names, Array.from({ length: COUNT }, (_, index) => `picture ${index + 1}`));
  assert.ok(events.every((total) => total <= COUNT));
  assert.equal(last.mime_type, 'image/jpeg');
  assert.match(last.url, /^http:\/\/127\.0\.0\.1:8200\/MediaItems\/\d+\.jpg$/);
  // 49, 490 to 499, 4900 to 4999
  assert.deepEqual([found.event, found.item_count], [0, 111]);
});

test('a list of a server needs the service', async () => {
  assert.equal(await run(`finish(call('mrb_request_list_v2', () => {}, JSON.stringify({ param_source_name: 'SOURCE_DLNA',
    param_scan_path: 'uuid:1' })).return_ecode);`), -16);
});

test('a server that cannot be reached goes to the log, and nowhere else', async () => {
  const running = start([script('app.js', `${PRELUDE}
    begin();
    await until(1);
    const socket = require('node:dgram').createSocket('udp4');
    socket.bind(0, '127.0.0.1', () => {
      socket.setMulticastInterface('127.0.0.1');
      socket.send(['NOTIFY * HTTP/1.1', 'HOST: 239.255.255.250:1900', 'CACHE-CONTROL: max-age=60',
        'LOCATION: http://127.0.0.1:9/none.xml', 'NT: urn:schemas-upnp-org:device:MediaServer:1', 'NTS: ssdp:alive',
        'SERVER: none', 'USN: uuid:none::urn:schemas-upnp-org:device:MediaServer:1', '', ''].join('\\r\\n'),
        1900, '239.255.255.250', () => socket.close());
    });
  })();`)], { inside: OWN_NETWORK, env: { QUILL_LOG: 'stderr' } });
  let log = '';
  await new Promise((resolve) => {
    running.stderr.on('data', (text) => {
      log += text;
      if (/gupnp-control-point.*description/.test(log)) resolve();
    });
    running.finished.then(resolve);
  });
  running.kill();
  assert.match(log, /^MRB: gupnp-control-point: .*description/m);
  assert.doesNotMatch(log, /WARNING \*\*/);
});

test('an object that never started the service is refused to stop it', async () => {
  const [code, told] = await run(`
    begin();
    await until(1);
    const other = new MRBBridge();
    const { return_ecode } = JSON.parse(other.mrb_finalize_dlna_service());
    quill.release(other);
    finish([return_ecode, told, servers()]);`);
  assert.equal(code, -16);
  assert.deepEqual(told, [20]);
});

test('an object is released while its service runs', async () => {
  const codes = await run(`
    begin();
    await until(1);
    quill.release(bridge);
    const other = new MRBBridge();
    console.log(JSON.stringify([JSON.parse(other.mrb_get_dlna_list()).return_ecode]));`);
  assert.deepEqual(codes, [-16]);
});

test('a program ends while its service runs', async () => {
  assert.deepEqual(await run("begin(); await until(1); finish('over');"), 'over');
});
