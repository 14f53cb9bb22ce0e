// Lists and views of a real tree, as a script reads them, against a model of them:
// every sort category, filter, grouping, page and navigation.
import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import path from 'node:path';
import test, { before } from 'node:test';

import { folder, run } from './harness.mjs';
import { letterOf, makeTree } from './media_tree.mjs';
import { factsOf, maskOf, scan, TYPE, viewOf } from './model.mjs';

const root = path.join(folder(), 'tree');
makeTree(root, { seed: 2, count: 150 });
const items = scan(root);
/** A folder with files and folders in it. */
const inside = items.map((item) => item.path).find((at) => {
  const here = items.filter((item) => item.folder === at);
  return here.length > 3 && here.some((item) => item.type === TYPE.folder);
});

/** The views to test: [what, the options of the list, the view]. */
const cases = [];

for (const key of ['', 'FOLDER', 'NAME', 'TITLE', 'DATE', 'SIZE', 'TYPE']) {
  for (const way of key === '' ? [''] : ['', ' ASC', ' DESC', '-']) {
    cases.push([`sorted by "${key}${way}"`, { sort: key + way }, {}]);
    cases.push([`pictures sorted by "${key}${way}"`, { sort: key + way, type: 'IMAGE' }, {}]);
    cases.push([`a folder sorted by "${key}${way}"`, { sort: key + way }, { folder: inside }]);
  }
}

for (const options of [
  { type: 'ALL' }, { type: 'IMAGE' }, { type: 'MUSIC' }, { type: 'VIDEO' }, { type: 'PLAYLIST' }, { type: 'FOLDER' },
  { extension: 'jpg' }, { extension: 'png,mp3' }, { extension: 'png,mp3', type: 'MUSIC' }, { extension: 'txt' },
  ...['apfel', 'ELAN', 'Élan', 'strasse', 'Straße', 'zo', 'Ñ', 'ель', 'ЁЖ', 'αλφα', 'ΒΗΤΑ', 'がく', 'ガク', '가', '山',
    'مرحبا', '１０', '10', 'nothing at all'].map((word) => ({ word })),
  { word: 'a', type: 'IMAGE', extension: 'jpg', sort: 'NAME DESC' },
]) {
  const what = `with ${JSON.stringify(options)}`;
  cases.push([`flat ${what}`, options, {}]);
  cases.push([`the folder ${what}`, options, { folder: root }]);
}

const PAGES = [{}, { rows: 3, columns: 4 }, { rows: 3, columns: 4, padding: true },
  { rows: 3, columns: 4, padding: true, downColumns: true }, { rows: 7, columns: 3, downColumns: true },
  { rows: 1, columns: 5, padding: true, downColumns: true }, { rows: 5, columns: 1, padding: true, downColumns: true },
  { rows: 1, columns: 1, padding: true }, { rows: 1000, columns: 1000 }];

for (const where of [undefined, root, inside]) {
  for (const grouping of [undefined, 'type', 'letter', 'month', 'folder']) {
    // The items of one folder are in one group by folder.
    for (const group of grouping ? [0, ...(where && grouping === 'folder' ? [] : [1]), -1, -2] : [undefined]) {
      for (const pages of PAGES) {
        const view = { folder: where, grouping, group, ...pages };
        const shape = pages.rows ? `, ${pages.rows} by ${pages.columns}` : '';
        const more = ['downColumns', 'padding'].filter((name) => pages[name]).map((name) => `, ${name}`).join('');
        cases.push([`${where === undefined ? 'flat' : where === root ? 'the folder' : 'a folder in it'}` +
          `${grouping ? `, by ${grouping}, group ${group}` : ''}${shape}${more}`, { sort: 'NAME' }, view]);
      }
    }
  }
}

const expected = cases.map(([, options, view]) => viewOf(root, items, options, view, letterOf));
let seen; // read by the script, for each case

