// 100,000 files, in one folder and in a deep tree, through a script: counts, pages
// and positions against a listing by find.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { accessSync, constants, mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import test, { after, before, describe } from 'node:test';

import { run } from './harness.mjs';
import { randomFrom } from './media_tree.mjs';
import { byName } from './model.mjs';

const FILES = 100_000;
const ROWS = 6;
const COLUMNS = 7;
const PAGE = ROWS * COLUMNS;

/** In memory where the machine supports that. */
function folderInMemory() {
  let place = '/dev/shm';
  try {
    accessSync(place, constants.W_OK | constants.X_OK);
  } catch {
    place = os.tmpdir();
  }
  return mkdtempSync(path.join(place, 'quill-many-'));
}

const TREE = { branches: 20, levels: 50, files: FILES / 20 / 50 };

const SHAPES = {
  'one folder': {
    folders: 0,
    make(where) {
      // Not in the order in which they are listed.
      for (let number = 0; number < FILES; number += 1) {
        writeFileSync(path.join(where, `IMG ${(number * 7919) % FILES}.jpg`), '');
      }
    },
  },
  'a tree of 50 levels': {
    folders: TREE.branches * TREE.levels,
    make(where) {
      for (let branch = 0; branch < TREE.branches; branch += 1) {
        let at = where;
        for (let level = 0; level < TREE.levels; level += 1) {
          at = path.join(at, `${branch}-${level}`);
          mkdirSync(at);
          for (let file = 0; file < TREE.files; file += 1) {
            writeFileSync(path.join(at, `${file * 31 % TREE.files}-${branch} ${level}.jpg`), '');
          }
        }
      }
    },
  },
};

/** All paths below a folder, by find. */
const found = (where, type) => execFileSync('find', [where, '-mindepth', '1', '-type', type],
  { encoding: 'utf8', maxBuffer: 2 ** 28 }).split('\n').filter(Boolean);

const SCRIPT = `
  const [, , where, pageNumbers, rows, columns] = process.argv;
  const { return_data: agent } = open({ param_scan_path: where, param_sort_category: 'NAME' });
  const end = await ended(agent);
  const must = (method, request = {}) => {
    const { return_ecode: code, return_data: data } = send(method, { param_agent: agent, ...request });
    if (code !== 0) throw new Error(method + ' answers ' + code);
    return data;
  };
  const types = JSON.parse(must('mrb_get_item_count_v2', { get_item_count_for_each_type: true }));
  const style = (padding) => must('mrb_set_page_style_v2', { param_page_style: 1, param_row: Number(rows),
    param_column: Number(columns), param_need_padding: padding });
  style(true);
  const size = rows * columns;
  const padded = { count: must('mrb_get_item_count_v2') };
  const page = (number) => Array.from({ length: size }, (_, cell) =>
    JSON.parse(must('mrb_get_item_v2', { param_index: number * size + cell })));
  const pages = JSON.parse(pageNumbers).map(page);
  padded.pages = pages.map((items) => items.map((item) => item.path));
  padded.places = pages.map((items) => items.filter((item) => item.type !== 14)
    .filter((item, index, all) => index === 0 || index === all.length - 1)
    .map((item) => must('mrb_get_page_index_v2', { param_media: item.media_id })));
  padded.beyond = send('mrb_get_item_v2', { param_agent: agent, param_index: padded.count }).return_ecode;
  style(false);
  const plain = { count: must('mrb_get_item_count_v2') };
  plain.last = JSON.parse(must('mrb_get_item_v2', { param_index: plain.count - 1 })).path;
  plain.beyond = send('mrb_get_item_v2', { param_agent: agent, param_index: plain.count }).return_ecode;
  must('mrb_move_to_index_v2', { param_index: plain.count - 1 });
  const playing = JSON.parse(must('mrb_prepare_play_data_v2')).path;
  must('mrb_set_page_style_v2', { param_page_style: 16, param_group_index: -2 });
  const groups = Array.from({ length: must('mrb_get_group_count_v2') }, (_, index) => {
    const { name, item_count } = JSON.parse(must('mrb_get_item_v2', { param_index: index }));
    return [name, item_count];
  });
  finish({ end, types, padded, plain, playing, groups });
`;

for (const [what, { folders, make }] of Object.entries(SHAPES)) {
  describe(`100,000 files in ${what}`, () => {
    const where = folderInMemory();
    const total = FILES + folders;
    const pageCount = Math.ceil(total / PAGE);
    const random = randomFrom(5);
    const numbers = [0, pageCount - 1, ...Array.from({ length: 15 }, () => random(pageCount))];
    let expected;
    let seen;

    before(async () => {
      make(where);
      // Folders first, all by their names; equal names in the order of the tree.
      const byPath = (a, b) => byName(path.basename(a), path.basename(b));
      expected = [...found(where, 'd').sort(byPath), ...found(where, 'f').sort(byPath)];
      seen = await run(SCRIPT, where, JSON.stringify(numbers), `${ROWS}`, `${COLUMNS}`);
    });
    after(() => rmSync(where, { recursive: true }));

    test('the last event has the number of items', () => {
      assert.deepEqual([seen.end.param_event, seen.end.data.item_count, seen.end.data.unreadable,
        seen.end.data.too_deep], [0, total, 0, 0]);
    });

    test('the counts are those of find', () => {
      assert.equal(expected.length, total);
      assert.deepEqual([seen.types.item_count_all, seen.types.item_count_image, seen.types.item_count_folder],
        [total, FILES, folders]);
    });

    numbers.forEach((number, index) => {
      test(`page ${number} of ${pageCount} (draw ${index}) is that of find`, () => {
        const wanted = expected.slice(number * PAGE, (number + 1) * PAGE);
        assert.deepEqual(seen.padded.pages[index], [...wanted, ...Array(PAGE - wanted.length).fill('')]);
        assert.deepEqual(seen.padded.places[index], [number, number]); // of its first and its last item
      });
    });

    test('with padding the last page is full and followed by none', () => {
      assert.equal(seen.padded.count, pageCount * PAGE);
      assert.equal(seen.padded.beyond, -3);
    });

    test('without padding the last item is the last entry', () => {
      assert.deepEqual(seen.plain, { count: total, last: expected.at(-1), beyond: -3 });
      assert.equal(seen.playing, expected.at(-1));
    });

    test('groups hold all of them', () => {
      assert.deepEqual(seen.groups, [...(folders ? [['folder', folders]] : []), ['image', FILES]]);
    });
  });
}
