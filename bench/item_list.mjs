// 200 item descriptions in one answer, against a hand-written V8 callback that makes
// the same framework calls and writes the same text without a JSON library. Run in
// quill on the recording framework; the log is off.
import assert from 'node:assert/strict';
import { createRequire } from 'node:module';

import { compare, report, time } from './measure.mjs';

const CALLS = 100;
const ITEMS = 200;
const build = process.env.QUILL_BUILD;
const require = createRequire(import.meta.url);
const recorder = require(`${build}/tests/recording/recorder.node`);
const floor = require(`${build}/bench/floor.node`);

// As long as what the framework for Linux says of a picture.
const item = JSON.stringify({ index: 17, media_id: '/media/stick/Holidays/2026/IMG_20260714_103000.jpg',
                              name: 'IMG_20260714_103000.jpg', path: '/media/stick/Holidays/2026/IMG_20260714_103000.jpg',
                              size: 4194304, type: 2, modified: 1784025000, mime_type: 'image/jpeg' });
recorder.setDefault('mrb_get_item_count_v2', { out: 10_000 });
recorder.setDefault('mrb_get_item_v2', { out: item });
recorder.setRecording(false);
const bridge = new MRBBridge();

const request = JSON.stringify({ param_agent: 12, param_index: 1000, param_count: ITEMS });
assert.equal(bridge.mrb_get_item_list_v2(request), floor.answerList(request));

const loop = (object, method) => () => time(() => {
  for (let call = 0; call < CALLS; call += 1) {
    object[method](request);
  }
});
const { subject, floor: least, ...rest } = await compare(loop(bridge, 'mrb_get_item_list_v2'), loop(floor, 'answerList'));
report(`list ${ITEMS} items of ${item.length} bytes`, 'µs',
  { subject: subject * 1e3 / CALLS, floor: least * 1e3 / CALLS, ...rest });
