'use strict';
// Shows the attached storage devices and cameras and the media servers of the network,
// and follows their arrivals and removals.
//
//     quill [--device FOLDER] sdk/examples/devices.js [--once]

const { FILE_SYSTEMS, SERVICE_EVENTS, STORAGE_CLASSES, STORAGE_EVENTS, describeResult } = require('../codes.js');
const { count, enterFullScreen, fit, printable, size } = require('./terminal.js');

const USAGE = `Usage: quill [--device FOLDER] devices.js [--once]

Shows the attached storage devices and cameras and the media servers of the network in a
table that follows arrivals and removals; q or Ctrl-C ends it. Without a terminal it
prints a line for each event.
  --once   print the attached devices, and end
`;

const MAX_EVENTS = 100; // that the screen keeps
const EVENT_NAMES = Object.fromEntries(Object.entries(STORAGE_EVENTS).map(([name, number]) => [number, name.toLowerCase()]));

function fail(message) {
  process.stderr.write(`devices: ${message}\n`);
  process.exit(1);
}

const bridge = new MRBBridge();

/** Sends a command and returns its data, parsed; ends the program with a message when it fails. */
function call(method, ...callback) {
  const answer = JSON.parse(bridge[method](...callback));
  if (answer.return_ecode !== 0) {
    fail(`${method}: ${describeResult(answer.return_ecode)}`);
  }
  return answer.return_data === undefined ? null : JSON.parse(answer.return_data);
}

const listed = (method) => call(method)?.storage_devices ?? [];

/** The devices attached to this machine, in the order of their indexes. */
const devices = () => [...listed('mrb_get_usb_list'), ...listed('mrb_get_ptp_list')]
  .sort((one, other) => one.storage_index - other.storage_index);

const isCamera = (device) => device.storage_class === STORAGE_CLASSES.CAMERA;

const isServer = (device) => device.storage_ip !== undefined;

const kindOf = (device) => (isServer(device) ? 'server' : isCamera(device) ? 'camera'
  : FILE_SYSTEMS[device.storage_filesystem] ?? String(device.storage_filesystem));

const locationOf = (device) => (isServer(device) ? device.storage_ip
  : device.storage_mountpath || (isCamera(device) ? '' : 'not mounted'));

const bytes = (text) => size(Number(BigInt(text)));

/** "12.0 GB of 16.0 GB free", as far as that is known. */
function capacityOf(device) {
  if (isServer(device) || device.storage_totalsize === '0') {
    return '';
  }
  return device.storage_mountpath === '' ? bytes(device.storage_totalsize)
    : `${bytes(device.storage_availablesize)} of ${bytes(device.storage_totalsize)} free`;
}

const usbOf = (device) => (isServer(device) || device.storage_bus === 0 ? '' : `USB ${device.storage_bus}:${device.storage_address}`);

/** One device in one line, for a file or a pipe. */
const lineOf = (what, device) => [what.padEnd(8), device.storage_name, locationOf(device), kindOf(device), capacityOf(device),
  usbOf(device)].map(printable).filter((part) => part.trim() !== '').join('  ');

/** The DLNA service, from its start to its end. */
class Service {
  constructor(report) {
    this.report = report;
    this.runs = false;
    this.onStopped = () => {};
  }

  start() {
    call('mrb_Init_dlna_service', (text) => {
      const { param_event: state } = JSON.parse(text);
      this.runs = state === SERVICE_EVENTS.STARTED;
      this.report(this.runs ? 'looking for media servers' : 'not looking for media servers');
      if (!this.runs) this.onStopped();
    });
  }

  servers() { return this.runs ? listed('mrb_get_dlna_list') : []; }

  /** Stops the service; the program ends when the stop is reported. */
  stop() {
    this.onStopped = () => process.exit(0);
    call('mrb_finalize_dlna_service');
  }
}

/** The screen, which is redrawn whenever its contents change. */
class Screen {
  constructor() {
    this.events = [];
    this.service = null;
  }

