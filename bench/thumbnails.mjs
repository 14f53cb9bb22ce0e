// Thumbnails per second against other thumbnailers on the same files, in turns, on one
// and two cores; peak memory; and how long the first result takes while 500 others wait.
// Every program is started anew and writes its images. Not part of ./bench/run's
// README figures unless vipsthumbnail, gdk-pixbuf-thumbnailer and ffmpegthumbnailer are
// installed: those that are missing are left out and said.
//
//     node bench/thumbnails.mjs [--small]
import { spawnSync } from 'node:child_process';
import { mkdirSync, mkdtempSync, rmSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';

import { compare, report } from './measure.mjs';

const build = process.env.QUILL_BUILD ?? 'build/bench';
const thumbnailer = path.join(build, 'bench', 'thumbnailer');
const small = process.argv.includes('--small');
const TURNS = small ? 3 : 7;
const SIZE = 256;
const folder = mkdtempSync(path.join(os.tmpdir(), 'thumbnails-'));
const out = path.join(folder, 'out');
mkdirSync(out);
process.on('exit', () => rmSync(folder, { recursive: true, force: true }));

function must(command, args, options = {}) {
  const { status, stdout, stderr, error } = spawnSync(command, args, { encoding: 'utf8', ...options });
  if (status !== 0) throw new Error(`${command}: ${error?.message ?? stderr}`);
  return stdout;
}
const isInstalled = (program) => spawnSync('sh', ['-c', `command -v ${program}`]).status === 0;
const convert = (...args) => must('convert-im6.q16', args);
const ffmpeg = (...args) => must('ffmpeg', ['-nostdin', '-loglevel', 'error', '-y', ...args]);

/** `count` pictures of `size`; each is another one. */
function pictures(extension, count, size, ...options) {
  return Array.from({ length: count }, (_, number) => {
    const file = path.join(folder, `${number}.${extension}`);
    convert('-seed', String(number), '-size', '500x375', 'plasma:', '-resize', `${size}!`, '-attenuate', '0.3',
      '+noise', 'Gaussian', '-quality', '88', ...options, file);
    return file;
  });
}

function videos(count) {
  return Array.from({ length: count }, (_, number) => {
    const file = path.join(folder, `${number}.mp4`);
    ffmpeg('-f', 'lavfi', '-i', `mandelbrot=s=1920x1080:r=25:start_scale=${3 - number / 10}`, '-t', small ? '8' : '30',
      '-c:v', 'libx264', '-preset', 'veryfast', '-g', '50', '-pix_fmt', 'yuv420p', file);
    return file;
  });
}

const onCores = (cores, command) => ['taskset', ['-c', cores === 1 ? '0' : '0,1', ...command]];

/** Milliseconds for all files; one process for all of them, or one for each, as many at a time as cores. */
function timeOf(cores, command) {
  const began = performance.now();
  must(...onCores(cores, command));
  return performance.now() - began;
}
const each = (cores, files, command) =>
  ['sh', '-c', `printf '%s\\n' "$@" | xargs -P ${cores} -I FILE ${command}`, 'sh', ...files];

const RIVALS = {
  vipsthumbnail: (cores, files) => (cores === 1
    ? ['env', 'VIPS_CONCURRENCY=1', 'vipsthumbnail', '--size', `${SIZE}x${SIZE}`, '-o', `${out}/%s.ppm`, ...files]
    : ['sh', '-c', `printf '%s\\n' "$@" | VIPS_CONCURRENCY=1 xargs -P 2 -n ${Math.ceil(files.length / 2)} ` +
       `vipsthumbnail --size ${SIZE}x${SIZE} -o ${out}/%s.ppm`, 'sh', ...files]),
  'gdk-pixbuf-thumbnailer': (cores, files) =>
    each(cores, files, `sh -c 'gdk-pixbuf-thumbnailer -s ${SIZE} "$1" ${out}/$(basename "$1").png' sh FILE`),
  ffmpegthumbnailer: (cores, files) =>
    each(cores, files, `sh -c 'ffmpegthumbnailer -s ${SIZE} -t 10% -c png -i "$1" -o ${out}/$(basename "$1").png' sh FILE`),
  'ffmpegthumbnailer, five times': (cores, files) =>
    each(cores, files, `sh -c 'for at in 10 30 50 70 90; do ffmpegthumbnailer -s ${SIZE} -t $at% -c png -i "$1" ` +
      `-o ${out}/$(basename "$1")-$at.png; done' sh FILE`),
};

const ours = (files, frames) => [thumbnailer, String(SIZE), String(frames), out, ...files];

async function against(what, files, frames, rivals) {
  for (const rival of rivals) {
    if (!isInstalled(rival.split(',')[0])) {
      console.log(`${what}: ${rival} is not installed`);
      continue;
    }
    for (const cores of [1, 2]) {
      const result = await compare(() => timeOf(cores, ours(files, frames)),
        () => timeOf(cores, RIVALS[rival](cores, files)), TURNS);
      const perSecond = (files.length / result.subject) * 1000;
      report(`${what}, ${cores} core(s), ${rival}`, 'ms', result);
      console.log(`${''.padEnd(46)} ${perSecond.toFixed(1)} files/s`);
    }
  }
}

const jpegs = pictures('jpg', small ? 8 : 24, '4000x3000');
await against('12-megapixel JPEG', jpegs, 1, ['vipsthumbnail', 'gdk-pixbuf-thumbnailer']);
const memory = JSON.parse(must(...onCores(2, ours(jpegs, 1))));
console.log(`peak memory for them on 2 cores: ${(memory.kibibytes / 1024).toFixed(0)} MiB`);
const waiting = Array.from({ length: 501 }, (_, index) => jpegs[index % jpegs.length]);
const first = JSON.parse(must(...onCores(2, [thumbnailer, String(SIZE), '1', '-', ...waiting])));
console.log(`first result while 500 others wait: ${(first.first * 1000).toFixed(0)} ms`);
for (const [extension, options] of [['png', ['-quality', '30']], ['webp', []], ['heic', []]]) {
  const files = pictures(extension, small ? 4 : 12, '2000x1500', ...options);
  await against(`3-megapixel ${extension}`, files, 1, ['vipsthumbnail', 'gdk-pixbuf-thumbnailer']);
}
const clips = videos(small ? 3 : 10);
await against('full HD clip, one frame', clips, 1, ['ffmpegthumbnailer']);
await against('full HD clip, five frames', clips, 5, ['ffmpegthumbnailer, five times']);
