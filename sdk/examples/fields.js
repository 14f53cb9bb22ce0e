'use strict';
// Prints the metadata of pictures, music and videos: the fields of their items.
//
//     quill sdk/examples/fields.js [--all] FILE|FOLDER ...

const fs = require('node:fs');
const path = require('node:path');
const { ITEM_TYPES, describeResult } = require('../codes.js');
const { Media } = require('../media.js');
const { FIELDS, FOR_PROGRAMS, REFUSED_WHEN_EMPTY, isEmpty } = require('./field_values.js');
const { printable } = require('./terminal.js');

const NOT_FOUND = -4;
const SHOWN = [ITEM_TYPES.IMAGE, ITEM_TYPES.MUSIC, ITEM_TYPES.VIDEO];

const USAGE = `Usage: quill fields.js [--all] FILE|FOLDER ...

Prints the fields of pictures, music and videos; for a folder, of all files in it and
in the folders below it.
  --all   all ${FIELDS.length} fields, the empty ones too (as -)
`;

class UsageError extends Error {}

/** {isAll, places} from the arguments of the command line. */
function parseArguments(words) {
  const unknown = words.find((word) => word.startsWith('-') && word !== '--all');
  if (unknown !== undefined) {
    throw new UsageError(`unknown option ${printable(unknown)}`);
  }
  const places = words.filter((word) => word !== '--all').map((name) => path.resolve(name));
  if (places.length === 0) {
    throw new UsageError('give files or folders');
  }
  return { isAll: words.includes('--all'), places };
}

/** One field of an item: {name, text} or {name, code} where it was refused. */
function readField(list, index, item, [name, show]) {
  try {
    // The list's own size has all bits.
    const value = name === 'SIZE' ? item.size : list.field(index, name);
    return { name, text: isEmpty(name, value) ? undefined : show(value) };
  } catch (error) {
    if (error.code === NOT_FOUND && REFUSED_WHEN_EMPTY.has(name)) {
      return { name };
    }
    return { name, code: error.code ?? error.message };
  }
}

const line = (name, text) => console.log(`  ${name.padEnd(22)} ${text}`);

/** Prints an item's fields; false when some could not be read. */
function print(list, index, item, isAll) {
  console.log(printable(item.path));
  const fields = FIELDS.map((field) => readField(list, index, item, field));
  for (const { name, text, code } of fields) {
    if (isAll) {
      line(name, code === undefined ? text ?? '-' : `error: ${describeResult(code)}`);
    } else if (text !== undefined && !FOR_PROGRAMS.has(name)) {
      line(name, text);
    }
  }
  console.log();
  // The cause is the same for all fields of a file: it is reported once.
  const refused = fields.filter(({ code }) => code !== undefined);
  if (refused.length > 0) {
    process.stderr.write(`fields: ${printable(item.path)}: ${refused.map(({ name }) => name).join(', ')}: ` +
                         `${describeResult(refused[0].code)}\n`);
  }
  return refused.length === 0;
}

/** Prints a file, or all files of a folder; throws when there is none. */
async function printPlace(media, place, isAll) {
  const found = fs.statSync(place, { throwIfNoEntry: false });
  if (!found) {
    throw new Error('it does not exist');
  }
  const list = media.open(found.isDirectory() ? place : path.dirname(place), { contentType: 'ALL', sort: 'FOLDER' });
  try {
    await list.ready;
    const isShown = (item) => SHOWN.includes(item.type) && (found.isDirectory() || item.path === place);
    let shown = 0;
    let allRead = true;
    for (let index = 0, total = list.count(); index < total; index += 1) {
      const item = list.item(index);
      if (isShown(item)) {
        shown += 1;
        allRead = print(list, index, item, isAll) && allRead;
      }
    }
    if (shown === 0) {
      throw new Error(found.isDirectory() ? 'no pictures, music or videos in it' : 'it is not a picture, music or video file');
    }
    return allRead;
  } finally {
    list.close();
  }
}

async function main(words) {
  if (words.includes('--help')) {
    process.stdout.write(USAGE);
    return;
  }
  const { isAll, places } = parseArguments(words);
  const media = new Media();
  // However this ends, nothing keeps the program alive afterwards.
  try {
    for (const place of places) {
      try {
        if (!await printPlace(media, place, isAll)) {
          process.exitCode = 1;
        }
      } catch (error) {
        process.stderr.write(`fields: ${printable(place)}: ${error.message}\n`);
        process.exitCode = 1; // the others are shown all the same
      }
    }
  } finally {
    media.finish();
  }
}

// A reader such as head may close the pipe early: that is not an error.
process.stdout.on('error', (error) => process.exit(error.code === 'EPIPE' ? 0 : 1));
main(process.argv.slice(2)).catch((error) => {
  process.stderr.write(`fields: ${error.message}\n${error instanceof UsageError ? `\n${USAGE}` : ''}`);
  process.exitCode = 1;
});
