// The packages, made by the commands of docs/packaging.md.

import { cpSync, mkdirSync, mkdtempSync, readdirSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { basename, join, relative } from 'node:path';

import { root, succeed } from '../install/harness.mjs';
import { commandsIn } from '../runner/documents.mjs';
import { provideNode } from '../runner/node_versions.mjs';

const document = readFileSync(join(root, 'docs', 'packaging.md'), 'utf8');
const [making, configuring, checking] = commandsIn(document, /^## To make them$/);
const [installing, installingMore, removing] = commandsIn(document, /^## To install and remove them$/);
export const documented = { check: checking, install: installing, installMore: installingMore, remove: removing };

export const [, version] = /project\(\w+ VERSION ([\d.]+)/.exec(readFileSync(join(root, 'CMakeLists.txt'), 'utf8'));

/** The major version of Debian 12's Node.js. */
export const DEBIAN_NODE = 18;

/** The folder of headers of Debian 12's Node.js, which the build must be given; '' where it finds such by itself. */
export async function nodeHeaders() {
    if (Number(process.versions.node.split('.')[0]) === DEBIAN_NODE) return '';
    const wrong = await provideNode(root, `node${DEBIAN_NODE}`);
    if (wrong) throw new Error(wrong);
    return join(root, 'build', 'nodes', `node${DEBIAN_NODE}`, 'include', 'node');
}

// What a developer's environment would add to the options of compiler and linker; with a
// folder of its own ccache compiles other names of files than the compiler alone.
const PLAIN = { CFLAGS: '', CXXFLAGS: '', CPPFLAGS: '', LDFLAGS: '', SOURCE_DATE_EPOCH: '', CCACHE_BASEDIR: '' };

/** Makes the packages of a checkout; their files, by package. `headers`: see nodeHeaders(). */
export async function makePackages(checkout, headers, { env = {}, umask = '022' } = {}) {
    const build = join(checkout, 'build', 'package');
    // What was chosen for an earlier build is not for this one, nor what it compiled elsewhere.
    rmSync(build, { recursive: true, force: true });
    const [configure, ...others] = making.trim().split('\n');
    const named = headers ? configuring.trim().replace('FOLDER', '"$HEADERS"') : configure;
    for (const command of [named, ...others]) {
        await succeed('bash', ['-euc', `umask ${umask}\n${command}`], {
            cwd: checkout, seconds: 3600, env: { ...PLAIN, HEADERS: headers, ...env },
        });
    }
    const files = readdirSync(join(build, 'packages')).filter((name) => name.endsWith('.deb'));
    return Object.fromEntries(files.map((name) => [name.split('_')[0], join(build, 'packages', name)]));
}

/** The environment for a build that compiles everything itself. */
export const UNCACHED = { CMAKE_C_COMPILER_LAUNCHER: '', CMAKE_CXX_COMPILER_LAUNCHER: '', CCACHE_DISABLE: '1' };

/** A copy of the checkout, without what was built in it, and one of the headers, elsewhere. */
export function copySources(headers) {
    const folder = mkdtempSync(join(tmpdir(), 'quill-package-'));
    const checkout = join(folder, 'another name');
    const isOurs = (file) => !['build', '.git', '.cache'].includes(relative(root, file));
    cpSync(root, checkout, { recursive: true, filter: isOurs });
    const copied = headers && join(folder, 'headers of Node.js');
    if (headers) cpSync(headers, copied, { recursive: true });
    return { checkout, headers: copied };
}

/** Unpacks a package into a new folder and returns that. */
export async function unpack(file) {
    const folder = join(mkdtempSync(join(tmpdir(), 'quill-package-')), basename(file));
    mkdirSync(folder);
    await succeed('dpkg-deb', ['--raw-extract', file, folder]);
    return folder;
}
