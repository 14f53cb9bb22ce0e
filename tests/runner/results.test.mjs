import assert from 'node:assert/strict';
import test from 'node:test';

import { countGtest, countTap } from './results.mjs';

const report = (...tests) => JSON.stringify({ testsuites: [{ name: 'Suite', testsuite: tests }] });
const good = { name: 'good', status: 'RUN', result: 'COMPLETED' };
const bad = { name: 'bad', status: 'RUN', result: 'COMPLETED', failures: [{ failure: 'file:7\nwrong' }] };
const skipped = { name: 'skips', status: 'RUN', result: 'SKIPPED' };
const disabled = { name: 'DISABLED_off', status: 'NOTRUN', result: 'SUPPRESSED' };

const summary = (pass, fail, cancelled = 0, skip = 0, todo = 0) =>
    `# pass ${pass}\n# fail ${fail}\n# cancelled ${cancelled}\n# skipped ${skip}\n# todo ${todo}\n`;

test('GoogleTest: passed and failed tests are counted', () => {
    const count = countGtest(report(good, good, bad), '', 'ended with status 1');
    assert.deepEqual([count.passed, count.failed], [2, 1]);
    assert.match(count.details, /^Suite\.bad: file:7\nwrong$/);
});

test('GoogleTest: skipped and disabled tests have failed', () => {
    const count = countGtest(report(good, skipped, disabled), '', '');
    assert.deepEqual([count.passed, count.failed], [1, 2]);
    assert.match(count.details, /Suite\.skips: skipped/);
});

test('GoogleTest: a program that ran no test has failed', () => {
    assert.deepEqual(countGtest(report(), '', ''), { passed: 0, failed: 1, details: 'ran no test' });
});

test('GoogleTest: a bad status after good tests is a failure', () => {
    const count = countGtest(report(good), 'leak of 7 bytes', 'ended with status 23');
    assert.deepEqual([count.passed, count.failed], [1, 1]);
    assert.match(count.details, /status 23\nleak of 7 bytes/);
});

test('GoogleTest: a crash is a failure and tells the last test that began', () => {
    const output = '[ RUN      ] A.one\n[       OK ] A.one (0 ms)\n[ RUN      ] A.two\nboom\n';
    const count = countGtest(null, output, 'ended by SIGSEGV');
    assert.deepEqual([count.passed, count.failed], [1, 1]);
    assert.equal(count.details, 'ended by SIGSEGV\n[ RUN      ] A.two\nboom');
});

test('TAP: skipped, cancelled and unfinished tests have failed', () => {
    const count = countTap(`ok 1 - a\n${summary(4, 1, 1, 2, 1)}`, 'ended with status 1');
    assert.deepEqual([count.passed, count.failed], [4, 5]);
});

test('TAP: the details hold each failure with its story', () => {
    const story = 'not ok 1 - a\n  ---\n  error: wrong\n  ...\nok 2 - b # SKIP\n';
    const { details } = countTap(story + summary(0, 1, 0, 1), 'ended with status 1');
    assert.equal(details, 'not ok 1 - a\n  ---\n  error: wrong\nok 2 - b # SKIP');
});

test('TAP: a text without a summary is a failure', () => {
    const count = countTap('ok 1 - a\nok 2 - b # SKIP\n', 'ended by SIGABRT');
    assert.deepEqual([count.passed, count.failed], [1, 1]);
    assert.match(count.details, /^ended by SIGABRT\n/);
});

test('TAP: a program that ran no test has failed', () => {
    assert.equal(countTap(summary(0, 0), '').failed, 1);
});

test('TAP: a bad status after good tests is a failure', () => {
    assert.equal(countTap(summary(3, 0), 'ended with status 1').failed, 1);
});
