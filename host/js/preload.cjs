'use strict';
// Loaded by Node.js before the script: opens the bridges and makes their classes,
// and `quill`, globals of the main thread.

const { isMainThread } = require('node:worker_threads');
const os = require('node:os');
const path = require('node:path');
const util = require('node:util');
const build = require('./build.json');

const LIBRARIES = path.join(__dirname, '..');
const DEFAULT_BRIDGE = path.join(LIBRARIES, 'libquillmrbbridge.so');

/** Ends the program with one line that says what is wrong. */
function fail(message) {
  process.stderr.write(`quill: ${message.trim()}\n`);
  process.exit(1);
}

/** The addon; like the bridges it must not bind to the libraries inside node. */
function loadAddon() {
  const { RTLD_NOW, RTLD_DEEPBIND } = os.constants.dlopen;
  const file = path.join(__dirname, 'quill.node');
  const addon = { exports: {} };
  try {
    process.dlopen(addon, file, build.deepBind ? RTLD_NOW | RTLD_DEEPBIND : RTLD_NOW);
  } catch (error) {
    const [reason] = error.message.split('\n');
    fail(`cannot load its engine part ${file} into Node.js ${process.version} ` +
         `(it was built for ${build.node}): ${reason}`);
  }
  return addon.exports;
}

/** The bridges to open: the one that comes with quill, unless one of the same file name replaces it. */
function bridgeFiles() {
  const asked = (process.env.QUILL_BRIDGES ?? '').split('\n').filter(Boolean);
  const replaced = asked.some((file) => path.basename(file) === path.basename(DEFAULT_BRIDGE));
  return replaced ? asked : [DEFAULT_BRIDGE, ...asked];
}

function defineGlobal(name, value) {
  Object.defineProperty(globalThis, name, { value, writable: true, configurable: true, enumerable: false });
}

/**
 * Reports what an asynchronous callback threw as an uncaught error is reported,
 * except that the program goes on: later deliveries must not be lost. Its exit
 * status is 1 in the end, unless the script sets one. Returns false where Node.js
 * is to hand the error to the script: to a domain, as that of the prompt.
 */
function reportCallbackError(error, where) {
  if (process.hasUncaughtExceptionCaptureCallback()) {
    return false;
  }
  process.emit('uncaughtExceptionMonitor', error, 'uncaughtException');
  if (process.listenerCount('uncaughtException') > 0) {
    process.emit('uncaughtException', error, 'uncaughtException');
    return true;
  }
  const text = util.types.isNativeError(error) && error.stack ? error.stack : `Uncaught ${util.inspect(error)}`;
  process.stderr.write(`${where}\n\n${text}\n\nNode.js ${process.version}\n`);
  process.exitCode ??= 1;
  return true;
}

function start() {
  const addon = loadAddon();
  addon.setErrorReporter(reportCallbackError);
  for (const file of bridgeFiles()) {
    const { classes, error } = addon.openBridge(file);
    if (error !== undefined) {
      fail(`cannot load the bridge ${file}: ${error.replace(`${file}: `, '')}`);
    }
    for (const [name, constructor] of Object.entries(classes)) {
      defineGlobal(name, constructor);
    }
  }
  defineGlobal('quill', Object.freeze({
    version: build.version,
    /** Destroys the native part of a script object; methods called on it later throw. */
    release: (object) => addon.release(object),
    /** Lets the program end although the object has functions registered. */
    unref: (object) => addon.unref(object),
    /** Takes unref back. */
    ref: (object) => addon.ref(object),
  }));
}

// Worker threads have isolates of their own; script classes belong to the main one.
if (isMainThread) {
  start();
}
