'use strict';
// Prints the playlists of the machine, or the entries of one of them.
//
//     quill sdk/examples/playlists.js [PLAYLIST]

const path = require('node:path');
const { describeResult } = require('../codes.js');
const { Media, MediaError } = require('../media.js');
const { clock, count, fit, printable } = require('./terminal.js');

const USAGE = `Usage: quill playlists.js [PLAYLIST]

Prints the entries of PLAYLIST (m3u, m3u8, pls or xspf), or without it the paths of all
playlists on attached storage and in the music folder.
`;

function fail(message) {
  process.stderr.write(`playlists: ${message}\n`);
  process.exit(1);
}

function printEntry({ name, title, duration, missing, path: file, url }) {
  const length = duration === null ? '' : clock(duration / 1000);
  const where = missing ? 'not there' : printable(file || url);
  console.log(`  ${fit(printable(title ?? name), 40)} ${length.padStart(8)}  ${where}`);
}

function items(list) {
  const total = list.count();
  return total > 0 ? list.items(0, total) : [];
}

async function main() {
  const [playlist, ...more] = process.argv.slice(2);
  if (playlist === '--help') {
    process.stdout.write(USAGE);
    process.exit(0);
  }
  if (more.length > 0 || playlist?.startsWith('-')) {
    fail(`give one playlist, or none\n\n${USAGE}`);
  }
  const media = new Media();
  try {
    const list = playlist === undefined
      ? media.openPlaylists('', { contentType: 'PLAYLIST' })
      : media.openPlaylists(path.resolve(playlist));
    const { unreadable } = await list.ready;
    const entries = items(list);
    if (playlist === undefined) {
      console.log(count(entries.length, 'playlist'));
      entries.forEach((entry) => console.log(`  ${printable(entry.path)}`));
    } else {
      const missing = entries.filter((entry) => entry.missing).length;
      console.log(`${count(entries.length, 'entry', 'entries')}${missing > 0 ? `, ${missing} not there` : ''}`);
      entries.forEach(printEntry);
    }
    if (unreadable > 0) {
      console.log(`${count(unreadable, 'playlist or folder', 'playlists or folders')} not read, or not to the end`);
    }
  } catch (error) {
    fail(`${printable(playlist ?? 'playlists')}: ${error instanceof MediaError ? describeResult(error.code) : error.message}`);
  }
  media.finish();
}

// A reader such as head may close the pipe early: that is not an error.
process.stdout.on('error', (error) => process.exit(error.code === 'EPIPE' ? 0 : 1));
main();
