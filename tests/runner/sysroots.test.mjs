// Making a sysroot, with an apt-get whose packages are made here, and the builds that use one.
import assert from 'node:assert/strict';
import { chmodSync, existsSync, lstatSync, mkdirSync, mkdtempSync, readdirSync, readFileSync, readlinkSync,
    statSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

import { nodeOf } from './node_versions.mjs';
import { run } from './process.mjs';
import { sysrootOf, wrapperOf } from './sysroots.mjs';

const checkout = dirname(dirname(dirname(fileURLToPath(import.meta.url))));
const tool = join(checkout, 'tools', 'sysroot');

/**
 * A folder for sysroots and an apt-get that offers three packages: a library with links, one
 * whose files lie in /lib, and a program that no sysroot needs. `broken`: which of its commands
 * fails. It writes down its calls.
 */
function machine(broken = 'none') {
    const folder = mkdtempSync(join(tmpdir(), 'quill-sysroot-'));
    mkdirSync(join(folder, 'bin'));
    writeFileSync(join(folder, 'bin', 'apt-get'), `#!/bin/bash
set -eu
echo "$*" >>'${folder}/calls'
shift 3 # -q -c FILE
[ "$1" != '${broken}' ] || { echo "E: no $1 today" >&2; exit 100; }
make() {
    mkdir -p p/DEBIAN
    printf 'Package: %s\\nVersion: 1\\nArchitecture: armhf\\nMaintainer: m <m@example.org>\\nDescription: d\\n' $1 >p/DEBIAN/control
    dpkg-deb --build p $1.deb >&2
    rm -r p
}
case $1 in
-s) printf 'Inst libdemo (1 Debian [armhf])\\nInst libdemo-dev (1 Debian [armhf])\\nInst systemd (1 Debian [armhf])\\n' ;;
download)
    mkdir -p p/lib p/usr/share/doc/libdemo
    touch p/lib/libdemo.so.1 p/usr/share/doc/libdemo/copyright
    make libdemo
    mkdir -p p/usr/include p/usr/lib/demo
    touch p/usr/include/demo.h
    ln -s /lib/libdemo.so.1 p/usr/lib/demo/libdemo.so
    make libdemo-dev
    ;;
esac
`);
    chmodSync(join(folder, 'bin', 'apt-get'), 0o755);
    return {
        folder,
        sysroot: join(folder, 'roots', 'armhf'),
        calls: () => (existsSync(join(folder, 'calls')) ? readFileSync(join(folder, 'calls'), 'utf8').trim().split('\n') : []),
        make: (...words) => run(tool, words, { env: { PATH: `${join(folder, 'bin')}:${process.env.PATH}` } }),
    };
}

test('the packages that a sysroot needs are unpacked, and their links lead to places in it', async () => {
    const { folder, sysroot, make } = machine();
    const { ended, output } = await make('armhf', sysroot);
    assert.equal(ended, '', output);
    assert.ok(existsSync(join(sysroot, 'usr/include/demo.h')));
    assert.ok(lstatSync(join(sysroot, 'lib')).isSymbolicLink());
    assert.ok(statSync(join(sysroot, 'usr/lib/libdemo.so.1')).isFile());
    assert.equal(readlinkSync(join(sysroot, 'usr/lib/demo/libdemo.so')), '../libdemo.so.1');
    assert.ok(!existsSync(join(sysroot, 'usr/share/doc')));
    assert.deepEqual(readdirSync(join(folder, 'roots')), ['armhf'], 'nothing else is left');
    assert.match(readFileSync(join(sysroot, 'contents'), 'utf8'), /^libdemo-dev=1\nlibdemo=1\n$/m);
});

test('what no sysroot needs is not downloaded', async () => {
    const { sysroot, make, calls } = machine();
    await make('armhf', sysroot);
    assert.match(calls().at(-1), / download libdemo-dev=1 libdemo=1$/);
});

test('apt has a state of its own', async () => {
    const { sysroot, make, calls } = machine();
    await make('armhf', sysroot);
    assert.deepEqual(calls().filter((call) => !/^-q -c \S+\/roots\/armhf\.\d+\/apt\.conf /.test(call)), []);
});

test('a complete sysroot is kept, and made again for more packages', async () => {
    const { sysroot, make, calls } = machine();
    await make('armhf', sysroot);
    const { length } = calls();
    assert.equal((await make('armhf', sysroot)).ended, '');
    assert.equal(calls().length, length);
    writeFileSync(join(sysroot, 'contents'), 'recipe 1: libc6-dev\n');
    assert.equal((await make('armhf', sysroot)).ended, '');
    assert.ok(calls().length > length);
});

for (const broken of ['-s', 'download']) {
    test(`there is no sysroot when apt-get ${broken} fails, and its words are shown`, async () => {
        const { folder, sysroot, make } = machine(broken);
        const { ended, output } = await make('armhf', sysroot);
        assert.notEqual(ended, '');
        assert.match(output, new RegExp(`E: no ${broken} today\nsysroot: `));
        assert.deepEqual(readdirSync(join(folder, 'roots')), []);
    });
}

test('a source that fails to update is no reason to stop', async () => {
    const { sysroot, make } = machine('update');
    assert.equal((await make('armhf', sysroot)).ended, '');
});

test('two at a time make one sysroot', async () => {
    const { folder, sysroot, make } = machine();
    const results = await Promise.all([make('armhf', sysroot), make('armhf', sysroot)]);
    assert.deepEqual(results.map(({ ended, output }) => ended && output), ['', '']);
    assert.deepEqual(readdirSync(join(folder, 'roots')), ['armhf']);
    assert.ok(existsSync(join(sysroot, 'usr/include/demo.h')));
});

test('wrong arguments are one line that says what there is', async () => {
    const { folder, make } = machine();
    mkdirSync(join(folder, 'mine'));
    writeFileSync(join(folder, 'mine', 'letter'), '');
    for (const [words, message] of [
        [['mips', folder], /^sysroot: 'mips' is not an architecture that this makes; there are armhf and i386\n$/],
        [['--all', 'armhf'], /^sysroot: there is no option --all; tools\/sysroot --help shows what there is\n$/],
        [[], /^sysroot: name an architecture, armhf or i386, and at most a folder; see --help\n$/],
        [['armhf', join(folder, 'mine')], /^sysroot: .*\/mine is there and is no sysroot of this script; name another folder, or remove it\n$/],
    ]) {
        const { ended, output } = await make(...words);
        assert.notEqual(ended, '');
        assert.match(output, message);
    }
    assert.ok(existsSync(join(folder, 'mine', 'letter')));
});

test('programs of these builds run by way of their sysroots', () => {
    assert.equal(sysrootOf('/nowhere', 'dev'), '');
    assert.deepEqual(wrapperOf('/nowhere', 'dev'), []);
    assert.deepEqual(wrapperOf('/nowhere', 'i386'), ['/nowhere/build/sysroots/i386/run']);
    assert.equal(nodeOf('/nowhere', 'armhf'), '/nowhere/build/sysroots/armhf/node');
});

test('a build names all its suites, and --all a sample of the emulated one', async () => {
    const list = async (...names) =>
        (await run(process.execPath, [join(checkout, 'tests', 'run_suites.mjs'), '--list', ...names])).output.trim().split('\n');
    for (const build of ['i386', 'armhf']) {
        assert.deepEqual(await list(build), ['json', 'unit', 'blackbox', 'surface', 'cross'].map((name) => `${name}:${build}`));
    }
    assert.deepEqual(await list('i386-framework'), ['framework:i386-framework']);
    assert.ok(!(await list('framework')).some((title) => /i386/.test(title)));
    assert.ok(!(await list('blackbox')).some((title) => /i386|armhf/.test(title)));
    const all = (await list('--all')).filter((title) => /i386|armhf/.test(title));
    assert.deepEqual(all, ['json:i386', 'unit:i386', 'blackbox:i386', 'blackbox:armhf', 'surface:i386', 'surface:armhf', 'cross:i386', 'cross:armhf']);
});
