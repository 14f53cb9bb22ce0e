// clang-tidy on every source file of the product and its neighbours. A file
// that was clean is not checked again until it, a header it includes, its
// command line, the checks or clang-tidy itself change.

import { createHash } from 'node:crypto';
import { existsSync, mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { cpus } from 'node:os';
import { join, resolve } from 'node:path';

import { inParallel, run } from './process.mjs';
import { filesIn } from './sources.mjs';

const FOLDERS = ['framework', 'host', 'src', 'syslog'];

/** Source file -> the files it was compiled from, as ninja recorded them. */
async function dependencies(buildFolder) {
    const { output } = await run('ninja', ['-C', buildFolder, '-t', 'deps']);
    const found = new Map();
    for (const block of output.split('\n\n')) {
        const files = block.split('\n').slice(1).map((line) => resolve(buildFolder, line.trim()));
        if (files.length) found.set(files[0], files);
    }
    return found;
}

/**
 * The command without what only g++ knows: its own parameters and precompiled headers.
 * Without these each file is checked with its own includes alone, which shows besides
 * that it has those that it needs.
 */
export function forClang(entry) {
    return { ...entry, command: entry.command.replace(/ (-Winvalid-pch|--param=\S+|-include \S+cmake_pch\.h\w*)/g, '') };
}

/** A digest of all that decides what clang-tidy says of a file. */
function keyOf(version, checks, entry, files) {
    const hash = createHash('sha256').update(version).update(checks).update(entry.command);
    for (const file of files) {
        hash.update(`\0${file}\0`).update(readFileSync(file));
    }
    return hash.digest('hex');
}

export async function tidy(root) {
    const buildFolder = join(root, 'build', 'dev');
    const folder = join(root, 'build', 'tidy');
    mkdirSync(folder, { recursive: true });
    const version = await run('clang-tidy', ['--version']);
    if (version.ended) return `clang-tidy ${version.ended}`;
    const checks = readFileSync(join(root, '.clang-tidy'));
    const all = JSON.parse(readFileSync(join(buildFolder, 'compile_commands.json'), 'utf8'));
    const commands = new Map(all.map((entry) => [entry.file, forClang(entry)]));
    writeFileSync(join(folder, 'compile_commands.json'), JSON.stringify([...commands.values()]));
    const compiledFrom = await dependencies(buildFolder);

    const sources = filesIn(root, FOLDERS, /\.cpp$/);
    if (sources.length === 0) return `there is no source file in ${FOLDERS.join(', ')}`;
    const results = await inParallel(sources, cpus().length, async (source) => {
        const path = join(root, source);
        const entry = commands.get(path);
        if (!entry) return `${source}: no part of the build, so it cannot be checked`;
        const files = compiledFrom.get(path);
        const clean = files && join(folder, keyOf(version.output, checks, entry, files.filter(existsSync)));
        if (clean && existsSync(clean)) return '';
        const { output, ended } = await run('clang-tidy', ['--quiet', '-p', folder, path], { cwd: root });
        if (ended) return `${source}: clang-tidy ${ended}\n${output}`;
        if (clean) writeFileSync(clean, '');
        return '';
    });
    return results.filter(Boolean).join('\n');
}
