// The commands of docs/porting.md that build the product for another architecture.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { basename, dirname, join } from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

import { commandsIn } from '../runner/documents.mjs';
import { run } from '../runner/process.mjs';

const root = dirname(dirname(dirname(fileURLToPath(import.meta.url))));
const architecture = basename(process.env.QUILL_BUILD);

// Most has been built when this runs: what is tested is that the commands are the right ones.
test(`the documented commands build the product for ${architecture}`, async () => {
    const [commands] = commandsIn(readFileSync(join(root, 'docs', 'porting.md'), 'utf8'), /^## 32 bits$/);
    assert.match(commands, /armhf/);
    const own = commands.replaceAll('armhf', architecture);
    const { output, ended } = await run('bash', ['-euc', own], { cwd: root, seconds: 1200 });
    assert.equal(ended, '', `${own}\n${output}`);
});
