// The check of what documents name, on small trees of its own.
import assert from 'node:assert/strict';
import { mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import test from 'node:test';

import { references } from './references.mjs';

const SOURCES = {
    'framework/list/list_cursor.h': 'class ListCursor { void moveTo(int index); };\n',
    'framework/list/CMakeLists.txt': 'target_sources(mrb-core PRIVATE list_cursor.cpp)\n',
    'framework/share/share.h': '',
    'framework/text/text.h': '',
    'platform/mrb/agent.h': '',
    'src/MRBAgentAdapter.cpp': '',
    'tests/framework/list/page_test.cpp': '',
    'docs/framework.md': '# The framework\n',
};

/** What the check says of a document with this text. */
async function check(text, name = 'README.md') {
    const root = mkdtempSync(join(tmpdir(), 'quill-documents-'));
    try {
        for (const [path, content] of Object.entries({ ...SOURCES, [name]: text })) {
            mkdirSync(dirname(join(root, path)), { recursive: true });
            writeFileSync(join(root, path), content);
        }
        return await references(root);
    } finally {
        rmSync(root, { recursive: true });
    }
}

test('files and folders of the project pass', async () => {
    for (const path of ['framework/list/list_cursor.h', 'framework/list/', 'list/', 'mrb/agent.h', 'framework/list']) {
        assert.equal(await check(`See \`${path}\`, and (${path}).`), '', path);
    }
});

test('a file without its extension passes', async () => {
    assert.equal(await check('The cursor (`list/list_cursor`).'), '');
});

test('a pattern that matches a file passes', async () => {
    assert.equal(await check('`src/MRB...Adapter*.cpp` and `framework/NAME/CMakeLists.txt`'), '');
});

test('a file that does not exist fails with document and line', async () => {
    assert.equal(await check('# Title\n\nSee `framework/list/list_pointer.h`.\n'),
        'README.md:3: there is no file or folder framework/list/list_pointer.h');
});

test('a missing file fails wherever it is named', async () => {
    for (const text of ['list/gone', 'See list/gone.', '    list/gone   in a drawing', '| `list/gone` | a table |', '(src/Gone.cpp)']) {
        assert.match(await check(text), /^README\.md:1: there is no file or folder \S*[gG]one/, text);
    }
});

test('a pattern that matches nothing fails', async () => {
    assert.match(await check('`src/MRB*Broker.cpp`'), /no file or folder src\/MRB\*Broker\.cpp/);
});

test('every missing file is named', async () => {
    const said = await check('`list/one` and\n`list/two`, `src/Three.h`');
    assert.deepEqual(said.split('\n').map((line) => line.split(' ').at(-1)), ['list/one', 'list/two', 'src/Three.h']);
});

test('a path is looked for from the folder of the document too', async () => {
    assert.equal(await check('[framework](framework.md) and [the list](../framework/list)', 'docs/guide.md'), '');
    assert.match(await check('[framework](gone.md)', 'docs/guide.md'), /^docs\/guide\.md:1: there is no file or folder gone\.md/);
});

test('a link to a heading of a document passes', async () => {
    assert.equal(await check('[here](#title), [there](docs/framework.md#the-framework)'), '');
});

test('paths and addresses of other things pass', async () => {
    for (const text of ['/list/gone.h', '~/src/gone', 'https://host/list/gone', '[a site](https://host/list/gone)',
        'build/dev/bin/quill', 'text/plain', 'share/man/', 'and/or', '`$HOME/list/gone`', 'bridge[method](request)']) {
        assert.equal(await check(text), '', text);
    }
});

test('names of the code pass', async () => {
    assert.equal(await check('`ListCursor`, `ListCursor::moveTo()`, `moveTo`'), '');
});

test('a name that no source has fails with document and line', async () => {
    assert.equal(await check('\nThe `ListPointer` moves.'), 'README.md:2: no source has the name ListPointer');
    assert.match(await check('`ListCursor::moveBack()`'), /no source has the name moveBack/);
});

test('words that are no names of the code pass', async () => {
    for (const text of ['`true`', '`QUILL_LOG`', 'JavaScript', '`Gone`', '`two words`']) assert.equal(await check(text), '', text);
});

test('a tree without documents fails', async () => {
    const root = mkdtempSync(join(tmpdir(), 'quill-documents-'));
    assert.match(await references(root), /no document/);
    rmSync(root, { recursive: true });
});
