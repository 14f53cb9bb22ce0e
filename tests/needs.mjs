// Tests that need what some systems refuse:
//
//   test('a terminal shows it', needs('terminals'), async () => { ... });
//
// Where the runner found that the system refuses it, such a test is skipped, and counted
// with the reason. The names are those of runner/surroundings.mjs.
import test from 'node:test';

import { NEEDS } from './runner/surroundings.mjs';

/** The options of a test that needs this of the system. */
export function needs(name) {
  const { reason } = NEEDS[name];
  const missing = (process.env.QUILL_TESTS_MISSING ?? '').split(' ');
  return missing.includes(name) ? { skip: reason } : {};
}

/** `test` for a file whose tests need this. */
export const testWith = (name) => (title, body) => test(title, needs(name), body);

/**
 * How often a test repeats an operation, or on how much: `usual`, or `complete` where the
 * environment has QUILL_TEST_LONG=1, as it has under ./test --all.
 */
export const repetitions = (usual, complete) => (process.env.QUILL_TEST_LONG === '1' ? complete : usual);
