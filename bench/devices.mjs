// From a mount to the script's function, from a media server's start and stop to the
// script's function, and what the services cost while nothing happens. Run in quill, in
// user, mount and network namespaces of its own (bench/run does that).
import { spawn } from 'node:child_process';
import { mkdirSync, mkdtempSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import readline from 'node:readline';
import { setTimeout as wait } from 'node:timers/promises';

const STEPS = 400;
const SERVERS = 5;
const QUIET_SECONDS = 10;
const bridge = new MRBBridge();

let onEvent = () => {};
const next = () => new Promise((resolve) => { onEvent = resolve; });
const arrivesNow = () => onEvent(process.hrtime.bigint());

const milliseconds = (nanoseconds) => Number(nanoseconds) / 1e6;
const part = (values, share) => [...values].sort((a, b) => a - b)[Math.min(values.length - 1, Math.floor(values.length * share))];
const report = (name, values) => console.log(`${name.padEnd(46)} median ${part(values, 0.5).toFixed(2)} ms` +
  `  99 of 100 within ${part(values, 0.99).toFixed(2)} ms  worst ${Math.max(...values).toFixed(2)} ms`);

async function mounts() {
  const folder = '/media/bench';
  mkdirSync(folder);
  const clock = spawn(path.join(process.env.QUILL_BUILD, 'bench', 'mount_clock'), [folder],
    { stdio: ['pipe', 'pipe', 'inherit'] });
  const answers = readline.createInterface({ input: clock.stdout })[Symbol.asyncIterator]();
  bridge.mrb_set_usb_callback(arrivesNow);
  const times = [];
  for (let step = 0; step < STEPS; step += 1) {
    const event = next();
    clock.stdin.write('\n');
    const began = BigInt((await answers.next()).value);
    times.push(milliseconds(await event - began));
  }
  clock.stdin.end();
  report('mount or unmount to the script', times);
}

async function servers() {
  const state = next();
  bridge.mrb_set_dlna_callback(arrivesNow);
  bridge.mrb_Init_dlna_service(arrivesNow);
  await state;
  const home = mkdtempSync(path.join(os.tmpdir(), 'quill-bench-'));
  const configuration = path.join(home, 'minidlna.conf');
  writeFileSync(configuration, ['network_interface=lo', `media_dir=${home}`, `db_dir=${home}`, `log_dir=${home}`,
                                'port=8200', 'inotify=no', ''].join('\n'));
  const [starts, stops] = [[], []];
  for (let round = 0; round < SERVERS; round += 1) {
    let event = next();
    let began = process.hrtime.bigint();
    const server = spawn('minidlnad', ['-S', '-f', configuration, '-P', path.join(home, 'pid')], { stdio: 'ignore' });
    starts.push(milliseconds(await event - began));
    event = next();
    began = process.hrtime.bigint();
    server.kill();
    stops.push(milliseconds(await event - began));
    await new Promise((resolve) => { server.exitCode === null && server.signalCode === null ? server.on('exit', resolve) : resolve(); });
  }
  report("a server's start to its arrival", starts);
  report("a server's stop to its removal", stops);
}

/** How often each of the framework's threads slept and woke so far. */
function wakeups() {
  const counts = {};
  for (const thread of readdirSync('/proc/self/task')) {
    const name = readFileSync(`/proc/self/task/${thread}/comm`, 'utf8').trim();
    if (name.startsWith('mrb-')) {
      const status = readFileSync(`/proc/self/task/${thread}/status`, 'utf8');
      counts[name] = Number(/^voluntary_ctxt_switches:\s*(\d+)/m.exec(status)[1]);
    }
  }
  return counts;
}

async function quiet() {
  await wait(5000); // searches of the network end by themselves
  const before = wakeups();
  await wait(QUIET_SECONDS * 1000);
  const after = wakeups();
  for (const name of Object.keys(after)) {
    console.log(`${`wake-ups of ${name} in ${QUIET_SECONDS} quiet seconds`.padEnd(46)} ${after[name] - before[name]}`);
  }
  const memory = /^VmRSS:\s*(\d+)/m.exec(readFileSync('/proc/self/status', 'utf8'))[1];
  console.log(`${'memory of the process with both services'.padEnd(46)} ${(memory / 1024).toFixed(0)} MiB`);
}

await mounts();
await servers();
await quiet();
process.exit(0);
