// Providing another version of Node.js, with an npm that makes packages of its own.
import assert from 'node:assert/strict';
import { chmodSync, existsSync, mkdirSync, mkdtempSync, readdirSync, readFileSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

import { nodeOf, provideNode } from './node_versions.mjs';
import { run } from './process.mjs';

const checkout = dirname(dirname(dirname(fileURLToPath(import.meta.url))));
const PATH = process.env.PATH;

/** A tree without Node.js, and an npm whose packages are of this version; it writes down its calls. */
function treeWith(version) {
    const root = mkdtempSync(join(tmpdir(), 'quill-nodes-'));
    const [major, minor, patch] = version.split('.');
    mkdirSync(join(root, 'bin'));
    writeFileSync(join(root, 'bin', 'npm'), `#!/bin/sh
set -eu
echo "$*" >>'${root}/calls'
[ '${version}' != '' ] || { echo 'npm: not found' >&2; exit 1; }
mkdir -p package/bin package/include/node
echo >package/bin/node
printf '#define NODE_MAJOR_VERSION ${major}\\n#define NODE_MINOR_VERSION ${minor}\\n#define NODE_PATCH_VERSION ${patch}\\n' \\
    >package/include/node/node_version.h
tar -czf node.tgz package
rm -r package
`);
    chmodSync(join(root, 'bin', 'npm'), 0o755);
    process.env.PATH = `${join(root, 'bin')}:${PATH}`;
    return { root, calls: () => (existsSync(join(root, 'calls')) ? readFileSync(join(root, 'calls'), 'utf8').trim().split('\n') : []) };
}

test('the usual builds need none', async () => {
    const { root, calls } = treeWith('18.1.2');
    assert.equal(await provideNode(root, 'dev'), '');
    assert.equal(nodeOf(root, 'dev'), process.execPath);
    assert.deepEqual(calls(), []);
});

test('program and headers are unpacked', async () => {
    const { root, calls } = treeWith('18.1.2');
    assert.equal(await provideNode(root, 'node18', '18.1.2'), '');
    assert.ok(existsSync(nodeOf(root, 'node18')));
    assert.ok(existsSync(join(root, 'build', 'nodes', 'node18', 'include', 'node', 'node_version.h')));
    assert.deepEqual(readdirSync(join(root, 'build', 'nodes')), ['node18']);
    assert.match(calls()[0], new RegExp(`^pack .* node-linux-${process.arch}@18\\.1\\.2$`));
});

test('what is there is not fetched again', async () => {
    const { root, calls } = treeWith('18.1.2');
    await provideNode(root, 'node18', '18.1.2');
    assert.equal(await provideNode(root, 'node18', '18.1.2'), '');
    assert.equal(calls().length, 1);
});

test('another version replaces it', async () => {
    const { root } = treeWith('18.1.2');
    await provideNode(root, 'node18', '18.1.2');
    const folder = join(root, 'build', 'nodes', 'node18', 'include', 'node', 'node_version.h');
    writeFileSync(folder, readFileSync(folder, 'utf8').replace('PATCH_VERSION 2', 'PATCH_VERSION 1'));
    assert.equal(await provideNode(root, 'node18', '18.1.2'), '');
    assert.match(readFileSync(folder, 'utf8'), /PATCH_VERSION 2/);
});

test('a package of another version is an error, and not kept', async () => {
    const { root } = treeWith('18.1.2');
    assert.match(await provideNode(root, 'node18', '18.1.3'), /the package of Node\.js 18\.1\.3 has no headers of that version/);
    assert.deepEqual(readdirSync(join(root, 'build', 'nodes')), []);
});

test('an npm that fails is an error that has its words', async () => {
    const { root } = treeWith('');
    assert.match(await provideNode(root, 'node18', '18.1.2'), /npm pack node-linux-\w+@18\.1\.2: ended with status 1; npm and a connection .*\nnpm: not found/);
});

test('a build names its suites, and its suites alone', async () => {
    const list = async (...names) => (await run(process.execPath, [join(checkout, 'tests', 'run_suites.mjs'), '--list', ...names])).output.trim().split('\n');
    assert.deepEqual(await list('node22'), ['blackbox:node22', 'host:node22']);
    assert.ok(!(await list('blackbox')).some((title) => title.includes('node')));
    assert.ok(!(await list('--all')).some((title) => title.includes('node')));
});
