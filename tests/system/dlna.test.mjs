// Media servers of the network as scripts see them, in a network of their own.
import assert from 'node:assert/strict';

import { script, start } from '../host/harness.mjs';
import { testWith } from '../needs.mjs';
import { PRELUDE, run } from './dlna_script.mjs';
import { OWN_NETWORK, configuration, rygelConfiguration } from './media_server.mjs';

const test = testWith('user-networks');

test('a server is reported when it starts and when it stops', async () => {
  const { codes, listed, notifications, after } = await run(`
    const codes = [watch(), begin()];
    await until(1);
    const server = serve(process.argv[2]);
    await until(2);
    const listed = servers();
    server.kill();
    await until(3);
    codes.push(call('mrb_finalize_dlna_service').return_ecode, call('mrb_unset_dlna_callback').return_ecode);
    await until(4);
    finish({ codes, listed, notifications, after: servers() });`, configuration('Desk'));
  assert.deepEqual(codes, [0, 0, 0, 0]);
  assert.equal(listed.length, 1);
  assert.match(listed[0].storage_id, /^uuid:/);
  assert.deepEqual({ ...listed[0], storage_id: '' },
    { storage_id: '', storage_name: 'Desk', storage_ip: '127.0.0.1', storage_bOrvaneDev: false });
  assert.deepEqual(notifications, [20, [0, listed[0]], [1, listed[0]], 21]);
  assert.equal(after, -16);
});

test('a server that started before the service is reported too', async () => {
  const notifications = await run(`
    const server = serve(process.argv[2]);
    watch();
    begin();
    await until(2);
    call('mrb_finalize_dlna_service');
    server.kill();
    await until(4);
    finish(notifications.map((each) => each[1]?.storage_name ?? each));`, configuration('Steady'));
  assert.deepEqual(notifications, [20, 'Steady', 'Steady', 21]);
});

test('a server of another kind is reported when it starts and when it stops', async () => {
  const file = rygelConfiguration('Shelf');
  const notifications = await run(`
    watch();
    begin();
    await until(1);
    const session = serveRygel(process.argv[2]);
    await until(2);
    // Without its bus it would end before it has announced its end.
    const children = readFileSync('/proc/' + session.pid + '/task/' + session.pid + '/children', 'utf8').trim();
    for (const child of children.split(' ')) {
      if (readFileSync('/proc/' + child + '/comm', 'utf8') === 'rygel\\n') process.kill(Number(child));
    }
    await until(3);
    call('mrb_finalize_dlna_service');
    await until(4);
    finish(notifications.map((each) => (each.length ? [each[0], each[1].storage_name, each[1].storage_ip] : each)));`, file);
  assert.deepEqual(notifications, [20, [0, 'Shelf', '127.0.0.1'], [1, 'Shelf', '127.0.0.1'], 21]);
});

test('a server that cannot be reached is logged, and reported nowhere else', async () => {
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

test('an object that never started the service gets an error when it stops it', async () => {
  const [code, notifications] = await run(`
    begin();
    await until(1);
    const other = new MRBBridge();
    const { return_ecode } = JSON.parse(other.mrb_finalize_dlna_service());
    quill.release(other);
    finish([return_ecode, notifications, servers()]);`);
  assert.equal(code, -16);
  assert.deepEqual(notifications, [20]);
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
