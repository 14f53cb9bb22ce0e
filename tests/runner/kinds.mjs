// The kinds of suite: how each is run and counted. Each resolves to
// {passed, failed, skipped, details}. `missing` names what the system does not offer,
// so that tests may be skipped for it; see surroundings.mjs.

import { mkdirSync, readFileSync, rmSync } from 'node:fs';
import { cpus } from 'node:os';
import { basename, dirname, join } from 'node:path';

import { nodeEnvironment, programEnvironment, withoutRandomAddresses } from './build.mjs';
import { nodeOf } from './node_versions.mjs';
import { inParallel, run } from './process.mjs';
import { countGtest, countTap, sum } from './results.mjs';
import { filesIn } from './sources.mjs';
import { NEEDS } from './surroundings.mjs';
import { wrapperOf } from './sysroots.mjs';

// More than there are processors: tests wait for events most of the time.
const AT_ONCE = 2 * cpus().length;

function buildFolderOf(suite, root) {
    return suite.build ? join(root, 'build', suite.build) : '';
}

/** What a suite adds to the environment. */
function settingsOf(suite, folder) {
    return { ...(suite.isLong && { QUILL_TEST_LONG: '1' }), ...suite.env?.(folder) };
}

function logOf(suite, root, part = '') {
    return join(root, 'build', 'test-logs', `${[suite.name, suite.build, part].filter(Boolean).join('-')}.log`);
}

/** The line that runs a command again by hand. */
function again(env, command) {
    const quoted = (word) => (/^[\w@%+=:,./-]+$/.test(word) ? word : `'${word.replaceAll("'", "'\\''")}'`);
    const settings = Object.entries(env).map(([name, value]) => `${name}=${quoted(value)}`);
    return `again: ${[...settings, ...command.map(quoted)].join(' ')}`;
}

/** A GoogleTest program, or one that loads such tests and passes its environment on. */
async function gtest(suite, root, missing) {
    const parts = suite.parts ?? 1;
    const numbers = Array.from({ length: parts }, (_, number) => number);
    return sum(await inParallel(numbers, AT_ONCE, (number) => gtestPart(suite, root, missing, number, parts)));
}

/** One of the parts that GoogleTest deals the tests of a program out to. */
async function gtestPart(suite, root, missing, number, parts) {
    const folder = buildFolderOf(suite, root);
    const part = parts > 1 ? `${number + 1}` : '';
    const log = logOf(suite, root, part);
    const report = log.replace(/\.log$/, '.json');
    mkdirSync(dirname(report), { recursive: true });
    rmSync(report, { force: true });
    const inNode = suite.command[0] === 'node';
    const words = suite.command.map((word) => word.replace('{build}', folder));
    const [wrapper] = wrapperOf(root, suite.build);
    if (inNode) words[0] = nodeOf(root, suite.build);
    else if (wrapper) words.unshift(wrapper);
    const env = {
        ...(inNode ? nodeEnvironment : programEnvironment)(suite.build),
        QUILL_BUILD: folder,
        ...(wrapper && { QUILL_RUN: wrapper }),
        ...(part && { GTEST_TOTAL_SHARDS: `${parts}`, GTEST_SHARD_INDEX: `${number}` }),
        ...settingsOf(suite, folder),
    };
    const command = await withoutRandomAddresses(suite.build, words);
    const { output, ended } = await run(command[0], command.slice(1), {
        cwd: root,
        env: { ...env, GTEST_OUTPUT: `json:${report}`, GTEST_COLOR: 'no' },
        seconds: suite.seconds,
        log,
    });
    let text = null;
    try {
        text = readFileSync(report, 'utf8');
    } catch {
        // It died before its end; countGtest says so.
    }
    const count = countGtest(text, output, ended, Object.fromEntries(missing.map((name) => [name, NEEDS[name].reason])));
    if (count.failed) count.details += `\n${again(env, command)}`;
    return count;
}

/** Files of node:test, each in a process of its own. */
async function node(suite, root, missing) {
    const folder = buildFolderOf(suite, root);
    const isOfSample = (file) => !suite.sample?.length || suite.sample.includes(basename(file, '.test.mjs'));
    const files = filesIn(root, [suite.folder], /\.test\.mjs$/).filter(isOfSample);
    const isThere = (name) => files.some((file) => basename(file, '.test.mjs') === name);
    const lacking = suite.sample?.length ? suite.sample.filter((name) => !isThere(name)) : files.length === 0 ? ['*'] : [];
    if (lacking.length > 0) {
        const details = lacking.map((name) => `there is no file ${suite.folder}/${name}.test.mjs`).join('\n');
        return { passed: 0, failed: 1, skipped: {}, details };
    }
    const env = { ...nodeEnvironment(suite.build), QUILL_BUILD: folder, ...settingsOf(suite, folder) };
    const engine = nodeOf(root, suite.build);
    if (engine !== process.execPath) env.QUILL_NODE = engine;
    const [wrapper] = wrapperOf(root, suite.build);
    if (wrapper) env.QUILL_RUN = wrapper; // for the programs that tests start
    const program = suite.program?.(folder) ?? engine;
    const isFirst = (file) => suite.first?.includes(basename(file, '.test.mjs')) ?? false;
    files.sort((one, other) => isFirst(other) - isFirst(one));
    const counts = await inParallel(files, AT_ONCE, async (file) => {
        const words = [program, '--test-reporter=tap', join(root, file)];
        const command = await withoutRandomAddresses(suite.build, words);
        const { output, ended } = await run(command[0], command.slice(1), {
            cwd: root,
            env,
            seconds: suite.seconds,
            log: logOf(suite, root, basename(file, '.test.mjs')),
        });
        const count = countTap(output, ended, missing.map((name) => NEEDS[name].reason));
        const details = count.failed ? `${file}\n${count.details}\n${again(env, command)}` : '';
        return { ...count, details };
    });
    return sum(counts);
}

/** A check passes or fails as one test. */
async function check(suite, root) {
    const details = await suite.check(root);
    return { passed: details ? 0 : 1, failed: details ? 1 : 0, skipped: {}, details };
}

export const kinds = { gtest, node, check };
