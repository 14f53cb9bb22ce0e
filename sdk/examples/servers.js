'use strict';
// Shows the media servers of the network and their items, and copies files from and to
// them.
//
//     quill sdk/examples/servers.js [SERVER [get FOLDER | put FOLDER]]

const path = require('node:path');
const { ITEM_TYPES, SERVICE_EVENTS, SHARE_TYPES, describeResult } = require('../codes.js');
const { Media, MediaError } = require('../media.js');
const { bar, clock, count, fit, printable, size, statusLine } = require('./terminal.js');

const USAGE = `Usage: quill servers.js [SERVER [get FOLDER | put FOLDER]]

Without arguments, prints the media servers that announce themselves within three seconds.
SERVER is the name, address or id of one: prints the pictures, video and music on it, each
item once, in however many folders the server shows it.
get copies all of these into FOLDER, put sends those of FOLDER to the server.
`;

const DISCOVERY_TIMEOUT = 3000; // ms
const DLNA = 4; // a device type
const CONTENT_TYPES = ['IMAGE', 'VIDEO', 'MUSIC'];
const MEDIA = [ITEM_TYPES.IMAGE, ITEM_TYPES.VIDEO, ITEM_TYPES.MUSIC];

function fail(message) {
  statusLine.clear();
  process.stderr.write(`servers: ${message}\n`);
  process.exit(1);
}

const servers = (media) => JSON.parse(media.call('mrb_get_dlna_list'))?.storage_devices ?? [];
const isNamed = (name) => (server) => [server.storage_name, server.storage_ip, server.storage_id].includes(name);

/** Starts the DLNA service; resolved when it searches for servers. */
const begin = (media) => new Promise((resolve, reject) => {
  media.call('mrb_Init_dlna_service', {}, (text) => {
    const { param_event: event } = JSON.parse(text);
    if (event === SERVICE_EVENTS.STARTED) resolve();
    else reject(new Error('the DLNA service did not start')); // after its start this changes nothing
  });
});

/** The server of that name, as soon as it is discovered. */
async function find(media, name) {
  for (const began = Date.now(); Date.now() - began < DISCOVERY_TIMEOUT;) {
    const server = servers(media).find(isNamed(name));
    if (server) return server;
    await new Promise((resolve) => { setTimeout(resolve, 50); });
  }
  throw new Error(`there is no media server "${printable(name)}"`);
}

async function print(media) {
  await new Promise((resolve) => { setTimeout(resolve, DISCOVERY_TIMEOUT); });
  const found = servers(media);
  console.log(count(found.length, 'media server'));
  found.forEach((server) => console.log(`  ${fit(printable(server.storage_name), 30)} ${server.storage_ip}  ${server.storage_id}`));
}

/**
 * The complete lists of a server. Servers show an item in several folders, by date, by album
 * and by name: a list of one content type holds it once.
 */
async function open(media, server) {
  const lists = [];
  for (const contentType of CONTENT_TYPES) {
    const list = media.openServer(server.storage_id, { sort: 'NAME', contentType });
    list.onGrowth = ({ item_count: items }) => statusLine.show(`reading: ${count(items, 'item')} so far…`);
    const { left_out: leftOut, left_out_names: names } = await list.ready;
    statusLine.clear();
    if (leftOut > 0) {
      process.stderr.write(`servers: ${count(leftOut, 'item')} cannot be used: ${names.map(printable).join(', ')}\n`);
    }
    lists.push(list);
  }
  return lists;
}

function printItems(lists) {
  const items = lists.flatMap((list) => (list.count() > 0 ? list.items(0, list.count()) : []))
    .filter(({ type }) => MEDIA.includes(type));
  console.log(count(items.length, 'item'));
  for (const { name, duration, size: bytes, url } of items) {
    const length = duration === null ? '' : clock(duration / 1000);
    console.log(`  ${fit(printable(name), 40)} ${length.padStart(8)} ${bytes === null ? '' : size(bytes)}  ${printable(url)}`);
  }
}

/** Copies the media of some lists, one list after the other; prints how much arrived. */
async function copy(lists, parameters) {
  lists.forEach((list) => list.selectTypes(MEDIA));
  const full = lists.filter((list) => list.selectionCount() > 0);
  if (full.length === 0) throw new Error('there is nothing to copy');
  let current;
  let isStopped = false;
  process.once('SIGINT', () => {
    isStopped = true;
    current.stop();
  });
  const copied = { doneFiles: 0, totalFiles: 0, successSize: 0 };
  let failure; // the first one
  for (const list of full) {
    if (isStopped) break;
    current = list.share(SHARE_TYPES.DLNA, parameters, ({ totalSize, successSize, progressSize, currentName }) => {
      const fraction = totalSize > 0 ? (successSize + progressSize) / totalSize : 0;
      statusLine.show(`${bar(fraction, 12)} ${Math.floor(fraction * 100)}%  ${printable(currentName)}`);
    });
    const end = await current.done.catch((error) => {
      failure ??= error;
      return error; // with the numbers of what was copied
    });
    for (const key of Object.keys(copied)) copied[key] += end[key] ?? 0;
  }
  statusLine.clear();
  console.log(`${copied.doneFiles} of ${count(copied.totalFiles, 'file')} (${size(copied.successSize)})`);
  if (failure) throw failure;
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
        await copy([list], { ...where, param_dest_device_type: DLNA });
      } else if (action === 'get') {
        await copy(await open(media, server), { ...where, param_source_device_type: DLNA,
                                               param_dest_device_path: path.resolve(folder) });
      } else {
        printItems(await open(media, server));
      }
    }
    media.call('mrb_finalize_dlna_service');
  } catch (error) {
    fail(error instanceof MediaError ? describeResult(error.code) : error.message);
  }
  media.finish();
}

// A reader such as head may close the pipe early: that is not an error.
process.stdout.on('error', (error) => process.exit(error.code === 'EPIPE' ? 0 : 1));
main();
