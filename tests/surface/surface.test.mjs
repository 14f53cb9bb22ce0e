// What the shipped libraries show to the loader: the product's one entry, the libraries it
// needs, and what distributions ask of every library.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { dirname, join, relative } from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

import { inspect } from '../runner/elf.mjs';

const root = dirname(dirname(dirname(fileURLToPath(import.meta.url))));
const library = (name) => join(process.env.QUILL_BUILD, 'lib', name);
const PRODUCT = library('libquillmrbbridge.so');
// For other architectures the recording framework is built in place of the real one.
const settings = readFileSync(join(process.env.QUILL_BUILD, 'CMakeCache.txt'), 'utf8');
const [, hasFramework] = /^QUILL_FRAMEWORK:BOOL=(.*)$/m.exec(settings);
const OWN_FRAMEWORK = hasFramework === 'ON' ? [library('libmrb.so.1')] : [];
const FRAMEWORK = OWN_FRAMEWORK[0] ?? join(process.env.QUILL_BUILD, 'tests', 'recording', 'libmrb.so.1');
// These resolve what they call when it is called: see framework/base/module.cpp.
const MODULES = OWN_FRAMEWORK.length === 0 ? []
    : ['cameras', 'decoders', 'dlna', 'films', 'readers'].map((name) => library(`libmrb-${name}.so`));
const LIBRARIES = [PRODUCT, ...OWN_FRAMEWORK, ...['libquill.so.1', 'libsystemlog.so.1', 'quill/quill.node'].map(library)];

test('the product exports loadBridges and nothing else', () => {
    assert.deepEqual(inspect(PRODUCT).exported, ['loadBridges']);
});

test('the product needs the three seams, Clutter, jsoncpp and the runtime', () => {
    const runtime = /^(libstdc\+\+\.so\.6|libgcc_s\.so\.1|libc\.so\.6|ld-linux.*)$/;
    const others = inspect(PRODUCT).needed.filter((name) => !runtime.test(name)).map((name) => name.replace(/(libjsoncpp\.so)\.\d+/, '$1'));
    assert.deepEqual(others.sort(), ['libclutter-1.0.so.0', 'libjsoncpp.so', 'libmrb.so.1', 'libquill.so.1', 'libsystemlog.so.1']);
});

test('the product has its functions of the framework from the seam alone', () => {
    const offered = new Set([library('libquill.so.1'), FRAMEWORK, library('libsystemlog.so.1')].flatMap((file) => inspect(file).exported));
    const ours = inspect(PRODUCT).imported.filter((name) => /^(mrb_|thumbnail_|system_log_|_ZNK?6Bridge)/.test(name));
    assert.ok(ours.length > 60, ours.join());
    assert.deepEqual(ours.filter((name) => !offered.has(name)), []);
});

for (const file of [...LIBRARIES, ...MODULES]) {
    const name = relative(library('.'), file);

    test(`${name} has no text relocations, no executable stack, and a table of relocations that becomes read-only`, () => {
        const { tags, flags, segments } = inspect(file);
        assert.ok(!tags.includes('TEXTREL') && !flags.includes('TEXTREL'), flags.join());
        assert.equal(segments.GNU_STACK, 'RW');
        assert.equal(segments.GNU_RELRO, 'R');
    });

    test(`${name} protects its stack`, () => {
        const { imported } = inspect(file);
        assert.ok(imported.includes('__stack_chk_fail'), imported.join('\n'));
    });

    test(`${name} has no folder of the build machine in it`, () => {
        assert.ok(!readFileSync(file).includes(`${root}/`));
    });
}

// Of those that call what the C library checks.
for (const file of [PRODUCT, ...OWN_FRAMEWORK, library('libsystemlog.so.1')]) {
    test(`${relative(library('.'), file)} has the C library check the sizes of buffers`, () => {
        const { imported } = inspect(file);
        assert.ok(imported.some((symbol) => /^__\w+printf_chk$/.test(symbol)), imported.join('\n'));
    });
}

for (const file of LIBRARIES) {
    test(`${relative(library('.'), file)} is resolved whole when it is loaded`, () => {
        const { flags } = inspect(file);
        assert.ok(flags.includes('BIND_NOW') || flags.includes('NOW'), flags.join());
    });
}
