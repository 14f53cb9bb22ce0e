// Runs the quill command of the build under test, with the echo bridge in place
// of the default one.
import { spawn } from 'node:child_process';
import { mkdtempSync, writeFileSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';

import { LIMIT_MS } from '../limits.mjs';

export const build = process.env.QUILL_BUILD;
if (!build) {
  throw new Error('QUILL_BUILD must name the build folder');
}
export const bridges = path.join(build, 'tests', 'bridges');
export const echoBridge = path.join(bridges, 'echo', 'libquillmrbbridge.so');
export const sanitized = /asan|tsan/.test(path.basename(build));

/** Writes a script into a folder of its own and returns its path. */
export function script(name, text) {
  const folder = mkdtempSync(path.join(os.tmpdir(), 'quill-host-'));
  const file = path.join(folder, name);
  writeFileSync(file, text);
  return file;
}

// Permissions apply to root only without its capabilities.
const WITHOUT_CAPABILITIES = ['setpriv', '--bounding-set=-all', '--inh-caps=-all', '--'];

/**
 * Starts quill; `finished` is {status, signal, stdout, stderr}. `ordinary`: as a user
 * that file permissions apply to. `inside`: a command that starts quill, as a list of
 * words. `program`: another one than that of the build under test.
 */
export function start(args, {
  env = {}, cwd, input, ordinary = false, inside = [], program: command = path.join(build, 'bin', 'quill'),
} = {}) {
  const prefix = ordinary && process.getuid() === 0 ? WITHOUT_CAPABILITIES : inside;
  const [program, ...rest] = [...prefix, command, ...args];
  const child = spawn(program, rest, {
    env: { ...process.env, ...env },
    cwd,
    stdio: ['pipe', 'pipe', 'pipe'],
  });
  const output = { stdout: '', stderr: '' };
  child.stdout.setEncoding('utf8').on('data', (text) => { output.stdout += text; });
  child.stderr.setEncoding('utf8').on('data', (text) => { output.stderr += text; });
  child.stdin.on('error', () => {}); // a program that ended does not read
  if (input !== undefined) {
    child.stdin.end(input);
  }
  const limit = setTimeout(() => {
    output.stderr += `[killed: it had not ended after ${LIMIT_MS / 1000} s]\n`;
    child.kill('SIGKILL');
  }, LIMIT_MS);
  child.finished = new Promise((resolve, reject) => {
    child.on('error', reject);
    child.on('close', (status, signal) => {
      clearTimeout(limit);
      resolve({ status, signal, ...output });
    });
  });
  return child;
}

/** Runs quill with the echo bridge and waits for its end. */
export function quill(args, options = {}) {
  return start(['--bridge', echoBridge, ...args], { input: '', ...options }).finished;
}

/** Runs a text. */
export const evaluate = (code, ...rest) => quill(['-e', code, ...rest]);
