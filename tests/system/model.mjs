// The expected contents of a folder's list and its views, computed independently: with Node's
// file functions, and its own Unicode collation, which is not the framework's.
import { lstatSync, readdirSync, statSync } from 'node:fs';
import path from 'node:path';

/** Compares names in natural order. English has the root's collation, and no rules of its own. */
const natural = new Intl.Collator('en', { numeric: true });
const letters = new Intl.Collator('en', { sensitivity: 'base' });

/** Compares names that the collation takes as equal ("01" and "1", one letter written in two ways) by their bytes. */
export const byName = (a, b) => natural.compare(a, b) || Buffer.compare(Buffer.from(a), Buffer.from(b));

export const TYPE = { folder: 1, image: 2, video: 3, music: 5, playlist: 7, group: 9, upfolder: 13, empty: 14 };
const TYPE_NAMES = Object.fromEntries(Object.entries(TYPE).map(([name, number]) => [number, name]));
const EXTENSIONS = {
  jpg: TYPE.image, png: TYPE.image, mp4: TYPE.video, mp3: TYPE.music, flac: TYPE.music, m3u: TYPE.playlist,
};
const CONTENT = {
  IMAGE: TYPE.image, VIDEO: TYPE.video, MUSIC: TYPE.music, PLAYLIST: TYPE.playlist, FOLDER: TYPE.folder,
};

const extensionOf = (name) => path.extname(name).slice(1).toLowerCase();
const seconds = (file) => Math.floor(statSync(file).mtimeMs / 1000);

/** Every item below a folder, in the source's order. `folder` is the path of its folder. */
export function scan(folder) {
  const all = readdirSync(folder).sort(byName).map((name) => ({ name, folder, path: path.join(folder, name) }));
  const isFolder = (item) => lstatSync(item.path).isDirectory();
  const files = all.filter((item) => !isFolder(item) && extensionOf(item.name) in EXTENSIONS)
    .map((item) => ({ ...item, type: EXTENSIONS[extensionOf(item.name)], size: statSync(item.path).size,
      modified: seconds(item.path) }));
  const folders = all.filter(isFolder)
    .flatMap((item) => [{ ...item, type: TYPE.folder, size: null, modified: seconds(item.path) }, ...scan(item.path)]);
  return [...files, ...folders];
}

/** Whether some part of a name equals the word, ignoring case, accents and width. */
function holds(name, word) {
  const units = [...name.normalize('NFD')];
  for (let from = 0; from < units.length; from += 1) {
    for (let to = from + 1; to <= units.length; to += 1) {
      if (letters.compare(units.slice(from, to).join(''), word) === 0) {
        return true;
      }
    }
  }
  return false;
}

const passes = (item, { type = '', extension = '', word = '' }) =>
  (type === '' || type === 'ALL' || item.type === CONTENT[type]) &&
  (extension === '' || (item.type !== TYPE.folder && extension.split(',').includes(extensionOf(item.name)))) &&
  (word === '' || holds(item.name, word));

// Empty files have no title of their own.
const titleOf = ({ name, type }) => (type === TYPE.folder ? name : path.parse(name).name);

/** Items in the order of a sort category such as "DATE DESC". */
export function sorted(items, category) {
  const [, key] = /^(\w*?)(?: ASC| DESC|-)?$/.exec(category);
  const turned = /(?: DESC|-)$/.test(category);
  if (key === '' || key === 'FOLDER') {
    return turned ? [...items].reverse() : items;
  }
  const place = new Map(items.map((item, index) => [item, index]));
  const value = { DATE: (item) => item.modified, SIZE: (item) => item.size, TYPE: (item) => item.type,
    TITLE: titleOf }[key];
  const difference = (one, other) => (typeof one === 'string' ? byName(one, other) : one - other);
  const way = turned ? -1 : 1;
  return [...items].sort((a, b) =>
    (b.type === TYPE.folder) - (a.type === TYPE.folder) ||
    (value && value(a) !== null && value(b) !== null ? way * difference(value(a), value(b)) : 0) ||
    (value ? 1 : way) * byName(a.name, b.name) ||
    place.get(a) - place.get(b));
}

/** The items of a list that is opened with these options, {type, extension, word, sort}, in its order. */
export const listed = (items, options) => sorted(items, options.sort ?? '').filter((item) => passes(item, options));

