// Selecting in a list of 100,000 files by script calls: the walk of
// mrb_select_all_v2 against the same framework calls in a hand-written V8 callback,
// and for how long the other calls hold the main loop up. Run in quill on the
// framework for Linux; the log is off.
import assert from 'node:assert/strict';
import { mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import os from 'node:os';
import path from 'node:path';

import { compare, median, report, time } from './measure.mjs';

const FILES = 100_000;
const TURNS = 9;
const [GROUPS_BY_TYPE, GROUP_ALL] = [16, -1];
const floor = createRequire(import.meta.url)(`${process.env.QUILL_BUILD}/bench/floor.node`);
const bridge = new MRBBridge();
const invoke = (method, request) => {
  const { return_ecode, return_data } = JSON.parse(bridge[method](JSON.stringify(request)));
  assert.equal(return_ecode, 0, method);
  return return_data;
};

const opened = (where) => new Promise((resolve) => {
  bridge.mrb_request_list_v2((text) => {
    const { param_event, param_agent } = JSON.parse(text);
    if (param_event === 0) resolve(param_agent);
  }, JSON.stringify({ param_source_name: 'SOURCE_MSC', param_scan_path: where }));
});

/** How long a call takes; what it does is undone between the turns. */
function measure(name, call, undo = () => {}) {
  const times = [];
  for (let turn = 0; turn < TURNS; turn += 1) {
    times.push(time(call));
    undo();
  }
  console.log(`${`  ${name}`.padEnd(46)} ${median(times).toPrecision(3).padStart(8)} ms  at most ` +
              `${Math.max(...times).toPrecision(3)} ms`);
}

const home = mkdtempSync(path.join(os.tmpdir(), 'selection-'));
try {
  for (let file = 0; file < FILES; file += 1) {
    const where = path.join(home, String(Math.floor(file / 1000)));
    if (file % 1000 === 0) mkdirSync(where);
    writeFileSync(path.join(where, `DSC_${file}.${file % 10 === 0 ? 'mp4' : 'jpg'}`), 'x');
  }
  const param_agent = await opened(home);
  const count = invoke('mrb_get_item_count_v2', { param_agent });

  for (const [what, types] of [['all types', [1, 2, 3]], ['one in ten', [3]]]) {
    const request = JSON.stringify({ param_agent, param_selected_item_type_arr: types });
    assert.deepEqual(JSON.parse(bridge.mrb_select_all_v2(request)), JSON.parse(floor.selectAll(request)));
    const { subject, floor: least, ...rest } = await compare(() => time(() => bridge.mrb_select_all_v2(request)),
      () => time(() => floor.selectAll(request)), TURNS);
    report(`select ${what} of 100,000, an item`, 'ns', { subject: subject * 1e6 / count, floor: least * 1e6 / count, ...rest });
  }

  console.log('one call on a list of 100,000 items');
  const selectAll = () => invoke('mrb_select_all_v2', { param_agent, param_selected_item_type_arr: [1, 2, 3] });
  const deselectAll = () => invoke('mrb_deselect_all_v2', { param_agent });
  deselectAll();
  measure('mrb_toggle_select_v2 of 1,000 items', () => invoke('mrb_toggle_select_v2', { param_agent,
    param_item_list: Array.from({ length: 1000 }, (_, index) => index * 100) }), deselectAll);
  selectAll();
  measure('mrb_deselect_all_v2, all selected', deselectAll, selectAll);
  measure('mrb_get_selection_count_v2', () => invoke('mrb_get_selection_count_v2', { param_agent }));
  measure('mrb_get_selected_state_v2', () => invoke('mrb_get_selected_state_v2', { param_agent, param_index: count - 1 }));
  invoke('mrb_set_page_style_v2', { param_agent, param_page_style: 1 + GROUPS_BY_TYPE, param_page_order: 0,
    param_group_index: GROUP_ALL, param_row: 4, param_column: 5, param_need_padding: false });
  measure('the state of a heading over 90,000', () => invoke('mrb_get_selected_state_v2', { param_agent,
    param_index: 101 }));
  const group = (method) => () => invoke(method, { param_agent, param_index: 1 });
  const [select, deselect] = [group('mrb_select_group_v2'), group('mrb_deselect_group_v2')];
  deselectAll();
  measure('mrb_select_group_v2 of 90,000', select, deselect);
  select();
  measure('mrb_deselect_group_v2 of 90,000', deselect, select);
} finally {
  rmSync(home, { recursive: true });
}
process.exit();
