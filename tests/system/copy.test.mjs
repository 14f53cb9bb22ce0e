// The copying example, by its output and by the copied files.
import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import { chmodSync, cpSync, mkdirSync, readdirSync, readFileSync, readlinkSync, renameSync, rmSync,
         statSync, truncateSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test, { before } from 'node:test';

import { script, start } from '../host/harness.mjs';
import { LIMIT_MS } from '../limits.mjs';
import { needs } from '../needs.mjs';
import { folder, quill, root } from './harness.mjs';
import { testUsage } from './usage_tests.mjs';

const copy = path.join(root, 'sdk', 'examples', 'copy.js');
const library = path.join(folder(), 'library');
before(() => execFileSync(path.join(root, 'tools', 'make-library'), [library], { stdio: 'ignore' }));

const filesIn = (where) => readdirSync(where, { recursive: true })
  .filter((name) => statSync(path.join(where, name)).isFile()).sort();

const MUSIC = /\.(mp3|flac|ogg|m4a|opus|wav)$/;
const VIDEO = /\.(mp4|mkv|webm|avi)$/;
const PICTURE = /\.(jpg|png|webp|bmp|tiff|gif)$/;
const PLAYLIST = /\.m3u8?$/;
const bytesOf = (where, names) => names.reduce((sum, name) => sum + statSync(path.join(where, name)).size, 0);

/** A folder with a picture and a sparse video of this size. */
function largeFilm(bytes) {
  const where = folder();
  cpSync(path.join(library, 'Welcome.jpg'), path.join(where, 'a.jpg'));
  writeFileSync(path.join(where, 'b.mp4'), '');
  truncateSync(path.join(where, 'b.mp4'), bytes);
  return where;
}

const quoted = (word) => `'${word.replaceAll("'", "'\\''")}'`;

/**
 * Copies in a terminal; calls `act` with the terminal's keyboard while the copy of the large film
 * is running. Resolves to the program's status and the terminal's whole output.
 */
function inTerminal(from, to, act) {
  const command = [path.join(process.env.QUILL_BUILD, 'bin', 'quill'), copy, from, to].map(quoted).join(' ');
  const terminal = spawn('script', ['--quiet', '--return', '--flush', '--command', command, '/dev/null'],
    { stdio: ['pipe', 'pipe', 'inherit'] });
  const limit = setTimeout(() => terminal.kill('SIGKILL'), LIMIT_MS);
  let screen = '';
  let acted = false;
  terminal.stdout.setEncoding('utf8').on('data', (text) => {
    screen += text;
    if (!acted && / 1\/2 files {2}[1-9]/.test(screen)) {
      acted = true;
      act(terminal.stdin);
    }
  });
  return new Promise((resolve, reject) => {
    terminal.on('error', reject);
    terminal.on('close', (status) => {
      clearTimeout(limit);
      resolve({ status, screen, acted });
    });
  });
}

/** The last line on the terminal. */
const lastLine = (screen) => screen.trimEnd().split('\n').at(-1).split('\r').at(-1).replace('\x1b[K', '');

for (const [type, wanted] of [['all', [MUSIC, VIDEO, PICTURE, PLAYLIST]], ['picture', [PICTURE]], ['music', [MUSIC]],
                              ['video', [VIDEO]]]) {
  test(`--type ${type} copies those files, byte for byte, and prints how many`, async () => {
    const to = folder();
    const { status, stdout, stderr } = await quill([copy, '--type', type, library, to]);
    assert.deepEqual([status, stderr], [0, '']);
    const expected = filesIn(library).filter((name) => wanted.some((kind) => kind.test(name)));
    assert.ok(expected.length > 0);
    const arrived = filesIn(to);
    assert.equal(arrived.length, expected.length);
    for (const name of arrived) {
      const original = expected.find((each) => each === name || each.endsWith(`/${name}`));
      assert.ok(original, name);
      assert.ok(readFileSync(path.join(to, name)).equals(readFileSync(path.join(library, original))), name);
    }
    assert.equal(bytesOf(to, arrived), bytesOf(library, expected));
    assert.match(stdout, new RegExp(`^${expected.length} files, [\\d.]+ [kM]B, copied to ${to} in [\\d.]+ s\n$`));
  });
}

test('everything is copied where no type is given, and nothing is overwritten', async () => {
  const to = folder();
  writeFileSync(path.join(to, 'Welcome.jpg'), 'mine');
  const { status } = await quill([copy, library, to]);
  assert.equal(status, 0);
  assert.equal(readFileSync(path.join(to, 'Welcome.jpg'), 'utf8'), 'mine');
  assert.ok(readFileSync(path.join(to, 'Welcome (1).jpg')).equals(readFileSync(path.join(library, 'Welcome.jpg'))));
});

test('a terminal shows the total, the progress, and the result', needs('terminals'), async () => {
  const to = folder();
  const { status, screen, acted } = await inTerminal(largeFilm(500_000_000), to, () => {});
  const arrived = filesIn(to);
  rmSync(to, { recursive: true }); // it is large
  assert.equal(status, 0);
  assert.ok(acted, screen);
  assert.match(screen, /2 files, 500\.0 MB, from /);
  assert.match(screen, /\[#*-*\] +\d+% {2}1\/2 files {2}[\d.]+ [kM]B of 500\.0 MB {2}[\d.]+ [kMG]B\/s {2}\d+:\d\d left/);
  assert.match(lastLine(screen), /^2 files, 500\.0 MB, copied to /);
  assert.deepEqual(arrived, ['a.jpg', 'b.mp4']);
});

test('Ctrl-C leaves only complete files, and prints what was copied', needs('terminals'), async () => {
  const from = largeFilm(2_000_000_000);
  const to = folder();
  const { status, screen, acted } = await inTerminal(from, to, (keyboard) => keyboard.write('\x03'));
  assert.ok(acted, screen);
  assert.equal(status, 130);
  const kept = filesIn(to);
  assert.deepEqual(kept.filter((name) => name !== 'a.jpg'), []);
  assert.equal(bytesOf(to, kept), bytesOf(from, kept));
  assert.match(lastLine(screen), kept.length === 0 ? /^stopped: nothing was copied$/ : /^stopped: 1 of 2 files copied /);
});

/** Waits until a process has a file open in a folder, whether or not the file has a name yet. */
async function hasFileOpen(pid, where) {
  for (const end = Date.now() + LIMIT_MS; Date.now() < end;) {
    const open = readdirSync(`/proc/${pid}/fd`).map((number) => {
      try {
        return readlinkSync(`/proc/${pid}/fd/${number}`);
      } catch {
        return ''; // closed in the meantime
      }
    });
    if (open.some((file) => file.startsWith(`${where}/`))) {
      return;
    }
    await new Promise((resolve) => setTimeout(resolve, 10));
  }
  assert.fail(`no file was opened in ${where}`);
}

for (const [signal, expected] of [['SIGINT', 130], ['SIGTERM', 143]]) {
  test(`${signal} as soon as it is handled: one line, only complete files, status ${expected}`, async () => {
    const to = folder();
    const program = start(['--require', script('first.cjs', `
      process.on('newListener', (name) => {
        if (name === '${signal}') process.nextTick(() => process.kill(process.pid, name));
      });`), copy, largeFilm(2_000_000_000), to], { input: '' });
    const { status, stdout, stderr } = await program.finished;
    assert.deepEqual([status, stderr], [expected, '']);
    assert.match(stdout, /^stopped: (nothing was copied|1 of 2 files copied \([\d.]+ kB\))\n$/);
    assert.deepEqual(readdirSync(to).filter((name) => name !== 'a.jpg'), []);
  });

  test(`${signal} while the folder is read: nothing was copied, status ${expected}`, async () => {
    const to = folder();
    const from = folder();
    const program = start(['--require', script('early.cjs', `
      // Events of a list arrive long after the signal has been handled.
      const request = MRBBridge.prototype.mrb_request_list_v2;
      MRBBridge.prototype.mrb_request_list_v2 = function (onEvent, text) {
        process.kill(process.pid, '${signal}');
        return request.call(this, (...event) => setTimeout(() => onEvent(...event), 20_000), text);
      };`), copy, from, to], { input: '' });
    const { status, stdout, stderr } = await program.finished;
    assert.deepEqual([status, stdout, stderr], [expected, 'stopped: nothing was copied\n', '']);
    assert.deepEqual(readdirSync(to), []);
  });

  test(`${signal} without a terminal: one line, only complete files, status ${expected}`, async () => {
    const to = folder();
    const program = start([copy, largeFilm(2_000_000_000), to], { input: '' });
    await hasFileOpen(program.pid, to);
    program.kill(signal);
    const { status, stdout, stderr } = await program.finished;
    assert.deepEqual([status, stderr], [expected, '']);
    assert.match(stdout, /^stopped: (nothing was copied|1 of 2 files copied \([\d.]+ kB\))\n$/);
    assert.deepEqual(readdirSync(to).filter((name) => name !== 'a.jpg'), []);
  });
}

test('a destination that is removed ends the copy and is reported', needs('terminals'), async () => {
  const to = path.join(folder(), 'stick');
  mkdirSync(to);
  const { status, screen, acted } = await inTerminal(largeFilm(2_000_000_000), to, () => renameSync(to, `${to}-gone`));
  assert.ok(acted, screen);
  assert.equal(status, 1);
  assert.match(lastLine(screen), /^copy: the device or folder that is copied from or to went away; /);
  assert.deepEqual(filesIn(`${to}-gone`).filter((name) => name !== 'a.jpg'), []);
});

test('too little free space is reported before anything is copied', async () => {
  const to = folder();
  const { status, stdout, stderr } = await quill([copy, largeFilm(10_000_000_000_000), to]);
  assert.deepEqual([status, stdout], [1, '']);
  assert.equal(stderr, `copy: ${to} has too little free space for 10.0 TB; nothing was copied\n`);
  assert.deepEqual(readdirSync(to), []);
});

test('a file that cannot be read is reported, and the others are copied', async () => {
  const from = folder();
  const to = folder();
  for (const name of ['a.jpg', 'b.jpg', 'c.jpg']) {
    cpSync(path.join(library, 'Welcome.jpg'), path.join(from, name));
  }
  chmodSync(path.join(from, 'b.jpg'), 0);
  const { status, stdout, stderr } = await quill([copy, from, to], { ordinary: true });
  assert.deepEqual([status, stdout], [1, '']);
  assert.match(stderr, /^copy: b\.jpg could not be copied \(quill --log says why\); 2 of 3 files copied \([\d.]+ kB\)\n$/);
  assert.deepEqual(filesIn(to), ['a.jpg', 'c.jpg']);
});

test('the files of a playlist are copied from any folder, and missing ones are reported', async () => {
  const from = folder();
  const to = folder();
  for (const name of ['1/a.jpg', '2/a.jpg', '2/other.jpg']) {
    mkdirSync(path.dirname(path.join(from, name)), { recursive: true });
    cpSync(path.join(library, 'Welcome.jpg'), path.join(from, name));
  }
  writeFileSync(path.join(from, 'show.m3u'), '1/a.jpg\n2/a.jpg\n');
  const whole = await quill([copy, path.join(from, 'show.m3u'), to]);
  assert.deepEqual([whole.status, whole.stderr], [0, '']);
  assert.match(whole.stdout, /^2 files, /);
  assert.deepEqual(filesIn(to), ['a (1).jpg', 'a.jpg']);
  writeFileSync(path.join(from, 'gaps.m3u'), 'gone.jpg\n2/other.jpg\n');
  const { status, stderr } = await quill([copy, path.join(from, 'gaps.m3u'), to]);
  assert.equal(status, 1);
  assert.match(stderr, /^copy: gone\.jpg could not be copied \(quill --log says why\); 1 of 2 files copied /);
  assert.deepEqual(filesIn(to), ['a (1).jpg', 'a.jpg', 'other.jpg']);
});

for (const [what, prepare, message] of [
  ['does not exist', (where) => path.join(where, 'none'), 'it does not exist; make the folder first'],
  ['is a file', (where) => { writeFileSync(path.join(where, 'f'), ''); return path.join(where, 'f'); }, 'it is not a folder'],
  ['is read-only', (where) => { chmodSync(where, 0o555); return where; }, 'it is read-only, or this user may not write to it'],
]) {
  test(`a destination that ${what} is refused with the reason`, async () => {
    const to = prepare(folder());
    const { status, stdout, stderr } = await quill([copy, library, to], { ordinary: true });
    assert.deepEqual([status, stdout, stderr], [1, '', `copy: ${to}: ${message}\n`]);
  });
}

test('a folder without files of the type is an error', async () => {
  const from = folder();
  const { status, stderr } = await quill([copy, '--type=video', from, folder()]);
  assert.deepEqual([status, stderr], [1, `copy: ${from}: no videos in it\n`]);
});

testUsage(copy, 'copy.js [--type picture|music|video|all] FROM TO', [
  ['no folder', [], 'give one folder to copy from and one to copy to'],
  ['one folder', ['a'], 'give one folder to copy from and one to copy to'],
  ['three folders', ['a', 'b', 'c'], 'give one folder to copy from and one to copy to'],
  ['the same folder twice', ['a', './a'], 'FROM and TO are the same folder'],
  ['an unknown option', ['a', 'b', '--fast'], 'unknown option --fast'],
  ['an unknown type', ['a', 'b', '--type', 'book'], "--type takes picture, music, video, all, not 'book'"],
  ['a type that objects have by nature', ['a', 'b', '--type=toString'],
   "--type takes picture, music, video, all, not 'toString'"],
]);
