// Where the loader searches for the libraries of built and installed files: in the
// product's own folders, never in the current folder.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { copyFileSync, mkdtempSync, openSync, readSync, closeSync, readdirSync, readFileSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

import { build, echoBridge, script, start } from './harness.mjs';

const root = path.dirname(path.dirname(path.dirname(fileURLToPath(import.meta.url))));
const folder = () => mkdtempSync(path.join(os.tmpdir(), 'quill-host-'));

/** Runs a tool that is not under test, without a sanitizer's runtime in it. */
const tool = (program, args, options = {}) => execFileSync(program, args, {
  encoding: 'utf8', stdio: ['ignore', 'pipe', 'pipe'], env: { ...process.env, LD_PRELOAD: '' }, ...options,
});

/** Whether a file is a library or a program; object files are neither. */
function isLinked(file) {
  const head = Buffer.alloc(18);
  const descriptor = openSync(file, 'r');
  const length = readSync(descriptor, head, 0, head.length, 0);
  closeSync(descriptor);
  const types = [2, 3]; // ET_EXEC and ET_DYN
  return length === head.length && head.readUInt32BE(0) === 0x7f454c46 && types.includes(head.readUInt16LE(16));
}

const linkedFiles = (below) => readdirSync(below, { recursive: true, withFileTypes: true })
  .filter((entry) => entry.isFile() && !/\/CMakeFiles(\/|$)/.test(entry.parentPath ?? entry.path))
  .map((entry) => path.join(entry.parentPath ?? entry.path, entry.name))
  .filter(isLinked);

/** An ELF file's entries for the loader: {needed: [name], paths: [element of a search path]}. */
function dynamicEntries(file) {
  const text = tool('readelf', ['-dW', file]);
  const values = (name) => [...text.matchAll(new RegExp(`\\(${name}\\).*\\[(.*)\\]$`, 'gm'))].map((found) => found[1]);
  return { needed: values('NEEDED'), paths: ['RPATH', 'RUNPATH'].flatMap(values).flatMap((list) => list.split(':')) };
}

/** The elements that are not relative to the file itself. An empty one means the current folder. */
function strangePaths(files) {
  return files.flatMap((file) => dynamicEntries(file).paths
    .filter((element) => !/^\$ORIGIN(\/|$)/.test(element))
    .map((element) => `${file}: '${element}'`));
}

/** The tree that the build installs, in a folder of its own. */
let installedTree;
function installed() {
  if (installedTree === undefined) {
    installedTree = folder();
    tool('cmake', ['--install', build, '--prefix', installedTree]);
  }
  return installedTree;
}

/** A folder with a false library for every one that the product or a test needs; each ends the program that loads it. */
function hostileFolder() {
  const hostile = folder();
  const names = new Set(linkedFiles(build).flatMap((file) => dynamicEntries(file).needed));
  assert.ok(names.has('libjsoncpp.so.25') || [...names].some((name) => name.startsWith('libjsoncpp')), [...names].join());
  const source = script('false.c', `
    #include <unistd.h>
    __attribute__((constructor)) static void loaded(void) {
        static const char text[] = "a library of the current folder was loaded\\n";
        _exit(write(2, text, sizeof text - 1) > 0 ? 66 : 67);
    }`);
  const library = path.join(hostile, 'false.so');
  tool('cc', ['-shared', '-fPIC', '-o', library, source]);
  for (const name of names) {
    copyFileSync(library, path.join(hostile, name));
  }
  return hostile;
}

test('no built file has a search path outside of the build', () => {
  const files = linkedFiles(build);
  for (const name of ['lib/libquillmrbbridge.so', 'lib/libmrb-dlna.so', 'lib/quill/quill.node', 'tests/framework_tests',
    'tests/unit_tests.node', 'tests/recording/recorder.node']) {
    assert.ok(files.includes(path.join(build, name)), `${name} is not built`);
  }
  assert.deepEqual(strangePaths(files), []);
});

test('no installed file has a search path outside of the installed tree', () => {
  const files = linkedFiles(installed());
  assert.ok(files.includes(path.join(installed(), 'lib', 'quill', 'libquillmrbbridge.so')), files.join('\n'));
  assert.deepEqual(strangePaths(files), []);
});

test('a plug-in that is linked with foreign libraries has no search path of theirs', () => {
  const foreign = folder();
  for (const name of ['mrb', 'quill', 'systemlog']) {
    copyFileSync(path.join(build, 'lib', `lib${name}.so`), path.join(foreign, `lib${name}.so`));
  }
  const configured = folder();
  const [, headers] = /^NODE_INCLUDE:PATH=(.*)$/m.exec(readFileSync(path.join(build, 'CMakeCache.txt'), 'utf8'));
  tool('cmake', ['-G', 'Ninja', '-S', root, '-B', configured, '-DQUILL_TESTS=OFF', `-DV8_INCLUDE=${headers}`, `-DMRB_LIBRARY=${foreign}/libmrb.so`,
    `-DQUILL_HOST_LIBRARY=${foreign}/libquill.so`, `-DSYSTEM_LOG_LIBRARY=${foreign}/libsystemlog.so`]);
  const steps = readFileSync(path.join(configured, 'build.ninja'), 'utf8').split('\n\n');
  const link = steps.find((step) => /^build lib\/libquillmrbbridge\.so:/m.test(step));
  assert.ok(link.includes(`${foreign}/libmrb.so`), link);
  const paths = [...link.matchAll(/-rpath[,=](\S+)/g)].map((found) => found[1]);
  assert.deepEqual(paths.filter((list) => !/^"?(\\?\$+ORIGIN)"?$/.test(list)), [], link);
});

for (const [what, program] of [['built', () => path.join(build, 'bin', 'quill')],
  ['installed', () => path.join(installed(), 'bin', 'quill')]]) {
  test(`false libraries in the current folder are not loaded by the ${what} quill`, async () => {
    const cwd = hostileFolder();
    const file = script('app.js', `
      const bridge = new MRBBridge();
      bridge.mrb_set_usb_callback(() => {}); // the framework's threads start
      bridge.thumbnail_request_async(() => process.exit(5), JSON.stringify({
        param_origin_path: __filename, param_save_path: [__filename + '.bmp'],
        param_thumb_width: 8, param_thumb_height: 8 })); // and its modules are loaded
    `);
    const { status, stderr } = await start([file], { cwd, input: '', program: program() }).finished;
    assert.equal(stderr, '');
    assert.equal(status, 5);
  });
}

test('false libraries in the current folder are not loaded with a bridge of another folder', async () => {
  const { status, stderr } = await start(['--bridge', echoBridge, '-e', 'new Echo().echo("x")'],
    { cwd: hostileFolder(), input: '' }).finished;
  assert.equal(stderr, '');
  assert.equal(status, 0);
});
