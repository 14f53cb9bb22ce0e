// Runs the suites of tests named on the command line, the usual ones without a
// name, and ends with the line "N passed, M failed", after it ", K skipped" where
// the system does not offer what some tests need. Called by ./test, which has
// installed what this needs and knows the options.

import { accessSync, chmodSync, constants, mkdirSync, mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { build } from './runner/build.mjs';
import { compilers, format, records } from './runner/checks.mjs';
import { kinds } from './runner/kinds.mjs';
import { layout } from './runner/layers.mjs';
import { locks } from './runner/locks.mjs';
import { provideNode } from './runner/node_versions.mjs';
import { references } from './runner/references.mjs';
import { countLine, skipLine, sum } from './runner/results.mjs';
import { missingHere } from './runner/surroundings.mjs';
import { CROSS, provideSysroot } from './runner/sysroots.mjs';
import { tidy } from './runner/tidy.mjs';

const root = dirname(dirname(fileURLToPath(import.meta.url)));
const logs = join(root, 'build', 'test-logs');

// The product's neighbours replaced by ones that tests steer and read.
const recorded = (folder) => ({ LD_LIBRARY_PATH: join(folder, 'tests', 'recording') });
const quill = (folder) => join(folder, 'bin', 'quill');

/*
 * name     what ./test NAME calls it; one line runs in each of `builds`
 * kind     how it is run and counted, see runner/kinds.mjs
 * builds   the presets it runs in; '' needs none
 * more     those that it runs in besides with --all, or when it is named
 * named    those that it runs in when the build is named
 * all      of those, the ones that it runs in with --all too, and there these files alone;
 *          with an empty list, all of them
 * targets  what of the build it needs, all of it unless said; see `needed`
 * first    files of tests that take long, started before the others
 * parts    so many processes share its tests, where these mostly wait
 * seconds  the limit, of one program or file, far above what it takes
 */
// Usually one build has everything, and the sanitizers watch what they need little of a
// second build for: the log, the bridge's document and its classes.
const RECORDING = ['mrb-recording', 'systemlog-recording', 'recorder'];
// The order of folders, and that what the documents name exists.
const layoutAndReferences = async (tree) => [await layout(tree), await references(tree)].filter(Boolean).join('\n');
// Calls wait for the scan of the devices however busy the machine is.
const patient = () => ({ MRB_DEVICE_TIMEOUT: '30000' });
// Scripts run on each of these; the usual builds have the Node.js that is installed.
const OTHER_NODES = ['node18', 'node22', 'node24'];
// Emulated, and so slow: with --all these cover the records, the numbers and the texts that
// cross the interfaces.
const OF_ARMHF = ['call_order_items', 'item_fields', 'json_requests', 'record_layouts', 'storage_commands',
    'thumbnail_results', 'unload'];
// Not where libraries lie in a sysroot and not in their places: tests of cameras and of HEIF,
// whose libraries load drivers from absolute paths, and those that start themselves again.
// Nor those of made-up devices, whose library does not know the calls with 64-bit times.
const NOT_IN_SYSROOT = '-Ptp*:*Camera*:*cameras*:Teardown*:ProcessExit.*:DeviceLoss.*:' +
    'DeviceMountTable.*:DeviceUdev.*:DeviceMissing.*:DeviceHang*:' +
    'HostileThumbnails.ATruncatedPictureIsDamaged:HostileThumbnails.AHeicOrAvif*:Pictures.AHeic*:Pictures.AnAvif';
const TABLE = [
    { name: 'runner', kind: 'node', builds: [''], folder: 'tests/runner', seconds: 300 },
    { name: 'format', kind: 'check', builds: [''], check: format },
    { name: 'layout', kind: 'check', builds: [''], check: layoutAndReferences },
    { name: 'records', kind: 'check', builds: [''], check: records },
    { name: 'compilers', kind: 'check', builds: [], more: [''], check: compilers },
    // Needs the commands of the build, not what they build.
    { name: 'locks', kind: 'check', builds: ['dev'], targets: ['systemlog'], check: locks },
    { name: 'syslog', kind: 'gtest', builds: ['dev', 'asan'], more: ['tsan'], targets: ['syslog_tests'],
      command: ['{build}/tests/syslog_tests'], seconds: 300 },
    { name: 'framework', kind: 'gtest', builds: ['dev'], more: ['asan', 'tsan'], targets: ['framework_tests'],
      command: ['{build}/tests/framework_tests'], parts: 8, seconds: 1200 },
    { name: 'framework', kind: 'gtest', builds: [], named: ['i386-framework'], targets: ['framework_tests'],
      command: ['{build}/tests/framework_tests'], parts: 8, seconds: 1200, env: () => ({ GTEST_FILTER: NOT_IN_SYSROOT }) },
    { name: 'json', kind: 'gtest', builds: ['dev', 'asan'], named: CROSS, all: { i386: [] }, targets: ['json_tests'],
      command: ['{build}/tests/json_tests'], seconds: 300 },
    { name: 'unit', kind: 'gtest', builds: ['dev', 'asan'], named: CROSS, all: { i386: [] }, targets: ['unit_tests'],
      command: ['node', 'tests/unit/run.mjs', '{build}/tests/unit_tests.node'], seconds: 600 },
    { name: 'blackbox', kind: 'node', builds: ['dev'], more: ['asan'], named: [...OTHER_NODES, ...CROSS],
      all: { i386: [], armhf: OF_ARMHF }, folder: 'tests/blackbox', program: quill, env: recorded,
      targets: ['product', ...RECORDING], seconds: 1800 },
    // Once more as it ships: optimised, without a sanitizer.
    { name: 'blackbox', kind: 'node', builds: [], more: ['release'], folder: 'tests/blackbox', program: quill,
      env: recorded, targets: ['product', ...RECORDING], seconds: 600 },
    // One of its tests looks at every kind of program that is built.
    { name: 'host', kind: 'node', builds: ['dev'], more: ['asan'], named: OTHER_NODES, folder: 'tests/host',
      targets: ['product', 'test-bridges', 'framework_tests', 'unit_tests', 'recorder'], seconds: 600 },
    { name: 'system', kind: 'node', builds: ['dev'], more: ['asan'], folder: 'tests/system', env: patient,
      targets: ['product', 'mrb-hanging'],
      first: ['dlna_lists', 'cameras', 'browse', 'copy', 'dlna_share'], seconds: 1800 },
    // What the optimised libraries show to the loader.
    { name: 'surface', kind: 'node', builds: [], more: ['release'], named: CROSS, all: { i386: [], armhf: [] },
      folder: 'tests/surface', program: () => process.execPath, targets: ['product'], seconds: 300 },
    // How others build for another architecture.
    { name: 'cross', kind: 'node', builds: [], named: CROSS, all: { i386: [], armhf: [] }, folder: 'tests/cross',
      program: () => process.execPath, targets: ['product'], seconds: 1800 },
    // The tree that is installed, moved, with the build folder away.
    { name: 'install', kind: 'node', builds: ['dev'], folder: 'tests/install', targets: ['product'], seconds: 1200 },
    // Debian packages; it builds them itself, twice.
    { name: 'package', kind: 'node', builds: [], more: [''], folder: 'tests/package', env: () => ({ QUILL_BUILD: join(root, 'build', 'package') }),
      seconds: 5400 },
    // The product built as for a television, and loaded there.
    { name: 'television', kind: 'node', builds: [], more: ['dev'], folder: 'tests/television', targets: ['television'],
      seconds: 1800 },
    // The other command, which builds the shipped program where nothing has yet.
    { name: 'run', kind: 'node', builds: [], more: ['release'], folder: 'tests/run', targets: ['product'], seconds: 1800 },
    // Without targets: what no suite needs, the benchmarks, is compiled at least.
    { name: 'tidy', kind: 'check', builds: [], more: ['dev'], check: tidy },
];

const suites = TABLE.flatMap((entry) =>
    [...entry.builds, ...(entry.more ?? []), ...(entry.named ?? [])].map((build) => ({ ...entry, build })));
const isUsual = ({ builds, build }) => builds.includes(build);
const isOfName = ({ named, build }) => !named?.includes(build);
const isOfAll = (suite) => isOfName(suite) || suite.build in (suite.all ?? {});
const titleOf = (suite) => (suite.build ? `${suite.name}:${suite.build}` : suite.name);

function chosenSuites(names, all) {
    const isNamed = (suite, name) => [suite.name, suite.build, titleOf(suite)].includes(name);
    const unknown = names.filter((name) => !suites.some((suite) => isNamed(suite, name)));
    if (unknown.length > 0) {
        const known = [...new Set(suites.map((suite) => suite.name))].join(' ');
        const builds = [...new Set(suites.map((suite) => suite.build))].filter(Boolean).join(' ');
        console.error(`test: there is no suite ${unknown.join(', ')}; there are ${known}, and all of a build: ${builds}`);
        process.exit(1);
    }
    if (names.length === 0 && all) {
        return suites.filter(isOfAll).map((suite) => ({ ...suite, sample: suite.all?.[suite.build] }));
    }
    if (names.length === 0) return suites.filter(isUsual);
    // A suite's name alone does not ask for other versions of Node.js and other architectures.
    return suites.filter((suite) => names.some((name) => isNamed(suite, name) && (name !== suite.name || isOfName(suite))));
}

/** The targets of a build that these suites need. */
function needed(build, chosen) {
    const those = chosen.filter((suite) => suite.build === build);
    return those.every((suite) => suite.targets) ? [...new Set(those.flatMap((suite) => suite.targets))] : ['all'];
}

function report(title, count, started) {
    const seconds = ((Date.now() - started) / 1000).toFixed(1);
    console.log(`${title.padEnd(16)} ${countLine(count)} in ${seconds} s`);
    if (count.failed) console.log(`${count.details.replace(/^/gm, '    ')}\n`);
}

// Tests that repeat an operation do so more often where everything runs, in the build that
// is slowed by no sanitizer.
const isLong = ({ build }) => process.argv.includes('--all') && build === 'dev';

const names = process.argv.slice(2).filter((argument) => !argument.startsWith('--'));
const chosen = chosenSuites(names, process.argv.includes('--all'));
if (process.argv.includes('--list')) {
    for (const suite of chosen) console.log(titleOf(suite));
    process.exit(0);
}

try {
    // Not mkdirSync alone: the folder may be there and belong to another user.
    mkdirSync(logs, { recursive: true });
    accessSync(logs, constants.W_OK);
} catch (error) {
    console.error(`test: cannot write to ${logs} (${error.code}); make ${root} writable, or use a copy`);
    console.log('0 passed, 1 failed');
    process.exit(1);
}

// What tests leave lying about goes with the run.
process.env.TMPDIR = mkdtempSync(join(tmpdir(), 'quill-test-'));
chmodSync(process.env.TMPDIR, 0o755); // tests that give up root's rights go on reading here
// What is learnt of test media is not for the user's programs.
process.env.MRB_CACHE_FOLDER = join(process.env.TMPDIR, 'cache');
process.on('exit', () => {
    try {
        rmSync(process.env.TMPDIR, { recursive: true, force: true });
    } catch {
        // A folder that a killed test had made unreadable: no reason to fail.
    }
});

// What is missing is a failure where the machine is ours to set up.
const missing = process.env.CI === 'true' ? [] : await missingHere();
process.env.QUILL_TESTS_MISSING = missing.join(' ');

const counts = [];
for (const preset of new Set(chosen.map((suite) => suite.build))) {
    const those = chosen.filter((suite) => suite.build === preset);
    let broken = '';
    if (preset) {
        const started = Date.now();
        broken = (await provideNode(root, preset)) || (await provideSysroot(root, preset)) ||
            (await build(root, preset, needed(preset, chosen)));
        const seconds = ((Date.now() - started) / 1000).toFixed(1);
        console.log(broken ? `build/${preset} failed\n${broken.replace(/^/gm, '    ')}\n` : `build/${preset} in ${seconds} s`);
    }
    for (const suite of those) {
        // A suite that needs little of the build may have that part all the same.
        const unbuilt = broken && suite.targets ? await build(root, preset, suite.targets) : broken;
        const started = Date.now();
        const count = unbuilt
            ? { passed: 0, failed: 1, skipped: {}, details: `not run: build/${preset} failed` }
            : await kinds[suite.kind]({ ...suite, isLong: isLong(suite) }, root, missing);
        report(titleOf(suite), count, started);
        counts.push(count);
    }
}
const total = sum(counts);
const reasons = skipLine(total);
if (reasons) console.log(reasons);
console.log(countLine(total));
process.exit(total.failed === 0 && total.passed > 0 ? 0 : 1);
