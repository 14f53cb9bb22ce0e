import assert from 'node:assert/strict';
import test from 'node:test';

import { missingHere } from './surroundings.mjs';

const works = ['true'];
const fails = ['false'];

test('what no way leads to is missing, also where its program is', async () => {
    const needs = {
        first: { ways: [fails, works] },
        none: { ways: [fails, fails] },
        absent: { ways: [['/no/such/program']] },
        last: { ways: [works, fails] },
    };
    assert.deepEqual(await missingHere(needs), ['none', 'absent']);
});
