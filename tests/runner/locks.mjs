// The locks of the framework as clang's thread safety analysis checks them: see
// framework/base/mutex.h. clang-tidy says the same of them with --all, and takes far longer.

import { existsSync, mkdirSync, readFileSync } from 'node:fs';
import { cpus } from 'node:os';
import { join } from 'node:path';

import { includedBy } from './layers.mjs';
import { inParallel, run } from './process.mjs';
import { filesIn } from './sources.mjs';
import { forClang } from './tidy.mjs';

const ANNOTATED = 'framework/base/mutex.h';
const WARNINGS = '-Wno-everything -Wthread-safety -Wthread-safety-beta -Werror';

/** The source files that see a guarded member: those that include mutex.h, at whatever distance. */
function filesWithLocks(root) {
    const known = new Map();
    const sees = (file) => {
        if (!known.has(file)) {
            known.set(file, file === ANNOTATED);
            known.set(file, file === ANNOTATED || includedBy(root, file).some(sees));
        }
        return known.get(file);
    };
    return filesIn(root, ['framework'], /\.cpp$/).filter(sees);
}

/** The command of a file with clang++, which does `work` instead. */
function inClang(entry, work) {
    const command = forClang(entry).command.replace(/^.*?(?= -)/, 'clang++');
    // A precompiled header is taken only by files of the same visibility.
    return command.replace(/ -o \S+ -c .*$/, ` -fvisibility=hidden ${work}`);
}

/**
 * Precompiles for clang what was precompiled for the compiler of the build, which halves the time;
 * the option that uses it, '' where there is none.
 */
async function precompiled(root, entry) {
    const header = / -include (\S+cmake_pch\.h\w*)/.exec(entry?.command)?.[1];
    if (!header || !existsSync(header)) return '';
    const folder = join(root, 'build', 'locks');
    mkdirSync(folder, { recursive: true });
    const made = join(folder, 'common.pch');
    const command = inClang(entry, `-w -x c++-header '${header}' -o '${made}'`);
    const { ended } = await run('sh', ['-c', command], { cwd: entry.directory });
    return ended ? '' : `-include-pch '${made}'`;
}

/** Each guarded member is used with its lock held, and locks are taken in their order; else where not. */
export async function locks(root) {
    const all = JSON.parse(readFileSync(join(root, 'build', 'dev', 'compile_commands.json'), 'utf8'));
    const commands = new Map(all.map((entry) => [entry.file, entry]));
    const files = filesWithLocks(root);
    if (files.length === 0) return `no source file in framework/ includes ${ANNOTATED}`;
    const common = await precompiled(root, commands.get(join(root, files[0])));
    const results = await inParallel(files, cpus().length, async (file) => {
        const entry = commands.get(join(root, file));
        if (!entry) return `${file}: no part of the build, so it cannot be checked`;
        const command = inClang(entry, `-fsyntax-only ${WARNINGS} ${common} '${entry.file}'`);
        const { output, ended } = await run('sh', ['-c', command], { cwd: entry.directory });
        return ended ? `${file}: clang++ ${ended}\n${output}` : '';
    });
    return results.filter(Boolean).join('\n');
}
