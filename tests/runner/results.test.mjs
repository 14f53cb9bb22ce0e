import assert from 'node:assert/strict';
import test from 'node:test';

import { countGtest, countLine, countTap, skipLine, sum } from './results.mjs';

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

test('GoogleTest: a test skipped for what is known to be missing counts as skipped, with the reason', () => {
    const accepted = { mounts: 'no mounts' };
    const here = { ...skipped, missing: 'mounts' };
    const count = countGtest(report(good, here, here), '', '', accepted);
    assert.deepEqual(count, { passed: 1, failed: 0, skipped: { 'no mounts': 2 }, details: '' });
    // Where nothing is known to be missing, as in CI, and where another thing is.
    assert.deepEqual([countGtest(report(here), '', '').failed, countGtest(report(here), '', '').skipped], [1, {}]);
    assert.equal(countGtest(report({ ...skipped, missing: 'toString' }), '', '', accepted).failed, 1);
    assert.equal(countGtest(report(skipped), '', '', accepted).failed, 1);
    assert.equal(countGtest(report({ ...here, failures: bad.failures }), '', '', accepted).failed, 1);
});

test('GoogleTest: skipped tests alone are no reason for a failure', () => {
    const count = countGtest(report({ ...skipped, missing: 'mounts' }), '', '', { mounts: 'no mounts' });
    assert.deepEqual([count.passed, count.failed], [0, 0]);
});

test('GoogleTest: a program that ran no test has failed', () => {
    assert.deepEqual(countGtest(report(), '', ''), { passed: 0, failed: 1, skipped: {}, details: 'ran no test' });
});

test('GoogleTest: a bad status after good tests is a failure', () => {
    const count = countGtest(report(good), 'leak of 7 bytes', 'ended with status 23');
    assert.deepEqual([count.passed, count.failed], [1, 1]);
    assert.match(count.details, /status 23\nleak of 7 bytes/);
});

test('GoogleTest: a crash is a failure and names the last test that began', () => {
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

test('TAP: a test skipped for what is known to be missing counts as skipped, with the reason', () => {
    const output = `ok 1 - a # SKIP no mounts\nok 2 - b # SKIP too slow\n    ok 1 - c # SKIP no mounts\n${summary(3, 0, 0, 3)}`;
    const count = countTap(output, '', ['no mounts']);
    assert.deepEqual(count, { passed: 3, failed: 1, skipped: { 'no mounts': 2 }, details: 'ok 2 - b # SKIP too slow' });
    assert.equal(countTap(output, '').failed, 3);
});

test('TAP: skipped tests alone are no reason for a failure', () => {
    const count = countTap(`ok 1 - a # SKIP no mounts\n${summary(0, 0, 0, 1)}`, '', ['no mounts']);
    assert.deepEqual([count.passed, count.failed], [0, 0]);
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

test('the sum of counts ends in a line of numbers, and one of reasons before it', () => {
    const counts = [
        { passed: 2, failed: 0, skipped: {}, details: '' },
        { passed: 1, failed: 1, skipped: { 'no mounts': 2 }, details: 'a' },
        { passed: 0, failed: 0, skipped: { 'no mounts': 1, 'no terminals': 1 }, details: 'b' },
    ];
    const total = sum(counts);
    assert.equal(total.details, 'a\nb');
    assert.equal(countLine(total), '3 passed, 1 failed, 4 skipped');
    assert.equal(skipLine(total), 'skipped: 3 for no mounts, 1 for no terminals');
    assert.equal(countLine(sum(counts.slice(0, 1))), '2 passed, 0 failed');
    assert.equal(skipLine(sum(counts.slice(0, 1))), '');
});