before(async () => {
  const file = path.join(folder(), 'cases.json');
  writeFileSync(file, JSON.stringify(cases.map(([, options, view]) => ({
    options,
    // The names of the folders on the path to a folder.
    way: view.folder && path.relative(root, view.folder).split('/').filter(Boolean),
    style: { param_page_style: maskOf(view), param_page_order: view.downColumns ? 1 : 0,
      param_group_index: view.group ?? 0, param_row: view.rows ?? 0, param_column: view.columns ?? 0,
      param_need_padding: view.padding ?? false },
  }))));
  seen = await run(`
    const [, , where, file] = process.argv;
    const answers = [];
    const lists = new Map();
    const listOf = async (options) => {
      const key = JSON.stringify(options);
      if (!lists.has(key)) {
        const { return_data: agent } = open({ param_scan_path: where, param_content_type: options.type ?? '',
          param_sort_category: options.sort ?? '', param_media_extension: options.extension ?? '',
          param_key_word: options.word ?? '' });
        await ended(agent);
        lists.set(key, agent);
      }
      return lists.get(key);
    };
    const must = (method, request) => {
      const answer = send(method, request);
      if (answer.return_ecode !== 0) throw new Error(method + JSON.stringify([request, answer]));
      return answer.return_data;
    };
    const entry = (agent, index) => JSON.parse(must('mrb_get_item_v2', { param_agent: agent, param_index: index }));
    const entries = (agent) => Array.from({ length: count(agent) }, (_, index) => entry(agent, index));
    for (const { options, way, style } of JSON.parse(require('node:fs').readFileSync(file))) {
      const agent = await listOf(options);
      must('mrb_set_page_style_v2', { param_agent: agent });
      must('mrb_set_navigation_v2', { param_agent: agent, param_navigation: way ? 1 : 0 });
      for (const name of way ?? []) {
        const index = entries(agent).findIndex((item) => item.type === 1 && item.name === name);
        must('mrb_move_to_index_v2', { param_agent: agent, param_index: index });
        must('mrb_set_navigation_v2', { param_agent: agent, param_navigation: 2 });
      }
      must('mrb_set_page_style_v2', { param_agent: agent, ...style });
      const shown = entries(agent);
      const code = (method, index) => send(method, { param_agent: agent, param_index: index }).return_ecode;
      answers.push({
        shown: shown.map(({ type, name, path, group_index, item_count }) =>
          ({ type, name, path, group_index, item_count })),
        types: JSON.parse(must('mrb_get_item_count_v2', { param_agent: agent, get_item_count_for_each_type: true })),
        groups: must('mrb_get_group_count_v2', { param_agent: agent }),
        navigation: must('mrb_get_navigation_v2', { param_agent: agent }),
        pages: shown.map(({ media_id: id, type }) => type < 9
          ? must('mrb_get_page_index_v2', { param_agent: agent, param_media: id }) : null),
        beyond: ['mrb_get_item_v2', 'mrb_move_to_index_v2'].flatMap((method) =>
          [-1, shown.length, shown.length + 1, 2147483647].map((index) => code(method, index))),
        noGroup: [send('mrb_set_page_style_v2', { param_agent: agent, ...style,
          param_group_index: must('mrb_get_group_count_v2', { param_agent: agent }) || 1 }).return_ecode, count(agent)],
      });
    }
    finish(answers);`, root, file);
});

/** The number of entries of each type, by its key in the counts. */
const KEYS = {
  folder: 1, image: 2, video: 3, music: 5, record: 6, m3u: 7, group: 9, uhd: 10, scsa: 11, upfolder: 13, empty: 14,
};
const countsOf = (entries) => ({ item_count_all: entries.length,
  ...Object.fromEntries(Object.entries(KEYS).map(([key, type]) =>
    [`item_count_${key}`, entries.filter((entry) => entry.type === type).length])) });

test('the tree has enough variety', () => {
  assert.ok(items.length > 100 && expected.some(({ entries }) => entries.length === 0));
  for (const type of [1, 2, 3, 5, 7]) {
    assert.ok(items.some((item) => item.type === type));
  }
});

cases.forEach(([what, , view], index) => {
  test(what, () => {
    const { entries, groups } = expected[index];
    const { shown, types, groups: groupsSeen, navigation, pages, beyond, noGroup } = seen[index];
    assert.deepEqual(shown.map(factsOf), entries.map(factsOf));
    assert.deepEqual(types, countsOf(entries));
    assert.equal(groupsSeen, groups);
    assert.equal(navigation, view.folder ? 1 : 0);
    const pageSize = view.rows * view.columns || 1;
    assert.deepEqual(pages, entries.map(({ type }, at) => (type < 9 ? Math.floor(at / pageSize) : null)));
    assert.deepEqual(beyond, Array(8).fill(-3));
    assert.deepEqual(noGroup, [-3, entries.length]);
    if (view.padding) {
      assert.equal(entries.length % pageSize, 0);
    }
  });
});
