// A program ends when it is to, whatever its framework is doing: here the loading of one
// of its libraries never returns.
import assert from 'node:assert/strict';
import { mkdirSync, readdirSync, symlinkSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { build, script, start } from '../host/harness.mjs';
import { inParallel } from '../runner/process.mjs';
import { folder } from './harness.mjs';

// Two seconds are the bound; a busy machine needs more.
const LIMIT_MS = 15_000;
// Programs that run at the same time; they mostly wait for that bound.
const CONCURRENCY = 4;

/** A folder with the libraries of the build, the named modules replaced by one that hangs. */
function librariesWith(modules) {
  const where = folder();
  const libraries = path.join(build, 'lib');
  for (const name of readdirSync(libraries).filter((each) => /^lib(mrb|systemlog)/.test(each))) {
    const isHung = modules.some((module) => name === `libmrb-${module}.so`);
    symlinkSync(isHung ? path.join(build, 'tests', 'libmrb-hanging.so') : path.join(libraries, name), path.join(where, name));
  }
  return where;
}

const media = folder();
writeFileSync(path.join(media, 'a.jpg'), 'no picture');
writeFileSync(path.join(media, 'a.mp4'), 'no film');
mkdirSync(path.join(media, 'DCIM'));
const thumbnailOf = (name) => `bridge.thumbnail_request_async(() => {}, JSON.stringify({
  param_origin_path: ${JSON.stringify(path.join(media, name))}, param_thumb_width: 64, param_thumb_height: 64 }));`;
const listOf = (request) => `bridge.mrb_request_list_v2(() => {}, ${JSON.stringify(JSON.stringify(request))});`;

/** Calls that load each of the modules. */
const USES = {
  readers: listOf({ param_source_name: 'SOURCE_MSC', param_scan_path: media }),
  decoders: thumbnailOf('a.jpg'),
  films: thumbnailOf('a.mp4'),
  dlna: 'bridge.mrb_Init_dlna_service(() => {});',
  cameras: listOf({ param_source_name: 'SOURCE_PTP' }),
};

/** The ways to end: an action of the script, or a signal; and the status and signal of the ended process. */
const ENDS = [
  { name: 'process.exit', action: 'process.exit(7);', status: 7 },
  { name: 'the end of the script', action: 'quill.unref(bridge);', status: 0 },
  { name: 'an uncaught error', action: "throw new Error('uncaught');", status: 1 },
  { name: 'SIGINT', kill: 'SIGINT', signal: 'SIGINT' },
  { name: 'SIGTERM', kill: 'SIGTERM', signal: 'SIGTERM' },
  { name: 'SIGTERM that the script handles', before: "process.on('SIGTERM', () => process.exit(7));", kill: 'SIGTERM', status: 7 },
  { name: 'SIGINT that the script handles', before: "process.on('SIGINT', () => process.exit(7));", kill: 'SIGINT', status: 7 },
];
// A bridge with an open list cannot be released at once, see the agent's teardown.
const RELEASE = { name: 'a release', action: "quill.release(bridge); console.log('released'); process.exit(7);", status: 7,
                  stdout: 'released\n' };

/** Starts a program that uses the modules, and ends it when all hang. */
async function end(modules, { name, before = '', action = '', kill, status = null, signal = null, stdout = '' }) {
  const program = start([script('app.js', `
    const bridge = new MRBBridge();
    ${before}
    process.stdin.once('data', () => { process.stdin.destroy(); ${action} });
    ${modules.map((module) => USES[module]).join('\n')}`)],
    { env: { LD_LIBRARY_PATH: librariesWith(modules), MRB_CAMERAS: media, MRB_DEVICE_TIMEOUT: '', QUILL_LOG: 'off' } });
  let errors = '';
  await new Promise((resolve, reject) => {
    program.stderr.on('data', (text) => {
      errors += text;
      if (errors.includes('hanging\n')) resolve();
    });
    program.finished.then((end) => reject(new Error(`${name}: ended before: ${JSON.stringify(end)}`)));
  });
  const began = Date.now();
  if (kill) program.kill(kill); else program.stdin.write('end\n');
  const { stderr, ...ended } = await program.finished;
  assert.deepEqual(ended, { status, signal, stdout }, `${name}: ${stderr}`);
  assert.ok(Date.now() - began < LIMIT_MS, `${name}: after ${Date.now() - began} ms`);
}

for (const module of Object.keys(USES)) {
  test(`a program ends while the loading of ${module} hangs`, async () => {
    const ends = /readers|cameras/.test(module) ? ENDS : [...ENDS, RELEASE];
    await inParallel(ends, CONCURRENCY, (each) => end([module], each));
  });
}

test('a program ends while several modules hang', async () => {
  await inParallel(ENDS, CONCURRENCY, (each) => end(['decoders', 'dlna', 'cameras'], each));
});
