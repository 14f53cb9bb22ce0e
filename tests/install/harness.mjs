// The installed tree: installed to one place, moved to another, and used where neither the
// build folder nor the checkout can be seen.

import assert from 'node:assert/strict';
import { mkdtempSync, readdirSync, readFileSync, renameSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join, relative } from 'node:path';
import { fileURLToPath } from 'node:url';

import { commandsIn } from '../runner/documents.mjs';
import { run } from '../runner/process.mjs';

export const root = dirname(dirname(dirname(fileURLToPath(import.meta.url))));
export const build = process.env.QUILL_BUILD;
if (!build) throw new Error('QUILL_BUILD must name the build folder');

export const folder = () => mkdtempSync(join(tmpdir(), 'quill-install-'));

/** Runs a command that must succeed; returns what it printed. */
export async function succeed(command, args, options) {
    const { output, ended } = await run(command, args, options);
    assert.equal(ended, '', `${command} ${args.join(' ')}\n${output}`);
    return output;
}

const document = readFileSync(join(root, 'docs', 'installing.md'), 'utf8');

/** The fenced blocks of a language in docs/installing.md, in order. */
export const blocks = (language) => [...document.matchAll(new RegExp(`^\`\`\`${language}\\n([\\s\\S]*?)^\`\`\`$`, 'gm'))].map((found) => found[1]);

/** The command that compiles a bridge, with pkg-config. */
export const [bridgeCommand] = commandsIn(document, /To write a bridge/).filter((block) => block.startsWith('g++'));

// The command by which the document installs, on another build folder and prefix.
const [commands] = commandsIn(document, /^## To install$/);
const command = commands.trim().split('\n').at(-1)
    .replace(/\bbuild\/release\b/, '"$FROM"').replace('/opt/quill', '"$PREFIX"');
assert.equal(command, 'cmake --install "$FROM" --prefix "$PREFIX"');

/** Installs one component, or all, into a new folder and returns that. `from`: a build folder. */
export async function install(component, from = build) {
    const prefix = join(folder(), 'a prefix with spaces');
    await succeed('bash', ['-euc', `${command}${component ? ` --component ${component}` : ''}`], {
        env: { FROM: from, PREFIX: prefix },
    });
    return prefix;
}

/** Moves a tree to another folder and returns that. */
export function move(tree) {
    const moved = join(folder(), 'moved', 'to another place');
    // Its parent first.
    const parent = dirname(moved);
    renameSync(dirname(tree), parent);
    renameSync(join(parent, 'a prefix with spaces'), moved);
    return moved;
}

/** The files below a folder, relative to it, sorted. */
export function filesBelow(tree) {
    return readdirSync(tree, { recursive: true, withFileTypes: true })
        .filter((entry) => !entry.isDirectory())
        .map((entry) => relative(tree, join(entry.parentPath ?? entry.path, entry.name)))
        .sort();
}

// An empty file system over the folder $0; then the command. As root of a namespace of its
// own where it has to be.
const HIDING = ['--mount', 'sh', '-c', 'mount -t tmpfs none "$0" && cd / && exec "$@"'];
const AS_ROOT = process.getuid() === 0 ? [] : ['--user', '--map-root-user'];

/** Runs a command that sees nothing of the checkout and the build folder: {output, ended}. */
export function away(command, args, options = {}) {
    assert.ok(build.startsWith(`${root}/`), 'the build folder is in the checkout');
    return run('unshare', [...AS_ROOT, ...HIDING, root, command, ...args], { cwd: '/', ...options });
}

/** The same for a command that must succeed; returns what it printed. */
export async function succeedAway(command, args, options) {
    const { output, ended } = await away(command, args, options);
    assert.equal(ended, '', `${command} ${args.join(' ')}\n${output}`);
    return output;
}

/** A script for bash that prints what a completion ($0) offers after these words, the last of which is being typed. */
export const BASH_COMPLETION = `compopt() { :; }; . "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
    _quill "$1" "\${!#}" "\${COMP_WORDS[COMP_CWORD - 1]}"
    printf '%s\\n' "\${COMPREPLY[@]}"`;
