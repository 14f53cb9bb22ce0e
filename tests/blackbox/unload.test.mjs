// Unloading the library: a copy of it, in a process that has nothing else of it loaded.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { copyFileSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { after, test } from 'node:test';

import { build } from './harness.mjs';

const folder = mkdtempSync(path.join(os.tmpdir(), 'unload-'));
after(() => rmSync(folder, { recursive: true, force: true }));

// Without a sanitizer's runtime in it.
const tool = (program, ...args) => execFileSync(program, args, { encoding: 'utf8', env: { ...process.env, LD_PRELOAD: '' } });

// For the architecture of the build.
const compiler = readFileSync(`${build}/tests/recording/compiler`, 'utf8');

/**
 * A library that stands for the script engine, which this process lacks: a shipped library
 * is loaded only where all functions that it calls exist. None of these is called.
 */
function standIn() {
    const files = ['libquillmrbbridge.so', 'libquill.so.1'].map((name) => path.join(build, 'lib', name));
    const names = new Set(tool('nm', '-D', '--undefined-only', ...files).match(/\b_ZNK?2v8\w+/g));
    const source = path.join(folder, 'engine.c');
    writeFileSync(source, `#include <stdlib.h>\n${[...names].map((name) => `void ${name}(void) { abort(); }\n`).join('')}`);
    const library = path.join(folder, 'libengine.so');
    tool(compiler, '-shared', '-fPIC', '-o', library, source);
    return library;
}

/** The output of tests/recording/unload.cpp for a copy. */
function unload() {
    const copy = path.join(folder, 'libcopy.so');
    copyFileSync(`${build}/lib/libquillmrbbridge.so`, copy);
    const libraries = [process.env.LD_LIBRARY_PATH, `${build}/tests/recording`, `${build}/lib`];
    const env = { ...process.env, LD_LIBRARY_PATH: libraries.filter(Boolean).join(':') };
    const words = [process.env.QUILL_RUN, `${build}/tests/recording/unload`, standIn(), copy].filter(Boolean);
    return JSON.parse(execFileSync(words[0], words.slice(1), { env, encoding: 'utf8' }));
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
