// The order of names: fixed tables in several scripts, and thousands of generated names against
// the collation of Node's own ICU.
import assert from 'node:assert/strict';
import { mkdirSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { folder, run } from './harness.mjs';
import { randomFrom } from './media_tree.mjs';
import { byName } from './model.mjs';

/** The stems of a folder's files, in the order of lists with these sort categories. */
async function orders(stems, categories) {
  const where = folder();
  for (const stem of stems) {
    writeFileSync(path.join(where, `${stem}.jpg`), '');
  }
  return run(`
    const [, , where, categories] = process.argv;
    const orders = [];
    for (const param_sort_category of JSON.parse(categories)) {
      const { return_data: agent } = open({ param_scan_path: where, param_sort_category });
      await ended(agent);
      orders.push(Array.from({ length: count(agent) }, (_, index) =>
        JSON.parse(send('mrb_get_item_v2', { param_agent: agent, param_index: index }).return_data).name.slice(0, -4)));
    }
    finish(orders);`, where, JSON.stringify(categories));
}

/** The same names in a pseudo-random order. */
function shuffled(names, seed) {
  const random = randomFrom(seed);
  const rest = [...names];
  return names.map(() => rest.splice(random(rest.length), 1)[0]);
}

const TABLES = {
  'numbers count by their value': ['0', '1', '2', '2a', '9', '10', '10b', '99', '100', '1000', '20000000000000000000000'],
  'numbers count inside names too': ['IMG 1', 'IMG 2', 'IMG 10', 'IMG 010a', 'IMG 11', 'IMG_1', 'IMG_2', 'IMG_10', 'IMG1'],
  'equal numbers with more zeros come first': ['001', '01', '1', '002', '2'],
  'case decides last, small letters first': ['a', 'A', 'ab', 'aB', 'Ab', 'AB', 'b', 'B'],
  'signs come before numbers, numbers before letters': ['_', '-', ',', ';', '!', '(', '[', '{', '@', '#', '%', '+', '=', '$', '0', '9', 'a'],
  'Latin letters with accents are next to those without': [
    'cafe', 'Cafe', 'café', 'Café', 'cafés', 'cote', 'coté', 'côte', 'côté', 'e', 'é', 'è', 'ê', 'ë', 'f', 'n', 'ñ', 'naif', 'naïf', 'o'],
  'German': ['Apfel', 'Äpfel', 'Arm', 'Ärmel', 'Mueller', 'Muller', 'Müller', 'ofen', 'Öfen', 'Strasse', 'Straße', 'über', 'ufer'],
  'Polish, Czech and Turkish letters': ['cas', 'čas', 'cis', 'i', 'ị', 'ı', 'lak', 'łąk', 'zab', 'ząb', 'žab', 'żab'],
  'Cyrillic': ['абрикос', 'Абрикос', 'банан', 'е', 'ё', 'ёж', 'елка', 'ель', 'жук', 'и', 'й', 'я', 'Я'],
  'Greek': ['άλφα', 'Άλφα', 'βήτα', 'γάμμα', 'δέλτα', 'ε', 'έ', 'ζήτα', 'ω', 'Ω', 'ώ'],
  'Japanese kana': ['あ', 'ア', 'い', 'う', 'か', 'カ', 'が', 'ガ', 'かき', 'がき', 'き', 'さくら', 'サクラ', 'は', 'ば', 'ぱ', 'ん'],
  'Korean': ['가', '가나', '각', '나', '나비', '다', '라', '마', '바', '사', '아', '하', '힣'],
  'Arabic': ['أ', 'ا', 'ب', 'باب', 'ت', 'ث', 'ج', 'م', 'مرحبا', 'ه', 'و', 'ي'],
  'Hebrew': ['א', 'אב', 'ב', 'ג', 'שלום', 'ת'],
  'scripts one after the other': ['1', 'a', 'α', 'а', 'א', 'ا', 'अ', 'ก', '가', 'あ', '一'],
};

Object.entries(TABLES).forEach(([what, table], seed) => {
  test(`names: ${what}`, async () => {
    const [up, down, source] = await orders(shuffled(table, seed + 1), ['NAME', 'NAME DESC', '']);
    assert.deepEqual(up, table);
    assert.deepEqual(down, [...table].reverse());
    assert.deepEqual(source, table);
  });
});

test('one letter written in two ways is one letter', async () => {
  const [composed, decomposed] = ['\u00e9', 'e\u0301'];
  const names = ['d', `${decomposed}a`, `${composed}b`, `${decomposed}c`, 'f'];
  assert.deepEqual((await orders(shuffled(names, 9), ['NAME']))[0], names);
});

/** The letters of generated names. */
const LETTERS = [...'aAbBeEzZ0123459 _-.()&', ...'àáâäæçèéêëîïñòóôöøœùúüÿßąćęłńśźżčďěňřšťůžğışőű', ...'абвгдеёжзийклмАБВ',
  ...'αβγδεζηθάέήίΑΒΓ', ...'אבגדהו', ...'ابتثجحخأإ', ...'あいうえおかがきぎアイウカガ', ...'가각간나다라', ...'一二三人山川日本',
  ...'กขคงจ', ...'अआइकखग', '🎞', '🎵', 'e\u0301', 'o\u0308', 'ｱ', 'Ａ', '１', '²', 'ﬁ'];

for (const seed of [1, 2, 3]) {
  test(`names generated with seed ${seed} are in the order of the collation of Node`, async () => {
    const random = randomFrom(seed);
    const names = new Set();
    while (names.size < 2000) {
      const name = Array.from({ length: 1 + random(8) }, () => LETTERS[random(LETTERS.length)]).join('');
      if (!name.startsWith('.')) {
        names.add(name);
      }
    }
    const [up, down] = await orders([...names], ['NAME', 'NAME DESC']);
    assert.deepEqual(up, [...names].sort((a, b) => byName(`${a}.jpg`, `${b}.jpg`)));
    assert.deepEqual(down, [...up].reverse());
  });
}

for (const locale of ['sv_SE.UTF-8', 'tr_TR.UTF-8', 'ja_JP.UTF-8', 'cs_CZ.UTF-8', 'C']) {
  test(`a machine set to ${locale} has the same order and finds the same`, async () => {
    // Each is sorted differently in one of these languages.
    const table = ['ang', 'ång', 'ch', 'cx', 'hz', 'i', 'I', 'İ', 'ı', 'zebra', 'ö', 'あ', '一'].sort(byName);
    const before = process.env.LC_ALL;
    process.env.LC_ALL = locale;
    try {
      assert.deepEqual((await orders(shuffled(table, 4), ['NAME']))[0], table);
    } finally {
      if (before === undefined) {
        delete process.env.LC_ALL;
      } else {
        process.env.LC_ALL = before;
      }
    }
  });
}

// ---- equals -----------------------------------------------------------------------

test('files of one name in several folders stay in the order of their folders, whatever the direction', async () => {
  const where = folder();
  for (const name of ['a', 'b', 'c']) {
    mkdirSync(path.join(where, name));
    writeFileSync(path.join(where, name, 'same.jpg'), '');
  }
  const seen = await run(`
    const orders = {};
    for (const param_sort_category of ['NAME', 'NAME DESC', 'SIZE', 'SIZE DESC', 'TYPE-']) {
      const { return_data: agent } = open({ param_scan_path: process.argv[2], param_sort_category, param_content_type: 'IMAGE' });
      await ended(agent);
      orders[param_sort_category] = [0, 1, 2].map((index) => require('node:path').basename(require('node:path').dirname(
        JSON.parse(send('mrb_get_item_v2', { param_agent: agent, param_index: index }).return_data).path))).join('');
    }
    finish(orders);`, where);
  for (const category of ['NAME', 'NAME DESC', 'SIZE', 'SIZE DESC', 'TYPE-']) {
    assert.equal(seen[category], 'abc', category);
  }
});
