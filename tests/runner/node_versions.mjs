// Node.js of other major versions: program and headers, from packages that are unpacked below
// build/nodes and not installed.

import { existsSync, mkdirSync, readdirSync, readFileSync, renameSync, rmSync } from 'node:fs';
import { join } from 'node:path';

import { run } from './process.mjs';
import { sysrootOf } from './sysroots.mjs';

// By the build that uses it; the presets of CMakePresets.json have these names and folders too.
const VERSIONS = { node18: '18.20.8', node22: '22.23.3', node24: '24.21.0' };

const folderOf = (root, build) => join(root, 'build', 'nodes', build);
const programIn = (folder) => join(folder, 'bin', 'node');

/** The program that runs the tests of a build. */
export function nodeOf(root, build) {
    const sysroot = sysrootOf(root, build);
    if (sysroot) return join(sysroot, 'node');
    return build in VERSIONS ? programIn(folderOf(root, build)) : process.execPath;
}

/** Provides what a build needs of Node.js. Resolves to '' or to what went wrong. */
export async function provideNode(root, build, version = VERSIONS[build]) {
    const folder = folderOf(root, build);
    if (version === undefined || versionIn(folder) === version) return '';
    const made = `${folder}.${process.pid}`;
    rmSync(made, { recursive: true, force: true });
    mkdirSync(made, { recursive: true });
    try {
        const wrong = await unpack(`node-linux-${process.arch}@${version}`, made);
        if (wrong) return wrong;
        if (versionIn(made) !== version) return `the package of Node.js ${version} has no headers of that version`;
        rmSync(folder, { recursive: true, force: true });
        renameSync(made, folder); // whole, or not at all
        return '';
    } finally {
        rmSync(made, { recursive: true, force: true });
    }
}

/** The version whose program and headers are in a folder; '' when they are not. */
function versionIn(folder) {
    const header = join(folder, 'include', 'node', 'node_version.h');
    if (!existsSync(programIn(folder)) || !existsSync(header)) return '';
    const text = readFileSync(header, 'utf8');
    return ['MAJOR', 'MINOR', 'PATCH'].map((part) => new RegExp(`define NODE_${part}_VERSION (\\d+)`).exec(text)?.[1]).join('.');
}

async function unpack(name, folder) {
    const packed = await run('npm', ['pack', '--silent', '--pack-destination', folder, name], { cwd: folder });
    if (packed.ended) return `npm pack ${name}: ${packed.ended}; npm and a connection to its registry are needed\n${packed.output}`;
    const [archive] = readdirSync(folder).filter((file) => file.endsWith('.tgz'));
    if (!archive) return `npm pack ${name} made no package\n${packed.output}`;
    const unpacked = await run('tar', ['-xzf', archive, '--strip-components=1'], { cwd: folder });
    rmSync(join(folder, archive));
    return unpacked.ended ? `${archive}: tar ${unpacked.ended}\n${unpacked.output}` : '';
}
