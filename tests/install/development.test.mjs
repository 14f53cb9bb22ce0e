// Bridges, logs and frameworks are written with what is installed, as docs/installing.md
// describes it: with its own files and commands, on a tree that was moved.
import assert from 'node:assert/strict';
import { readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import test, { before } from 'node:test';

import { inspect } from '../runner/elf.mjs';
import { blocks, bridgeCommand, folder, install, move, root, succeed } from './harness.mjs';

const [bridgeProject, logProject] = blocks('cmake');
const [bridgeSource, logSource] = blocks('cpp');

let tree;
before(async () => {
    tree = move(await install());
});

/** A folder with these files. */
function project(files) {
    const at = folder();
    for (const [name, text] of Object.entries(files)) writeFileSync(join(at, name), text);
    return at;
}

/** Builds a project with CMake and returns its build folder. */
async function built(files) {
    const source = project(files);
    const into = join(source, 'build');
    await succeed('cmake', ['-S', source, '-B', into, '-G', 'Ninja', `-DCMAKE_PREFIX_PATH=${tree}`]);
    await succeed('cmake', ['--build', into], { seconds: 900 });
    return into;
}

/** Runs a command with the moved tree's pkg-config files. */
const withPackages = (command, cwd) => succeed('bash', ['-euc', command], {
    cwd, seconds: 900, env: { PKG_CONFIG_PATH: join(tree, 'lib', 'pkgconfig') },
});

const greet = (library) => succeed(join(tree, 'bin', 'quill'), ['--bridge', library, '-p', 'new Greeting().constructor.name']);

test('a bridge is built with the CMake package', async () => {
    const into = await built({ 'CMakeLists.txt': bridgeProject, 'greeting.cpp': bridgeSource });
    assert.equal((await greet(join(into, 'libgreeting.so'))).trim(), 'Greeting');
});

test('a bridge is built with pkg-config', async () => {
    const source = project({ 'greeting.cpp': bridgeSource });
    // A shell splits what pkg-config prints at spaces, quoted or not: from a folder without.
    const link = join(folder(), 'quill');
    await succeed('ln', ['-s', tree, link]);
    await succeed('bash', ['-euc', bridgeCommand], { cwd: source, seconds: 900, env: { PKG_CONFIG_PATH: `${link}/lib/pkgconfig` } });
    assert.equal((await greet(join(source, 'libgreeting.so'))).trim(), 'Greeting');
});

test('a log takes the place of the installed one', async () => {
    const into = await built({ 'CMakeLists.txt': logProject, 'plainlog.cpp': logSource });
    assert.equal(inspect(join(into, 'libsystemlog.so.1')).soname, 'libsystemlog.so.1');
    const text = await succeed(join(tree, 'bin', 'quill'), ['-e', 'new MRBBridge().mrb_get_usb_list()'], { env: { LD_LIBRARY_PATH: into } });
    assert.match(text, /^plain MRB-BRIDGE-STORAGEMGR /m);
});

test('a framework has the name and the headers of the installed one', async () => {
    const into = await built({
        'CMakeLists.txt': logProject.replace('quill_replacement(plainlog systemlog plainlog.cpp)', 'quill_replacement(other mrb other.cpp)'),
        'other.cpp': '#include "mrb/agent.h"\n#include "mrb/share.h"\n#include "mrb/storage.h"\n#include "mrb/thumbnail.h"\n'
            + 'extern "C" int mrb_disconnect_v2(mrb_agent_handler_h) { return MRB_ERR_NONE; }\n',
    });
    const { soname, exported } = inspect(join(into, 'libmrb.so.1'));
    assert.equal(soname, 'libmrb.so.1');
    assert.deepEqual(exported.filter((name) => name.startsWith('mrb_')), ['mrb_disconnect_v2']);
});

test('a program calls the framework and the log', async () => {
    const into = await built({
        'CMakeLists.txt': 'cmake_minimum_required(VERSION 3.22)\nproject(caller CXX)\nfind_package(quillmrbbridge 1 REQUIRED)\n'
            + 'add_executable(caller caller.cpp)\ntarget_link_libraries(caller PRIVATE quill::framework quill::log)\n',
        'caller.cpp': '#include <cstdio>\n#include "mrb/storage.h"\n#include "system_log.h"\n'
            + 'int main() { mrb_storage_list_h list = nullptr; const int result = mrb_get_usb_list(MRB_STORAGE_KIND_USB, &list);\n'
            + 'system_log_print(SYSTEM_LOG_MAIN, SYSTEM_LOG_NOTICE, "CALLER", "%d", result); std::printf("%d\\n", result); }\n',
    });
    assert.match(await succeed(join(into, 'caller'), []), /^-?\d+$/m);
});

test('another version of the package is not taken', async () => {
    const source = project({ 'CMakeLists.txt': bridgeProject.replace('quillmrbbridge 1', 'quillmrbbridge 2'), 'greeting.cpp': bridgeSource });
    await assert.rejects(succeed('cmake', ['-S', source, '-B', join(source, 'build'), `-DCMAKE_PREFIX_PATH=${tree}`]), /version/);
});

test('each pkg-config file names its library and the version', async () => {
    const [, version] = /project\(quillmrbbridge VERSION (\S+)/.exec(readFileSync(join(root, 'CMakeLists.txt'), 'utf8'));
    for (const [name, library] of [['bridge', 'quill'], ['framework', 'mrb'], ['log', 'systemlog']]) {
        assert.equal((await withPackages(`pkg-config --modversion quill-${name}`)).trim(), version);
        assert.match(await withPackages(`pkg-config --libs quill-${name}`), new RegExp(`-l${library}\\s*$`));
    }
});
