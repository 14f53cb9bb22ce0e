// Runs the white-box tests inside this Node.js process, which has the engine that
// they need: node run.mjs unit_tests.node [GoogleTest options]
import { dlopen, exit } from 'node:process';
import path from 'node:path';

const [file, ...options] = process.argv.slice(2);
const addon = { exports: {} };
dlopen(addon, path.resolve(file));
exit(addon.exports.run(options));
