// Reads the counts of tests out of what their runners report. A count is
// {passed, failed, details}, with the details of failures as one text. What is
// skipped, cancelled, cut short or empty has failed.

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

/**
 * GoogleTest: `report` is the text of its JSON report, null when there is none;
 * `output` what it printed; `ended` how it ended, '' after a success.
 */
export function countGtest(report, output, ended) {
    if (report === null) {
        // It did not reach its end: the last test that began is the one to look at.
        const passed = (output.match(/^\[ {7}OK \]/gm) ?? []).length;
        const failed = (output.match(/^\[ {2}FAILED {2}\] .*\(\d+ ms\)$/gm) ?? []).length;
        const last = output.lastIndexOf('[ RUN      ]');
        const story = last < 0 ? output : output.slice(last);
        return { passed, failed: failed + 1, details: `${ended || 'left no report'}\n${tail(story)}` };
    }
    const { tests, bad } = gtestTests(JSON.parse(report));
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
    return { passed: tests.length - bad.length, failed, details: details.join('\n') };
}

/** The failed top-level tests of a TAP text, each with its YAML block. */
function tapFailures(output) {
    const lines = output.split('\n');
    const failures = [];
    for (let at = 0; at < lines.length; ++at) {
        const indent = lines[at].match(/^( *)not ok \d+/)?.[1];
        const skipped = /^ *ok \d+ .*# (SKIP|TODO)/i.test(lines[at]);
        if (indent === undefined && !skipped) continue;
        failures.push(lines[at].trim());
        if (indent === undefined || !/^ *---$/.test(lines[at + 1] ?? '')) continue;
        for (++at; at < lines.length && lines[at] !== `${indent}  ...`; ++at) failures.push(lines[at]);
    }
    return failures.join('\n');
}

/** node:test's TAP: `output` what was printed, `ended` as above. */
export function countTap(output, ended) {
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
            details: `${ended || 'ended without a summary'}\n${tail(output)}`,
        };
    }
    const notRun = (summary('cancelled') ?? 0) + (summary('skipped') ?? 0) + (summary('todo') ?? 0);
    const count = { passed, failed: failed + notRun, details: tapFailures(output) };
    if (passed + count.failed === 0) {
        return { passed: 0, failed: 1, details: 'ran no test' };
    }
    if (ended && count.failed === 0) {
        return { passed, failed: 1, details: `every test passed, but it ${ended}\n${tail(output)}` };
    }
    return count;
}
