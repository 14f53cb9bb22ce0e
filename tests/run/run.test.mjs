// ./run builds what is shipped, optimised, and lists the made library of real media.
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import { existsSync, mkdtempSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

const root = path.join(path.dirname(fileURLToPath(import.meta.url)), '..', '..');
const library = path.join(mkdtempSync(path.join(os.tmpdir(), 'quill-run-')), 'library');
execFileSync(path.join(root, 'tools', 'make-library'), [library], { stdio: 'ignore' });

test('./run prints the library it makes', () => {
  const { status, stdout, stderr } = spawnSync(path.join(root, 'run'), [], { encoding: 'utf8', input: '',
    env: { ...process.env, LD_PRELOAD: '', QUILL_BUILD: '' } });
  assert.equal(status, 0, stderr);
  assert.match(stdout, /^\d+ items in \d+ ms: \d+ folders, \d+ pictures, \d+ songs, \d+ videos, \d+ playlist/m);
  assert.match(stdout, /富士山\.jpg/);
  assert.ok(existsSync(path.join(root, 'build', 'library')));
});

test('./run prints a folder of the caller\'s', () => {
  const { status, stdout, stderr } = spawnSync(path.join(root, 'run'), ['Holiday'], { encoding: 'utf8', input: '',
    cwd: library, env: { ...process.env, LD_PRELOAD: '', QUILL_BUILD: '' } });
  assert.equal(status, 0, stderr);
  assert.match(stdout, /^8 items in \d+ ms/m);
});
