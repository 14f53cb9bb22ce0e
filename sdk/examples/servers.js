'use strict';
// Shows the media servers of the network and what is on them, and moves files from them
// and to them.
//
//     quill sdk/examples/servers.js [SERVER [get FOLDER | put FOLDER]]

const path = require('node:path');
const { ITEM_TYPES, SERVICE_EVENTS, SHARE_TYPES, describeResult } = require('../codes.js');
const { Media, MediaError } = require('../media.js');
const { bar, clock, count, fit, printable, size, statusLine } = require('./terminal.js');

const USAGE = `Usage: quill servers.js [SERVER [get FOLDER | put FOLDER]]

Without arguments, prints the media servers that say within three seconds that they are there.
SERVER is the name, address or id of one: prints the pictures, music and video on it.
get copies all of these into FOLDER, put sends those of FOLDER to the server.
`;

const PATIENCE = 3000; // ms
const DLNA = 4; // a device type
const MEDIA = [ITEM_TYPES.IMAGE, ITEM_TYPES.VIDEO, ITEM_TYPES.MUSIC];

function fail(message) {
  statusLine.clear();
  process.stderr.write(`servers: ${message}\n`);
  process.exit(1);
}

const servers = (media) => JSON.parse(media.ask('mrb_get_dlna_list'))?.storage_devices ?? [];
const isNamed = (name) => (server) => [server.storage_name, server.storage_ip, server.storage_id].includes(name);

/** Starts the DLNA service; resolved when it looks for servers. */
const begin = (media) => new Promise((resolve, reject) => {
  media.ask('mrb_Init_dlna_service', {}, (text) => {
    const { param_event: event } = JSON.parse(text);
    if (event === SERVICE_EVENTS.STARTED) resolve();
    else reject(new Error('the network cannot be watched')); // once it was, its end changes nothing
  });
});

/** The server of that name, as soon as it is there. */
async function find(media, name) {
  for (const began = Date.now(); Date.now() - began < PATIENCE;) {
    const server = servers(media).find(isNamed(name));
    if (server) return server;
    await new Promise((resolve) => { setTimeout(resolve, 50); });
  }
  throw new Error(`there is no media server "${printable(name)}"`);
}

async function print(media) {
  await new Promise((resolve) => { setTimeout(resolve, PATIENCE); });
  const found = servers(media);
  console.log(count(found.length, 'media server'));
  found.forEach((server) => console.log(`  ${fit(printable(server.storage_name), 30)} ${server.storage_ip}  ${server.storage_id}`));
}

/** What is on a server, once all of it is known. */
async function open(media, server) {
  const list = media.openServer(server.storage_id, { sort: 'NAME' });
  list.onGrowth = ({ item_count: items }) => statusLine.show(`reading: ${count(items, 'item')} so far…`);
  await list.ready;
  statusLine.clear();
  return list;
}

function printItems(list) {
  const total = list.count();
  const items = (total > 0 ? list.items(0, total) : []).filter(({ type }) => MEDIA.includes(type));
  console.log(count(items.length, 'item'));
  for (const { name, duration, size: bytes, url } of items) {
    const length = duration === null ? '' : clock(duration / 1000);
    console.log(`  ${fit(printable(name), 40)} ${length.padStart(8)} ${bytes === null ? '' : size(bytes)}  ${printable(url)}`);
  }
}

/** Moves the media of a list; prints what came. */
async function move(list, parameters) {
  list.selectTypes(MEDIA);
  if (list.selectionCount() === 0) throw new Error('there is nothing to move');
  const share = list.share(SHARE_TYPES.DLNA, parameters, ({ totalSize, successSize, progressSize, currentName }) => {
    const fraction = totalSize > 0 ? (successSize + progressSize) / totalSize : 0;
    statusLine.show(`${bar(fraction, 12)} ${Math.floor(fraction * 100)}%  ${printable(currentName)}`);
  });
  process.once('SIGINT', () => share.stop());
  const { doneFiles, totalFiles, successSize } = await share.done;
  statusLine.clear();
  console.log(`${doneFiles} of ${count(totalFiles, 'file')} (${size(successSize)})`);
}

async function main() {
  const [name, action, folder, ...more] = process.argv.slice(2);
  if (name === '--help') {
    process.stdout.write(USAGE);
    process.exit(0);
  }
  const isWhole = action === undefined || (['get', 'put'].includes(action) && folder !== undefined);
  if (!isWhole || more.length > 0 || name?.startsWith('-')) {
    fail(`give a server, and get or put with a folder\n\n${USAGE}`);
  }
  const media = new Media();
  try {
    await begin(media);
    if (name === undefined) {
      await print(media);
    } else {
      const server = await find(media, name);
      const where = { param_dlna_device_id: server.storage_id };
      if (action === 'put') {
        const list = media.open(path.resolve(folder));
        await list.ready;
        await move(list, { ...where, param_dest_device_type: DLNA });
      } else if (action === 'get') {
        await move(await open(media, server), { ...where, param_source_device_type: DLNA,
                                               param_dest_device_path: path.resolve(folder) });
      } else {
        printItems(await open(media, server));
      }
    }
    media.ask('mrb_finalize_dlna_service');
  } catch (error) {
    fail(error instanceof MediaError ? describeResult(error.code) : error.message);
  }
  media.finish();
}

// A reader such as head that has seen enough is no fault.
process.stdout.on('error', (error) => process.exit(error.code === 'EPIPE' ? 0 : 1));
main();