/** The entries of a folder: the sub-folders with matches, then the files. */
function shownIn(folder, root, items, options) {
  const passing = items.filter((item) => passes(item, options));
  const leads = (item) => passing.includes(item) || passing.some(({ path: at }) => at.startsWith(`${item.path}/`));
  const here = sorted(items, options.sort ?? '').filter((item) => item.folder === folder);
  return [...(folder === root ? [] : [{ type: TYPE.upfolder, name: '..', path: path.dirname(folder) }]),
    ...here.filter((item) => item.type === TYPE.folder && leads(item)),
    ...here.filter((item) => item.type !== TYPE.folder && passing.includes(item))];
}

const monthOf = ({ modified }) => new Date(modified * 1000).toISOString().slice(0, 7);

/** The groups of items: [name, items], in order. `letterOf` returns a name's first letter. */
function groupsOf(items, grouping, root, all, letterOf) {
  const nameOf = { type: (item) => TYPE_NAMES[item.type], letter: (item) => letterOf(item.name), month: monthOf,
    folder: (item) => path.relative(root, item.folder) }[grouping];
  const groups = new Map();
  for (const item of items) {
    groups.set(nameOf(item), [...(groups.get(nameOf(item)) ?? []), item]);
  }
  const folders = ['', ...all.filter(({ type }) => type === TYPE.folder).map((item) => path.relative(root, item.path))];
  const order = {
    type: (a, b) => TYPE[a] - TYPE[b],
    letter: (a, b) => (b === '#') - (a === '#') || byName(a, b),
    month: (a, b) => (a < b ? 1 : -1),
    folder: (a, b) => folders.indexOf(a) - folders.indexOf(b),
  }[grouping];
  return [...groups].sort(([a], [b]) => order(a, b));
}

const MASKS = { type: 16, letter: 32, month: 48, folder: 64 };

/** The "param_page_style" of a view. */
export const maskOf = ({ rows, grouping }) => (rows ? 1 : 0) + (MASKS[grouping] ?? 0);

/** The entries of pages that are filled column by column, in the order of their rows. */
function byColumns(entries, columns, pageSize) {
  const cells = [];
  for (let start = 0; start < entries.length; start += pageSize) {
    const page = entries.slice(start, start + pageSize);
    const longer = page.length % columns || columns; // the number of columns that reach the last row
    const height = Math.ceil(page.length / columns);
    const stacks = Array.from({ length: columns }, (_, column) => page.splice(0, column < longer ? height : height - 1));
    for (let row = 0; row < height; row += 1) {
      cells.push(...stacks.filter((stack) => row < stack.length).map((stack) => stack[row]));
    }
  }
  return cells;
}

/**
 * A view: {entries, groups}. `view` is {folder: its path, or undefined for a flat one, grouping,
 * group, rows, columns, downColumns, padding}.
 */
export function viewOf(root, items, options, view, letterOf) {
  const shown = view.folder ? shownIn(view.folder, root, items, options) : listed(items, options);
  const up = shown.filter(({ type }) => type === TYPE.upfolder);
  let entries = shown;
  let groups = [];
  if (view.grouping) {
    groups = groupsOf(shown.slice(up.length), view.grouping, root, items, letterOf);
    const group = view.group ?? 0;
    // One group, or the headings, are shown alone.
    entries = [...(group === -1 ? up : []), ...groups.flatMap(([name, members], index) => [
      ...(group < 0 ? [{ type: TYPE.group, name, path: '', group_index: index, item_count: members.length }] : []),
      ...(group === -1 || group === index ? members : []),
    ])];
  }
  const pageSize = view.rows * view.columns;
  if (view.rows && view.downColumns) {
    entries = byColumns(entries, view.columns, pageSize);
  }
  while (view.rows && view.padding && entries.length % pageSize !== 0) {
    entries.push({ type: TYPE.empty, name: '', path: '' });
  }
  return { entries, groups: groups.length };
}

/** The values in which two entries have to be equal. */
export const factsOf = ({ type, name, path: where, group_index: index, item_count: count }) =>
  [type, name, where, ...(type === TYPE.group ? [index, count] : [])].join(' | ');
