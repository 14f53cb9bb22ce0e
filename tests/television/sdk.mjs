// The made-up television's SDK: the libraries that the build made, and headers that declare
// what they offer under other names and in other folders than ours.

import { cpSync, mkdirSync, mkdtempSync, readdirSync, readFileSync, symlinkSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

export const here = dirname(fileURLToPath(import.meta.url));
export const root = dirname(dirname(here));
export const build = process.env.QUILL_BUILD;
if (!build) throw new Error('QUILL_BUILD must name the build folder');

// Our header -> the television's.
const HEADERS = {
    'mrb/agent.h': 'media/content_agent.h',
    'mrb/layout.h': 'media/private/abi.h',
    'mrb/result.h': 'media/errors.h',
    'mrb/share.h': 'media/batch_share.h',
    'mrb/storage.h': 'media/storage_manager.h',
    'mrb/thumbnail.h': 'media/thumbs.h',
    'quill/bridge.h': 'engine/native.hpp',
};
const theirName = (ours) => HEADERS[ours] ?? ours.replace(/^quill\/(.*)\.h$/, 'engine/detail/$1.hpp');

// What our own warnings would refuse.
const CARELESS = (name) => `
static inline int ${name}_careless(long wide, int unused) { int narrow = wide; { int narrow = 1; (void)narrow; } return narrow; }
`;

/** V8's headers without those of Node.js, as a television has them. */
function copyV8(from, to) {
    mkdirSync(to, { recursive: true });
    for (const name of readdirSync(from).filter((file) => /^(v8.*\.h|cppgc|libplatform)$/.test(file))) {
        cpSync(join(from, name), join(to, name), { recursive: true });
    }
}

/** Makes the SDK in a folder whose name has a space in it, and returns that. */
export function makeSdk() {
    const sdk = join(mkdtempSync(join(tmpdir(), 'quill-television-')), 'tv sdk');
    const include = join(sdk, 'usr', 'include');
    cpSync(join(build, 'tests', 'television', 'usr', 'lib'), join(sdk, 'usr', 'lib'), { recursive: true, verbatimSymlinks: true });
    cpSync(join(build, 'tests', 'recording', 'librecordingevents.so'), join(sdk, 'usr', 'lib', 'librecordingevents.so'));
    for (const folder of ['mrb', 'quill']) {
        for (const file of readdirSync(join(root, 'platform', folder))) {
            const ours = `${folder}/${file}`;
            const theirs = join(include, 'tv', theirName(ours));
            const text = readFileSync(join(root, 'platform', ours), 'utf8')
                .replace(/^#include "((?:mrb|quill)\/.*)"$/gm, (_, name) => `#include <${theirName(name)}>`);
            mkdirSync(dirname(theirs), { recursive: true });
            writeFileSync(theirs, text + CARELESS(file.replace(/\W/g, '_')));
        }
    }
    mkdirSync(join(include, 'tv', 'tvlog'));
    cpSync(join(here, 'tv_log.h'), join(include, 'tv', 'tvlog', 'tv_log.h'));
    const cache = readFileSync(join(build, 'CMakeCache.txt'), 'utf8');
    copyV8(/^NODE_INCLUDE:PATH=(.*)$/m.exec(cache)[1], join(include, 'v8'));
    return sdk;
}

/** A checkout's parts that the product is built from, and nothing else of it. */
export function makeCheckout() {
    const checkout = mkdtempSync(join(tmpdir(), 'quill-port-'));
    for (const name of ['CMakeLists.txt', 'cmake', 'docs', 'platform', 'src']) {
        symlinkSync(join(root, name), join(checkout, name));
    }
    mkdirSync(join(checkout, 'tests', 'television'), { recursive: true });
    symlinkSync(join(here, 'shim'), join(checkout, 'tests', 'television', 'shim'));
    return checkout;
}

/** A folder of programs for the front of PATH: pkg-config that writes down what it is asked for, and no Node.js. */
export function makeTools() {
    const tools = mkdtempSync(join(tmpdir(), 'quill-tools-'));
    const script = (name, text) => writeFileSync(join(tools, name), `#!/bin/sh\n${text}\n`, { mode: 0o755 });
    script('pkg-config', `echo "$*" >>'${tools}/asked'\nexec /usr/bin/pkg-config "$@"`);
    script('node', `echo node >>'${tools}/asked'; exit 1`);
    writeFileSync(join(tools, 'asked'), '');
    return { path: tools, asked: () => readFileSync(join(tools, 'asked'), 'utf8') };
}
