// Opening the lists of real folders against what `find` takes for the same files,
// and what that costs the program in the meantime. Run in quill on the framework
// for Linux; the log is off.
import { spawnSync } from 'node:child_process';
import { closeSync, mkdirSync, mkdtempSync, openSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { monitorEventLoopDelay } from 'node:perf_hooks';
import { fileURLToPath } from 'node:url';

import { compare, median, report } from './measure.mjs';

const SIZES = [1_000, 10_000, 100_000];
const READY = 0;
const GROWN = 25;
const MEMORY = '--memory-of';
const bridge = new MRBBridge();
const invoke = (method, request) => JSON.parse(bridge[method](JSON.stringify(request)));
const count = (agent) => invoke('mrb_get_item_count_v2', { param_agent: agent }).return_data;
const close = (agent) => invoke('mrb_disconnect_v2', { param_agent: agent });

/** Makes `folders` folders, one in another in groups of ten, and `files` pictures in them. */
function make(root, files, folders) {
  const places = [root];
  for (let number = 1; number <= folders; number += 1) {
    places.push(path.join(places[Math.floor((number - 1) / 10)], `folder ${number}`));
    mkdirSync(places.at(-1), { recursive: true });
  }
  for (let number = 0; number < files; number += 1) {
    // Names as cameras write them, in an order that is not the sorted one.
    const name = `DSC_${String((number * 7919) % files).padStart(6, '0')}.jpg`;
    // The first bytes of a picture: other programs read the type from them.
    writeFileSync(path.join(places[number % places.length], name), Buffer.from([0xff, 0xd8, 0xff, 0xe0]));
  }
}

/** Makes pieces of music, each by an artist of its own. */
function makeMusic(root, files) {
  const id3 = (version, name, bytes) => Buffer.concat([Buffer.from(name, 'latin1'), version, bytes]);
  for (let number = 0; number < files; number += 1) {
    const text = Buffer.from(`\x03Artist ${(number * 7919) % files}`, 'utf8');
    const artist = id3(Buffer.from([0, 0, 0, text.length, 0, 0]), 'TPE1', text);
    writeFileSync(path.join(root, `${number}.mp3`), id3(Buffer.from([3, 0, 0, 0, 0, 0, artist.length]), 'ID3', artist));
  }
}

/** Opens a list and calls `onEvent` with its events. */
function open(where, onEvent, options = {}) {
  const answer = JSON.parse(bridge.mrb_request_list_v2((text) => onEvent(JSON.parse(text)),
    JSON.stringify({ param_source_name: 'SOURCE_MSC', param_scan_path: where, ...options })));
  if (answer.return_ecode !== 0) throw new Error(`${where}: ${answer.return_ecode}`);
  return answer.return_data;
}

/** Opens a list with options; resolves to its handle when it is ready. */
const openReady = (where, options) => new Promise((resolve) => {
  const agent = open(where, ({ param_event }) => { if (param_event === READY) resolve(agent); }, options);
});

/** Opens a list; resolves to its handle once an event with one of the numbers came. */
const opened = (where, ...numbers) => new Promise((resolve) => {
  const agent = open(where, ({ param_event }) => {
    if ([READY, ...numbers].includes(param_event)) resolve(agent);
  });
});

async function openingTime(where, options) {
  const began = performance.now();
  const agent = await openReady(where, options);
  const took = performance.now() - began;
  close(agent);
  return took;
}

function findTime(where) {
  const sink = openSync('/dev/null', 'w');
  const began = performance.now();
  const { status } = spawnSync('find', [where, '-printf', '%p %s %T@\\n'], { stdio: ['ignore', sink, 'inherit'] });
  const took = performance.now() - began;
  closeSync(sink);
  if (status !== 0) throw new Error('find failed');
  return took;
}

/** Grilo's file-system source, which finds the same files and the same metadata. */
function grilo(...args) {
  const { status, stdout } = spawnSync('gjs', [path.join(path.dirname(fileURLToPath(import.meta.url)), 'grilo_list.js'),
    ...args], { encoding: 'utf8' });
  return status === 0 ? stdout.trim().split(' ').map(Number) : null;
}

/** Without the time that gjs and Grilo need to start. */
function griloTime(where, files) {
  const [found, took] = grilo(where);
  if (found < files) throw new Error(`Grilo found ${found} files of ${files}`);
  return took;
}

/** How long until twenty items can be read, polled every millisecond. */
async function firstPageTime(where) {
  const began = performance.now();
  const agent = open(where, () => {});
  while (count(agent) < 20) await new Promise((resolve) => setTimeout(resolve, 1));
  invoke('mrb_get_item_v2', { param_agent: agent, param_index: 19 });
  const took = performance.now() - began;
  close(agent);
  return took;
}

/** What pages of twenty items at random places take, each item read and parsed. */
async function pageTimes(where, turns) {
  const agent = await openReady(where, { param_sort_category: 'NAME' });
  const pages = Math.floor(count(agent) / 20);
  const took = await times(turns, () => {
    const first = Math.floor(Math.random() * pages) * 20;
    const began = performance.now();
    for (let index = first; index < first + 20; index += 1) {
      JSON.parse(invoke('mrb_get_item_v2', { param_agent: agent, param_index: index }).return_data);
    }
    return performance.now() - began;
  });
  close(agent);
  return took;
}

/** The longest time in which the main loop did nothing while a list was opened, in milliseconds. */
async function longestStall(where) {
  const delay = monitorEventLoopDelay({ resolution: 1 });
  delay.enable();
  const agent = await opened(where);
  await new Promise((resolve) => setTimeout(resolve, 5));
  delay.disable();
  close(agent);
  // A timer of a millisecond is never early: what it is late beyond that is the stall.
  return Math.max(delay.max / 1e6 - 1, 0);
}

/** What the call takes at a random moment of an opening, in milliseconds. */
async function latency(where, whole, work) {
  const agent = open(where, () => {});
  await new Promise((resolve) => setTimeout(resolve, Math.random() * whole));
  const began = performance.now();
  await work(agent);
  return performance.now() - began;
}

/** From the cancel to the event that ends the list. */
async function cancelTime(where, whole) {
  let over;
  const isOver = new Promise((resolve) => { over = resolve; });
  const agent = open(where, ({ param_event }) => { if (param_event !== GROWN) over(); });
  await new Promise((resolve) => setTimeout(resolve, Math.random() * whole));
  const began = performance.now();
  invoke('mrb_cancel_request_list_v2', { param_agent: agent });
  await isOver;
  const took = performance.now() - began;
  close(agent);
  return took;
}

/** The longest that one call took of those that a script reads and changes a view with, and which. */
async function longestCall(where) {
  let longest = [0, ''];
  const timed = (name, call) => {
    const began = performance.now();
    const answer = call();
    const took = performance.now() - began;
    if (took > longest[0]) longest = [took, name];
    return answer;
  };
  for (const options of [{}, ...['NAME', 'NAME DESC', 'DATE', 'SIZE', 'TYPE', 'FOLDER DESC'].map((category) => (
    { param_sort_category: category })), { param_key_word: '99' }, { param_media_extension: 'jpg' }]) {
    const agent = await openReady(where, options);
    const what = JSON.stringify(options);
    timed(`count ${what}`, () => count(agent));
    const last = JSON.parse(invoke('mrb_get_item_v2', { param_agent: agent, param_index: count(agent) - 1 }).return_data);
    for (const group of [0, 16, 32, 48, 64, 80, 96, 112]) {
      for (const order of [0, 1]) {
        timed(`page style ${group}, order ${order}, ${what}`, () => invoke('mrb_set_page_style_v2', { param_agent: agent,
          param_page_style: 1 + group, param_page_order: order, param_group_index: -1, param_row: 4,
          param_column: 5, param_need_padding: true }));
        timed(`count of style ${group}, ${what}`, () => count(agent));
        timed(`item of style ${group}, ${what}`, () => invoke('mrb_get_item_v2', { param_agent: agent, param_index: 99 }));
        timed(`page index of style ${group}, ${what}`, () => invoke('mrb_get_page_index_v2', { param_agent: agent,
          param_media_id: last.media_id }));
      }
    }
    for (const navigation of [1, 0]) {
      timed(`navigation ${navigation}, ${what}`, () => invoke('mrb_set_navigation_v2', { param_agent: agent,
        param_navigation: navigation }));
      timed(`count in navigation ${navigation}, ${what}`, () => count(agent));
    }
    timed(`disconnect ${what}`, () => close(agent));
  }
  return longest;
}

/**
 * The longest that a call takes, and the longest that the main loop stands still, while the
 * files of a view are read for groups by their artists and the view changes with each.
 */
async function whileFilesAreRead(where) {
  let read;
  const isRead = new Promise((resolve) => { read = resolve; });
  let all = Infinity;
  let ready;
  const isReady = new Promise((resolve) => { ready = resolve; });
  const agent = open(where, ({ param_event, param_server_data }) => {
    if (param_event === READY) ready();
    if (param_event === GROWN && JSON.parse(param_server_data).grouped_count >= all) read();
  });
  await isReady;
  all = count(agent);
  const delay = monitorEventLoopDelay({ resolution: 1 });
  delay.enable();
  let longest = 0;
  const began = performance.now();
  const timed = (method, request) => {
    const started = performance.now();
    invoke(method, { param_agent: agent, ...request });
    longest = Math.max(longest, performance.now() - started);
  };
  const poll = () => timed('mrb_get_item_v2', { param_index: 99 });
  const group = (order) => timed('mrb_set_page_style_v2', { param_page_style: 81, param_page_order: order,
    param_group_index: -1, param_row: 4, param_column: 5, param_need_padding: true });
  group(0);
  const timer = setInterval(poll, 1);
  await isRead;
  clearInterval(timer);
  const took = performance.now() - began;
  for (const order of [0, 1, 0, 1]) {
    poll();
    group(order);
  }
  poll();
  delay.disable();
  close(agent);
  return { took, longest, stall: Math.max(delay.max / 1e6 - 1, 0) };
}

/** How many bytes of memory an item takes: ten lists in a program of their own. */
function bytesPerItem(where) {
  const { stdout, stderr } = spawnSync(path.join(process.env.QUILL_BUILD, 'bin', 'quill'),
    [fileURLToPath(import.meta.url), MEMORY, where], { encoding: 'utf8' });
  if (!(Number(stdout) > 0)) throw new Error(`no figure for memory: ${stderr}`);
  return Number(stdout);
}

async function printBytesPerItem(where) {
  const resident = () => Number(readFileSync('/proc/self/smaps_rollup', 'utf8').match(/^Pss_Anon:\s+(\d+)/m)[1]) * 1024;
  // Memory that is allocated once for the first list does not count.
  await opened('/proc/self/fd');
  const before = resident();
  let items = 0;
  for (let list = 0; list < 10; list += 1) items += count(await opened(where));
  console.log((resident() - before) / items);
}

const times = async (turns, work) => {
  const values = [];
  for (let turn = 0; turn < turns; turn += 1) values.push(await work());
  return values;
};
const line = (name, unit, values) => console.log(
  `${name.padEnd(46)} ${median(values).toPrecision(3).padStart(8)} ${unit}  at most ${Math.max(...values).toPrecision(3)} ${unit}`);

if (process.argv[2] === MEMORY) {
  await printBytesPerItem(process.argv[3]);
  process.exit();
}

const griloIsThere = grilo(path.dirname(fileURLToPath(import.meta.url))) !== null;
if (!griloIsThere) {
  console.log('Not compared with Grilo: that takes the packages gjs, gir1.2-grilo-0.3 and grilo-plugins-0.3.');
}
const home = mkdtempSync(path.join(os.tmpdir(), 'lists-'));
try {
  for (const [shape, foldersFor] of [['one folder', () => 0], ['a tree', (files) => Math.floor(files / 20)]]) {
    for (const files of SIZES) {
      const where = path.join(home, `${shape} ${files}`);
      mkdirSync(where);
      make(where, files, foldersFor(files));
      const turns = files === 100_000 ? 7 : 15;
      const name = `${files.toLocaleString('en')} files in ${shape}`;
      const figures = await compare(() => openingTime(where), () => findTime(where), turns);
      report(`open ${name}`, 'ms', figures);
      report(`  the same, sorted by name`, 'ms', await compare(() => openingTime(where, { param_sort_category: 'NAME' }),
        () => findTime(where), turns));
      line('  a page of twenty items', 'ms', await pageTimes(where, 100));
      if (griloIsThere) {
        report(`  the same, floor: gjs with Grilo`, 'ms',
          await compare(() => openingTime(where), () => griloTime(where, files), files === 100_000 ? 1 : 5));
      }
      if (files === 100_000) {
        line(`  the first page of ${shape}`, 'ms', await times(turns, () => firstPageTime(where)));
        line('  longest stall of the main loop', 'ms', await times(turns, () => longestStall(where)));
        line('  cancel at a random moment', 'ms', await times(300, () => cancelTime(where, figures.subject)));
        line('  disconnect at a random moment', 'ms', await times(300, () => latency(where, figures.subject, close)));
        const [took, call] = await longestCall(where);
        console.log(`${'  longest call of a view'.padEnd(46)} ${took.toPrecision(3).padStart(8)} ms  ${call}`);
        line('  memory per item', 'bytes', [bytesPerItem(where)]);
      }
      rmSync(where, { recursive: true });
    }
  }
  const music = path.join(home, 'music');
  mkdirSync(music);
  makeMusic(music, 100_000);
  const readings = await times(3, () => whileFilesAreRead(music));
  console.log('groups of 100,000 files by artist, each by another one');
  line('  reading the files', 'ms', readings.map(({ took }) => took));
  line('  longest call', 'ms', readings.map(({ longest }) => longest));
  line('  longest stall of the main loop', 'ms', readings.map(({ stall }) => stall));
} finally {
  rmSync(home, { recursive: true });
}
process.exit();
