'use strict';
// Copies the pictures, music and videos of a folder, or the entries of a playlist, to a folder.
//
//     quill sdk/examples/copy.js [--type picture|music|video|all] FROM TO

const fs = require('node:fs');
const path = require('node:path');
const { ITEM_TYPES, SHARE_EVENTS, SHARE_TYPES } = require('../codes.js');
const { Media } = require('../media.js');
const { bar, clock, count, printable, size, statusLine } = require('./terminal.js');

const { IMAGE, MUSIC, VIDEO, M3U } = ITEM_TYPES;
const TYPES = {
  picture: { types: [IMAGE], named: 'pictures' },
  music: { types: [MUSIC], named: 'music' },
  video: { types: [VIDEO], named: 'videos' },
  all: { types: [IMAGE, MUSIC, VIDEO, M3U], named: 'pictures, music, videos or playlists' },
};

const USAGE = `Usage: quill copy.js [--type picture|music|video|all] FROM TO

Copies the media in FROM and the folders below it, or the entries of the playlist
FROM (m3u, m3u8, pls or xspf), to the folder TO, which must exist. Nothing in TO is
overwritten: if a name exists, the copy gets a number.
  --type T   only pictures, only music or only videos (all, with playlists)

Ctrl-C stops: the files that were copied until then stay, and are whole. The exit
status is 0 when everything was copied, 130 after Ctrl-C, else 1.
`;

/** Why a destination is refused before anything is copied, by the framework's code. */
const REFUSALS = {
  [-4]: 'it does not exist; make the folder first',
  [-6]: 'it is read-only, or this user may not write to it',
  [-7]: 'it is not a folder',
};

const SIGNALS = { SIGINT: 130, SIGTERM: 143 }; // and the exit status after them, as shells have it

class UsageError extends Error {}

/** {type, from, to} from the arguments of the command line. */
function parseArguments(words) {
  let type = 'all';
  const folders = [];
  for (let index = 0; index < words.length; index += 1) {
    const [option, joined] = words[index].split(/=(.*)/s);
    if (option === '--type') {
      type = joined ?? words[index += 1] ?? '';
      if (!Object.hasOwn(TYPES, type)) {
        throw new UsageError(`--type takes ${Object.keys(TYPES).join(', ')}, not '${printable(type)}'`);
      }
    } else if (option.startsWith('-')) {
      throw new UsageError(`unknown option ${printable(option)}`);
    } else {
      folders.push(path.resolve(words[index]));
    }
  }
  if (folders.length !== 2) {
    throw new UsageError('give one folder to copy from and one to copy to');
  }
  const [from, to] = folders;
  if (from === to) {
    throw new UsageError('FROM and TO are the same folder');
  }
  return { type, from, to };
}

const PLAYLIST = /\.(m3u8?|pls|xspf)$/i;
const isPlaylist = (from) => PLAYLIST.test(from) && fs.statSync(from, { throwIfNoEntry: false })?.isFile() === true;

/** Opens the folder or playlist and selects the files to copy: {list, files, bytes}. */
async function select(media, { type, from }) {
  const { types, named } = TYPES[type];
  const list = isPlaylist(from) ? media.openPlaylists(from)
    : media.open(from, { contentType: 'ALL', sort: 'FOLDER' });
  list.onGrowth = ({ item_count: items }) => statusLine.show(`reading: ${count(items, 'item')} so far…`);
  await list.ready.catch((error) => { throw new Error(`${printable(from)}: ${error.message}`); });
  statusLine.clear();
  const bytes = list.selectTypes(types);
  const files = list.selectionCount();
  if (files === 0) {
    throw new Error(`${printable(from)}: no ${named} in it`);
  }
  return { list, files, bytes };
}

/** The progress of a share, as one line. */
function progressText({ totalFiles, doneFiles, totalSize, successSize, progressSize, currentName }, seconds) {
  const done = successSize + progressSize;
  const fraction = totalSize > 0 ? done / totalSize : doneFiles / Math.max(1, totalFiles);
  const rate = seconds > 0 ? done / seconds : 0;
  const left = rate > 0 ? `${clock((totalSize - done) / rate)} left` : '';
  return `${bar(fraction, 12)} ${String(Math.floor(fraction * 100)).padStart(3)}%  ${doneFiles}/${totalFiles} files  ` +
         `${size(done)} of ${size(totalSize)}  ${size(Math.round(rate))}/s  ${left}  ${printable(currentName)}`;
}

