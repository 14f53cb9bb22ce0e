// The runner from outside: its lines and its status, on a small tree of its own whose
// system has no pseudo-terminals.
import assert from 'node:assert/strict';
import { chmodSync, cpSync, mkdirSync, mkdtempSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

import { run } from './process.mjs';

const tests = dirname(dirname(fileURLToPath(import.meta.url)));

// Beside a test that passes: one that needs a terminal, and does not find one.
const NEEDY = `
import test from 'node:test';
import { needs } from '../needs.mjs';
test('needs nothing', () => {});
test('needs a terminal', needs('terminals'), () => { throw new Error('no terminal'); });`;

// The same, but it skips itself without having looked what the runner found.
const SKIPPING = `
import test from 'node:test';
test('needs nothing', () => {});
test('skips itself', { skip: 'no pseudo-terminals' }, () => {});`;

/** Runs the suite `runner` of a tree that has this one test file; {lines, ended}. */
async function suiteOf(source, env) {
    const root = mkdtempSync(join(tmpdir(), 'quill-runner-'));
    for (const name of ['needs.mjs', 'run_suites.mjs', 'runner']) {
        cpSync(join(tests, name), join(root, 'tests', name), {
            recursive: true, filter: (file) => !file.endsWith('.test.mjs'),
        });
    }
    writeFileSync(join(root, 'tests', 'runner', 'fixture.test.mjs'), source);
    mkdirSync(join(root, 'bin'));
    writeFileSync(join(root, 'bin', 'script'), '#!/bin/sh\nexit 1\n'); // the command that the runner tries
    chmodSync(join(root, 'bin', 'script'), 0o755);
    const PATH = `${join(root, 'bin')}:${process.env.PATH}`;
    const without = ['CI', 'NODE_TEST_CONTEXT', 'QUILL_TESTS_MISSING'].flatMap((name) => ['-u', name]);
    const settings = Object.entries({ PATH, ...env }).map(([name, value]) => `${name}=${value}`);
    const { output, ended } = await run('env', [...without, ...settings, process.execPath,
        join(root, 'tests', 'run_suites.mjs'), 'runner'], { seconds: 240 });
    return { lines: output.trimEnd().split('\n'), ended };
}

test('what the system does not offer is skipped, with its reason', async () => {
    const { lines, ended } = await suiteOf(NEEDY, {});
    assert.deepEqual(lines.slice(-2), ['skipped: 1 for no pseudo-terminals', '1 passed, 0 failed, 1 skipped']);
    assert.equal(ended, '');
});

test('with CI=true it is a failure', async () => {
    const { lines, ended } = await suiteOf(NEEDY, { CI: 'true' });
    assert.equal(lines.at(-1), '1 passed, 1 failed', lines.join('\n'));
    assert.match(lines.join('\n'), /not ok 2 - needs a terminal/);
    assert.equal(ended, 'ended with status 1');
});

test('with CI=true a test that skips itself all the same has failed', async () => {
    const { lines, ended } = await suiteOf(SKIPPING, { CI: 'true' });
    assert.equal(lines.at(-1), '1 passed, 1 failed', lines.join('\n'));
    assert.equal(ended, 'ended with status 1');
});
