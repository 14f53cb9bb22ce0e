// Builds the presets that suites run in, and gives the environment that
// programs of a sanitized build need.

import { execFileSync } from 'node:child_process';
import { existsSync, readFileSync, rmSync } from 'node:fs';
import { cpus } from 'node:os';
import { join } from 'node:path';

import { run } from './process.mjs';

const SANITIZER_OPTIONS = {
    UBSAN_OPTIONS: 'halt_on_error=1:print_stacktrace=1',
    TSAN_OPTIONS: 'halt_on_error=1:second_deadlock_stack=1',
};

/**
 * The environment to configure a build with that takes from ccache, where that is installed,
 * what another build has compiled: the packages' of the optimised one, all but what sees Node.js.
 */
export async function compilerCache() {
    const { ended } = await run('ccache', ['--version'], { seconds: 60 });
    return ended ? {} : { CMAKE_C_COMPILER_LAUNCHER: 'ccache', CMAKE_CXX_COMPILER_LAUNCHER: 'ccache' };
}

/** Configures and builds `targets` of a preset. Resolves to '' or to what went wrong. */
export async function build(root, preset, targets) {
    const folder = join(root, 'build', preset);
    const cache = join(folder, 'CMakeCache.txt');
    // A tree that was moved or copied has a build that knows only the old place.
    if (existsSync(cache) && !readFileSync(cache, 'utf8').includes(`CMAKE_HOME_DIRECTORY:INTERNAL=${root}\n`)) {
        rmSync(folder, { recursive: true });
    }
    const log = (name) => join(root, 'build', 'test-logs', `build-${preset}-${name}.log`);
    // ./run configures one of them, without tests.
    const hasTests = existsSync(join(folder, 'build.ninja')) && !readFileSync(cache, 'utf8').includes('QUILL_TESTS:BOOL=OFF');
    const steps = hasTests
        ? []
        : [['configure', ['--preset', preset, '-DQUILL_TESTS=ON']]];
    steps.push(['compile', ['--build', folder, '-j', String(cpus().length), '--target', ...targets]]);
    const env = preset === 'release' ? await compilerCache() : {};
    for (const [name, args] of steps) {
        const { output, ended } = await run('cmake', args, { cwd: root, env, seconds: 3600, log: log(name) });
        if (ended) return `cmake ${args.join(' ')} ${ended}\n${errorsOf(output)}`;
    }
    return '';
}

/** A build's failures without the steps that went well. */
function errorsOf(output) {
    const lines = output.trimEnd().split('\n');
    const first = lines.findIndex((line) => /FAILED:|CMake Error|^ninja: error/.test(line));
    return lines.slice(Math.max(first, 0)).slice(0, 200).join('\n');
}

function compilerFile(name) {
    return execFileSync('g++', [`-print-file-name=${name}`], { encoding: 'utf8' }).trim();
}

/**
 * Programs without the sanitizer of their own, node first, that load libraries
 * with it: the runtime has to be the first library of the process, and the C++
 * library must be there when it looks for __cxa_throw. V8 keeps what it leaks.
 * Node.js must not replace the handlers of faults, or they would end it silently.
 */
export function nodeEnvironment(preset) {
    if (preset !== 'asan') return {};
    return {
        ...SANITIZER_OPTIONS,
        ASAN_OPTIONS: 'detect_leaks=0:halt_on_error=1:handle_segv=2:handle_sigbus=2',
        LD_PRELOAD: `${compilerFile('libasan.so')} ${compilerFile('libstdc++.so')}`,
    };
}

export function programEnvironment(preset) {
    return preset === 'asan' || preset === 'tsan' ? SANITIZER_OPTIONS : {};
}

/**
 * Where the kernel spreads addresses wider than the sanitizers of g++ 12 and
 * 13 can follow, a program of theirs starts only without that; so they always
 * run without, where a container lets us say so.
 */
export async function withoutRandomAddresses(preset, command) {
    if (preset !== 'asan' && preset !== 'tsan') return command;
    const prefix = ['setarch', process.arch === 'arm64' ? 'aarch64' : 'x86_64', '-R'];
    const { ended } = await run(prefix[0], [...prefix.slice(1), 'true'], { seconds: 10 });
    return ended ? command : [...prefix, ...command];
}
