// Opening playlists of a thousand entries against what it takes to list a folder of the
// same files, and how soon a cancel takes effect. Run in quill on the framework for Linux;
// the log is off.
import { mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';

import { compare, median, report } from './measure.mjs';

const ENTRIES = 1_000;
const MANY = 100_000;
const CANCELLED = 13;
const bridge = new MRBBridge();
const invoke = (method, request) => JSON.parse(bridge[method](JSON.stringify(request)));

const opened = (request, onStarted = () => {}) => new Promise((resolve, reject) => {
  const answer = JSON.parse(bridge.mrb_request_list_v2((text) => {
    const { param_event, param_agent } = JSON.parse(text);
    if ([0, 1, 13].includes(param_event)) resolve({ agent: param_agent, event: param_event });
  }, JSON.stringify(request)));
  if (answer.return_ecode !== 0) reject(new Error(`${JSON.stringify(request)}: ${answer.return_ecode}`));
  onStarted(answer.return_data);
});

async function openingTime(request, expected) {
  const began = performance.now();
  const { agent } = await opened(request);
  const took = performance.now() - began;
  const { return_data: count } = invoke('mrb_get_item_count_v2', { param_agent: agent });
  if (count !== expected) throw new Error(`${JSON.stringify(request)}: ${count} items`);
  invoke('mrb_disconnect_v2', { param_agent: agent });
  return took;
}

/** From the cancel at a random moment to the event that ends the list; undefined when the list was ready before. */
async function cancelTime(request, whole) {
  let began;
  let timer;
  const { agent, event } = await opened(request, (agent) => {
    timer = setTimeout(() => {
      began = performance.now();
      invoke('mrb_cancel_request_list_v2', { param_agent: agent });
    }, Math.random() * whole);
  });
  const took = performance.now() - began;
  clearTimeout(timer);
  invoke('mrb_disconnect_v2', { param_agent: agent });
  return event === CANCELLED ? took : undefined;
}

const FORMATS = {
  m3u: (names) => `#EXTM3U\n${names.map((name) => `#EXTINF:200,${name}\n${name}\n`).join('')}`,
  pls: (names) => `[playlist]\n${names.map((name, n) => `File${n + 1}=${name}\nTitle${n + 1}=${name}\n`).join('')}`,
  xspf: (names) => `<?xml version="1.0"?><playlist version="1" xmlns="http://xspf.org/ns/0/"><trackList>${
    names.map((name) => `<track><location>${name}</location><title>${name}</title></track>`).join('')}</trackList></playlist>`,
};

const home = mkdtempSync(path.join(os.tmpdir(), 'playlists-'));
try {
  const songs = path.join(home, 'songs');
  mkdirSync(songs);
  const names = Array.from({ length: ENTRIES }, (_, number) => `${number}.mp3`);
  for (const name of names) writeFileSync(path.join(songs, name), '');
  const asFolder = { param_source_name: 'SOURCE_MSC', param_scan_path: songs };
  for (const [format, write] of Object.entries(FORMATS)) {
    const file = path.join(home, `list.${format}`);
    writeFileSync(file, write(names.map((name) => `songs/${name}`)));
    const request = { param_source_name: 'SOURCE_PLAYLIST', param_prepare_data: file };
    report(`open ${format} of 1,000 entries, floor: their folder`, 'ms',
      await compare(() => openingTime(request, ENTRIES), () => openingTime(asFolder, ENTRIES), 31));
  }
  const large = path.join(home, 'large.m3u');
  writeFileSync(large, Array.from({ length: MANY }, (_, number) => `songs/${number}.mp3\n`).join(''));
  const request = { param_source_name: 'SOURCE_PLAYLIST', param_prepare_data: large };
  const whole = await openingTime(request, MANY);
  console.log(`open m3u of 100,000 entries: ${whole.toFixed(0)} ms`);
  const times = [];
  while (times.length < 100) {
    const took = await cancelTime(request, whole);
    if (took !== undefined) times.push(took);
  }
  console.log(`  cancel at a random moment: ${median(times).toPrecision(3)} ms, at most ${Math.max(...times).toPrecision(3)} ms`);
} finally {
  rmSync(home, { recursive: true });
}
process.exit();