  start(service) {
    this.service = service;
    enterFullScreen((_, key) => {
      if (key.name === 'q' || (key.ctrl && key.name === 'c')) {
        service.stop();
      }
    });
    process.on('SIGTERM', () => service.stop());
    process.stdout.on('resize', () => this.draw());
    this.draw();
  }

  addEvent(event, name) {
    const time = new Date().toTimeString().slice(0, 8);
    this.events.unshift(`${time} ${event.padEnd(8)} ${name}`);
    this.events.length = Math.min(this.events.length, MAX_EVENTS);
    this.draw();
  }

  row(columns, ...texts) {
    // The name and the place share what the others leave.
    const rest = Math.max(10, columns - 45);
    const widths = [Math.ceil(rest / 2), Math.floor(rest / 2), 9, 26, 9];
    return fit(` ${texts.map((text, index) => fit(printable(text), widths[index] - 1)).join(' ')}`, columns);
  }

  draw() {
    const columns = Math.max(20, process.stdout.columns || 80);
    const rows = Math.max(4, process.stdout.rows || 24);
    const attached = [...devices(), ...(this.service?.servers() ?? [])];
    const table = attached.map((device) => this.row(columns, device.storage_name, locationOf(device), kindOf(device),
      capacityOf(device), usbOf(device)));
    const lines = [
      `\x1b[1m${fit(` ${count(attached.length, 'device')}`, columns)}\x1b[0m`,
      `\x1b[4m${this.row(columns, 'name', 'mounted at', 'holds', 'room', 'where')}\x1b[0m`,
      ...table, '', ...this.events.map((text) => fit(` ${printable(text)}`, columns)),
    ];
    lines.length = Math.min(lines.length, rows - 1);
    while (lines.length < rows - 1) {
      lines.push('');
    }
    lines.push(fit(' q: leave', columns));
    process.stdout.write(`\x1b[H${lines.map((text) => `${text}\x1b[K`).join('\r\n')}`);
  }
}

/** Resolves when each camera has reported its capacity, or after a second: no list waits for that. */
function capacitiesKnown() {
  return new Promise((resolve) => {
    const check = () => {
      if (listed('mrb_get_ptp_list').every((camera) => camera.storage_totalsize !== '0')) {
        resolve();
      }
    };
    call('mrb_set_usb_callback', check); // before the first check, so that no event is missed in between
    check();
    setTimeout(resolve, 1000).unref();
  });
}

async function main() {
  const options = process.argv.slice(2);
  if (options.includes('--help')) {
    process.stdout.write(USAGE);
    return;
  }
  if (options.some((option) => option !== '--once')) {
    fail(`this takes no arguments but --once\n\n${USAGE}`);
  }
  const print = (what, device) => process.stdout.write(`${lineOf(what, device)}\n`);
  if (options.includes('--once')) {
    await capacitiesKnown();
    devices().forEach((device) => print('attached', device));
    quill.unref(bridge);
    return;
  }
  const screen = process.stdin.isTTY && process.stdout.isTTY ? new Screen() : null;
  const service = new Service((message) => {
    screen === null ? process.stdout.write(`${message}\n`) : screen.addEvent('network', message);
  });
  const onNotification = (text) => {
    const [{ storage_event: number, ...device }] = JSON.parse(text).storage_devices;
    const event = EVENT_NAMES[number] ?? `event ${number}`;
    screen === null ? print(event, device) : screen.addEvent(event, device.storage_name);
  };
  // Before the lists, so that no event is missed in between.
  call('mrb_set_usb_callback', onNotification);
  call('mrb_set_dlna_callback', onNotification);
  if (screen !== null) {
    screen.start(service);
  } else {
    process.stdout.on('error', () => process.exit(0)); // the reader closed the pipe
    for (const signal of ['SIGINT', 'SIGTERM']) {
      process.on(signal, () => service.stop());
    }
    devices().forEach((device) => print('attached', device));
  }
  service.start();
}

main();
