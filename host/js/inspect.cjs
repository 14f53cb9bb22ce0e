'use strict';
// Loaded by Node.js before its command line debugger, which starts the program that it
// debugs with this process's own executable: that is to be `quill`, so that the program
// has the bridges. The debugger itself has none.

const path = require('node:path');

process.execPath = path.join(__dirname, '..', '..', 'bin', 'quill');
