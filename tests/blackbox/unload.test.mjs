// Unloading the library: a copy of it, in a process that has nothing else of it loaded.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { copyFileSync, mkdtempSync, rmSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { after, test } from 'node:test';

import { build } from './harness.mjs';

const folder = mkdtempSync(path.join(os.tmpdir(), 'unload-'));
after(() => rmSync(folder, { recursive: true, force: true }));

/** The output of tests/recording/unload.cpp for a copy. */
function unload() {
    const copy = path.join(folder, 'libcopy.so');
    copyFileSync(`${build}/lib/libquillmrbbridge.so`, copy);
    const libraries = [process.env.LD_LIBRARY_PATH, `${build}/tests/recording`, `${build}/lib`];
    const env = { ...process.env, LD_LIBRARY_PATH: libraries.filter(Boolean).join(':') };
    return JSON.parse(execFileSync(`${build}/tests/recording/unload`, [copy], { env, encoding: 'utf8' }));
}

test('two calls of loadBridges return one and two bridges, the older first', () => {
    const { answered, sameFirst } = unload();
    assert.deepEqual(answered, [1, 2]);
    assert.ok(sameFirst);
});

test('unloading releases the list of bridges and leaves the bridges', () => {
    const { unloaded, left, bridgesLeft } = unload();
    assert.ok(unloaded);
    assert.deepEqual({ left, bridgesLeft }, { left: 0, bridgesLeft: 2 });
});
