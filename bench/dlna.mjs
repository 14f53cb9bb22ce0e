// Listing five thousand items of a media server through the script API against a bare loop
// of browses with GUPnP, how soon the first of them can be shown, and how fast a file comes
// from a server. Run in quill, in user and network namespaces of its own (bench/run does
// that).
import { execFileSync, spawn } from 'node:child_process';
import { linkSync, mkdirSync, mkdtempSync, rmSync, truncateSync, writeFileSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import readline from 'node:readline';

import { compare, median, report } from './measure.mjs';

const ITEMS = 5_000;
const PAGE = 20;
const FOLDERS = '64'; // where this server shows its folders as they are
const LARGE = 200 * 2 ** 20;
const bridge = new MRBBridge();
const invoke = (method, request) => JSON.parse(bridge[method](JSON.stringify(request)));
const ENDS = [0, 1, 13];

const opened = (request) => new Promise((resolve, reject) => {
  const answer = JSON.parse(bridge.mrb_request_list_v2((text) => {
    const { param_event, param_agent, param_server_data } = JSON.parse(text);
    if (ENDS.includes(param_event)) resolve({ agent: param_agent, event: param_event, ...JSON.parse(param_server_data) });
  }, JSON.stringify({ param_source_name: 'SOURCE_DLNA', ...request })));
  if (answer.return_ecode !== 0) reject(new Error(`${JSON.stringify(request)}: ${answer.return_ecode}`));
});
const close = (agent) => invoke('mrb_disconnect_v2', { param_agent: agent });

async function openingTime(request, expected) {
  const began = performance.now();
  const { agent, item_count: count } = await opened(request);
  const took = performance.now() - began;
  if (count !== expected) throw new Error(`${JSON.stringify(request)}: ${count} items`);
  close(agent);
  return took;
}

/** From the request to when a page of items has been read, by a script that polls. */
function firstPageTime(request) {
  const began = performance.now();
  const { return_data: agent } = JSON.parse(bridge.mrb_request_list_v2(() => {}, JSON.stringify({
    param_source_name: 'SOURCE_DLNA', ...request })));
  return new Promise((resolve) => {
    const poll = () => {
      if (invoke('mrb_get_item_count_v2', { param_agent: agent }).return_data < PAGE) {
        setTimeout(poll, 1);
        return;
      }
      invoke('mrb_get_item_list_v2', { param_agent: agent, param_index: 0, param_count: PAGE });
      resolve(performance.now() - began);
      close(agent);
    };
    poll();
  });
}

/** How long a file takes from the server to a folder, in milliseconds. */
function fetchTime(agent, server, to) {
  const began = performance.now();
  return new Promise((resolve, reject) => {
    const { return_ecode: code } = JSON.parse(bridge.mrb_batch_process_v2((text) => {
      const { param_event: event } = JSON.parse(text);
      if (event === 18) resolve(performance.now() - began);
      else if (event > 18) reject(new Error(`the copy ended with ${event}`));
    }, JSON.stringify({ param_agent: agent, param_share_type: 4, param_source_device_type: 4,
                        param_dlna_device_id: server, param_dest_device_path: to })));
    if (code !== 0) reject(new Error(`the copy was refused: ${code}`));
  });
}

const home = mkdtempSync(path.join(os.tmpdir(), 'dlna-'));
let server;
let loop;
try {
  const media = path.join(home, 'media');
  const large = path.join(home, 'large');
  mkdirSync(media);
  mkdirSync(large);
  const first = path.join(media, 'picture 1.jpg');
  execFileSync('ffmpeg', ['-nostdin', '-loglevel', 'error', '-f', 'lavfi', '-i', 'testsrc2=size=32x18:rate=1', '-frames:v', '1', first]);
  for (let number = 2; number <= ITEMS; number += 1) linkSync(first, path.join(media, `picture ${number}.jpg`));
  execFileSync('cp', [first, path.join(large, 'large.jpg')]);
  truncateSync(path.join(large, 'large.jpg'), LARGE);
  const configuration = path.join(home, 'minidlna.conf');
  writeFileSync(configuration, ['network_interface=lo', `media_dir=${media}`, `media_dir=${large}`, `db_dir=${home}`,
                                `log_dir=${home}`, 'friendly_name=bench', 'port=8200', 'inotify=no', ''].join('\n'));

  let arrived = () => {};
  bridge.mrb_set_dlna_callback((text) => arrived(JSON.parse(text).storage_devices[0].storage_id));
  await new Promise((resolve) => { bridge.mrb_Init_dlna_service(resolve); });
  const id = await new Promise((resolve) => {
    arrived = resolve;
    server = spawn('minidlnad', ['-S', '-f', configuration, '-P', path.join(home, 'pid')], { stdio: 'ignore' });
  });
  const everything = { param_scan_path: id, param_content_type: 'IMAGE' };
  for (let count = 0; count !== ITEMS + 1;) { // it scans its folders first
    const { agent, item_count } = await opened(everything);
    count = item_count;
    close(agent);
  }
  const folders = await opened({ param_scan_path: id, param_folder_id: FOLDERS, param_content_type: 'FOLDER' });
  const { param_item_list: list } = JSON.parse(invoke('mrb_get_item_list_v2',
    { param_agent: folders.agent, param_index: 0, param_count: 10 }).return_data);
  const folder = list.map((item) => JSON.parse(item)).find(({ name }) => name === 'media').media_id;
  close(folders.agent);

  const where = { param_scan_path: id, param_folder_id: folder };
  loop = spawn(path.join(process.env.QUILL_BUILD, 'bench', 'browse_loop'), [folder.slice(folder.indexOf('/') + 1)],
    { stdio: ['pipe', 'pipe', 'inherit'] });
  const answers = readline.createInterface({ input: loop.stdout })[Symbol.asyncIterator]();
  const bare = async () => {
    loop.stdin.write('\n');
    const [took, count] = (await answers.next()).value.split(' ').map(Number);
    if (count !== ITEMS) throw new Error(`browse_loop: ${count} objects`);
    return took;
  };
  const figures = await compare(() => openingTime(where, ITEMS), bare);
  report('list 5,000 items of a DLNA server, floor: GUPnP', 'ms', figures);
  console.log(`  ${Math.round(ITEMS / figures.subject * 1000)} items a second; floor ${Math.round(ITEMS / figures.floor * 1000)}`);
  const pages = [];
  while (pages.length < 15) pages.push(await firstPageTime(where));
  console.log(`  the first page: ${median(pages).toPrecision(3)} ms`);

  const found = await opened({ ...everything, param_key_word: 'large' });
  invoke('mrb_select_all_v2', { param_agent: found.agent, param_selected_item_type_arr: [2] });
  const copies = [];
  while (copies.length < 3) {
    const to = mkdtempSync(path.join('/dev/shm', 'dlna-'));
    copies.push(await fetchTime(found.agent, id, to));
    rmSync(to, { recursive: true });
  }
  console.log(`fetch 200 MiB from a DLNA server to memory: ${(LARGE / 2 ** 20 / median(copies) * 1000).toFixed(0)} MiB/s`);
} finally {
  server?.kill();
  loop?.stdin.end();
  rmSync(home, { recursive: true, force: true });
}
process.exit();
