// Reads the counts of tests out of what their runners report. A count is
// {passed, failed, skipped, details}, with the details of failures as one text.
// `skipped` maps the reasons of skipped tests to their numbers. What is cancelled,
// cut short, empty, or skipped for no accepted reason has failed.

/** The last lines of a text, at most `count`. */
export function tail(text, count = 200) {
    const lines = text.trimEnd().split('\n');
    return lines.slice(-count).join('\n');
}

function gtestTests(report) {
    const tests = report.testsuites.flatMap((suite) => suite.testsuite.map((test) => ({ suite: suite.name, ...test })));
    // A test that is disabled has status NOTRUN, one that skips itself the result SKIPPED.
    return { tests, bad: tests.filter((test) => test.failures?.length || test.result !== 'COMPLETED') };
}

/** The number of each text in a list. */
function tally(texts) {
    const counts = {};
    for (const text of texts) counts[text] = (counts[text] ?? 0) + 1;
    return counts;
}

const sumOf = (counts) => Object.values(counts).reduce((total, count) => total + count, 0);

/**
 * GoogleTest: `report` is the text of its JSON report, null when there is none;
 * `output` what it printed; `ended` how it ended, '' after a success; `accepted`
 * maps what a skipped test may record as "missing" to the reason for people.
 */
export function countGtest(report, output, ended, accepted = {}) {
    if (report === null) {
        // It did not reach its end: the last test that began is the one to look at.
        const passed = (output.match(/^\[ {7}OK \]/gm) ?? []).length;
        const failed = (output.match(/^\[ {2}FAILED {2}\] .*\(\d+ ms\)$/gm) ?? []).length;
        const last = output.lastIndexOf('[ RUN      ]');
        const story = last < 0 ? output : output.slice(last);
        return { passed, failed: failed + 1, skipped: {}, details: `${ended || 'left no report'}\n${tail(story)}` };
    }
    const { tests, bad: notPassed } = gtestTests(JSON.parse(report));
    const isAccepted = (test) => test.result === 'SKIPPED' && !test.failures?.length && Object.hasOwn(accepted, test.missing);
    const bad = notPassed.filter((test) => !isAccepted(test));
    const skipped = tally(notPassed.filter(isAccepted).map((test) => accepted[test.missing]));
    const details = bad.map((test) => {
        const failures = (test.failures ?? []).map((failure) => failure.failure).join('\n');
        return `${test.suite}.${test.name}: ${failures || test.result.toLowerCase()}`;
    });
    let failed = bad.length;
    if (tests.length === 0) {
        failed = 1;
        details.push('ran no test');
    } else if (ended && bad.length === 0) {
        // A sanitizer's report, say, after the last test.
        failed = 1;
        details.push(`every test passed, but it ${ended}\n${tail(output)}`);
    }
    return { passed: tests.length - notPassed.length, failed, skipped, details: details.join('\n') };
}

/** The reason of a line of a skipped test, undefined where it is none. */
function skipReason(line) {
    return line.match(/^ *ok \d+ .*# SKIP ?(.*)$/i)?.[1];
}

/** The failed top-level tests of a TAP text, each with its YAML block. */
function tapFailures(output, accepted) {
    const lines = output.split('\n');
    const failures = [];
    for (let at = 0; at < lines.length; ++at) {
        const indent = lines[at].match(/^( *)not ok \d+/)?.[1];
        const skipped = /^ *ok \d+ .*# (SKIP|TODO)/i.test(lines[at]) && !accepted.includes(skipReason(lines[at]));
        if (indent === undefined && !skipped) continue;
        failures.push(lines[at].trim());
        if (indent === undefined || !/^ *---$/.test(lines[at + 1] ?? '')) continue;
        for (++at; at < lines.length && lines[at] !== `${indent}  ...`; ++at) failures.push(lines[at]);
    }
    return failures.join('\n');
}

/** node:test's TAP: `output` what was printed, `ended` as above, `accepted` the reasons that skipped tests may give. */
export function countTap(output, ended, accepted = []) {
    const summary = (name) => {
        const all = [...output.matchAll(new RegExp(`^# ${name} (\\d+)$`, 'gm'))];
        return all.length === 0 ? null : Number(all.at(-1)[1]);
    };
    const passed = summary('pass');
    const failed = summary('fail');
    if (passed === null || failed === null) {
        return {
            passed: (output.match(/^ok \d+(?!.*# (?:SKIP|TODO))/gim) ?? []).length,
            failed: 1,
            skipped: {},
            details: `${ended || 'ended without a summary'}\n${tail(output)}`,
        };
    }
    const reasons = output.split('\n').map(skipReason).filter((reason) => accepted.includes(reason));
    const skipped = tally(reasons);
    const notRun = (summary('cancelled') ?? 0) + (summary('skipped') ?? 0) + (summary('todo') ?? 0) - reasons.length;
    const count = { passed, failed: failed + notRun, skipped, details: tapFailures(output, accepted) };
    if (passed + count.failed + sumOf(skipped) === 0) {
        return { passed: 0, failed: 1, skipped: {}, details: 'ran no test' };
    }
    if (ended && count.failed === 0) {
        return { passed, failed: 1, skipped, details: `every test passed, but it ${ended}\n${tail(output)}` };
    }
    return count;
}

/** The sum of counts. */
export function sum(counts) {
    const skipped = {};
    for (const count of counts) {
        for (const [reason, number] of Object.entries(count.skipped)) skipped[reason] = (skipped[reason] ?? 0) + number;
    }
    return {
        passed: counts.reduce((total, count) => total + count.passed, 0),
        failed: counts.reduce((total, count) => total + count.failed, 0),
        skipped,
        details: counts.map((count) => count.details).filter(Boolean).join('\n'),
    };
}

/** "N passed, M failed", and ", K skipped" where tests were. */
export function countLine({ passed, failed, skipped }) {
    const number = sumOf(skipped);
    return `${passed} passed, ${failed} failed${number > 0 ? `, ${number} skipped` : ''}`;
}

/** A line for people on why tests were skipped, '' when none was. */
export function skipLine({ skipped }) {
    const reasons = Object.entries(skipped).map(([reason, number]) => `${number} for ${reason}`);
    return reasons.length > 0 ? `skipped: ${reasons.join(', ')}` : '';
}
