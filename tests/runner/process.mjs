// Runs programs for the suites: output into a log, a limit on the time, and
// nothing left running.

import { spawn } from 'node:child_process';
import { createWriteStream, mkdirSync } from 'node:fs';
import { dirname } from 'node:path';

const running = new Set();

function endGroup(child) {
    try {
        process.kill(-child.pid, 'SIGKILL'); // the group: a test's own children too
    } catch {
        // It ended by itself in the meantime.
    }
}

for (const signal of ['SIGINT', 'SIGTERM', 'SIGHUP']) {
    process.once(signal, () => {
        for (const child of running) endGroup(child);
        process.exit(1);
    });
}

/**
 * Runs `command` and resolves to {output, ended}: all it printed, on both
 * streams, and how it ended in words, '' after a success. Never rejects.
 * `seconds` is the limit; `log` a file that gets the output as it comes.
 */
export function run(command, args, { cwd, env = {}, seconds = 600, log } = {}) {
    return new Promise((resolve) => {
        const chunks = [];
        let file;
        if (log) {
            mkdirSync(dirname(log), { recursive: true });
            file = createWriteStream(log);
        }
        const child = spawn(command, args, {
            cwd,
            env: { ...process.env, ...env },
            stdio: ['ignore', 'pipe', 'pipe'],
            detached: true,
        });
        let timedOut = false;
        let finished = false;
        const timer = setTimeout(() => {
            timedOut = true;
            endGroup(child);
        }, seconds * 1000);
        running.add(child);
        for (const stream of [child.stdout, child.stderr]) {
            stream.on('data', (chunk) => {
                chunks.push(chunk);
                file?.write(chunk);
            });
        }
        const finish = (ended) => {
            if (finished) return;
            finished = true;
            clearTimeout(timer);
            running.delete(child);
            file?.end();
            resolve({ output: Buffer.concat(chunks).toString(), ended });
        };
        const words = (status, signal) =>
            timedOut ? `took longer than ${seconds} seconds`
            : signal ? `ended by ${signal}`
            : status ? `ended with status ${status}`
            : '';
        child.on('error', (error) => finish(`could not be run: ${error.message}`));
        // What it left running goes with it, and would hold the pipes open.
        child.on('exit', () => endGroup(child));
        child.on('close', (status, signal) => finish(words(status, signal)));
    });
}

/** Calls `work` for each item, at most `width` at a time; results in order. */
export async function inParallel(items, width, work) {
    const results = new Array(items.length);
    let next = 0;
    const worker = async () => {
        while (next < items.length) {
            const index = next++;
            results[index] = await work(items[index], index);
        }
    };
    await Promise.all(Array.from({ length: width }, worker));
    return results;
}
