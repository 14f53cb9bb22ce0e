// Checks of the sources: each passes or fails as one test. A check resolves to
// the text of what is wrong, '' when nothing is.

import { readFileSync } from 'node:fs';
import { cpus } from 'node:os';
import { join } from 'node:path';

import { inParallel, run } from './process.mjs';
import { filesIn } from './sources.mjs';

const CODE_FOLDERS = ['bench', 'framework', 'host', 'platform', 'sdk', 'src', 'syslog', 'tests'];

async function firstThatRuns(...programs) {
    for (const program of programs) {
        if (!(await run(program, ['--version'])).ended) return program;
    }
    return null;
}

/** Every C and C++ file is as clang-format 14 leaves it; else the command that mends it. */
export async function format(root) {
    const program = await firstThatRuns('clang-format-14', 'clang-format');
    if (!program) return 'neither clang-format-14 nor clang-format can be run';
    const files = filesIn(root, CODE_FOLDERS, /\.(h|c|cpp)$/);
    const { output, ended } = await run(program, ['--dry-run', '--Werror', ...files], { cwd: root });
    if (!ended) return '';
    const named = files.filter((file) => output.includes(`${file}:`));
    return named.length ? `${program} -i ${named.join(' ')}` : `${program} ${ended}\n${output}`;
}

/**
 * The framework's records have the layout of the television's 32-bit ARM: the
 * compile-time checks in the headers hold there, in C and in C++.
 */
export async function records(root) {
    const trials = filesIn(root, ['platform/mrb'], /\.h$/).flatMap((header) => [
        { header, language: 'c', standard: 'c11' },
        { header, language: 'c++', standard: 'c++17' },
    ]);
    if (trials.length === 0) return 'there is no header in platform/mrb';
    const results = await inParallel(trials, cpus().length, async ({ header, language, standard }) => {
        const flags = ['--target=armv7-linux-gnueabihf', '-ffreestanding', '-fsyntax-only', '-Wall', '-Wextra',
            '-Werror', `-std=${standard}`, '-Iplatform', '-include', header, '-x', language, '/dev/null'];
        const { output, ended } = await run('clang', flags, { cwd: root });
        return ended ? `${header} as ${language}: clang ${ended}\n${output}` : '';
    });
    return results.filter(Boolean).join('\n');
}

// The oldest and the newest of Debian 12, which docs/porting.md names.
const COMPILERS = ['g++-11', 'g++-12', 'clang++-13', 'clang++-19'];

/**
 * What a television's compiler builds is C++17 without a warning: each file of src/, and each
 * header of platform/ by itself.
 */
export async function compilers(root) {
    const [, listed] = /set\(QUILL_WARNINGS ([^)]*)\)/.exec(readFileSync(join(root, 'cmake', 'targets.cmake'), 'utf8'));
    const libraries = await run('pkg-config', ['--cflags', 'jsoncpp', 'clutter-1.0']);
    if (libraries.ended) return `pkg-config ${libraries.ended}\n${libraries.output}`;
    const node = await run('bash', ['-c', '. tools/setup.sh; setup_node_headers "$0"', process.execPath], { cwd: root });
    if (node.ended) return `there are no headers beside ${process.execPath}`;
    const system = libraries.output.replaceAll('-I', '-isystem').trim().split(/\s+/);
    const flags = ['-std=c++17', '-fsyntax-only', '-Werror', ...listed.trim().split(/\s+/), ...system,
        '-isystem', node.output.trim(), '-Iplatform', '-Isrc'];
    const trials = [
        ...filesIn(root, ['src'], /\.cpp$/).map((source) => [source]),
        ...filesIn(root, ['platform'], /\.h$/).map((header) => ['-include', header, '-x', 'c++', '/dev/null']),
    ].flatMap((words) => COMPILERS.map((compiler) => ({ compiler, words })));
    const results = await inParallel(trials, cpus().length, async ({ compiler, words }) => {
        const { output, ended } = await run(compiler, [...flags, ...words], { cwd: root });
        return ended ? `${compiler} ${words.join(' ')}: ${ended}\n${output}` : '';
    });
    return results.filter(Boolean).join('\n');
}
