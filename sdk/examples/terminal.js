'use strict';
// Output for a person: widths, sizes, and names without control characters.

const readline = require('node:readline');

const WIDE = /[\u1100-\u115f\u2e80-\ua4cf\uac00-\ud7a3\uf900-\ufaff\ufe30-\ufe6f\uff00-\uff60\uffe0-\uffe6]|\p{Emoji_Presentation}/u;
const ZERO_WIDTH = /[\p{M}\u200b-\u200f\ufe0f]/u;

/** Replaces control characters: a file's name may hold a terminal's commands. */
const printable = (text) => text.replace(/[\p{Cc}\u202a-\u202e\u2066-\u2069]/gu, '\ufffd');

/** How many columns a text takes. */
function width(text) {
  let columns = 0;
  for (const character of text) {
    columns += ZERO_WIDTH.test(character) ? 0 : WIDE.test(character) ? 2 : 1;
  }
  return columns;
}

/** Fills a text up with spaces, or cuts it, to a number of columns. */
function fit(text, columns) {
  if (width(text) <= columns) {
    return text + ' '.repeat(columns - width(text));
  }
  let cut = '';
  for (const character of text) {
    if (width(cut + character) > columns - 1) {
      break;
    }
    cut += character;
  }
  return fit(`${cut}…`, columns);
}

/** A number of bytes in the largest unit of which it has at least one: "34.2 kB". */
function size(bytes) {
  const units = ['B', 'kB', 'MB', 'GB', 'TB', 'PB'];
  let unit = 0;
  let value = bytes;
  while (value >= 1000 && unit < units.length - 1) {
    value /= 1000;
    unit += 1;
  }
  return `${unit === 0 ? value : value.toFixed(1)} ${units[unit]}`;
}

/** "1 picture", "2 pictures". */
const count = (number, one, many = `${one}s`) => `${number.toLocaleString('en')} ${number === 1 ? one : many}`;

/** Seconds as a clock shows them: "0:07", "1:02:03". */
function clock(seconds) {
  const whole = Math.round(seconds);
  const [hours, minutes] = [Math.floor(whole / 3600), Math.floor(whole / 60) % 60];
  const tail = String(whole % 60).padStart(2, '0');
  return hours > 0 ? `${hours}:${String(minutes).padStart(2, '0')}:${tail}` : `${minutes}:${tail}`;
}

/** A bar that is filled by a fraction of 0 to 1. */
function bar(fraction, columns) {
  const filled = Math.round(Math.max(0, Math.min(1, fraction)) * columns);
  return `[${'#'.repeat(filled)}${'-'.repeat(columns - filled)}]`;
}

/** One line of standard output that is overwritten; nothing unless standard output is a terminal. */
const statusLine = {
  show(text) {
    if (process.stdout.isTTY) {
      process.stdout.write(`\r${fit(text, Math.max(20, process.stdout.columns || 80) - 1)}`);
    }
  },
  clear() {
    if (process.stdout.isTTY) {
      process.stdout.write('\r\x1b[K');
    }
  },
};

/** Switches to a second screen without cursor until the program ends, and calls onKey(text, key) for each key. */
function enterFullScreen(onKey) {
  readline.emitKeypressEvents(process.stdin);
  process.stdin.setRawMode(true);
  process.stdout.write('\x1b[?1049h\x1b[?25l');
  process.on('exit', () => {
    process.stdout.write('\x1b[?25h\x1b[?1049l');
    process.stdin.setRawMode(false);
  });
  process.stdin.on('keypress', onKey);
}

module.exports = { bar, clock, count, enterFullScreen, fit, printable, size, statusLine, width };
