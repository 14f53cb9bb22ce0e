// The order of the folders, and the check that every include follows it: see `layout`
// at the end. A folder that is not in these tables has to be entered before it is used.

import { readFileSync, statSync } from 'node:fs';
import { dirname, join } from 'node:path';

import { filesIn } from './sources.mjs';

/** What each part of the system includes besides itself. */
export const PARTS = {
    src: ['platform'],
    host: ['platform'],
    framework: ['platform'],
    syslog: ['platform'],
    platform: [],
};

/**
 * The folders of framework/, the highest rank first. A file includes its own folder and
 * folders of lower ranks; folders of one rank do not include each other.
 */
export const RANKS = [
    { api: 'The C functions of platform/mrb, and the object behind them that owns lists, shares and threads.' },
    { share: 'Batch processes: copying, sending and locking the selected items of a list.' },
    { session: 'One open list: the worker that fills it, its events, groups, and fields under its cursor.' },
    { fields: 'The eighty item fields, the descriptions made of them, and the values to sort and group by.' },
    {
        library: 'What is remembered of all files: the metadata cache on disk and in memory.',
        sources: 'Where the items of a list come from: folders, DLNA servers, cameras, playlists.',
        thumbnail: 'Thumbnail requests, their queue and threads, and the cache of the results.',
    },
    {
        dlna: 'Media servers of the network: finding them, browsing them, moving files.',
        camera_files: 'Files on cameras, read in parts through the thread of their camera.',
    },
    { storage: 'Devices, what is mounted of them, their ids, names, sizes and removal.' },
    { camera: 'The cameras\' driver and one thread for each camera, which claims it.' },
    {
        list: 'One list: the request for it, its items, filter, order, view, pages and selection.',
        metadata: 'What one media file says of itself, read with limits on bytes and time.',
    },
    {
        events: 'The thread that calls the clients\' callbacks, one after the other.',
        text: 'Collation, search, URIs and UTF-8.',
        watch: 'Files and folders under a list that change, and the thread that waits for them.',
    },
    {
        base: 'Results, descriptors, threads, modules and the end of the process.',
        media: 'Media types by file name, and the record of an item between a source and a list.',
    },
];

/** Folders that are loadable modules: all of such a folder is linked into its module, and nothing else includes it. */
export const MODULES = {
    'camera/gphoto': 'libmrb-cameras.so',
    'dlna/gupnp': 'libmrb-dlna.so',
    'metadata/readers': 'libmrb-readers.so',
    'thumbnail/decode': 'libmrb-decoders.so',
    'thumbnail/video': 'libmrb-films.so',
};

const TABLE = 'tests/runner/layers.mjs';
const SOURCE = /\.(h|c|cpp)$/;
// Where the compiler looks for a header, after the folder of the file that includes it.
const SEARCHED = ['framework', 'platform', 'src', 'host/libquill', 'syslog', ''];

function includesOf(root, file) {
    return readFileSync(join(root, file), 'utf8').split('\n').flatMap((text, index) => {
        const found = /^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)/.exec(text);
        return found ? [{ line: index + 1, name: found[1] ?? found[2], isQuoted: found[1] !== undefined }] : [];
    });
}

const isFile = (path) => statSync(path, { throwIfNoEntry: false })?.isFile() ?? false;

/** The project's file that an include names, relative to `root`; undefined: none. */
function targetOf(root, file, { name, isQuoted }) {
    const folders = isQuoted ? [dirname(file), ...SEARCHED] : SEARCHED;
    return folders.map((folder) => join(folder, name)).find((path) => !path.startsWith('..') && isFile(join(root, path)));
}

/** The project's files that a file includes, relative to `root`. */
export function includedBy(root, file) {
    return includesOf(root, file).map((include) => targetOf(root, file, include)).filter(Boolean);
}

const folderOf = (path) => path.split('/').slice(1, -1)[0];
const isBelow = (path, folder) => path.startsWith(`framework/${folder}/`);

/** Folder of framework/ -> its rank, the lowest 1; what is wrong with the table goes to `faults`. */
function ranksOf(table, faults) {
    const ranks = new Map();
    table.forEach((row, index) => {
        for (const [folder, sentence] of Object.entries(row)) {
            if (ranks.has(folder)) faults.push(`${TABLE}: the folder ${folder}/ has two ranks, so includes could go in a circle`);
            if (!sentence) faults.push(`${TABLE}: no sentence says what the folder ${folder}/ is for`);
            ranks.set(folder, table.length - index);
        }
    });
    return ranks;
}

/** Why a file of framework/ may not include another one; '' when it may. */
function faultBetween(file, target, ranks, modules) {
    const [from, to] = [folderOf(file), folderOf(target)];
    const module = Object.keys(modules).find((folder) => isBelow(target, folder) && !isBelow(file, folder));
    if (module) return `framework/${module}/ is the module ${modules[module]}, which nothing outside of it includes`;
    if (from === to || !ranks.has(from)) return ''; // the latter is named once, not for each include
    if (!ranks.has(to)) return `the folder ${to}/ has no rank in ${TABLE}`;
    if (ranks.get(to) === ranks.get(from)) return `${from}/ and ${to}/ are of one rank, and such folders do not include each other`;
    return ranks.get(to) > ranks.get(from) ? `${to}/ is above ${from}/, and a folder includes only folders below it` : '';
}

function faultsOf(root, file, ranks, { parts, modules }) {
    const part = file.split('/')[0];
    return includesOf(root, file).flatMap((include) => {
        const target = targetOf(root, file, include);
        const other = target?.split('/')[0];
        let fault = '';
        if (!target) fault = include.isQuoted ? 'there is no such file' : '';
        else if (other !== part) fault = parts[part].includes(other) ? '' : `${part}/ includes only ${[part, ...parts[part]].join('/ and ')}/`;
        else if (part === 'framework') fault = faultBetween(file, target, ranks, modules);
        return fault ? [`${file}:${include.line}: include of ${include.name}: ${fault}`] : [];
    });
}

/** Every include follows the tables above; else each that does not, with file, line and the rule. */
export async function layout(root, tables = {}) {
    const { parts = PARTS, ranks: table = RANKS, modules = MODULES } = tables;
    const faults = [];
    const ranks = ranksOf(table, faults);
    const files = filesIn(root, Object.keys(parts), SOURCE);
    if (files.length === 0) return `there is no source file in ${Object.keys(parts).join(', ')}`;
    const folders = new Set(files.filter((file) => file.startsWith('framework/')).map((file) => folderOf(file)));
    for (const folder of folders) {
        if (folder === undefined) faults.push('framework/: a source file lies in no folder of it');
        else if (!ranks.has(folder)) faults.push(`framework/${folder}/: unknown folder, give it a rank and a sentence in ${TABLE}`);
    }
    for (const folder of ranks.keys()) {
        if (!folders.has(folder)) faults.push(`${TABLE}: there is no folder framework/${folder}/`);
    }
    return [...faults, ...files.flatMap((file) => faultsOf(root, file, ranks, { parts, modules }))].join('\n');
}
