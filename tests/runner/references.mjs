// The check that what the documents name exists: files and folders of the project, and names
// of its code. See `references` at the end.

import { readdirSync, readFileSync } from 'node:fs';
import { dirname, join, normalize } from 'node:path';

import { filesIn } from './sources.mjs';

// Where a path in a document may begin, besides the document's own folder.
const SEARCHED = ['.', 'framework', 'platform', 'src', 'host', 'tests', 'tests/framework'];
// Folders at the top that are not kept: what is built, installed or downloaded.
const IGNORED = /^(\..*|build|node_modules|shared)$/;
const CODE = /\.(h|c|cpp|js|mjs|cjs|cmake|in|py|sh)$|^CMakeLists\.txt$|^CMakePresets\.json$|^[a-z_-]+$/;

const PATH = /(?<![\w./:<$~*-])(?:\.{0,2}[\w-][\w.*-]*\/)+[\w.*-]*/g;
const LINK = /(?<![\w\]])\[[^\]]*\]\(([^)\s]+)\)/g;
// What begins like a folder of ours: MIME types, and what is installed.
const OTHERS = /^(text\/(html|plain|xml)$|share\/(bash-completion|doc|man|quill)\b)/;
// In backquotes: a name of more than one word, alone or qualified, as it is written in code; an
// "N" at its end may stand for a number.
const NAME = /`([A-Za-z_]\w*(?:(?:::|\.)[A-Za-z_~]\w*)*)(?:\(\))?`/g;
const isOfTwoWords = (name) => /[a-z0-9][A-Z]|^[A-Z]+[A-Z][a-z]/.test(name);

/** The project's files and folders, relative to `root`. */
function treeOf(root) {
    const entries = readdirSync(root, { withFileTypes: true });
    const tops = entries.filter((entry) => entry.isDirectory() && !IGNORED.test(entry.name)).map(({ name }) => name);
    const files = [...entries.filter((entry) => entry.isFile()).map(({ name }) => name), ...filesIn(root, tops, /./)];
    const folders = new Set();
    for (const file of files) {
        for (let folder = dirname(file); folder !== '.'; folder = dirname(folder)) folders.add(folder);
    }
    return { files: new Set(files), folders };
}

// The extension may be missing; "*", "..." and "NAME" stand for anything but a slash.
function isThere({ files, folders }, path) {
    if (files.has(path) || folders.has(path) || path === '.') return true;
    const pattern = path.split(/\*|\.{3}|NAME/).map((part) => part.replaceAll('.', '\\.')).join('[^/]*');
    const named = new RegExp(`^${pattern}(\\.[a-z.]+)?$`);
    return [...files, ...folders].some((entry) => named.test(entry));
}

const places = (document, path) => [dirname(document), ...SEARCHED].map((folder) => normalize(join(folder, path)).replace(/\/$/, ''));

/** The paths that a line names, without those that do not begin at a folder of the project. */
function pathsIn(line, document, { folders }) {
    const isOurs = (path) => places(document, path.split('/').find((part) => !/^\.+$/.test(part)) ?? '')
        .some((place) => folders.has(place));
    return [...line.matchAll(PATH)].map(([path]) => path.replace(/[.,-]+$/, '')).filter((path) => isOurs(path) && !OTHERS.test(path));
}

const linksIn = (line) => [...line.matchAll(LINK)].map(([, target]) => target.replace(/#.*/, ''))
    .filter((target) => target && !/^[a-z]+:/.test(target));

const namesIn = (line) => [...line.matchAll(NAME)].flatMap(([, name]) => name.split(/::|\./)).filter(isOfTwoWords);

function wordsOf(root, files) {
    const words = new Set();
    for (const file of files) {
        if (!CODE.test(file.split('/').at(-1))) continue;
        for (const word of readFileSync(join(root, file), 'utf8').match(/\w+/g) ?? []) words.add(word);
    }
    return words;
}

/** Every path and name of code in the documents exists; else each that does not, with file and line. */
export async function references(root) {
    const tree = treeOf(root);
    const words = wordsOf(root, tree.files);
    const texts = [...tree.files].filter((file) => file.endsWith('.md')).sort();
    if (texts.length === 0) return 'there is no document';
    const faults = texts.flatMap((document) => readFileSync(join(root, document), 'utf8').split('\n').flatMap((line, index) => {
        const at = `${document}:${index + 1}`;
        const paths = new Set([...pathsIn(line, document, tree), ...linksIn(line)]);
        const missing = [...paths].filter((path) => !places(document, path).some((place) => isThere(tree, place)));
        const unknown = [...new Set(namesIn(line))].filter((name) => !words.has(name) && !words.has(name.replace(/N$/, '')));
        return [...missing.map((path) => `${at}: there is no file or folder ${path}`),
            ...unknown.map((name) => `${at}: no source has the name ${name}`)];
    }));
    return faults.join('\n');
}
