// A short command from script to framework and back, against a hand-written V8
// callback that parses the same request and writes the same answer. Run in quill
// on the recording framework; the log is off.
import { createRequire } from 'node:module';

import { compare, report, time } from './measure.mjs';

const CALLS = 20_000;
const build = process.env.QUILL_BUILD;
const require = createRequire(import.meta.url);
const recorder = require(`${build}/tests/recording/recorder.node`);
const floor = require(`${build}/bench/floor.node`);

recorder.setRecording(false);
const bridge = new MRBBridge();

function loop(object, method, request) {
  return () => time(() => {
    for (let call = 0; call < CALLS; call += 1) {
      object[method](request);
    }
  });
}

const perCall = ({ subject, floor: least, ...rest }) =>
  ({ subject: subject * 1e3 / CALLS, floor: least * 1e3 / CALLS, ...rest });

const code = '{"param_agent":12}';
report('cancel a list (one key back)', 'µs',
  perCall(await compare(loop(bridge, 'mrb_cancel_request_list_v2', code), loop(floor, 'answerCode', code))));

const data = '{"param_agent":12,"param_content":"SOURCE_MSC","param_index":3}';
report('count the groups (three keys back)', 'µs',
  perCall(await compare(loop(bridge, 'mrb_get_group_count_v2', data), loop(floor, 'answerData', data))));
