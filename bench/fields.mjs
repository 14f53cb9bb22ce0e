// The fields of real media against the tools that are used to read them: exiftool, one
// process for all pictures and music, and ffprobe, one process for each file of music
// and video. Each program is started again each time and its whole time counts; the bridge's once
// with an empty cache and once with what an earlier program stored.
//
//     node bench/fields.mjs
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { copyFileSync, mkdirSync, mkdtempSync, rmSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

import { compare, median, report } from './measure.mjs';

const TURNS = 5;
const KINDS = {
  pictures: { files: 300, type: 2, fields: ['TITLE', 'MIME_TYPE', 'FORMAT', 'WIDTH', 'HEIGHT', 'RESOLUTION', 'ASPECTRATIO',
    'ORIENTATION', 'DATE_TAKEN', 'EXPOSURE_TIME', 'FNUMBER', 'ISO', 'MODEL', 'LATITUDE', 'LONGITUDE', 'ALTITUDE'] },
  music: { files: 200, type: 5, fields: ['TITLE', 'MIME_TYPE', 'FORMAT', 'ARTIST', 'ALBUM', 'GENRE', 'YEAR', 'SONGS_COUNT',
    'DURATION', 'BITRATE', 'SAMPLERATE', 'AUDIO_CODEC'] },
  video: { files: 20, type: 3, fields: ['TITLE', 'MIME_TYPE', 'FORMAT', 'DURATION', 'WIDTH', 'HEIGHT', 'ASPECTRATIO', 'HD',
    'VIDEO_CODEC', 'AUDIO_CODEC', 'LANGUAGE', 'SUBTITLE'] },
};
const READ = '--read';

/** In quill: reads the fields of all files below a folder; how many, and in how many milliseconds. */
function read(where) {
  const bridge = new MRBBridge();
  const invoke = (method, request) => JSON.parse(bridge[method](JSON.stringify(request)));
  bridge.mrb_request_list_v2((text) => {
    const { param_event, param_agent } = JSON.parse(text);
    if (param_event !== 0) return;
    const began = performance.now();
    let fields = 0;
    const { return_data: count } = invoke('mrb_get_item_count_v2', { param_agent });
    for (let param_index = 0; param_index < count; param_index += 1) {
      const { return_data: type } = invoke('mrb_get_item_value_v2', { param_agent, param_index, param_field: 'MEDIA_TYPE' });
      for (const param_field of Object.values(KINDS).find((kind) => kind.type === type)?.fields ?? []) {
        fields += invoke('mrb_get_item_value_v2', { param_agent, param_index, param_field }).return_ecode === 0 ? 1 : 0;
      }
    }
    console.log(JSON.stringify({ fields, took: performance.now() - began }));
    process.exit();
  }, JSON.stringify({ param_source_name: 'SOURCE_MSC', param_scan_path: where }));
}

function must(command, args, options = {}) {
  const { status, stdout, stderr, error } = spawnSync(command, args, { encoding: 'utf8', maxBuffer: 1 << 28, ...options });
  if (status !== 0) throw new Error(`${command}: ${error?.message ?? stderr}`);
  return stdout;
}
const ffmpeg = (...args) => must('ffmpeg', ['-nostdin', '-loglevel', 'error', '-y', ...args]);
const TAGS = ['title=A piece', 'artist=An artist', 'album=An album', 'genre=Jazz', 'date=2015', 'track=3/12']
  .flatMap((tag) => ['-metadata', tag]);

/** One of each, and as many copies of it as are wanted. */
function make(home) {
  const first = (name) => path.join(home, name);
  ffmpeg('-f', 'lavfi', '-i', 'mandelbrot=size=1920x1080', '-frames:v', '1', '-q:v', '3', first('photo.jpg'));
  must('exiftool', ['-q', '-q', '-overwrite_original', '-EXIF:Model=Desk Camera 1', '-EXIF:DateTimeOriginal=2024:07:14 09:30:00',
    '-EXIF:Orientation#=6', '-EXIF:ExposureTime=1/125', '-EXIF:FNumber=2.8', '-EXIF:ISO=200', '-EXIF:GPSLatitude=33.8568',
    '-EXIF:GPSLatitudeRef=S', '-EXIF:GPSLongitude=151.2153', '-EXIF:GPSLongitudeRef=E', '-EXIF:GPSAltitude=12.5',
    '-EXIF:GPSAltitudeRef=0', first('photo.jpg')]);
  for (const name of ['song.mp3', 'song.flac']) {
    ffmpeg('-f', 'lavfi', '-i', 'anoisesrc=duration=30:amplitude=0.1', '-ac', '2', ...TAGS, first(name));
  }
  for (const name of ['film.mp4', 'film.mkv']) {
    ffmpeg('-f', 'lavfi', '-i', 'testsrc2=size=1280x720:rate=25', '-f', 'lavfi', '-i', 'sine', '-t', '20', '-c:v', 'libx264',
      '-preset', 'ultrafast', '-c:a', 'aac', ...TAGS, '-metadata:s:a:0', 'language=deu', first(name));
  }
  const files = { pictures: [], music: [], video: [] };
  const originals = { pictures: ['photo.jpg'], music: ['song.mp3', 'song.mp3', 'song.mp3', 'song.flac'], video: ['film.mp4', 'film.mkv'] };
  for (const [kind, names] of Object.entries(originals)) {
    mkdirSync(path.join(home, kind));
    for (let number = 0; number < KINDS[kind].files; number += 1) {
      const original = names[number % names.length];
      files[kind].push(path.join(home, kind, `${number}${path.extname(original)}`));
      copyFileSync(first(original), files[kind].at(-1));
    }
  }
  return files;
}

/** The files in a folder of their own, which the bridge opens. */
function gather(home, name, files) {
  const where = path.join(home, name);
  mkdirSync(where);
  must('cp', ['-rl', ...new Set(files.map((file) => path.dirname(file))), where]);
  return where;
}

const timeOf = (work) => {
  const began = performance.now();
  work();
  return performance.now() - began;
};

async function main() {
  const quill = path.join(process.env.QUILL_BUILD ?? 'build/release', 'bin', 'quill');
  const home = mkdtempSync(path.join(os.tmpdir(), 'fields-'));
  const cache = path.join(home, 'cache');
  const bridge = (where) => JSON.parse(must(quill, [fileURLToPath(import.meta.url), READ, where],
    { env: { ...process.env, QUILL_LOG: 'off', MRB_CACHE_FOLDER: cache } }));
  try {
    const files = make(home);
    const exiftool = (chosen) => timeOf(() => must('exiftool', ['-fast', '-n', '-j', ...chosen]));
    const ffprobe = (chosen) => timeOf(() => chosen.forEach((file) =>
      must('ffprobe', ['-v', 'error', '-of', 'json', '-show_format', '-show_streams', file])));
    for (const [tool, kinds, tellsIt] of [['exiftool', ['pictures', 'music'], exiftool], ['ffprobe', ['music', 'video'], ffprobe]]) {
      const chosen = kinds.flatMap((kind) => files[kind]);
      const where = gather(home, tool, chosen);
      const expected = kinds.reduce((sum, kind) => sum + KINDS[kind].files * KINDS[kind].fields.length, 0);
      for (const state of ['cold', 'warm']) {
        const inside = [];
        const subject = () => {
          if (state === 'cold') rmSync(cache, { recursive: true, force: true });
          return timeOf(() => {
            const { fields, took } = bridge(where);
            assert.equal(fields, expected);
            inside.push(took);
          });
        };
        report(`${kinds.join(' and ')}, ${chosen.length} files, ${state}, ${tool}`, 'ms',
          await compare(subject, () => tellsIt(chosen), TURNS));
        console.log(`  ${Math.round(expected / median(inside) * 1000).toLocaleString('en')} fields a second`);
      }
    }
  } finally {
    rmSync(home, { recursive: true });
  }
}

if (process.argv[2] === READ) {
  read(process.argv[3]);
} else {
  await main();
}
