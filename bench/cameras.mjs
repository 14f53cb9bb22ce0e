// A camera of 1,000 pictures against gphoto2's own command, on the folder that libgphoto2
// shows as a camera: listing them, and their thumbnails. Every turn starts both
// programs again. Ours writes its thumbnails as bitmap files, decoded and upright; gphoto2
// writes the embedded JPEGs as they are.
//
//     node bench/cameras.mjs [--small]
import { spawnSync } from 'node:child_process';
import { copyFileSync, mkdirSync, mkdtempSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';

import { compare, report } from './measure.mjs';

const build = path.resolve(process.env.QUILL_BUILD ?? 'build/release');
const small = process.argv.includes('--small');
const PICTURES = small ? 100 : 1_000;
const TURNS = small ? 3 : 9;
const home = mkdtempSync(path.join(os.tmpdir(), 'cameras-'));
process.on('exit', () => rmSync(home, { recursive: true, force: true }));
const [card, out] = ['card', 'out'].map((name) => path.join(home, name));
const pictures = path.join(card, 'DCIM', '100BENCH');

function must(command, args, options = {}) {
  const { status, stdout, stderr, error } = spawnSync(command, args, { encoding: 'utf8', maxBuffer: 1 << 26, ...options });
  if (status !== 0) throw new Error(`${command} ${args[0]}: ${error?.message ?? stderr}`);
  return stdout;
}

function makeCard() {
  mkdirSync(pictures, { recursive: true });
  const convert = spawnSync('sh', ['-c', 'command -v convert-im6.q16']).status === 0 ? 'convert-im6.q16' : 'convert';
  const first = path.join(pictures, 'IMG_0001.JPG');
  const thumbnail = path.join(home, 'small.jpg');
  must(convert, ['-size', '1600x1200', 'plasma:', first]);
  must(convert, [first, '-resize', '160x120', thumbnail]);
  must('exiftool', ['-q', '-overwrite_original', `-ThumbnailImage<=${thumbnail}`, '-EXIF:Orientation#=1', first]);
  for (let number = 2; number <= PICTURES; number += 1) {
    copyFileSync(first, path.join(pictures, `IMG_${String(number).padStart(4, '0')}.JPG`));
  }
}

const PRELUDE = `
const bridge = new MRBBridge();
const invoke = (method, request) => JSON.parse(bridge[method](JSON.stringify(request))).return_data;
bridge.mrb_request_list_v2((text) => {
  const { param_event, param_agent } = JSON.parse(text);
  if (![0, 1].includes(param_event)) return;
  const param_count = invoke('mrb_get_item_count_v2', { param_agent });
  const items = JSON.parse(invoke('mrb_get_item_list_v2', { param_agent, param_index: 0, param_count }))
    .param_item_list.map((item) => (typeof item === 'string' ? JSON.parse(item) : item))
    .filter(({ type }) => type === 2);
  if (items.length !== ${PICTURES}) throw new Error('pictures: ' + items.length);
  work(items);
}, JSON.stringify({ param_source_name: 'SOURCE_PTP' }));
`;
const scripts = {
  list: `${PRELUDE} function work(items) {
    process.stdout.write(items.map(({ name, size, modified }) => [name, size, modified].join(' ') + '\\n').join(''));
    process.exit();
  }`,
  thumbnails: `${PRELUDE} let left = ${PICTURES}; function work(items) {
    items.forEach(({ url, name }) => bridge.thumbnail_request_async((text) => {
      if (JSON.parse(text).return_data === null) throw new Error(text);
      if (--left === 0) process.exit();
    }, JSON.stringify({ param_origin_path: url, param_source_type: 2, param_thumb_width: 160, param_thumb_height: 160,
                        param_save_path: [${JSON.stringify(out)} + '/' + name + '.bmp'] })));
  }`,
};

/** Runs a program in an empty folder; how long it took, in milliseconds. `files`: how many it must leave there. */
function timed(command, args, files) {
  rmSync(out, { recursive: true, force: true });
  mkdirSync(out);
  const began = performance.now();
  must(command, args, { cwd: out, env: { ...process.env, MRB_CAMERAS: card } });
  const took = performance.now() - began;
  const made = readdirSync(out).length;
  if (made !== files) throw new Error(`${command} ${args.join(' ')}: ${made} files`);
  return took;
}

if (spawnSync('gphoto2', ['--version']).status !== 0) {
  console.log('gphoto2 is not installed: no figures of cameras');
  process.exit();
}
makeCard();
const quill = path.join(build, 'bin', 'quill');
const rival = (...args) => ['gphoto2', ['--port', `disk:${card}`, '--camera', 'Directory Browse', ...args]];
const own = (name) => {
  const file = path.join(home, `${name}.js`);
  writeFileSync(file, scripts[name]);
  return [quill, [file]];
};
const figures = [
  [`list ${PICTURES} pictures of a camera`, 'list', rival('--list-files'), 0],
  [`thumbnails of ${PICTURES} pictures of a camera`, 'thumbnails', rival('--get-all-thumbnails'), PICTURES],
];
for (const [name, script, floor, files] of figures) {
  const result = await compare(() => timed(...own(script), files), () => timed(...floor, files), TURNS);
  report(`${name}, floor: gphoto2`, 'ms', result);
  console.log(`  ${(PICTURES / result.subject * 1000).toFixed(0)} a second, gphoto2 ${(PICTURES / result.floor * 1000).toFixed(0)}`);
}
process.exit();