/** How much was copied, for the message about an early end. */
const arrived = ({ doneFiles, totalFiles, successSize }) =>
  (doneFiles === 0 ? 'nothing was copied'
    : `${doneFiles} of ${count(totalFiles, 'file')} copied (${size(successSize)})`);

/** Why a share ended early. */
function reasonOf(end, to) {
  switch (end.event) {
    case SHARE_EVENTS.NO_SPACE:
      return `${printable(to)} has too little free space for ${size(end.totalSize)}`;
    case SHARE_EVENTS.DEVICE_REMOVED:
      return 'the device or folder that is copied from or to went away';
    default:
      return `${printable(end.currentName || to)} could not be copied (quill --log says why)`;
  }
}

/** Starts the share; a destination that is refused is named. */
function start(list, to, onProgress) {
  try {
    return list.share(SHARE_TYPES.COPY, { param_source_device_type: 0, param_dest_device_type: 0,
                                          param_dest_device_path: to }, onProgress);
  } catch (error) {
    throw new Error(`${printable(to)}: ${REFUSALS[error.code] ?? error.message}`);
  }
}

/** Handles the signals that end the program: the first calls `stop`, a second ends it at once. */
function onSignals() {
  const ending = {
    // Before the copy has begun there is nothing to stop.
    stop(status) {
      statusLine.clear();
      console.log('stopped: nothing was copied');
      process.exit(status);
    },
    release: () => handlers.forEach(([signal, handler]) => process.off(signal, handler)),
  };
  const handlers = Object.entries(SIGNALS)
    .map(([signal, status]) => [signal, () => { ending.release(); ending.stop(status); }]);
  handlers.forEach(([signal, handler]) => process.on(signal, handler));
  return ending;
}

/** Copies the selection; the exit status. */
async function copy(list, to, ending) {
  const began = performance.now();
  const seconds = () => (performance.now() - began) / 1000;
  let interrupted = 0;
  const share = start(list, to, (progress) => {
    statusLine.show(interrupted ? 'stopping…' : progressText(progress, seconds()));
  });
  // No signal is handled between the start and this: both are one turn of the main loop.
  ending.stop = (status) => {
    interrupted = status;
    statusLine.show('stopping…');
    try {
      share.stop();
    } catch {
      // It has ended already, and its last event is queued.
    }
  };
  const end = await share.done.catch((failure) => {
    if (failure.event === undefined) throw failure;
    return failure;
  });
  ending.release();
  statusLine.clear();
  if (end.event === SHARE_EVENTS.DONE) {
    console.log(`${count(end.doneFiles, 'file')}, ${size(end.successSize)}, copied to ${printable(to)} ` +
                `in ${seconds().toFixed(1)} s`);
    return 0;
  }
  if (end.event === SHARE_EVENTS.STOPPED) {
    console.log(`stopped: ${arrived(end)}`);
    return interrupted || 1;
  }
  throw new Error(`${reasonOf(end, to)}; ${arrived(end)}`);
}

async function main(words) {
  if (words.includes('--help')) {
    process.stdout.write(USAGE);
    return;
  }
  const options = parseArguments(words);
  const ending = onSignals(); // before anything is written
  const media = new Media();
  // However this ends, nothing keeps the program alive afterwards.
  try {
    const { list, files, bytes } = await select(media, options);
    if (process.stdout.isTTY) {
      console.log(`${count(files, 'file')}, ${size(bytes)}, from ${printable(options.from)} to ${printable(options.to)}`);
    }
    process.exitCode = await copy(list, options.to, ending);
  } finally {
    ending.release();
    media.finish();
  }
}

// A reader such as head may close the pipe early: that is not an error.
process.stdout.on('error', (error) => process.exit(error.code === 'EPIPE' ? 0 : 1));
main(process.argv.slice(2)).catch((error) => {
  statusLine.clear();
  process.stderr.write(`copy: ${error.message}\n${error instanceof UsageError ? `\n${USAGE}` : ''}`);
  process.exitCode = 1;
});
