'use strict';
// Loaded by Node.js before the script: opens the bridges and defines their classes,
// and `quill`, as globals of the main thread.

const { isMainThread } = require('node:worker_threads');
const os = require('node:os');
const path = require('node:path');
const util = require('node:util');
const build = require('./build.json');

const LIBRARIES = path.join(__dirname, build.libraries);
const DEFAULT_BRIDGE = path.join(LIBRARIES, 'libquillmrbbridge.so');

/** Ends the program with one line that says what failed. */
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
    fail(`cannot load the addon ${file} into Node.js ${process.version} ` +
         `(it was built for ${build.node}): ${reason}`);
  }
  return addon.exports;
}

/** The bridges to open: the one that comes with quill, unless one of the same file name replaces it. */
function bridgeFiles() {
  const requested = (process.env.QUILL_BRIDGES ?? '').split('\n').filter(Boolean);
  const replaced = requested.some((file) => path.basename(file) === path.basename(DEFAULT_BRIDGE));
  return replaced ? requested : [DEFAULT_BRIDGE, ...requested];
}

function defineGlobal(name, value) {
  Object.defineProperty(globalThis, name, { value, writable: true, configurable: true, enumerable: false });
}

/**
 * Reports what an asynchronous callback threw in the way of an uncaught error,
 * except that the program continues: later deliveries must not be lost. Its exit
 * status is 1 in the end, unless the script sets one. Returns false when Node.js
 * is to pass the error to the script: to a domain, such as that of the prompt.
 */
function reportCallbackError(error, place) {
  if (process.hasUncaughtExceptionCaptureCallback()) {
    return false;
  }
  process.emit('uncaughtExceptionMonitor', error, 'uncaughtException');
  if (process.listenerCount('uncaughtException') > 0) {
    process.emit('uncaughtException', error, 'uncaughtException');
    return true;
  }
  const text = util.types.isNativeError(error) && error.stack ? error.stack : `Uncaught ${util.inspect(error)}`;
  process.stderr.write(`${place}\n\n${text}\n\nNode.js ${process.version}\n`);
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
    /** Undoes unref. */
    ref: (object) => addon.ref(object),
  }));
}

// Worker threads have isolates of their own; script classes belong to the main one.
if (isMainThread) {
  start();
}
