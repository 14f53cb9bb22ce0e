// The README's first script prints what the README shows.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { existsSync, readFileSync } from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { script } from '../host/harness.mjs';
import { folder, quill, root } from './harness.mjs';

const readme = readFileSync(path.join(root, 'README.md'), 'utf8');

test('the first script prints the output that is shown below it', async () => {
  const library = path.join(folder(), 'library');
  execFileSync(path.join(root, 'tools', 'make-library'), [library], { stdio: 'ignore' });
  const [, code] = readme.match(/```js\n([^]*?)```/);
  const [, output] = readme.match(/^ {4}\$ build\/release\/bin\/quill app\.js .*\n {4}(.*)\n/m);
  const { status, stdout, stderr } = await quill([script('app.js', code), library]);
  assert.equal(stderr, '');
  assert.equal(stdout, `${output}\n`);
  assert.equal(status, 0);
});

test('the files and folders that it links to exist', () => {
  const prose = readme.replace(/```[^]*?```/g, '');
  const links = [...prose.matchAll(/\]\((?!http)([^)#]+)\)/g)].map(([, link]) => link);
  assert.ok(links.length > 10);
  for (const link of links) {
    assert.ok(existsSync(path.join(root, link)), link);
  }
});
