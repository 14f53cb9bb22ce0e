// The command line of the examples.
import assert from 'node:assert/strict';
import path from 'node:path';
import test from 'node:test';

import { quill } from './harness.mjs';

/**
 * Tests a program's --help, which prints `usage`, and its usage errors: each of `errors` is
 * [what, the arguments, the message].
 */
export function testUsage(program, usage, errors) {
  const name = path.basename(program, '.js');
  for (const [what, args, message] of errors) {
    test(`${what} is a usage error`, async () => {
      const { status, stdout, stderr } = await quill([program, ...args]);
      assert.deepEqual([status, stdout], [1, '']);
      assert.ok(stderr.startsWith(`${name}: ${message}\n\nUsage: quill ${name}.js`), stderr);
    });
  }

  test('--help prints the usage', async () => {
    const { status, stdout, stderr } = await quill([program, '--help']);
    assert.deepEqual([status, stderr], [0, '']);
    assert.ok(stdout.startsWith(`Usage: quill ${usage}\n`), stdout);
  });
}
