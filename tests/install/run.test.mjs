// The installed tree runs after it was moved, with the build folder and the checkout away.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { existsSync, readdirSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { before } from 'node:test';

import { testWith } from '../needs.mjs';
import { pictureBytes, songBytes } from '../system/small_media.mjs';
import { away, filesBelow, folder, install, move, root, succeed, succeedAway } from './harness.mjs';

const test = testWith('mounts');

let tree;
let media;
let playlist;

before(async () => {
    tree = move(await install());
    media = folder();
    writeFileSync(join(media, 'one.flac'), songBytes({ TITLE: 'First song', ARTIST: 'First artist' }));
    writeFileSync(join(media, 'two.jpg'), pictureBytes('2024:07:14 09:30:00'));
    execFileSync('convert', ['-size', '64x48', 'plasma:', join(media, 'three.png')]);
    playlist = join(folder(), 'all.m3u');
    writeFileSync(playlist, `${join(media, 'one.flac')}\n${join(media, 'two.jpg')}\n`);
});

const quill = (...args) => succeedAway(join(tree, 'bin', 'quill'), args);
const example = (name) => join(tree, 'share', 'quill', 'sdk', 'examples', `${name}.js`);

test('the checkout is away indeed', async () => {
    assert.equal((await succeedAway('sh', ['-c', 'ls -A "$0" | wc -l', root])).trim(), '0');
});

test('a listing', async () => {
    const items = (await quill(example('list'), media, '--json')).trim().split('\n').map((line) => JSON.parse(line));
    assert.deepEqual(items.map((item) => item.name).sort(), ['one.flac', 'three.png', 'two.jpg']);
});

test('the example fields shows what is in a file', async () => {
    assert.match(await quill(example('fields'), join(media, 'one.flac')), /First song/);
});

test('the example copy copies', async () => {
    const to = folder();
    await quill(example('copy'), media, to);
    assert.deepEqual(readdirSync(to).sort(), ['one.flac', 'three.png', 'two.jpg']);
});

test('the example contact_sheet writes thumbnails', async () => {
    const to = join(folder(), 'sheet');
    await away(join(tree, 'bin', 'quill'), [example('contact_sheet'), media, to]);
    // The song has no cover, and the other picture no image.
    assert.equal(readdirSync(to).filter((name) => name.endsWith('.bmp')).length, 1, readdirSync(to).join());
    assert.ok(existsSync(join(to, 'index.html')));
});

test('the example playlists prints the entries of a playlist', async () => {
    const text = await quill(example('playlists'), playlist);
    assert.match(text, /one\.flac/);
    assert.match(text, /two\.jpg/);
});

test('the example devices shows a folder that stands for a stick', async () => {
    assert.ok((await quill('--device', media, example('devices'), '--once')).includes(media));
});

for (const name of ['browse', 'servers']) {
    test(`the example ${name} starts`, async () => {
        assert.match(await quill(example(name), '--help'), new RegExp(`^Usage: quill ${name}\\.js`));
    });
}

test('a symbolic link to the command works', async () => {
    const link = join(folder(), 'quill');
    await succeed('ln', ['-s', join(tree, 'bin', 'quill'), link]);
    assert.equal((await succeedAway(link, ['-p', 'typeof MRBBridge'])).trim(), 'function');
});

test('the debugger starts the command of the moved tree', async () => {
    const program = await succeedAway(process.execPath, ['--require', join(tree, 'lib', 'quill', 'inspect.cjs'), '-p', 'process.execPath']);
    assert.equal(program.trim(), join(tree, 'bin', 'quill'));
});

test('no text of the tree names a folder of the build machine', async () => {
    const texts = filesBelow(tree).filter((name) => !/\.so(\.|$)|\.node$|^share\/doc\//.test(name));
    assert.ok(texts.length > 20, texts.join());
    assert.deepEqual(texts.filter((name) => readFileSync(join(tree, name), 'utf8').includes(root)), []);
});
