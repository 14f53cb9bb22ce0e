// The terminal browser, by keys and the screen.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { cpSync, mkdirSync, readdirSync, rmSync, statSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test, { before } from 'node:test';

import { needs } from '../needs.mjs';
import { folder, quill, root } from './harness.mjs';
import { Terminal } from './terminal.mjs';

const browser = path.join(root, 'sdk', 'examples', 'browse.js');
const library = path.join(folder(), 'library');

before(() => execFileSync(path.join(root, 'tools', 'make-library'), [library], { stdio: 'ignore' }));

/** A test with a terminal of its own. */
function screenTest(name, work, { where = () => library, ...shape } = {}) {
  test(name, needs('terminals'), async () => {
    const terminal = new Terminal([browser, where()], shape);
    try {
      await work(terminal);
    } finally {
      terminal.close();
    }
  });
}

function manyPictures() {
  const where = path.join(folder(), 'many');
  mkdirSync(where);
  for (let number = 0; number < 1000; number += 1) {
    writeFileSync(path.join(where, `${number}.jpg`), '');
  }
  return where;
}

screenTest('it shows the folder, its sub-folders first, and the position', async (terminal) => {
  const lines = await terminal.shows(/ 1\/11 {2}page 1\/1 {2}ALL {2}NAME {2}\?: help *$/m);
  assert.equal(lines[0], ` ${library}`);
  assert.equal(lines[1], ' Empty folder/');
  assert.match(lines[11], /^ Welcome\.jpg +[\d.]+ kB {2}\d{4}-\d\d-\d\d$/);
});

screenTest('Enter opens a folder and Backspace returns to the previous position', async (terminal) => {
  await terminal.shows(/^ 1\/11 /m);
  terminal.keys('Down', 'Down', 'Enter');
  const lines = await terminal.shows(/Holiday\n \.\.\n/);
  assert.equal(lines[0], ` ${library}/Holiday`);
  assert.deepEqual(lines.slice(3, 6).map((line) => line.trim().split('  ')[0]), ['IMG 1.jpg', 'IMG 2.jpg', 'IMG 3.jpg']);
  terminal.keys('BSpace');
  await terminal.shows(/^ 3\/11 /m);
});

screenTest('Enter on .. goes up', async (terminal) => {
  await terminal.shows(/^ 1\/11 /m);
  terminal.keys('Down', 'Enter');
  await terminal.shows(/Graphics\n \.\.\n/);
  terminal.keys('Enter');
  await terminal.shows(/^ 2\/11 /m);
});

screenTest('the details of an item are shown until the next key', async (terminal) => {
  await terminal.shows(/^ 1\/11 /m);
  terminal.keys('End', 'd');
  await terminal.shows(/media_id +msc:.*Welcome\.jpg/);
  terminal.keys('x');
  await terminal.shows(/^ 11\/11 /m);
});

screenTest('a search goes through all folders, and Escape ends it', async (terminal) => {
  await terminal.shows(/^ 1\/11 /m);
  terminal.keys('/', 'elegiex', 'BSpace');
  await terminal.shows(/search: elegie_/);
  terminal.keys('Enter');
  const lines = await terminal.shows(/^ 1\/1 /m);
  assert.match(lines[1], /^ Élégie\.flac /);
  terminal.keys('Escape');
  await terminal.shows(/^ 1\/11 /m);
});

screenTest('sorting can be changed in key and direction', async (terminal) => {
  await terminal.shows(/^ 1\/11 /m);
  terminal.keys('s', 's');
  await terminal.shows(/ 1\/11 .*ALL {2}SIZE {2}\?: help *$/m);
  terminal.keys('Down', 'Enter', 'r');
  await terminal.shows(/SIZE descending/);
});

screenTest('music is sorted by its metadata', async (terminal) => {
  await terminal.shows(/^ 1\/11 /m);
  terminal.keys('/', 'flac', 'Enter');
  await terminal.shows(/^ 1\/\d+ .*ALL {2}NAME {2}/m);
  terminal.keys(...'sssss');
  await terminal.shows(/^ 1\/\d+ .*ALL {2}ARTIST {2}/m);
});

screenTest('another kind of media hides the others', async (terminal) => {
  await terminal.shows(/^ 1\/11 /m);
  terminal.keys('t', 't', 't');
  const lines = await terminal.shows(/^ 1\/1 {2}page 1\/1 {2}VIDEO/m);
  assert.equal(lines[1], ' Video/');
});

screenTest('a smaller terminal shows pages', async (terminal) => {
  await terminal.shows(/ 1\/11 {2}page 1\/1 /);
  terminal.tmux('resize-window', '-t', 'quill', '-x', 50, '-y', 6);
  await terminal.shows(/ 1\/11 {2}page 1\/3 /);
  terminal.keys('Right');
  await terminal.shows(/ 5\/11 {2}page 2\/3 /);
  terminal.keys('End');
  await terminal.shows(/ 11\/11 {2}page 3\/3 /);
});

