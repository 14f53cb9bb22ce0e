// Runs the shipped bridge on the real framework and real files.
import assert from 'node:assert/strict';
import { mkdtempSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

import { script, start } from '../host/harness.mjs';

export const root = path.dirname(path.dirname(path.dirname(fileURLToPath(import.meta.url))));
export const example = path.join(root, 'sdk', 'examples', 'list.js');

/** Creates a new folder for a test. */
export const folder = () => mkdtempSync(path.join(os.tmpdir(), 'quill-system-'));

/** Runs quill and waits for its end. */
export const quill = (args, options) => start(args, { input: '', ...options }).finished;

/** The items of a folder, as the example prints them. */
export async function list(where) {
  const { status, stdout, stderr } = await quill([example, where, '--json']);
  assert.equal(stderr, '');
  assert.equal(status, 0);
  return stdout.split('\n').filter(Boolean).map((line) => JSON.parse(line));
}

/** The end of a script's prelude: finish(value) prints the value, and lets the program end. */
export const FINISH = `
const finish = (value) => { console.log(JSON.stringify(value)); quill.unref(bridge); };
(async () => {
`;

/**
 * Runs a script that consists of a prelude, which defines `bridge`, and a body, which may
 * await. `before` and `args` are the arguments of quill before and after the script, the
 * other options those of start(). Returns the value that the body passes to finish(), and
 * the program's standard error.
 */
export async function runScript(prelude, body, { before = [], args = [], ...options } = {}) {
  const file = script('app.js', `${prelude}${FINISH}${body}\n})();`);
  const { stdout, stderr, ...rest } = await quill([...before, file, ...args], options);
  assert.deepEqual(rest, { status: 0, signal: null }, stderr);
  return { value: JSON.parse(stdout), stderr };
}

/** The same for a script that writes nothing to standard error; returns the value. */
export async function valueOf(prelude, body, options) {
  const { value, stderr } = await runScript(prelude, body, options);
  assert.equal(stderr, '');
  return value;
}

/** The functions of a script that opens a list and waits for its events. */
const PRELUDE = `
const bridge = new MRBBridge();
const send = (method, request) => JSON.parse(bridge[method](JSON.stringify(request)));
const events = [];
let wake = () => {};
const open = (request) => JSON.parse(bridge.mrb_request_list_v2((text) => {
  const event = JSON.parse(text);
  events.push({ ...event, data: JSON.parse(event.param_server_data || 'null') });
  wake();
}, JSON.stringify({ param_source_name: 'SOURCE_MSC', ...request })));
const ended = (agent) => new Promise((resolve) => {
  const isEnd = (event) => event.param_agent === agent && [0, 1, 13].includes(event.param_event);
  wake = () => { if (events.some(isEnd)) resolve(events.find(isEnd)); };
  wake();
});
const count = (agent) => send('mrb_get_item_count_v2', { param_agent: agent }).return_data;
const itemsOf = (agent) => Array.from({ length: count(agent) }, (_, param_index) =>
  JSON.parse(send('mrb_get_item_v2', { param_agent: agent, param_index }).return_data));
// A list that is complete, {agent, event, data, items}, or refused, {code}.
const opened = async (request) => {
  const { return_ecode, return_data: agent } = open(request);
  if (return_ecode !== 0) return { code: return_ecode };
  const { param_event, data } = await ended(agent);
  return { agent, event: param_event, data, items: itemsOf(agent) };
};
`;

/** Runs a script's body with the prelude, with the options of start(); returns {value, stderr}. */
export const runWith = (options, body, ...args) => runScript(PRELUDE, body, { ...options, args });

/** The same without options, and without standard error; returns the value. */
export const run = (body, ...args) => valueOf(PRELUDE, body, { args });
