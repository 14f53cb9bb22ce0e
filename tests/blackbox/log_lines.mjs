// Comparing log lines byte for byte. An expected line is made by the function
// named after the source file that speaks; its text is the message alone, in which
// %p stands for any address. Line numbers and thread ids are only checked for form,
// and for being the same where they stand twice.

import assert from 'node:assert/strict';

import { rec, requestText } from './harness.mjs';

const speaker = (file, tag) => (fn, text) => ({ file, tag, fn, text });
export const provider = speaker('MRBAdapterProvider.cpp', 'MRB-BRIDGE-COMMON');
export const json = speaker('MRBBridgeJson.cpp', 'MRB-BRIDGE-COMMON');
export const agent = speaker('MRBAgentAdapter.cpp', 'MRB-BRIDGE-AGENT');
export const thumbnail = speaker('MRBThumbnailAdapter.cpp', 'MRB-BRIDGE-THUMBNAIL');
export const storage = speaker('MRBStorageMgrAdapter.cpp', 'MRB-BRIDGE-STORAGEMGR');

/** The lines of an agent command: its first, those `between`, and its last. */
export function agentCommand(fn, command, request, answer, between = []) {
    const text = `${JSON.stringify(answer)}\n`;
    return [
        agent(fn, `ReqCmd[${command}], ReqParam[${requestText(request)}].`),
        ...between,
        agent(fn, `strCmd[${command}] eResult[${answer.return_ecode}] strReturnJson[${text}].`),
    ];
}

const escaped = (text) => text.replace(/[\\^$.*+?()[\]{}|]/g, '\\$&');

function patternOf({ file, fn, text }) {
    const message = escaped(text).replaceAll('%p', '0x[0-9a-f]+');
    const f = escaped(fn);
    return new RegExp(`^${escaped(file)}: ${f}\\((\\d+)\\) > \\x1b\\[31m\\[${f}:\\1\\] ` +
                      `\\[Thread Id:\\[(\\d+)\\]\\] ${message}\\x1b\\[0m$`);
}

/** The recorded lines must be exactly these; `onMainThread` says on which thread all were written. */
export function assertLogs(expected, { onMainThread, lines = rec.logs() } = {}) {
    lines.forEach((line, index) => {
        const wanted = expected[index];
        assert.ok(wanted, `one line too many: ${JSON.stringify(line.text)}`);
        const match = patternOf(wanted).exec(line.text);
        assert.ok(match, `line ${index}\n  is     ${JSON.stringify(line.text)}\n  not    ` +
                         `${wanted.file} ${wanted.fn}: ${JSON.stringify(wanted.text)}`);
        assert.deepEqual([line.logId, line.priority, line.tag], [0, 5, wanted.tag]);
        if (onMainThread !== undefined) {
            assert.equal(Number(match[2]) === process.pid, onMainThread, `thread of ${line.text}`);
        }
    });
    assert.equal(lines.length, expected.length,
                 `missing: ${JSON.stringify(expected.slice(lines.length).map(({ text }) => text))}`);
}

/** Whether a line with this message, and no other text, was recorded. */
export const hasLogged = (expected, lines = rec.logs()) => lines.some(({ text }) => patternOf(expected).test(text));