screenTest('no line is wider than the terminal, in any script', async (terminal) => {
  await terminal.shows(/^ 1\/11 /m);
  terminal.keys('End', 'Up', 'Enter');
  const lines = await terminal.shows(/富士山/);
  assert.equal(lines.filter((line) => line !== '').length, 4);
}, { columns: 40, rows: 12 });

screenTest('a long folder is paged through', async (terminal) => {
  await terminal.shows(/ 1\/1000 {2}page 1\/46 /);
  terminal.keys('Right', 'Right', 'Down');
  await terminal.shows(/ 46\/1000 {2}page 3\/46 /);
  terminal.keys('End');
  await terminal.shows(/ 1000\/1000 {2}page 46\/46 /);
}, { where: manyPictures });

screenTest('80 by 24: the folder above, the state below, and nothing beyond the edges', async (terminal) => {
  const lines = await terminal.shows(/^ 1\/1000 /m);
  assert.equal(lines.length, 25); // the last line ends too
  assert.match(lines[0], /^ \/.*\/many$/);
  assert.deepEqual(lines.slice(1, 23).map((line) => line.trim().split(' ')[0]),
    Array.from({ length: 22 }, (_, number) => `${number}.jpg`));
  assert.match(lines[23], /^ 1\/1000 {2}page 1\/46 {2}ALL {2}NAME {2}\?: help/);
  assert.ok(lines.every((line) => line.length <= 80));
}, { where: manyPictures });

screenTest('Page Down, Page Up, Home and the ends of a list', async (terminal) => {
  await terminal.shows(/^ 1\/1000 /m);
  for (const [key, place] of [['NPage', '23/1000  page 2'], ['NPage', '45/1000  page 3'], ['PPage', '23/1000  page 2'],
    ['Home', '1/1000  page 1'], ['Up', '1/1000  page 1'], ['Left', '1/1000  page 1'], ['End', '1000/1000  page 46'],
    ['Down', '1000/1000  page 46'], ['NPage', '1000/1000  page 46'], ['Left', '978/1000  page 45']]) {
    terminal.keys(key);
    await terminal.shows(new RegExp(`^ ${place}/`, 'm'));
  }
}, { where: manyPictures });

