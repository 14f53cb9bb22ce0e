// Comparing the order of framework calls, log lines and callbacks' returns. An expected
// call is an array, [name, ...arguments]; an expected line is built by log_lines.mjs; an
// expected return by `returned`.

import assert from 'node:assert/strict';

import { call, rec } from './harness.mjs';
import { agentCommand, assertLine, shown } from './log_lines.mjs';

/** The end of a callback of a kind of registration; null where it returns nothing. */
export const returned = (kind, value) => ({ returned: [kind, value] });

/** An event for a message. */
const described = ({ call, line, returned: end }) => shown(line?.text ?? JSON.stringify(call ?? end));

function assertEvent(event, wanted, what) {
    if (Array.isArray(wanted)) {
        assert.deepEqual(event.call, wanted, `${what} is ${described(event)}`);
    } else if (wanted.returned) {
        assert.deepEqual(event.returned, wanted.returned, `${what} is ${described(event)}`);
    } else {
        assert.ok(event.line, `${what} is ${described(event)}, not the line ${shown(wanted.text)}`);
        assertLine(event.line, wanted, what);
    }
}

/**
 * The recorded events must be exactly these, in this order, all on one thread: the main
 * one, or with `onMainThread` false another.
 */
export function assertEvents(expected, { onMainThread = true, events = rec.events() } = {}) {
    expected.forEach((wanted, index) => {
        assert.ok(events[index], `event ${index} is missing: ${JSON.stringify(wanted)}`);
        assertEvent(events[index], wanted, `event ${index}`);
    });
    assert.equal(events.length, expected.length, `too many: ${events.slice(expected.length).map(described).join(', ')}`);
    assert.equal(new Set(events.map(({ thread }) => thread)).size, 1, 'all on one thread');
    assert.equal(events[0].thread === process.pid, onMainThread);
}

const sorted = (answer) => Object.fromEntries(Object.entries(answer).sort(([a], [b]) => (a < b ? -1 : 1)));

/**
 * Calls an agent command, which must do exactly what `between` says, in this order, between
 * its first and its last line. `label` is its name in the log where it is another one, and
 * `text` the answer's where it is not the shortest. Returns the parsed answer.
 */
export function assertOrder(bridge, { method, fn, label = method, request, between, text }) {
    const takesFunction = ['mrb_request_list_v2', 'mrb_batch_process_v2'].includes(method);
    const answer = call(bridge, method, ...(takesFunction ? [() => {}] : []), request);
    assertEvents(agentCommand(fn, label, request, sorted(answer), between, text));
    return answer;
}
