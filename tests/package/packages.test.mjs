// The Debian packages: what is in them, that they are the same from another folder, and that
// they run on a Debian 12 that has nothing else.
import assert from 'node:assert/strict';
import { cpSync, existsSync, lstatSync, mkdirSync, mkdtempSync, readdirSync, readFileSync, symlinkSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { basename, extname, join, relative } from 'node:path';
import test, { before } from 'node:test';

import { BASH_COMPLETION, blocks, bridgeCommand, filesBelow, root, succeed } from '../install/harness.mjs';
import { needs } from '../needs.mjs';
import { compilerCache } from '../runner/build.mjs';
import { run } from '../runner/process.mjs';
import { makeBareRoot } from './bare_root.mjs';
import { copySources, DEBIAN_NODE, documented, makePackages, nodeHeaders, UNCACHED, unpack, version } from './packages.mjs';

let packages;
let unpacked;
let second;
before(async () => {
    const headers = await nodeHeaders();
    packages = await makePackages(root, headers, { env: await compilerCache() });
    // Everything once more, while the other tests run: from another folder, by a user of other habits.
    const copy = copySources(headers);
    second = makePackages(copy.checkout, copy.headers, {
        env: { ...UNCACHED, TZ: 'Pacific/Kiritimati', LC_ALL: 'C.UTF-8', HOME: copy.checkout }, umask: '077',
    });
    second.catch(() => {}); // its test reports it
    unpacked = Object.fromEntries(await Promise.all(Object.entries(packages).map(async ([name, file]) => [name, await unpack(file)])));
});

const field = async (name, of) => (await succeed('dpkg-deb', ['--field', packages[of], name])).trim();

test('there are two packages of the project\'s version', async () => {
    assert.deepEqual(Object.keys(packages).sort(), ['quillmrbbridge', 'quillmrbbridge-dev']);
    for (const name of Object.keys(packages)) assert.equal((await field('Version', name)).replace(/-\d+$/, ''), version);
});

test('each library of the packages has the version in it', () => {
    const files = filesBelow(unpacked.quillmrbbridge).filter((name) => /\.so(\.[\d.]+)?$|\.node$/.test(name));
    assert.ok(files.length > 8, files.join());
    const without = files.filter((name) => !readFileSync(join(unpacked.quillmrbbridge, name)).includes(`quillmrbbridge ${version}\0`));
    assert.deepEqual(without, []);
});

test('the package depends on the major version of Node.js that it was built for', async () => {
    assert.match(await field('Depends', 'quillmrbbridge'),
        new RegExp(`^nodejs \\(>= ${DEBIAN_NODE}\\), nodejs \\(<< ${DEBIAN_NODE + 1}~\\), `));
});

test('the development package depends on the other one, of the same version', async () => {
    assert.ok((await field('Depends', 'quillmrbbridge-dev')).includes(`quillmrbbridge (= ${await field('Version', 'quillmrbbridge')})`));
});

test('nothing is configured with a changelog of another version', async () => {
    const checkout = mkdtempSync(join(tmpdir(), 'quill-package-'));
    for (const name of readdirSync(root).filter((entry) => entry !== 'build' && entry !== 'cmake')) symlinkSync(join(root, name), join(checkout, name));
    cpSync(join(root, 'cmake'), join(checkout, 'cmake'), { recursive: true });
    const changelog = join(checkout, 'cmake', 'package', 'debian', 'changelog');
    writeFileSync(changelog, readFileSync(changelog, 'utf8').replace(`(${version}-`, '(0.9.9-'));
    const { output, ended } = await run('cmake', ['-S', checkout, '-B', join(checkout, 'build'), '-G', 'Ninja', '-DQUILL_TESTS=OFF']);
    assert.notEqual(ended, '');
    assert.match(output.replace(/\s+/g, ' '), new RegExp(`changelog: the first entry is not of version ${version}: quillmrbbridge \\(0\\.9\\.9-`));
});

test('lintian finds neither an error nor a warning', async () => {
    const { output, ended } = await run('bash', ['-euc', documented.check], { cwd: root });
    assert.equal(ended, '', output);
    assert.doesNotMatch(output, /^[EW]: /m);
});

test('the packages name no folder of the build machine', () => {
    for (const folder of Object.values(unpacked)) {
        const files = filesBelow(folder).filter((name) => lstatSync(join(folder, name)).isFile());
        assert.deepEqual(files.filter((name) => readFileSync(join(folder, name)).includes(root)), []);
    }
});

test('the copyright file says that there is no licence yet', () => {
    for (const [name, folder] of Object.entries(unpacked)) {
        assert.match(readFileSync(join(folder, 'usr', 'share', 'doc', name, 'copyright'), 'utf8'), /has not chosen a licence yet/);
    }
});

const bareTest = (title, body) => test(title, needs('bare-roots'), body);
const EXAMPLES = '/usr/share/quill/sdk/examples';
let bare;

/** Copies a package into the root, for the user's folder of downloads, so to say. */
const offer = (name) => cpSync(packages[name], join(bare.folder, 'root', basename(packages[name])));

bareTest('apt installs the package on a bare Debian 12, where the command starts', async () => {
    bare = await makeBareRoot();
    offer('quillmrbbridge');
    await bare.shell(documented.install, '/root');
    assert.match(await bare.asUser('quill', '--version'), new RegExp(`^quill ${version.replaceAll('.', '\\.')}, Node\\.js v${DEBIAN_NODE}\\.`, 'm'));
    assert.equal((await bare.asUser('quill', '-p', 'typeof MRBBridge')).trim(), 'function');
});

bareTest('every library finds those that it needs', async () => {
    const output = await bare.asUser('sh', '-c', 'ldd /usr/lib/*/quill/*.so /usr/lib/*/quill/quill.node');
    assert.ok(output.split('\n').length > 100, output);
    assert.doesNotMatch(output, /not found/);
});

const MEDIA = '/home/viewer/media';

bareTest('a user lists a folder of media there', async () => {
    const media = join(bare.folder, MEDIA);
    await succeed(join(root, 'tools', 'make-library'), [media]);
    await succeed('heif-enc', ['-o', join(media, 'Welcome.heic'), join(media, 'Welcome.jpg')]); // decoded by a library of its own
    const output = await bare.asUser('quill', `${EXAMPLES}/list.js`, MEDIA, '--json');
    const listed = output.trim().split('\n').map((line) => relative(MEDIA, JSON.parse(line).path));
    const present = readdirSync(join(bare.folder, MEDIA), { recursive: true });
    const isMedia = (name) => !name.startsWith('.') && !name.endsWith('.txt');
    assert.deepEqual(listed.sort(), present.filter(isMedia).sort());
});

bareTest('a user sees the metadata of a song there', async () => {
    const song = filesBelow(join(bare.folder, MEDIA)).find((name) => name.endsWith('.flac'));
    assert.match(await bare.asUser('quill', `${EXAMPLES}/fields.js`, join(MEDIA, song)), /artist/i);
});

bareTest('a user makes thumbnails of every picture and video there', async () => {
    const files = filesBelow(join(bare.folder, MEDIA)).map((name) => extname(name));
    const output = await bare.asUser('bash', '-c', 'quill "$0" "$1" sheet; echo "status $?"', `${EXAMPLES}/contact_sheet.js`, MEDIA);
    const sheet = readdirSync(join(bare.folder, 'home', 'viewer', 'sheet'));
    // Only music may be without a cover.
    const without = [...output.matchAll(/^ {2}without a thumbnail: .*?(\.\w+) \(/gm)].map((found) => found[1]);
    assert.deepEqual(without.filter((ending) => !['.wav', '.opus', '.flac', '.ogg'].includes(ending)), [], output);
    for (const ending of ['.jpg', '.png', '.webp', '.heic', '.mp4', '.mkv']) assert.ok(files.includes(ending), ending);
    const bitmaps = sheet.filter((name) => name.endsWith('.bmp'));
    assert.equal(`${bitmaps.length}`, /^(\d+) files shown/m.exec(output)?.[1], output);
    assert.ok(bitmaps.length >= 20, output);
    assert.ok(sheet.includes('index.html'));
});

bareTest('bash completes the names of the installed examples', async () => {
    const output = await bare.asUser('bash', '-uc', BASH_COMPLETION, '/usr/share/bash-completion/completions/quill', 'quill', 'conta');
    assert.equal(output.trim(), `${EXAMPLES}/contact_sheet.js`);
});

bareTest('a bridge is built with the development package', async () => {
    await bare.asRoot('apt-get', 'install', 'g++', 'pkgconf');
    offer('quillmrbbridge-dev');
    await bare.shell(documented.installMore, '/root');
    mkdirSync(join(bare.folder, 'root', 'bridge'));
    writeFileSync(join(bare.folder, 'root', 'bridge', 'greeting.cpp'), blocks('cpp')[0]);
    await bare.shell(bridgeCommand, '/root/bridge');
    assert.equal((await bare.asRoot('quill', '--bridge', '/root/bridge/libgreeting.so', '-p', 'new Greeting().constructor.name')).trim(), 'Greeting');
});

bareTest('what apt removes leaves nothing', async () => {
    const listed = (await bare.asRoot('dpkg', '--listfiles', 'quillmrbbridge', 'quillmrbbridge-dev')).split('\n')
        .filter((name) => /quill/.test(name));
    assert.ok(listed.length > 80, listed.join('\n'));
    await bare.shell(documented.remove, '/root');
    assert.deepEqual(listed.filter((name) => existsSync(join(bare.folder, name))), []);
});

test('the packages of another folder are the same to the byte', async () => {
    const others = await second;
    assert.deepEqual(Object.keys(others), Object.keys(packages));
    for (const [name, file] of Object.entries(packages)) {
        const [one, other] = [file, others[name]];
        assert.equal(basename(one), basename(other));
        assert.ok(readFileSync(one).equals(readFileSync(other)), `${name}: ${await differences(one, other)}`);
    }
});

/** The files of two packages that differ, for people. */
async function differences(one, other) {
    const folders = [await unpack(one), await unpack(other)];
    const { output } = await run('diff', ['--recursive', '--brief', '--no-dereference', ...folders]);
    return output || 'the same files, packed in another way';
}
