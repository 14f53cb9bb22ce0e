import assert from 'node:assert/strict';
import test from 'node:test';

import { inParallel, run } from './process.mjs';

test('a program that succeeds gives all it printed', async () => {
    const result = await run('sh', ['-c', 'echo out; echo error >&2']);
    assert.equal(result.ended, '');
    assert.deepEqual(result.output.split('\n').sort(), ['', 'error', 'out']);
});

test('a status, a signal and a program that is not there are distinguished', async () => {
    assert.equal((await run('sh', ['-c', 'exit 3'])).ended, 'ended with status 3');
    assert.equal((await run('sh', ['-c', 'kill -SEGV $$'])).ended, 'ended by SIGSEGV');
    assert.match((await run('/no/such/program', [])).ended, /^could not be run: .*ENOENT/);
});

test('a program that takes too long is ended with its children', async () => {
    const { output, ended } = await run('sh', ['-c', 'sleep 1000 & echo $!; wait'], { seconds: 0.5 });
    assert.equal(ended, 'took longer than 0.5 seconds');
    // The child is gone, or a zombie that has not been waited for.
    assert.notEqual((await run('sh', ['-c', `grep '^State:.*[RSD] ' /proc/${Number(output)}/status`])).ended, '');
});

test('what a program leaves running does not hold it up', async () => {
    assert.equal((await run('sh', ['-c', 'sleep 1000 & echo left'], { seconds: 60 })).output, 'left\n');
});

test('results of parallel work keep their order', async () => {
    const results = await inParallel([3, 1, 2], 2, async (item) => item * 10);
    assert.deepEqual(results, [30, 10, 20]);
});
