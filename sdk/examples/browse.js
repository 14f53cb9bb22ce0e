'use strict';
// Walks through folders of media with the arrow keys.
//
//     quill sdk/examples/browse.js FOLDER

const fs = require('node:fs');
const path = require('node:path');
const { ITEM_TYPES, NAVIGATION } = require('../codes.js');
const { Media } = require('../media.js');
const { count, enterFullScreen, fit, printable, size, width } = require('./terminal.js');

const USAGE = `Usage: quill browse.js FOLDER

Walks through FOLDER with the arrow keys; ? shows the others.
`;

const SORTS = ['NAME', 'DATE', 'SIZE', 'TYPE', 'TITLE', 'ARTIST', 'ALBUM', 'GENRE', 'DATE_TAKEN'];
const TYPES = ['ALL', 'IMAGE', 'MUSIC', 'VIDEO', 'PLAYLIST'];
const HELP = [
  'up, down              one item back or on',
  'left, right, PgUp/Dn  one page back or on',
  'Home, End             the first or the last item',
  'Enter                 opens a folder; shows the details of anything else',
  'Backspace, u          to the enclosing folder',
  'd                     details of the item',
  's, r                  the next sort order; the reverse order',
  'R                     read the folder again',
  't                     the next media type',
  '/                     search in all folders; Escape ends it',
  'q, Ctrl-C             leave',
];

function fail(message) {
  process.stderr.write(`browse: ${message}\n`);
  process.exit(1);
}

/** The state of the screen, and the actions of the keys. */
class Browser {
  constructor(folder) {
    this.folder = folder;
    this.media = new Media();
    this.sort = 0;
    this.descending = false;
    this.type = 0;
    this.search = '';
    this.overlay = null; // lines shown instead of the list
    this.prompt = null; // a search being typed
    this.message = '';
    this.place = []; // the folders entered: {name, id, cursor}
    this.returnTo = null; // the place to show in a reopened list: {place, item}
    this.cursor = 0;
    this.list = this.media.open(folder, this.options());
    this.watchList();
  }

  options() {
    return {
      contentType: TYPES[this.type],
      sort: SORTS[this.sort] + (this.descending ? ' DESC' : ''),
      search: this.search,
    };
  }

  /** Shows a list that was just opened while it grows, and when it is complete. */
  watchList() {
    this.cursor = 0;
    this.place = [];
    this.message = 'reading…';
    if (this.search === '') {
      this.list.navigate(NAVIGATION.FOLDER);
    }
    this.list.onGrowth = () => this.draw();
    this.list.onChange = () => this.showMessage('the folder has changed; R reads it again');
    this.list.ready.then(({ unreadable = 0 }) => {
      this.restorePlace();
      this.showMessage(unreadable > 0 ? `${count(unreadable, 'folder')} could not be read` : '');
    }, (error) => this.showMessage(error.message));
  }

  reopen() {
    try {
      const returnTo = this.returnTo ?? { place: this.place, item: this.item()?.media_id };
      const list = this.media.open(this.folder, this.options());
      this.list.close();
      this.list = list;
      this.returnTo = returnTo;
      this.watchList();
    } catch (error) {
      this.showMessage(error.message);
    }
  }

  /** Shows the folder and the item that were shown before, as far as they exist. */
  restorePlace() {
    if (this.returnTo === null || this.search !== '') {
      return; // the place is restored when the search ends
    }
    const { place, item } = this.returnTo;
    this.returnTo = null;
    try {
      for (const { name, id } of place) {
        this.enterAt(this.list.pageOf(id), name, id);
      }
      this.cursor = this.list.pageOf(item);
    } catch {
      // It does not exist any more, or not with these options.
    }
  }

  showMessage(message) {
    this.message = message;
    this.draw();
  }

  rows() { return Math.max(1, (process.stdout.rows || 24) - 2); }

  columns() { return Math.max(20, process.stdout.columns || 80); }

  move(to) {
    this.cancelReturn();
    this.cursor = Math.max(0, Math.min(to, this.list.count() - 1));
  }

  /** Once the user has moved the cursor, the place before is not restored any more. */
  cancelReturn() {
    this.returnTo = this.search === '' ? null : this.returnTo;
  }

  /** The item under the cursor; null in an empty list. */
  item() {
    return this.list.count() === 0 ? null : this.list.item(this.cursor);
  }

  enter() {
    const item = this.item();
    if (item === null) {
      return;
    }
    if (item.type === ITEM_TYPES.UPFOLDER) {
      this.up();
    } else if (item.type === ITEM_TYPES.FOLDER && this.search === '') {
      this.cancelReturn();
      this.enterAt(this.cursor, item.name, item.media_id);
    } else {
      this.details();
    }
  }

  enterAt(cursor, name, id) {
    this.list.moveTo(cursor);
    this.list.navigate(NAVIGATION.ENTER);
    this.place.push({ name, id, cursor });
    this.cursor = 0;
  }

  up() {
    if (this.place.length > 0) {
      this.list.navigate(NAVIGATION.UP);
      this.move(this.place.pop().cursor);
    }
  }

  details() {
    const item = this.item();
    if (item !== null) {
      this.overlay = Object.entries(item).map(([key, value]) =>
        `${key.padEnd(12)} ${value === null ? '-' : printable(String(value))}`);
    }
  }

  // ---- keys -------------------------------------------------------------------

  key(text, key) {
    if (key.ctrl && key.name === 'c') {
      this.leave();
    } else if (this.prompt !== null) {
      this.editPrompt(text, key);
    } else if (this.overlay !== null) {
      this.overlay = null;
    } else {
      this.command(text, key);
    }
    this.draw();
  }

