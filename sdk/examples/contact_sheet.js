'use strict';
// Makes thumbnails of all pictures, videos and music in a folder, and a page that shows them.
//
//     quill sdk/examples/contact_sheet.js FOLDER OUTPUT [--size N] [--frames N]

const fs = require('node:fs');
const path = require('node:path');
const { ITEM_TYPES } = require('../codes.js');
const { Media } = require('../media.js');
const { Thumbnailer } = require('../thumbnailer.js');
const { page } = require('./contact_page.js');
const { count, printable } = require('./terminal.js');

const SHOWN = [ITEM_TYPES.IMAGE, ITEM_TYPES.VIDEO, ITEM_TYPES.MUSIC];
const CONCURRENCY = 32; // requests that wait or run
const BATCH_SIZE = 500;
const OPTIONS = { '--size': { min: 16, max: 4096, default: 256 }, '--frames': { min: 1, max: 5, default: 1 } };

const USAGE = `Usage: quill contact_sheet.js FOLDER OUTPUT [--size N] [--frames N]

Makes thumbnails of all pictures, videos and music in FOLDER and the folders below
it, as bitmap files in OUTPUT, and a page OUTPUT/index.html that shows them.
OUTPUT is created if it does not exist; if it does, it must be empty.
  --size N     the longer side of a thumbnail in pixels, 16 to 4096 (256)
  --frames N   frames of a video, 1 to 5 (1)
`;

class UsageError extends Error {}

/** {folder, output, size, frames} from the arguments of the command line. */
function parseArguments(words) {
  const options = { size: OPTIONS['--size'].default, frames: OPTIONS['--frames'].default };
  const folders = [];
  for (let index = 0; index < words.length; index += 1) {
    const [option, joined] = words[index].split(/=(.*)/s);
    const range = OPTIONS[option];
    if (range) {
      const text = joined ?? words[index += 1] ?? '';
      const number = /^\d+$/.test(text) ? Number(text) : NaN;
      if (!(number >= range.min && number <= range.max)) {
        throw new UsageError(`${option} takes a number from ${range.min} to ${range.max}, not '${text}'`);
      }
      options[option.slice(2)] = number;
    } else if (option.startsWith('-')) {
      throw new UsageError(`unknown option ${option}`);
    } else {
      folders.push(words[index]);
    }
  }
  if (folders.length !== 2) {
    throw new UsageError('give one folder to show and one to write to');
  }
  const [folder, output] = folders.map((name) => path.resolve(name));
  return { ...options, folder, output };
}

/** Creates the folder, or checks that it is empty. */
function prepare(output) {
  fs.mkdirSync(output, { recursive: true });
  if (fs.readdirSync(output).length > 0) {
    throw new Error(`${printable(output)} is not empty; give a new or an empty folder`);
  }
}

/** The files to show, as the framework describes them. */
async function filesOf(media, folder) {
  const list = media.open(folder, { contentType: 'ALL', sort: 'FOLDER' });
  await list.ready.catch((error) => { throw new Error(`${printable(folder)}: ${error.message}`); });
  const files = [];
  for (let index = 0, total = list.count(); index < total; index += BATCH_SIZE) {
    files.push(...list.items(index, BATCH_SIZE).filter(({ type }) => SHOWN.includes(type)));
  }
  list.close();
  return files;
}

/** Requests the thumbnails of one file; resolves to the entry of the page. */
async function show(thumbnails, file, number, { output, size, frames }) {
  const name = String(number).padStart(5, '0');
  const images = file.type === ITEM_TYPES.VIDEO ? frames : 1;
  const paths = Array.from({ length: images }, (_, frame) =>
    path.join(output, images === 1 ? `${name}.bmp` : `${name}-${frame + 1}.bmp`));
  try {
    const request = thumbnails.request(file.path, paths, { width: size, height: size, mediaType: file.type });
    const result = await request.done;
    return { file, bitmaps: (result.save_path ?? []).map((bitmap) => path.basename(bitmap)),
             width: result.image_width, height: result.image_height, times: (result.time_stamp ?? []).map(Number) };
  } catch (error) {
    return { file, bitmaps: [], reason: error.message };
  }
}

/** The entries of all files, CONCURRENCY at a time, in the order of the files. */
async function showAll(thumbnails, files, options) {
  const shown = new Array(files.length);
  let next = 0;
  let done = 0;
  const work = async () => {
    while (next < files.length) {
      const number = next;
      next += 1;
      shown[number] = await show(thumbnails, files[number], number + 1, options);
      done += 1;
      if (process.stderr.isTTY) {
        process.stderr.write(`\r${done} of ${count(files.length, 'file')} … `);
      }
    }
  };
  await Promise.all(Array.from({ length: CONCURRENCY }, work));
  if (process.stderr.isTTY) {
    process.stderr.write('\r\x1b[K');
  }
  return shown;
}

async function main(words) {
  if (words.includes('--help')) {
    process.stdout.write(USAGE);
    return;
  }
  const options = parseArguments(words);
  const media = new Media();
  // However this ends, nothing keeps the program alive afterwards.
  try {
    const files = await filesOf(media, options.folder);
    if (files.length === 0) {
      throw new Error(`${printable(options.folder)}: no pictures, videos or music in it`);
    }
    prepare(options.output);
    const shown = await showAll(new Thumbnailer(media.bridge), files, options);
    const index = path.join(options.output, 'index.html');
    fs.writeFileSync(index, page(options, shown));
    const without = shown.filter(({ bitmaps }) => bitmaps.length === 0);
    console.log(`${count(shown.length - without.length, 'file')} shown in ${printable(index)}`);
    for (const { file, reason } of without) {
      console.log(`  without a thumbnail: ${printable(path.relative(options.folder, file.path))} (${reason})`);
    }
  } finally {
    media.finish();
  }
}

main(process.argv.slice(2)).catch((error) => {
  process.stderr.write(`contact_sheet: ${error.message}\n${error instanceof UsageError ? `\n${USAGE}` : ''}`);
  process.exitCode = 1;
});
