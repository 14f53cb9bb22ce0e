// The man page, the completion and the version of the installed tree.
import assert from 'node:assert/strict';
import { readFileSync, realpathSync } from 'node:fs';
import { join } from 'node:path';
import test, { before } from 'node:test';

import { BASH_COMPLETION, filesBelow, folder, install, root, succeed } from './harness.mjs';

let tree;
let help;
before(async () => {
    tree = await install('runtime');
    help = await succeed(join(tree, 'bin', 'quill'), ['--help']);
});

const optionsOf = (text) => [...new Set([...text.matchAll(/^ {2}(?:-\w, )?(--[a-z]+)/gm)].map((found) => found[1]))];
const manual = () => succeed('man', ['--warnings=w', '-l', join(tree, 'share', 'man', 'man1', 'quill.1')], { env: { MANWIDTH: '100', LC_ALL: 'C.UTF-8' } });

test('the man page is formatted without a warning', async () => {
    const text = await manual();
    assert.doesNotMatch(text, /warning|error:/);
    assert.match(text, /^QUILL\(1\)/);
});

test('the man page describes every option and variable of --help', async () => {
    const text = await manual();
    const variables = [...help.matchAll(/^ {2}([A-Z_]{5,})/gm)].map((found) => found[1]);
    assert.ok(optionsOf(help).length >= 6 && variables.length >= 6, help);
    for (const word of [...optionsOf(help), ...variables]) assert.ok(text.includes(word), word);
});

test('the man page names no folder of one installation', async () => {
    assert.doesNotMatch(await manual(), /\/usr\/local|\/opt\//);
});

/** What bash offers after these words, the last of which is being typed. */
async function completions(words, cwd = folder()) {
    const output = await succeed('bash', ['-uc', BASH_COMPLETION, join(tree, 'share', 'bash-completion', 'completions', 'quill'),
        join(tree, 'bin', 'quill'), ...words], { cwd });
    return output.split('\n').filter(Boolean);
}

test('the completion offers every option of --help', async () => {
    const offered = await completions(['--']);
    for (const option of optionsOf(help)) assert.ok(offered.includes(option), option);
});

test('--bridge is completed with libraries and folders', async () => {
    const at = folder();
    await succeed('sh', ['-c', 'mkdir build && touch bridge.so bridge.txt'], { cwd: at });
    assert.deepEqual((await completions(['--bridge', 'b'], at)).sort(), ['bridge.so', 'build']);
    assert.deepEqual((await completions(['--bridge', '=', 'b'], at)).sort(), ['bridge.so', 'build']);
});

test('--device is completed with folders', async () => {
    const at = folder();
    await succeed('sh', ['-c', 'mkdir stick && touch stone'], { cwd: at });
    assert.deepEqual(await completions(['--device', 'st'], at), ['stick']);
});

test('the tags of --log are completed, one after another', async () => {
    assert.deepEqual(await completions(['--log', '=', 'ag']), ['agent']);
    assert.deepEqual(await completions(['--log', '=', 'agent,m']), ['agent,mrb']);
    assert.equal((await completions(['--log', '='])).length, 5);
});

test('scripts are completed, and examples by their names', async () => {
    const at = folder();
    await succeed('sh', ['-c', 'touch app.js app.txt conte.js'], { cwd: at });
    assert.deepEqual(await completions(['ap'], at), ['app.js']);
    assert.deepEqual(await completions(['conta'], at),
        [realpathSync(join(tree, 'share', 'quill', 'sdk', 'examples', 'contact_sheet.js'))]);
});

test('after a script any file is offered', async () => {
    const at = folder();
    await succeed('sh', ['-c', 'touch photo.jpg'], { cwd: at });
    assert.deepEqual(await completions(['app.js', 'ph'], at), ['photo.jpg']);
});

test('command, libraries, man page and changes agree on the version', async () => {
    const [, version] = /project\(quillmrbbridge VERSION (\S+)/.exec(readFileSync(join(root, 'CMakeLists.txt'), 'utf8'));
    assert.match(await succeed(join(tree, 'bin', 'quill'), ['--version']), new RegExp(`^quill ${version.replaceAll('.', '\\.')},`));
    const libraries = filesBelow(tree).filter((name) => /\.so(\.1)?$|\.node$/.test(name));
    assert.ok(libraries.length > 8, libraries.join());
    const without = libraries.filter((name) => !readFileSync(join(tree, name)).includes(`quillmrbbridge ${version}\0`));
    assert.deepEqual(without, []);
    assert.match(await manual(), new RegExp(`quillmrbbridge ${version}`));
    assert.match(readFileSync(join(root, 'CHANGELOG.md'), 'utf8'), new RegExp(`^## ${version.replaceAll('.', '\\.')}[, \n]`, 'm'));
});
