// Scripts that use DLNA servers in a network of their own.
import { FINISH, valueOf } from './harness.mjs';
import { OWN_NETWORK } from './media_server.mjs';

const DEFINITIONS = `
const { spawn } = require('node:child_process');
const { readFileSync } = require('node:fs');
const path = require('node:path');
const bridge = new MRBBridge();
const call = (method, ...args) => JSON.parse(bridge[method](...args));
const send = (method, request) => call(method, JSON.stringify(request));
const notifications = []; // in order
let wake = () => {};
const notify = (line) => { notifications.push(line); wake(); };
const until = (number) => new Promise((resolve) => {
  wake = () => { if (notifications.length >= number) resolve(); };
  wake();
});
const watch = () => call('mrb_set_dlna_callback', (text) => {
  for (const { storage_event: event, ...server } of JSON.parse(text).storage_devices) notify([event, server]);
}).return_ecode;
const begin = () => call('mrb_Init_dlna_service', (text) => notify(JSON.parse(text).param_event)).return_ecode;
const servers = () => {
  const { return_ecode, return_data } = call('mrb_get_dlna_list');
  return return_ecode === 0 ? JSON.parse(return_data)?.storage_devices ?? [] : return_ecode;
};
// A server of another project; the sanitizer's runtime must not be loaded into it. It ends
// with the script, however that ends.
const WITH_US = ['--pdeathsig', 'KILL', '--'];
const serve = (configuration) => spawn('setpriv', [...WITH_US, 'minidlnad', '-S', '-f', configuration, '-P', configuration + '.pid'],
  { stdio: 'ignore', env: { ...process.env, LD_PRELOAD: '', PATH: process.env.PATH + ':/usr/sbin' } });
// Another server, which needs a bus; its process group ends with the script.
const serveRygel = (configuration) => {
  const home = path.dirname(configuration);
  return spawn('setpriv', [...WITH_US, 'dbus-run-session', '--', 'rygel', '-n', 'lo', '-c', configuration], { stdio: 'ignore', detached: true,
    env: { ...process.env, LD_PRELOAD: '', HOME: home, XDG_RUNTIME_DIR: home, XDG_CONFIG_HOME: home,
           XDG_CACHE_HOME: home, XDG_DATA_HOME: home } });
};
// Starts the service and a server, and waits until the server is announced.
const meet = async (start) => {
  watch();
  begin();
  await until(1);
  const server = start();
  await until(2);
  return { server, id: servers()[0].storage_id };
};
let onListEnd = () => {};
const onListEvent = (text) => {
  const { param_event: event, param_agent: agent, param_server_data } = JSON.parse(text);
  if ([0, 1, 13].includes(event)) onListEnd({ event, agent, ...JSON.parse(param_server_data) });
};
const list = (request) => new Promise((resolve) => {
  onListEnd = resolve;
  const { return_ecode } = call('mrb_request_list_v2', onListEvent, JSON.stringify(request));
  if (return_ecode !== 0) resolve({ event: return_ecode });
});
// A server scans its folder while it answers requests.
const listAll = async (request, count) => {
  let whole = await list(request);
  while (whole.item_count !== count) {
    await new Promise((resolve) => setTimeout(resolve, 200)); // leave the processor to the server
    whole = await list({ ...request, param_agent: whole.agent });
  }
  return whole;
};
const items = (agent, index, count) => JSON.parse(send('mrb_get_item_list_v2',
  { param_agent: agent, param_index: index, param_count: count }).return_data).param_item_list.map((item) => JSON.parse(item));
const select = (agent) => send('mrb_select_all_v2', { param_agent: agent, param_selected_item_type_arr: [2, 3, 5] });
const share = (request, began = () => {}) => new Promise((resolve) => {
  const events = [];
  const { return_ecode, return_data } = call('mrb_batch_process_v2', (text) => {
    const { param_event, param_share_handle, ...status } = JSON.parse(text);
    events.push(param_event);
    if (param_event === 17) began(param_share_handle);
    if ([18, 19, 26, 27, 28].includes(param_event)) resolve({ events, status });
  }, JSON.stringify({ param_share_type: 4, ...request }));
  if (return_ecode !== 0) resolve({ return_ecode });
});
`;

/** The beginning of a script; its body and "})();" follow. */
export const PRELUDE = `${DEFINITIONS}${FINISH}`;

/** Runs a script's body with the prelude; returns the value that it passes to finish(). */
export const run = (body, ...args) => valueOf(DEFINITIONS, body, { inside: OWN_NETWORK, args });
