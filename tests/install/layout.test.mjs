// What lies where in the installed tree, and which component brings it.
import assert from 'node:assert/strict';
import { cpSync, mkdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import test, { before } from 'node:test';

import { build, filesBelow, folder, install, move, root, succeed } from './harness.mjs';

const trees = {};
before(async () => {
    for (const component of ['runtime', 'development', 'documentation', undefined]) {
        trees[component ?? 'all'] = filesBelow(await install(component));
    }
});

const has = (files, pattern) => files.some((name) => pattern.test(name));

test('each file belongs to one of the three components', () => {
    const parts = ['runtime', 'development', 'documentation'].flatMap((component) => trees[component]);
    assert.deepEqual(parts.sort(), trees.all);
});

test('all libraries lie in a folder of their own', () => {
    const libraries = trees.all.filter((name) => /\.so(\.|$)|\.node$/.test(name));
    assert.ok(libraries.length > 8, libraries.join('\n'));
    assert.deepEqual(libraries.filter((name) => !name.startsWith('lib/quill/')), []);
});

test('the runtime has the command, its libraries, the sdk, a man page and the completion', () => {
    for (const name of ['bin/quill', 'lib/quill/libquillmrbbridge.so', 'lib/quill/libmrb.so.1', 'lib/quill/libquill.so.1',
        'lib/quill/libsystemlog.so.1', 'lib/quill/libmrb-decoders.so', 'lib/quill/quill.node', 'share/quill/sdk/media.js',
        'share/quill/sdk/examples/list.js', 'share/man/man1/quill.1', 'share/bash-completion/completions/quill']) {
        assert.ok(trees.runtime.includes(name), name);
    }
});

test('the runtime has nothing for compilers', () => {
    assert.deepEqual(trees.runtime.filter((name) => /\.h$|\.pc$|\.cmake$|lib(quill|mrb|systemlog)\.so$/.test(name)), []);
});

test('the development files are headers, links to the libraries and their descriptions', () => {
    for (const pattern of [/^include\/quillmrbbridge\/mrb\/agent\.h$/, /^include\/quillmrbbridge\/system_log\.h$/,
        /^include\/quillmrbbridge\/quill\/bridge\.h$/, /^lib\/quill\/libmrb\.so$/, /^lib\/pkgconfig\/quill-bridge\.pc$/,
        /^lib\/cmake\/quillmrbbridge\/quillmrbbridge-config\.cmake$/]) {
        assert.ok(has(trees.development, pattern), `${pattern}`);
    }
    assert.ok(!has(trees.development, /CMakeLists/));
});

test('the documentation has every document, the changes and the licence', () => {
    for (const name of ['README.md', 'CHANGELOG.md', 'LICENCE.md', 'docs/script-api.md', 'docs/installing.md']) {
        assert.ok(trees.documentation.includes(`share/doc/quillmrbbridge/${name}`), name);
    }
});

test('other folders may be chosen, and the moved tree still runs', async () => {
    const other = folder();
    await succeed('cmake', ['-S', root, '-B', other, '-G', 'Ninja', '-DQUILL_TESTS=OFF', '-DCMAKE_BUILD_TYPE=Debug',
        '-DCMAKE_INSTALL_LIBDIR=lib/some-machine', '-DCMAKE_INSTALL_BINDIR=programs/here', '-DCMAKE_INSTALL_DATADIR=data',
        '-DCMAKE_INSTALL_INCLUDEDIR=headers', '-DCMAKE_INSTALL_MANDIR=manuals', '-DCMAKE_INSTALL_DOCDIR=texts']);
    // The same libraries; building them again would take minutes.
    mkdirSync(join(other, 'lib'), { recursive: true });
    cpSync(join(build, 'lib'), join(other, 'lib'), {
        recursive: true, verbatimSymlinks: true, filter: (name) => !/\.(json|cjs)$/.test(name),
    });
    const tree = move(await install(undefined, other));
    const files = filesBelow(tree);
    for (const name of ['programs/here/quill', 'lib/some-machine/quill/libquillmrbbridge.so', 'data/quill/sdk/media.js',
        'headers/quillmrbbridge/mrb/agent.h', 'manuals/man1/quill.1', 'texts/README.md']) {
        assert.ok(files.includes(name), `${name}\n${files.join('\n')}`);
    }
    assert.equal((await succeed(join(tree, 'programs', 'here', 'quill'), ['-p', 'typeof MRBBridge'])).trim(), 'function');
    assert.match(readFileSync(join(tree, 'lib', 'some-machine', 'pkgconfig', 'quill-bridge.pc'), 'utf8'),
        /^includedir=\$\{pcfiledir\}\/\.\.\/\.\.\/\.\.\/headers\/quillmrbbridge$/m);
});
