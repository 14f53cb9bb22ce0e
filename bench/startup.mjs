// Start-up time and memory of quill with the bridge, against plain node. Run in
// node.
import { spawnSync } from 'node:child_process';
import path from 'node:path';

import { compare, report } from './measure.mjs';

const build = process.env.QUILL_BUILD;
const quill = [path.join(build, 'bin', 'quill')];
const node = [process.execPath];

function run([program], code) {
  const began = performance.now();
  const { status, stdout, stderr } = spawnSync(program, ['-e', code], { encoding: 'utf8' });
  if (status !== 0) {
    throw new Error(`${program} failed: ${stderr}`);
  }
  return { milliseconds: performance.now() - began, text: stdout };
}

/** Proportional set size in MB: shared pages count by their share. */
const MEMORY = `console.log(require('node:fs').readFileSync('/proc/self/smaps_rollup', 'utf8').match(/^Pss:\\s+(\\d+)/m)[1] / 1e3)`;
const SOME = 'const first = new MRBBridge();';

report('start quill, make an object, end', 'ms',
  await compare(() => run(quill, SOME).milliseconds, () => run(node, '0').milliseconds, 21));
report('memory of quill with an object', 'MB',
  await compare(() => Number(run(quill, SOME + MEMORY).text), () => Number(run(node, MEMORY).text), 7));
