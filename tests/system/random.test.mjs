// Commands in random order while the folder changes: every answer is well formed,
// nothing breaks, and the script is notified that a reload is due.
import assert from 'node:assert/strict';
import { cpSync, mkdirSync, renameSync, rmSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

import { folder, run } from './harness.mjs';
import { makeTree, randomFrom } from './media_tree.mjs';

const dice = fileURLToPath(new URL('media_tree.mjs', import.meta.url));

const ENOUGH_CHANGES = 100;

/**
 * Adds, removes, renames and moves files in the library until `isOver` returns true. Creates the
 * file `enough` when so many changes were made that the commands may end.
 */
async function turnOver(library, seed, enough, isOver) {
  const random = randomFrom(seed);
  const spare = `${library} spare`;
  cpSync(library, spare, { recursive: true });
  const folderName = () => path.join(library, `${random(12)}`);
  const file = () => path.join(folderName(), `${random(40)}.jpg`);
  const changes = [
    () => rmSync(file()),
    () => renameSync(file(), file()),
    () => rmSync(folderName(), { recursive: true }),
    () => renameSync(folderName(), path.join(folderName(), 'moved')),
    () => renameSync(folderName(), path.join(library, `moved ${random(5)}`)),
    () => { if (random(10) === 0) { rmSync(library, { recursive: true }); } },
    () => { if (random(4) === 0) { cpSync(spare, library, { recursive: true }); } },
    ...Array(6).fill(() => {
      const where = file();
      mkdirSync(path.dirname(where), { recursive: true });
      writeFileSync(where, 'x'.repeat(random(9)));
    }),
  ];
  let made = 0;
  while (!isOver()) {
    try {
      changes[random(changes.length)]();
      made += 1;
      if (made === ENOUGH_CHANGES) writeFileSync(enough, '');
    } catch (error) {
      // A file that does not exist cannot be changed.
      assert.ok(['ENOENT', 'ENOTEMPTY', 'EINVAL', 'EEXIST', 'ENOTDIR', 'EISDIR'].includes(error.code), error);
    }
    await new Promise(setImmediate);
  }
}

const SCRIPT = `
const fs = require('node:fs');
const [, , library, quiet, enough, seed, dice] = process.argv;
const { randomFrom } = await import(dice);
const random = randomFrom(Number(seed));
const pick = (from) => from[random(from.length)];
const fault = (what, ...facts) => { throw new Error(what + ' with seed ' + seed + ': ' + JSON.stringify(facts)); };
const isObject = (value) => typeof value === 'object' && value !== null && !Array.isArray(value);

const handles = [0];
let media = 'msc:' + library;
const agent = () => (random(10) === 0 ? random(2000) - 5 : pick(handles));
const index = () => (random(4) === 0 ? pick([-1, 2147483647, -2147483648, 0]) : random(300));

// [method, its request, the "return_type" of a success]
const TABLE = [
  ['mrb_request_list_v2', () => ({ param_source_name: 'SOURCE_MSC', param_scan_path: library,
    param_content_type: pick(['', 'ALL', 'IMAGE', 'FOLDER', 'X']),
    param_sort_category: pick(['', 'NAME', 'NAME DESC', 'DATE', 'SIZE-', 'TYPE', 'X']),
    ...(random(3) === 0 ? { param_key_word: pick(['1', 'a', ',']) } : {}),
    ...(random(4) === 0 ? { param_media_extension: pick(['jpg', 'png,mp3', ',']) } : {}),
    ...(random(2) === 0 && handles.length > 1 ? { param_agent: pick(handles) } : {}) }), 1],
  ['mrb_cancel_request_list_v2', () => ({ param_agent: agent() })],
  ['mrb_disconnect_v2', () => ({ param_agent: agent() })],
  ...Array(3).fill(['mrb_set_page_style_v2', () => ({ param_agent: agent(), param_page_style: random(2) + 16 * random(6),
    param_page_order: random(3), param_group_index: random(8) - 3, param_row: random(6), param_column: random(6),
    param_need_padding: random(2) === 0 })]),
  ...Array(3).fill(['mrb_set_navigation_v2', () => ({ param_agent: agent(), param_navigation: random(5) })]),
  ['mrb_get_navigation_v2', () => ({ param_agent: agent() }), 1],
  ['mrb_get_group_count_v2', () => ({ param_agent: agent() }), 1],
  ['mrb_get_item_count_v2', () => ({ param_agent: agent() }), 1],
  ['mrb_get_item_count_v2', () => ({ param_agent: agent(), get_item_count_for_each_type: true }), 4],
  ...Array(4).fill(['mrb_get_item_v2', () => ({ param_agent: agent(), param_index: index() }), 4]),
  ...Array(2).fill(['mrb_move_to_index_v2', () => ({ param_agent: agent(), param_index: index() })]),
  ['mrb_get_page_index_v2', () => ({ param_agent: agent(), param_media: random(3) === 0 ? 'x' : media }), 1],
  ['mrb_prepare_play_data_v2', () => ({ param_agent: agent() }), 4],
  ['mrb_get_rating_info_v2', () => ({ param_agent: agent() }), 4],
  ['mrb_get_storage_id_v2', () => ({ param_mount_path: pick([library, '/', '', 'x', '/no/such']) }), 4],
  ['mrb_get_item_list_v2', () => ({ param_agent: agent(), param_index: index(), param_count: random(30) - 2 }), 4],
  ...Object.entries({ TITLE: 4, SIZE: 1, WIDTH: 1, LATITUDE: 6, MODIFIED_TIME: 1, CONTENT_LOCK: 5, unheard: undefined })
    .map(([field, type]) => ['mrb_get_item_value_v2',
      () => ({ param_agent: agent(), param_index: index(), param_field: field }), type]),
  ['mrb_set_item_value_v2', () => ({ param_agent: agent(), param_index: index(), ...pick([
    { param_field: 'PLAYED_POSITION', param_value: random(100) }, { param_field: 'TITLE', param_value: 'x' }]) })],
  ['mrb_select_all_v2', () => ({ param_agent: agent(), param_selected_item_type_arr: pick([[], [2], [2, 5, 5]]) }), 1],
  ['mrb_deselect_all_v2', () => ({ param_agent: agent() })],
  ['mrb_toggle_select_v2', () => ({ param_agent: agent(), param_item_list: [index(), index()] })],
  ...['mrb_select_group_v2', 'mrb_deselect_group_v2'].map((method) =>
    [method, () => ({ param_agent: agent(), param_index: random(8) - 1 })]),
  ['mrb_get_selected_state_v2', () => ({ param_agent: agent(), param_index: index() }), 5],
  ['mrb_get_selection_count_v2', () => ({ param_agent: agent() }), 1],
  ['mrb_batch_process_v2', () => ({ param_agent: agent(), param_share_type: pick([1, 32, 32]),
    param_is_lock: random(2) === 0 }), 1],
  ['mrb_stop_batch_process_v2', () => ({ param_share_handle: random(9) })],
  ['mrb_get_usb_list', () => ({}), 4],
  ['mrb_unset_usb_callback', () => ({})],
  [null, () => pick(['', '{', 'null', '[1]', '{"param_agent":"1"}', '\\u0000'])],
];

let succeeded = 0;
const onListEvent = (text) => {
  const event = JSON.parse(text);
  if (![0, 1, 13, 25, 28, 29].includes(event.param_event) || !isObject(JSON.parse(event.param_server_data))) {
    fault('a strange event', text);
  }
  events.push(event);
  wake();
};

const onShareEvent = (text) => {
  if (![17, 8, 18, 19, 26, 27].includes(JSON.parse(text).param_event)) fault('a strange share event', text);
};

function command() {
  const row = pick(TABLE);
  const method = row[0] ?? pick(TABLE)[0] ?? 'mrb_get_item_v2';
  const request = row[1]();
  const text = typeof request === 'string' ? request : JSON.stringify(request);
  const answer = method === 'mrb_request_list_v2' ? bridge[method](onListEvent, text)
    : method === 'mrb_batch_process_v2' ? bridge[method](onShareEvent, text)
    : /usb/.test(method) ? bridge[method]() : bridge[method](text);
  const parsed = JSON.parse(answer);
  const { return_ecode: code, return_type: type, return_data: data } = parsed;
  if (!answer.endsWith('}\\n') || !Number.isInteger(code) || code < -17 || code > 2) fault('a strange answer', method, text, answer);
  const keys = Object.keys(parsed).sort().join();
  if (code !== 0) {
    if (keys !== 'return_ecode') fault('data with a failure', method, text, answer);
    return;
  }
  succeeded += 1;
  if (typeof request === 'string') return;
  if (keys !== (row[2] ? 'return_data,return_ecode,return_type' : 'return_ecode') || type !== row[2]) fault('wrong keys', method, text, answer);
  if (type === 1 && !Number.isInteger(data)) fault('no integer', method, text, answer);
  if (type === 4 && !['mrb_get_storage_id_v2', 'mrb_get_item_value_v2'].includes(method)) {
    const value = JSON.parse(data);
    if (value === null && method === 'mrb_get_usb_list') return; // no devices
    if (!isObject(value)) fault('no object', method, text, answer);
    media = value.media_id || media;
  }
  if (method === 'mrb_request_list_v2' && !handles.includes(data)) {
    handles.push(data);
    if (handles.length > 8) handles.splice(1 + random(handles.length - 1), 1);
  }
}

let commands = 0;
while (commands < 1000 || !fs.existsSync(enough)) {
  if (commands < 1000 || random(100) < 20) command(); // the rest waits for events
  commands += 1;
  if (random(5) === 0) await new Promise((resolve) => setTimeout(resolve, random(3)));
}

const eventOf = (handle, ...numbers) => new Promise((resolve) => {
  wake = () => {
    const event = events.find(({ param_agent: of, param_event: number }) => of === handle && numbers.includes(number));
    if (event) resolve(event.param_event);
  };
  wake();
});
const listOf = async (where) => {
  for (;;) { // the library is removed and restored
    const { return_ecode: code, return_data: handle } = JSON.parse(bridge.mrb_request_list_v2(onListEvent,
      JSON.stringify({ param_source_name: 'SOURCE_MSC', param_scan_path: where })));
    if (code === 0 && await eventOf(handle, 0, 1) === 0) return handle;
    await new Promise(setImmediate);
  }
};
const due = await eventOf(await listOf(library), 28, 29);
const calm = await listOf(quiet);
fs.writeFileSync(quiet + '/new.jpg', '');
await eventOf(calm, 29);
fs.rmSync(quiet, { recursive: true });
await eventOf(calm, 28);
finish({ succeeded, due });
`;

for (const seed of [11, 12]) {
  test(`a thousand commands with seed ${seed} while the folder changes`, async () => {
    const place = folder();
    const [library, quiet, enough] = ['library', 'quiet', 'enough'].map((name) => path.join(place, name));
    makeTree(library, { seed, count: 200 });
    mkdirSync(quiet);
    let over = false;
    const [result] = await Promise.all([
      run(SCRIPT, library, quiet, enough, `${seed}`, dice).finally(() => { over = true; }),
      turnOver(library, seed, enough, () => over).finally(() => writeFileSync(enough, '')), // no endless wait
    ]);
    assert.ok(result.succeeded > 100, `${result.succeeded} commands succeeded`);
    assert.ok([28, 29].includes(result.due));
  });
}
