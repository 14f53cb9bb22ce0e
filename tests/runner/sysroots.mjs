// The builds for other architectures: the sysroot that each is built with, and what runs its
// programs on this machine.

import { join } from 'node:path';

import { run } from './process.mjs';

// What tools/sysroot is called with, by the build. The presets of CMakePresets.json have these
// names, and their sysroots in these folders.
const SYSROOTS = { i386: ['i386'], armhf: ['armhf'], 'i386-framework': ['--framework', 'i386'] };

/** The builds of the bridge, without the media framework. */
export const CROSS = ['i386', 'armhf'];

/** The folder of a build's sysroot; '' for a build of this machine's own architecture. */
export function sysrootOf(root, build) {
    return build in SYSROOTS ? join(root, 'build', 'sysroots', build) : '';
}

/** Makes the sysroot that a build needs. Resolves to '' or to what went wrong. */
export async function provideSysroot(root, build) {
    const folder = sysrootOf(root, build);
    if (!folder) return '';
    const made = await run(join(root, 'tools', 'sysroot'), [...SYSROOTS[build], folder], {
        cwd: root, seconds: 1800, log: join(root, 'build', 'test-logs', `sysroot-${build}.log`),
    });
    if (made.ended) return `tools/sysroot ${SYSROOTS[build].join(' ')} ${made.ended}\n${made.output}`;
    const started = await run(join(folder, 'node'), ['-p', 'process.arch'], { cwd: root, seconds: 120 });
    return started.ended ? `programs of ${build} do not run here: ${folder}/node ${started.ended}\n${started.output}` : '';
}

/** The words before a program of a build and its arguments. */
export function wrapperOf(root, build) {
    const folder = sysrootOf(root, build);
    return folder ? [join(folder, 'run')] : [];
}
