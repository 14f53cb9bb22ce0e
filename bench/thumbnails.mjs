// Thumbnails per second against other thumbnailers: the same files, the same size, in
// turns, on one core and on two; how good the images are; the most memory; and how long
// the first result takes while 500 others wait.
//
// Every program is started again each time and writes its images, and ours loads its decoders each
// time. A rival that decodes several files in one process gets them all at once, or half
// of them in each of two; the others are started for each file, two at a time. A rival
// that is not installed, or does not read a format, is named.
//
//     node bench/thumbnails.mjs [--small] [jpg] [png] [webp] [heic] [mp4] [first]
import { spawnSync } from 'node:child_process';
import { copyFileSync, existsSync, mkdirSync, mkdtempSync, readFileSync, rmSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';

import { median } from './measure.mjs';

const build = process.env.QUILL_BUILD ?? 'build/release';
const program = (name) => path.join(build, 'bench', name);
const small = process.argv.includes('--small');
const kinds = process.argv.slice(2).filter((word) => word !== '--small');
const isWanted = (kind) => kinds.length === 0 || kinds.includes(kind);
const TURNS = small ? 3 : 5;
const SIZE = 256;
const DIFFERENT = small ? 2 : 4; // files of a kind; the others are copies of them
const CLIP_SECONDS = small ? 10 : 30;
const KEY_SECONDS = 2; // between two key frames of a clip
const folder = mkdtempSync(path.join(os.tmpdir(), 'thumbnails-'));
const out = path.join(folder, 'out');
mkdirSync(out);
process.on('exit', () => rmSync(folder, { recursive: true, force: true }));

const run = (command, args) => spawnSync(command, args, { encoding: 'utf8' });
function must(command, args) {
  const { status, stdout, stderr, error } = run(command, args);
  if (status !== 0) throw new Error(`${command} ${args[0]}: ${error?.message ?? stderr}`);
  return stdout;
}
const isInstalled = (name) => run('sh', ['-c', `command -v ${name}`]).status === 0;
const imageMagick = (name) => (isInstalled(`${name}-im6.q16`) ? `${name}-im6.q16` : name);
const convert = (...args) => must(imageMagick('convert'), args);
const ffmpeg = (...args) => must('ffmpeg', ['-nostdin', '-loglevel', 'error', '-y', ...args]);

// ---- the files ---------------------------------------------------------------------

/** `count` files; `make` makes those that differ. */
function files(extension, count, make) {
  const named = (number) => path.join(folder, `${String(number).padStart(2, '0')}.${extension}`);
  return Array.from({ length: small ? Math.ceil(count / 3) : count }, (_, number) => {
    if (existsSync(named(number))) return named(number);
    if (number < DIFFERENT) make(named(number), number);
    else copyFileSync(named(number % DIFFERENT), named(number));
    return named(number);
  });
}

/** Clouds with the noise of a camera, and edges. */
const picture = (size, ...options) => (file, number) => convert('-seed', String(number), '-size', '500x375', 'plasma:',
  '-fill', 'none', '-stroke', 'black', '-draw', `circle ${200 + 10 * number},180 260,240`, '-resize', `${size}!`,
  '-attenuate', '0.3', '+noise', 'Gaussian', '-alpha', 'off', '-depth', '8', '-quality', '88', ...options, file);

const clip = (file, number) => ffmpeg('-f', 'lavfi', '-i',
  `mandelbrot=s=1920x1080:r=25:start_scale=${3 - number / 10}`, '-t', String(CLIP_SECONDS), '-c:v', 'libx264',
  '-preset', 'veryfast', '-g', String(25 * KEY_SECONDS), '-pix_fmt', 'yuv420p', file);

// ---- the programs -------------------------------------------------------------------

/** A command for each file, as many at a time as there are cores. */
const each = (cores, all, command) =>
  ['sh', '-c', `printf '%s\\n' "$@" | xargs -P ${cores} -I FILE sh -c '${command}' sh FILE`, 'sh', ...all];
/** Where a program writes the image of a file. */
const imageOf = (file, kind) => path.join(out, `${path.basename(file)}.${kind}.png`);
const to = (kind) => `${out}/$(basename "$1").${kind}.png`;

const OURS = {
  name: 'ours',
  command: (cores, all, frames) => [program('thumbnailer'), String(SIZE), String(frames), out, ...all],
  image: () => path.join(out, '1-0.bmp'),
};
const RIVALS = {
  vips: {
    name: 'vipsthumbnail',
    // Its images are written as simply as ours, without compression.
    command: (cores, all) => ['sh', '-c', `printf '%s\\n' "$@" | VIPS_CONCURRENCY=1 xargs -P ${cores} ` +
      `-n ${Math.ceil(all.length / cores)} vipsthumbnail --size ${SIZE}x${SIZE} -o ${out}/%s.ppm`, 'sh', ...all],
    image: (file) => path.join(out, `${path.parse(file).name}.ppm`),
  },
  gdk: {
    name: 'gdk-pixbuf-thumbnailer',
    command: (cores, all) => each(cores, all, `gdk-pixbuf-thumbnailer -s ${SIZE} "$1" ${to('gdk')}`),
    image: (file) => imageOf(file, 'gdk'),
  },
  ffmpeg: {
    name: 'ffmpegthumbnailer',
    command: (cores, all, frames) => each(cores, all, (frames === 1 ? [10] : [10, 30, 50, 70, 90]).map((at) =>
      `ffmpegthumbnailer -s ${SIZE} -t ${at}% -c png -i "$1" -o ${to(at === 10 ? 'ffmpeg' : at)}`).join('; ')),
    image: (file) => imageOf(file, 'ffmpeg'),
  },
};

const onCores = (cores, command) => ['taskset', ['-c', cores === 1 ? '0' : '0,1', ...command]];

/** {kibibytes, milliseconds}: the most memory of a process, and the processors' time of all. */
function costOf(cores, command) {
  const file = path.join(folder, 'cost');
  const said = must(...onCores(cores, [program('peak'), file, ...command]));
  if (said.startsWith('{') && JSON.parse(said).failures > 0) throw new Error(`not all have a thumbnail: ${said}`);
  const [kibibytes, milliseconds] = readFileSync(file, 'utf8').split(' ').map(Number);
  return { kibibytes, milliseconds };
}

/** On one core the work counts, whatever else the machine does; on two how soon it is done. */
function timeOf(cores, command) {
  const began = performance.now();
  const { milliseconds } = costOf(cores, command);
  return cores === 1 ? milliseconds : performance.now() - began;
}

/** How alike an image and ImageMagick's scaled copy of the original are, in decibels. */
function quality(image, original) {
  const [width, height] = must(imageMagick('identify'), ['-format', '%w %h', image]).split(' ');
  const reference = path.join(folder, 'reference.png');
  convert(original, '-resize', `${width}x${height}!`, '-depth', '8', reference);
  // What is outside of both pictures' colours, such as an empty alpha channel, does not count.
  const flat = path.join(folder, 'flat.png');
  convert(image, '-alpha', 'off', '-depth', '8', flat);
  const { stderr } = run(imageMagick('compare'), ['-metric', 'PSNR', flat, reference, 'null:']);
  return Number.parseFloat(stderr);
}

/** The rivals that make an image of the file. */
function readersOf(what, file, rivals) {
  return rivals.filter(({ name, command, image }) => {
    const installed = isInstalled(name);
    rmSync(image(file), { force: true });
    const ended = installed && run(...onCores(1, command(1, [file], 1))).status === 0;
    if (ended && existsSync(image(file))) return true;
    console.log(`  ${what}: ${name} ${installed ? 'does not read it' : 'is not installed'}`);
    return false;
  });
}

function against(what, all, frames, rivals, original = all[0]) {
  const runners = [OURS, ...readersOf(what, all[0], rivals)];
  for (const cores of [1, 2]) {
    const times = runners.map(() => []);
    for (let turn = -1; turn < TURNS; turn += 1) { // the first does not count
      runners.forEach((_, place) => {
        const index = (place + turn + 1) % runners.length; // each of them comes first at times
        const time = timeOf(cores, runners[index].command(cores, all, frames));
        if (turn >= 0) times[index].push(time);
      });
    }
    const ratios = runners.slice(1).map(({ name }, index) =>
      `${name} ${median(times[0].map((time, turn) => time / times[index + 1][turn])).toFixed(2)}`);
    const perSecond = (all.length / median(times[0])) * 1000;
    console.log(`  ${what}, ${cores === 1 ? 'one core' : 'two cores'}`.padEnd(44) +
      `${perSecond.toFixed(1).padStart(6)} files/s  our time to that of ${ratios.join(', ')}`);
  }
  const figures = runners.map((runner) => {
    const peak = costOf(1, runner.command(1, all, frames)).kibibytes / 1024;
    run(...onCores(1, runner.command(1, [all[0]], frames)));
    return `${runner.name} ${quality(runner.image(all[0]), original).toFixed(1)} dB, ${peak.toFixed(0)} MiB`;
  });
  console.log(`  ${what}, quality and peak memory: ${figures.join('; ')}`);
}

console.log('thumbnails of 256 pixels, programs with their start; PSNR to ImageMagick\'s scaled copy');
const pictures = [RIVALS.vips, RIVALS.gdk, RIVALS.ffmpeg];
const jpegs = () => files('jpg', 24, picture('4000x3000'));
if (isWanted('jpg')) against('12-megapixel JPEG', jpegs(), 1, pictures);
for (const [kind, name, count, ...options] of [['png', 'PNG', 12, '-quality', '75'], ['webp', 'WebP', 12], ['heic', 'HEIC', 6]]) {
  if (isWanted(kind)) against(`3-megapixel ${name}`, files(kind, count, picture('2000x1500', ...options)), 1, pictures);
}
if (isWanted('mp4')) {
  const clips = files('mp4', 10, clip);
  const shown = path.join(folder, 'frame.png'); // the key frame in front of a tenth of the time
  ffmpeg('-ss', String(Math.floor(CLIP_SECONDS / 10 / KEY_SECONDS) * KEY_SECONDS), '-i', clips[0], '-frames:v', '1',
    '-vf', 'scale=in_color_matrix=bt709', shown); // the standard colours of a video of this size
  against('full HD clip, one frame', clips, 1, [RIVALS.ffmpeg], shown);
  against('full HD clip, five frames', clips, 5, [RIVALS.ffmpeg], shown);
}
if (isWanted('first')) {
  const all = jpegs();
  const waiting = Array.from({ length: 501 }, (_, index) => all[index % all.length]);
  const first = (those) => median([1, 2, 3].map(() =>
    JSON.parse(must(...onCores(2, [program('thumbnailer'), String(SIZE), '1', '-', ...those]))).first * 1000));
  console.log(`  first result while 500 JPEGs wait: ${first(waiting).toFixed(0)} ms, alone ${first([all[0]]).toFixed(0)} ms`);
}
