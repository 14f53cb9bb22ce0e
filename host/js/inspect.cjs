'use strict';
// Loaded by Node.js before its command line debugger, which starts the program to debug
// with this process's own executable: that must be `quill`, so that the program has the
// bridges. The debugger itself opens no bridge.

const path = require('node:path');
const build = require('./build.json');

process.execPath = path.join(__dirname, build.command);
