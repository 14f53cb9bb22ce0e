// Scripts that end their process, run in a child `quill` on the same libraries.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { readFileSync } from 'node:fs';

import { build } from './harness.mjs';

const MIB = 1024 * 1024;

/** The resident memory of a process in bytes; 0 when it has ended. */
function residentBytes(pid) {
    try {
        const [, kib] = /^VmRSS:\s*(\d+) kB$/m.exec(readFileSync(`/proc/${pid}/status`, 'utf8')) ?? [, 0];
        return Number(kib) * 1024;
    } catch {
        return 0;
    }
}

/** The environment of the children. */
function environment() {
    // A sanitizer keeps released memory for a while, which would look like growth.
    const options = [process.env.ASAN_OPTIONS, 'quarantine_size_mb=16'];
    return { ...process.env, ASAN_OPTIONS: options.filter(Boolean).join(':') };
}

/**
 * Runs CODE with `rec` and `openBridge` defined, and everything logged echoed to
 * standard error. Resolves to {status, signal, stdout, stderr, killedFor}, where
 * killedFor is 'time', 'memory' or undefined. The child may use `memoryMiB`, and
 * may grow by `growth.MiB` after it has logged `growth.after`. The address space cannot
 * be limited, since V8 reserves far more than it uses; so the resident memory is
 * monitored.
 */
export function runChild(code, { seconds = 60, memoryMiB = 1024, growth } = {}) {
    const prelude = `
        const rec = require(${JSON.stringify(`${build}/tests/recording/recorder.node`)});
        rec.echoLogs(2);
        const openBridge = () => { const bridge = new MRBBridge(); quill.unref(bridge); return bridge; };
        const msc = JSON.stringify({ param_source_name: 'SOURCE_MSC' });
    `;
    return new Promise((resolve, reject) => {
        const child = spawn(`${build}/bin/quill`, ['-e', `${prelude}\n${code}`], {
            env: environment(),
            stdio: ['ignore', 'pipe', 'pipe'],
        });
        const result = { stdout: '', stderr: '', killedFor: undefined, peakBytes: 0 };
        let limit = memoryMiB * MIB;
        const kill = (reason) => {
            result.killedFor ??= reason;
            child.kill('SIGKILL');
        };
        const watchdog = setInterval(() => {
            const bytes = residentBytes(child.pid);
            result.peakBytes = Math.max(result.peakBytes, bytes);
            if (bytes > limit) kill('memory');
        }, 20);
        const timer = setTimeout(() => kill('time'), seconds * 1000);
        child.stdout.on('data', (chunk) => { result.stdout += chunk; });
        child.stderr.on('data', (chunk) => {
            const grows = growth && !result.stderr.includes(growth.after);
            result.stderr += chunk;
            if (grows && result.stderr.includes(growth.after)) {
                limit = Math.min(limit, residentBytes(child.pid) + growth.MiB * MIB);
            }
        });
        child.on('error', reject);
        child.on('close', (status, signal) => {
            clearInterval(watchdog);
            clearTimeout(timer);
            resolve({ ...result, status, signal });
        });
    });
}

/** The child must have ended by an assertion with this text. */
export function assertAborted(result, text) {
    assert.equal(result.killedFor, undefined, 'the child had to be killed');
    assert.match(result.stderr, new RegExp(`Assertion \`${text.replace(/[.*+?^$()[\]{}|\\]/g, '\\$&')}' failed`));
    // A sanitizer may turn the signal into an exit status of its own.
    assert.ok(result.signal === 'SIGABRT' || result.status === 134 || /ABRT/.test(result.stderr),
              `ended with status ${result.status}, signal ${result.signal}`);
}
