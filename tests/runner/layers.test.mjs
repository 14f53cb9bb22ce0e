// The check of includes against the order of folders, on small trees of its own.
import assert from 'node:assert/strict';
import { mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import test from 'node:test';

import { layout, RANKS } from './layers.mjs';

const RANKED = [{ api: 'At the top.' }, { list: 'One.', metadata: 'Other.' }, { base: 'At the bottom.' }];
const GOOD = {
    'platform/mrb/agent.h': '#pragma once\n',
    'framework/api/lists.cpp': '#include "list/list.h"\n#include "mrb/agent.h"\n',
    'framework/list/list.h': '#pragma once\n\n#include "base/result.h"\n',
    'framework/metadata/metadata.h': '#pragma once\n',
    'framework/base/result.h': '#pragma once\n#include "mrb/agent.h"\n',
};

/** What the check says of a tree: GOOD, with these files in it besides or in place of its own. */
async function check(files, { ranks = RANKED, modules = {} } = {}) {
    const root = mkdtempSync(join(tmpdir(), 'quill-layers-'));
    try {
        for (const [path, text] of Object.entries({ ...GOOD, ...files })) {
            mkdirSync(dirname(join(root, path)), { recursive: true });
            writeFileSync(join(root, path), text);
        }
        return await layout(root, { ranks, modules });
    } finally {
        rmSync(root, { recursive: true });
    }
}

test('includes that go down, or stay in their folder, pass', async () => {
    assert.equal(await check({ 'framework/api/pages.cpp': '#include "api/lists.h"\n', 'framework/api/lists.h': '' }), '');
});

test('a header of the system with the name of a folder passes', async () => {
    assert.equal(await check({ 'framework/base/result.cpp': '#include <list>\n' }), '');
});

test('an include against the order fails with file, line and rule', async () => {
    const said = await check({ 'framework/base/result.cpp': '#include <string>\n\n#include "list/list.h"\n' });
    assert.equal(said, 'framework/base/result.cpp:3: include of list/list.h: ' +
        'list/ is above base/, and a folder includes only folders below it');
});

test('an include against the order fails however it is written', async () => {
    for (const include of ['<list/list.h>', '"../list/list.h"', '"framework/list/list.h"']) {
        assert.match(await check({ 'framework/base/result.cpp': `  #  include ${include}\n` }), /list\/ is above base\//, include);
    }
});

test('every include against the order is named', async () => {
    const said = await check({
        'framework/base/one.h': '#include "list/list.h"\n#include "metadata/metadata.h"\n',
        'framework/base/two.h': '#include "list/list.h"\n',
    });
    assert.deepEqual(said.split('\n').map((line) => line.split(': ')[0]),
        ['framework/base/one.h:1', 'framework/base/one.h:2', 'framework/base/two.h:1']);
});

test('folders of one rank do not include each other', async () => {
    assert.match(await check({ 'framework/list/filter.h': '#include "metadata/metadata.h"\n' }),
        /^framework\/list\/filter\.h:1: .*list\/ and metadata\/ are of one rank/);
});

test('an unknown folder fails, once', async () => {
    const said = await check({ 'framework/new/new.h': '#include "base/result.h"\n#include "list/list.h"\n' });
    assert.equal(said, 'framework/new/: unknown folder, give it a rank and a sentence in tests/runner/layers.mjs');
});

test('an include of an unknown folder fails', async () => {
    assert.match(await check({ 'framework/new/new.h': '', 'framework/api/new.cpp': '#include "new/new.h"\n' }),
        /framework\/api\/new\.cpp:1: .*new\/ has no rank/);
});

test('a source file outside of the folders fails', async () => {
    assert.match(await check({ 'framework/stray.h': '' }), /lies in no folder/);
});

test('a folder of the table that is not there fails', async () => {
    assert.match(await check({}, { ranks: [...RANKED, { gone: 'Was here.' }] }), /no folder framework\/gone\//);
});

test('two folders that include each other fail', async () => {
    const said = await check({ 'framework/base/result.h': '#include "list/list.h"\n' });
    assert.match(said, /^framework\/base\/result\.h:1: .*list\/ is above base\//);
});

test('a circle of three folders fails', async () => {
    const ranks = [...RANKED.slice(0, 2), { text: 'Middle.' }, RANKED[2]];
    const said = await check({
        'framework/text/text.h': '#include "base/result.h"\n',
        'framework/list/list.h': '#include "text/text.h"\n',
        'framework/base/result.h': '#include "list/list.h"\n',
    }, { ranks });
    assert.match(said, /^framework\/base\/result\.h:1: /);
});

test('a table that would allow a circle fails', async () => {
    assert.match(await check({}, { ranks: [...RANKED, { list: 'Once more.' }] }), /list\/ has two ranks/);
});

test('a folder without a sentence fails', async () => {
    assert.match(await check({}, { ranks: [...RANKED.slice(0, 2), { base: '' }] }), /what the folder base\/ is for/);
});

test('a module is included by itself alone', async () => {
    const modules = { 'list/gears': 'libgears.so' };
    const files = { 'framework/list/gears/a.h': '', 'framework/list/gears/a.cpp': '#include "list/gears/a.h"\n' };
    assert.equal(await check(files, { modules }), '');
    assert.match(await check({ ...files, 'framework/list/list.h': '#include "list/gears/a.h"\n' }, { modules }),
        /^framework\/list\/list\.h:1: .*the module libgears\.so/);
});

test('src/ includes only platform/', async () => {
    assert.equal(await check({ 'src/log.h': '', 'src/log.cpp': '#include "log.h"\n#include "mrb/agent.h"\n' }), '');
    assert.equal(await check({ 'src/log.cpp': '#include "base/result.h"\n' }),
        'src/log.cpp:1: include of base/result.h: src/ includes only src/ and platform/');
    assert.match(await check({ 'src/log.cpp': '#include "../framework/base/result.h"\n' }), /^src\/log\.cpp:1: /);
});

test('host/, framework/ and syslog/ never include each other or src/', async () => {
    const parts = { 'host/libquill/host.h': '', 'syslog/sink.h': '', 'src/log.h': '', 'framework/base/made.h': '' };
    const headers = { host: 'host.h', syslog: 'sink.h', src: 'log.h', framework: 'base/made.h' };
    for (const from of ['host/libquill', 'framework/base', 'syslog', 'platform/mrb']) {
        for (const [to, header] of Object.entries(headers)) {
            if (from.startsWith(to)) continue;
            assert.match(await check({ ...parts, [`${from}/user.cpp`]: `#include "${header}"\n` }),
                new RegExp(`^${from}/user\\.cpp:1: .*includes only`), `${from} of ${to}`);
        }
    }
});

test('a quoted include of no file fails', async () => {
    assert.match(await check({ 'framework/list/list.h': '#include "base/nothing.h"\n' }), /list\.h:1: .*no such file/);
});

test('a tree without sources fails', async () => {
    const root = mkdtempSync(join(tmpdir(), 'quill-layers-'));
    assert.match(await layout(root), /no source file/);
    rmSync(root, { recursive: true });
});

test('each folder of the table has one sentence', () => {
    for (const [folder, sentence] of RANKS.flatMap((row) => Object.entries(row))) {
        assert.match(sentence, /^[A-Z][^.]*(\.h)?[^.]*\.$/, folder);
    }
});