  // A key pressed right after Escape arrives together with it: as Alt and the key, or as
  // several Escapes in one. No command here uses Alt, so they are split.
  keypress(text, key) {
    const escapes = /^\x1b*/.exec(key.sequence)[0].length;
    const own = key.name === 'escape' || key.code ? 1 : 0;
    for (let i = own; i < escapes; i++) {
      this.key(undefined, { name: 'escape' });
    }
    this.key(escapes > own ? key.sequence.slice(escapes) : text, key);
  }

  editPrompt(text, key) {
    if (key.name === 'return') {
      this.search = this.prompt;
      this.prompt = null;
      this.reopen();
    } else if (key.name === 'escape') {
      this.prompt = null;
    } else if (key.name === 'backspace') {
      this.prompt = [...this.prompt].slice(0, -1).join('');
    } else if (text && !key.ctrl && printable(text) === text) {
      this.prompt += text;
    }
  }

  command(text, key) {
    const page = this.rows();
    const commands = {
      up: () => this.move(this.cursor - 1),
      down: () => this.move(this.cursor + 1),
      left: () => this.move(this.cursor - page),
      right: () => this.move(this.cursor + page),
      pageup: () => this.move(this.cursor - page),
      pagedown: () => this.move(this.cursor + page),
      home: () => this.move(0),
      end: () => this.move(Infinity),
      return: () => this.enter(),
      backspace: () => this.up(),
      u: () => this.up(),
      d: () => this.details(),
      s: () => { this.sort = (this.sort + 1) % SORTS.length; this.reopen(); },
      r: () => (key.shift ? this.reopen() : (this.descending = !this.descending, this.reopen())),
      t: () => { this.type = (this.type + 1) % TYPES.length; this.reopen(); },
      escape: () => { if (this.search !== '') { this.search = ''; this.reopen(); } },
      q: () => this.leave(),
      '/': () => { this.prompt = ''; },
      '?': () => { this.overlay = HELP; },
    };
    (commands[key.name] ?? commands[text])?.();
  }

  // ---- the screen -------------------------------------------------------------

  start() {
    enterFullScreen((text, key) => this.keypress(text, key));
    process.stdout.on('resize', () => this.draw());
    process.on('SIGTERM', () => this.leave());
    this.draw();
  }

  leave() {
    process.exit(0);
  }

  line(index) {
    const item = this.list.item(index);
    const name = item.type === ITEM_TYPES.UPFOLDER ? '..'
      : printable(item.name) + (item.type === ITEM_TYPES.FOLDER ? '/' : '');
    const attributes = item.size === null || item.type === ITEM_TYPES.UPFOLDER ? ''
      : `${size(item.size).padStart(9)}  ${(item.modified ?? '').slice(0, 10).padEnd(10)}`;
    return `${fit(` ${name}`, this.columns() - width(attributes) - 1)}${attributes} `;
  }

  body(total) {
    if (this.overlay !== null) {
      return this.overlay.map((text) => fit(` ${text}`, this.columns()));
    }
    this.cursor = Math.max(0, Math.min(this.cursor, total - 1));
    const first = Math.floor(this.cursor / this.rows()) * this.rows();
    const lines = [];
    for (let index = first; index < Math.min(total, first + this.rows()); index += 1) {
      const text = this.line(index);
      lines.push(index === this.cursor ? `\x1b[7m${text}\x1b[0m` : text);
    }
    return total === 0 ? [fit(' nothing here', this.columns())] : lines;
  }

  title() {
    const where = this.search === '' ? [this.folder, ...this.place.map(({ name }) => name)].join('/')
      : `"${this.search}" in ${this.folder}`;
    return `\x1b[1m${fit(` ${printable(where)}`, this.columns())}\x1b[0m`;
  }

  status(total) {
    if (this.prompt !== null) {
      return fit(` search: ${this.prompt}_`, this.columns());
    }
    const pages = Math.max(1, Math.ceil(total / this.rows()));
    const page = Math.floor(this.cursor / this.rows()) + 1;
    const state = ` ${Math.min(this.cursor + 1, total)}/${total}  page ${page}/${pages}  ${TYPES[this.type]}  ` +
      `${SORTS[this.sort]}${this.descending ? ' descending' : ''}  ?: help`;
    return fit(this.message === '' ? state : `${state}  ${printable(this.message)}`, this.columns());
  }

  draw() {
    const total = this.list.count(); // once: it grows while the folder is read
    const lines = [this.title(), ...this.body(total)];
    const rows = this.rows() + 2;
    while (lines.length < rows - 1) {
      lines.push('');
    }
    lines.length = rows - 1;
    lines.push(this.status(total));
    process.stdout.write(`\x1b[H${lines.map((text) => `${text}\x1b[K`).join('\r\n')}`);
  }
}

function main() {
  const [folder, ...more] = process.argv.slice(2);
  if (folder === '--help') {
    process.stdout.write(USAGE);
    return;
  }
  if (folder === undefined || more.length > 0 || folder.startsWith('--')) {
    fail(`give one folder\n\n${USAGE}`);
  }
  if (!process.stdin.isTTY || !process.stdout.isTTY) {
    fail('this needs a terminal; list.js prints a folder to a file or a pipe');
  }
  if (!fs.statSync(folder, { throwIfNoEntry: false })?.isDirectory()) {
    fail(`${printable(folder)} is not a folder`);
  }
  try {
    new Browser(path.resolve(folder)).start();
  } catch (error) {
    fail(error.message);
  }
}

main();