screenTest('the help shows the keys until the next key', async (terminal) => {
  await terminal.shows(/^ 1\/11 /m);
  terminal.keys('?');
  const lines = await terminal.shows(/Home, End +the first or the last item/);
  assert.match(lines.join('\n'), /q, Ctrl-C +leave/);
  terminal.keys('q');
  await terminal.shows(/^ Empty folder\//m);
});

screenTest('each sort order names its key, in both directions', async (terminal) => {
  await terminal.shows(/^ 1\/11 /m);
  terminal.keys('Down', 'Down', 'Enter');
  await terminal.shows(/Holiday\n \.\.\n/);
  const where = path.join(library, 'Holiday');
  const files = readdirSync(where).filter((name) => statSync(path.join(where, name)).isFile());
  const bySize = files.map((name) => [statSync(path.join(where, name)).size, name]).sort(([a], [b]) => a - b);
  const named = (lines) => lines.map((line) => line.trim().split(/ {2,}/)[0]).filter((name) => files.includes(name));
  terminal.keys('s', 's');
  assert.deepEqual(named(await terminal.shows(/Holiday\n[^]*ALL {2}SIZE {2}\?: help *$/m)), bySize.map(([, name]) => name));
  terminal.keys('r');
  assert.deepEqual(named(await terminal.shows(/Holiday\n[^]*ALL {2}SIZE descending {2}\?: help *$/m)),
    bySize.map(([, name]) => name).reverse());
});

screenTest('sorting, another kind of media and a reload keep the folder and the item', async (terminal) => {
  await terminal.shows(/^ 1\/11 /m);
  terminal.keys('Down', 'Down', 'Enter', 'Down', 'Down');
  await terminal.shows(/Holiday\n \.\.\n[^]*^ 3\/9 /m);
  terminal.keys('r');
  await terminal.shows(/Holiday\n \.\.\n[^]*^ [2-9]\/9 .*NAME descending {2}\?: help *$/m);
  terminal.keys('d');
  await terminal.shows(/name +IMG 1\.jpg/);
  terminal.keys('x', 't', 'R');
  await terminal.shows(/Holiday\n \.\.\n[^]*IMAGE {2}NAME descending {2}\?: help *$/m);
  terminal.keys('d');
  await terminal.shows(/name +IMG 1\.jpg/);
  terminal.keys('x', 'u');
  await terminal.shows(new RegExp(`^ ${library}$[^]*Holiday/`, 'm'));
});

screenTest('the end of a search returns to where it was started', async (terminal) => {
  await terminal.shows(/^ 1\/11 /m);
  terminal.keys('Down', 'Down', 'Enter', 'Down', 'Down', 'Down');
  await terminal.shows(/Holiday\n \.\.\n[^]*^ 4\/9 /m);
  terminal.keys('/', 'elegie', 'Enter');
  await terminal.shows(/^ 1\/1 /m);
  terminal.keys('s', 'Escape');
  await terminal.shows(/Holiday\n \.\.\n/);
  terminal.keys('d');
  await terminal.shows(/name +IMG 2\.jpg/);
});

screenTest('a search without a match shows nothing, and accepts all keys', async (terminal) => {
  await terminal.shows(/^ 1\/11 /m);
  terminal.keys('/', 'nothing like it', 'Enter');
  await terminal.shows(/^ nothing here$[^]*^ 0\/0 {2}page 1\/1 /m);
  terminal.keys('Enter', 'd', 'Down', 'End', 'NPage', 'u', 'Home');
  await terminal.shows(/^ nothing here$[^]*^ 0\/0 {2}page 1\/1 /m);
  terminal.keys('/', 'x', 'Escape');
  await terminal.shows(/^ nothing here$[^]*^ 0\/0 {2}page 1\/1 /m);
  terminal.keys('Escape');
  await terminal.shows(/^ 1\/11 /m);
});

screenTest('keys that follow an Escape at once are handled one by one', async (terminal) => {
  await terminal.shows(/^ 1\/11 /m);
  // An order that the first screen does not show.
  terminal.keys('/', 'nothing like it', 'Enter', '/', 'x', 'Escape', 'Escape', 's');
  await terminal.shows(/^ \d+\/11 .* DATE {2}\?: help *$/m);
  terminal.keys('/', 'x', 'Escape', 'Down', '/', 'y', 'Escape', 'd');
  await terminal.shows(/url +file:/);
  terminal.keys('x', '/', 'Escape', '/', 'é');
  await terminal.shows(/^ search: é_/m);
});

screenTest('a terminal that grows shows more at once, also in the details', async (terminal) => {
  await terminal.shows(/^ 1\/1000 {2}page 1\/125 /m);
  terminal.tmux('resize-window', '-t', 'quill', '-x', 100, '-y', 52);
  const lines = await terminal.shows(/^ 1\/1000 {2}page 1\/20 /m);
  assert.match(lines[50], /^ 49\.jpg /);
  terminal.keys('d');
  await terminal.shows(/url +file:/);
  terminal.tmux('resize-window', '-t', 'quill', '-x', 30, '-y', 4);
  await terminal.shows(/^ 1\/1000 {2}page 1\/500 /m);
  terminal.keys('x', 'Down', 'Down');
  await terminal.shows(/^ 2\.jpg [^]*^ 3\/1000 {2}page 2\/500 /m);
}, { where: manyPictures, columns: 60, rows: 10 });

let changing;
screenTest('a change is shown as a message, R shows it, and so is the removal of the folder', async (terminal) => {
  await terminal.shows(/^ 1\/11 /m);
  writeFileSync(path.join(changing, 'zzz.jpg'), '');
  await terminal.shows(/the folder has changed; R reads it again/);
  terminal.keys('R');
  await terminal.shows(/^ zzz\.jpg [^]*^ 1\/12 /m);
  rmSync(changing, { recursive: true });
  await terminal.shows(/the folder has changed; R reads it again/);
  terminal.keys('End', 'R');
  await terminal.shows(/^ 12\/12 .*it does not exist/m);
}, {
  where: () => {
    changing = path.join(folder(), 'changing');
    cpSync(library, changing, { recursive: true });
    return changing;
  },
  columns: 100,
});

screenTest('Ctrl-C quits during a search and restores cursor and screen', async (terminal) => {
  await terminal.shows(/^ 1\/11 /m);
  const state = () => terminal.tmux('display-message', '-p', '-t', 'quill', '#{alternate_on} #{cursor_flag}').trim();
  assert.equal(state(), '1 0');
  terminal.keys('/', 'a', 'C-c');
  await terminal.shows(/^ended with 0$/m);
  assert.equal(state(), '0 1');
});

for (const key of ['q', 'C-c']) {
  screenTest(`${key} quits and restores the terminal`, async (terminal) => {
    await terminal.shows(/^ 1\/11 /m);
    terminal.keys(key);
    await terminal.shows(/^ended with 0$/m);
    assert.doesNotMatch(terminal.screen(), /page 1/);
  });
}

test('without a terminal, or without a folder, it prints a one-line error', async () => {
  for (const [args, message] of [[[library], 'browse: this needs a terminal; list.js prints a folder'],
                                 [[], 'browse: give one folder'], [['a', 'b'], 'browse: give one folder']]) {
    const { status, stderr } = await quill([browser, ...args]);
    assert.equal(status, 1);
    assert.ok(stderr.startsWith(message), stderr);
  }
});
