// What the build answers to the wrong options of a port, and to headers that its own warnings
// would refuse.
import assert from 'node:assert/strict';
import { mkdtempSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import test, { before } from 'node:test';

import { run } from '../runner/process.mjs';
import { here, makeCheckout, makeSdk } from './sdk.mjs';

let sdk;
let checkout;
before(() => {
    sdk = makeSdk();
    checkout = makeCheckout();
});

/** The variables of a port that is right. */
function rightOptions() {
    const include = `${join(here, 'shim')};${sdk}/usr/include/tv`;
    const library = (name) => `${sdk}/usr/lib/lib${name}.so`;
    return {
        V8_INCLUDE: `${sdk}/usr/include/v8`,
        QUILL_HOST_LIBRARY: library('jsengine'), QUILL_HOST_INCLUDE: include,
        MRB_LIBRARY: library('tvmedia'), MRB_INCLUDE: include,
        SYSTEM_LOG_LIBRARY: library('tvlog'), SYSTEM_LOG_INCLUDE: include,
    };
}

/** Configures with these changes of the right options; undefined leaves one out. */
async function configure(changes, folder = mkdtempSync(join(tmpdir(), 'quill-configured-'))) {
    const options = Object.entries({ ...rightOptions(), ...changes })
        .flatMap(([name, value]) => (value === undefined ? [] : [`-D${name}=${value}`]));
    const { output, ended } = await run('cmake', ['-S', checkout, '-B', folder, '-G', 'Ninja', ...options]);
    return { folder, ended, message: output.replace(/\s+/g, ' ') };
}

/** Compiles one file, which includes a header of the framework. */
const compile = (folder) => run('cmake', ['--build', folder, '--', 'src/CMakeFiles/bridge-objects.dir/storage_record.cpp.o'], { seconds: 900 });

async function assertRefused(changes, expected) {
    const { ended, message } = await configure(changes);
    assert.notEqual(ended, '', message);
    assert.ok(message.includes(expected), message);
}

for (const name of ['QUILL_HOST', 'MRB', 'SYSTEM_LOG']) {
    test(`a ${name}_LIBRARY that does not exist is an error that names it`, async () => {
        await assertRefused({ [`${name}_LIBRARY`]: '/no/such/library.so' }, `${name}_LIBRARY: there is no file /no/such/library.so`);
    });

    test(`a folder of ${name}_INCLUDE that does not exist is an error that names it`, async () => {
        await assertRefused({ [`${name}_INCLUDE`]: `${here};/no/such/folder` }, `${name}_INCLUDE: there is no folder /no/such/folder`);
    });

    test(`a ${name}_INCLUDE without its library is an error`, async () => {
        await assertRefused({ [`${name}_LIBRARY`]: undefined }, `${name}_INCLUDE is set without ${name}_LIBRARY`);
    });
}

test('a folder is no library', async () => {
    await assertRefused({ MRB_LIBRARY: sdk }, `MRB_LIBRARY: there is no file ${sdk}`);
});

test('an engine without V8\'s headers is an error that names the variable', async () => {
    await assertRefused({ V8_INCLUDE: undefined }, 'V8_INCLUDE: name the folder of the engine\'s v8.h');
});

test('a V8_INCLUDE that does not exist is an error that names it', async () => {
    await assertRefused({ V8_INCLUDE: '/no/such/v8' }, 'V8_INCLUDE: there is no folder /no/such/v8');
});

test('a V8_INCLUDE without v8.h is an error', async () => {
    await assertRefused({ V8_INCLUDE: here }, 'V8_INCLUDE: there is no v8.h in');
});

test('the tests cannot be built against foreign libraries', async () => {
    await assertRefused({ QUILL_TESTS: 'ON' }, 'QUILL_TESTS: the tests need this project\'s own libraries');
});

test('a header that the television lacks is not taken from this project', async () => {
    const { folder, ended, message } = await configure({
        MRB_INCLUDE: `${sdk}/usr/include/v8`, QUILL_HOST_INCLUDE: undefined, SYSTEM_LOG_INCLUDE: undefined,
    });
    assert.equal(ended, '', message);
    const { output } = await compile(folder);
    assert.match(output, /fatal error: mrb\/storage\.h: No such file/);
});

test('warnings stop the build only where that is not switched off', async () => {
    // Which shows the warnings of the television's headers too.
    const CMAKE_CXX_FLAGS = '-Wsystem-headers';
    const strict = await compile((await configure({ CMAKE_CXX_FLAGS })).folder);
    assert.match(strict.output, /storage_manager\.h:\d+:\d+: error: .*\[-Werror=/);
    const lenient = await compile((await configure({ CMAKE_CXX_FLAGS, QUILL_WARNINGS_AS_ERRORS: 'OFF' })).folder);
    assert.match(lenient.output, /storage_manager\.h:\d+:\d+: warning: /);
    assert.equal(lenient.ended, '');
});
