// Results from framework threads to a script function, against bare
// clutter_threads_add_idle_full and a script call; and with a store of
// AsyncLocalStorage against without one. Run in quill on the recording framework; the
// log is off.
import { AsyncLocalStorage } from 'node:async_hooks';
import { createRequire } from 'node:module';

import { compare, report } from './measure.mjs';

const THREADS = 4;
const PER_THREAD = 25_000;
const RESULTS = THREADS * PER_THREAD;
const build = process.env.QUILL_BUILD;
const require = createRequire(import.meta.url);
const recorder = require(`${build}/tests/recording/recorder.node`);
const floor = require(`${build}/bench/floor.node`);

let left = 0;
let done;
const receive = () => {
  left -= 1;
  if (left === 0) {
    done(performance.now());
  }
};
const bridge = new MRBBridge();
const register = () => bridge.mrb_request_list_v2(receive, '{"param_source_name":"SOURCE_MSC"}');
register();
recorder.setRecording(false);
recorder.setLogRecording(false);

/** Starts the threads and waits for the last result; `held`: lets all of them be queued first. */
const run = (start, join, held) => async () => {
  left = RESULTS;
  const finished = new Promise((resolve) => { done = resolve; });
  let began = performance.now();
  start();
  if (held) {
    join();
    began = performance.now();
  }
  const end = await finished;
  if (!held) {
    join();
  }
  return end - began;
};

const bulk = { threads: THREADS, perThread: PER_THREAD, agent: 1, event: 0 };
const subject = (held) => run(() => recorder.startBulk(bulk), recorder.joinBulk, held);
const least = (held) => run(() => floor.startBulk(THREADS, PER_THREAD, receive), floor.joinBulk, held);

const perResult = ({ subject: time, floor: floorTime, ...rest }) =>
  ({ subject: time * 1e3 / RESULTS, floor: floorTime * 1e3 / RESULTS, ...rest });

report('deliver a queued result', 'µs', perResult(await compare(subject(true), least(true), 11)));
report('four threads to a script, JSON and all', 'µs', perResult(await compare(subject(false), least(false), 11)));

const store = new AsyncLocalStorage();
const inStore = () => { store.run({}, register); return subject(true)(); };
const inNone = () => { register(); return subject(true)(); };
report('deliver with a store, against without one', 'µs', perResult(await compare(inStore, inNone, 11)));
process.exit();
