// Comparing log lines byte for byte. An expected line is built by the function
// named after the source file that logs it; its text is the message alone, in which
// %p stands for any address. Of line numbers and thread ids only the form is checked,
// and that both occurrences are equal.

import assert from 'node:assert/strict';

import { rec, requestText } from './harness.mjs';

const lineOf = (file, tag) => (fn, text) => ({ file, tag, fn, text });
export const provider = lineOf('MRBAdapterProvider.cpp', 'MRB-BRIDGE-COMMON');
export const json = lineOf('MRBBridgeJson.cpp', 'MRB-BRIDGE-COMMON');
export const storage = lineOf('MRBStorageMgrAdapter.cpp', 'MRB-BRIDGE-STORAGEMGR');
export const thumbnail = lineOf('MRBThumbnailAdapter.cpp', 'MRB-BRIDGE-THUMBNAIL');
export const agent = lineOf('MRBAgentAdapter.cpp', 'MRB-BRIDGE-AGENT');

/** A handle as a log line prints it. */
export const printedHandle = (handle) => (handle === 0 ? '(nil)' : `0x${(handle >>> 0).toString(16)}`);

/** The line about a key that a request lacks. */
export const missingKey = (key) => json('Get', `NO strKey[${key}] in josn.`);

/** The line about a key whose value is of another type: the JSON library's number of that type. */
export const mistypedKey = (type) => json('Get', `value.type[${type}].`);

/** The lines about a result's way to the script function of command `func`. */
export const deliveryLines = (func, text) => [provider('FireOnCallbacks', `FUNC[${func}], data[${text}], self[%p].`),
                                              provider('FireOnCallbacks', 'callback done.')];

/**
 * The lines of an agent command: its first, those `between`, and its last, which shows
 * the answer's very text.
 */
export function agentCommand(fn, command, request, answer, between = [], text = `${JSON.stringify(answer)}\n`) {
    return [
        agent(fn, `ReqCmd[${command}], ReqParam[${requestText(request)}].`),
        ...between,
        agent(fn, `strCmd[${command}] eResult[${answer.return_ecode}] strReturnJson[${text}].`),
    ];
}

const PREFIX = new RegExp('^([^:]+): ([^(]+)\\((\\d+)\\) > \\x1b\\[31m\\[([^:]+):(\\d+)\\] ' +
                          '\\[Thread Id:\\[(\\d+)\\]\\] ');
const SUFFIX = '\x1b[0m';
const escaped = (text) => text.replace(/[\\^$.*+?()[\]{}|]/g, '\\$&');

/** A recorded text taken apart; undefined when it does not have the form of a line. */
function parse(text) {
    const prefix = PREFIX.exec(text);
    if (!prefix || !text.endsWith(SUFFIX)) return undefined;
    const [whole, file, fn, line, fnAgain, lineAgain, thread] = prefix;
    if (fn !== fnAgain || line !== lineAgain) return undefined;
    return { file, fn, thread: Number(thread), message: text.slice(whole.length, -SUFFIX.length) };
}

function isSameMessage(message, wanted) {
    if (!wanted.includes('%p')) return message === wanted;
    return new RegExp(`^${escaped(wanted).replaceAll('%p', '0x[0-9a-f]+')}$`).test(message);
}

const isLine = (parsed, { file, fn, text }) =>
    parsed !== undefined && parsed.file === file && parsed.fn === fn && isSameMessage(parsed.message, text);

/** The recorded line must be this one, and name the thread that wrote it. */
export function assertLine(line, wanted, what = 'the line') {
    const parsed = parse(line.text);
    assert.ok(isLine(parsed, wanted), `${what}\n  is     ${shown(line.text)}\n  not    ` +
                                      `${wanted.file} ${wanted.fn}: ${shown(wanted.text)}`);
    assert.deepEqual([line.logId, line.priority, line.tag], [0, 5, wanted.tag]);
    assert.equal(parsed.thread, line.thread, `the thread that ${shown(line.text)} names`);
}

/** A text for a message: as JSON, shortened. */
export const shown = (text) => JSON.stringify(text.length > 400 ? `${text.slice(0, 400)}...` : text);

/** The recorded lines must be exactly these; `onMainThread` names the thread that wrote all. */
export function assertLogs(expected, { onMainThread, lines = rec.logs() } = {}) {
    lines.forEach((line, index) => {
        const wanted = expected[index];
        assert.ok(wanted, `one line too many: ${shown(line.text)}`);
        assertLine(line, wanted, `line ${index}`);
        if (onMainThread !== undefined) {
            assert.equal(line.thread === process.pid, onMainThread, `thread of ${shown(line.text)}`);
        }
    });
    assert.equal(lines.length, expected.length,
                 `missing: ${JSON.stringify(expected.slice(lines.length).map(({ text }) => shown(text)))}`);
}

/** Whether a line with exactly this message was recorded. */
export const hasLogged = (expected, lines = rec.logs()) => lines.some(({ text }) => isLine(parse(text), expected));
