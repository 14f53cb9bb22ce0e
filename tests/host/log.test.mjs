// quill --log: which lines of the system log it prints, and how.
import assert from 'node:assert/strict';
import { readdirSync, readFileSync } from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

import { Terminal } from '../system/terminal.mjs';
import { echoBridge, script, start } from './harness.mjs';

const root = path.dirname(path.dirname(path.dirname(fileURLToPath(import.meta.url))));

// Lines of every tag of the bridge.
const speaking = () => script('app.js', `
  const bridge = new MRBBridge();
  bridge.mrb_get_group_count_v2('{}');
  bridge.mrb_get_usb_list();
  process.exit(3);`);

/** The tags under which quill prints lines, each once. */
async function tagsOf(args, env = {}) {
  const { status, stderr } = await start([...args, speaking()], { input: '', env }).finished;
  assert.equal(status, 3, stderr);
  // A message may go on in a line without a tag.
  return [...new Set([...stderr.matchAll(/^(MRB[A-Z-]*): /gm)].map((found) => found[1]))].sort();
}

async function refusal(args) {
  const { status, stdout, stderr } = await start([...args, '-e', '0'], { input: '' }).finished;
  assert.deepEqual([status, stdout], [1, '']);
  return stderr;
}

test('--log prints lines of every tag', async () => {
  const tags = (await tagsOf(['--log'])).filter((tag) => tag !== 'MRB'); // its lines depend on the machine
  assert.deepEqual(tags, ['MRB-BRIDGE-AGENT', 'MRB-BRIDGE-COMMON', 'MRB-BRIDGE-STORAGEMGR', 'MRB-BRIDGE-THUMBNAIL']);
});

test('--log=TAG prints lines of that tag only', async () => {
  assert.deepEqual(await tagsOf(['--log=MRB-BRIDGE-AGENT']), ['MRB-BRIDGE-AGENT']);
});

test('--log=TAG,TAG prints lines of these tags', async () => {
  assert.deepEqual(await tagsOf(['--log=MRB-BRIDGE-AGENT,MRB-BRIDGE-STORAGEMGR']),
    ['MRB-BRIDGE-AGENT', 'MRB-BRIDGE-STORAGEMGR']);
});

test('a tag may be its last word, in any case', async () => {
  assert.deepEqual(await tagsOf(['--log=agent, Common']), ['MRB-BRIDGE-AGENT', 'MRB-BRIDGE-COMMON']);
});

test('--log=mrb prints the media framework\'s lines, which are not the bridge\'s', async () => {
  const tags = await tagsOf(['--log=mrb']);
  assert.deepEqual(tags.filter((tag) => tag !== 'MRB'), []);
});

test('QUILL_LOG_TAGS filters as --log= does', async () => {
  assert.deepEqual(await tagsOf([], { QUILL_LOG: 'stderr', QUILL_LOG_TAGS: 'storagemgr' }), ['MRB-BRIDGE-STORAGEMGR']);
});

test('a tag that does not exist is refused, with those that do', async () => {
  assert.equal(await refusal(['--log=agent,agnet']),
    "quill: --log: there is no tag 'agnet'; there are common, agent, thumbnail, storagemgr and mrb\n");
  assert.match(await refusal(['--log=*']), /^quill: --log: there is no tag '\*';/);
  assert.match(await refusal(['--log=bridge-agent']), /^quill: --log: there is no tag 'bridge-agent';/);
});

test('--log= without a tag is refused', async () => {
  for (const option of ['--log=', '--log=,', '--log= , ']) {
    assert.equal(await refusal([option]), 'quill: --log= needs tags, for instance --log=agent; --log alone prints all\n');
  }
});

test('with --bridge any tag is accepted', async () => {
  for (const args of [['--log=echo', '--bridge', echoBridge], ['--bridge', echoBridge, '--log=echo']]) {
    const { status, stderr } = await start([...args, '-e', '0'], { input: '' }).finished;
    assert.deepEqual([status, stderr], [0, '']);
  }
});

test('every tag of the sources is accepted', async () => {
  const files = readdirSync(path.join(root, 'src')).map((name) => path.join(root, 'src', name));
  const text = [...files, path.join(root, 'framework', 'base', 'log.h')].map((file) => readFileSync(file, 'utf8')).join('');
  const tags = [...new Set([...text.matchAll(/"(MRB(?:-BRIDGE-[A-Z]+)?)"/g)].map((found) => found[1]))];
  assert.ok(tags.length >= 5, tags.join());
  const { status, stderr } = await start([`--log=${tags.join()}`, '-e', '0'], { input: '' }).finished;
  assert.equal(status, 0, stderr);
});

test('the log has no colours when standard error is not a terminal', async () => {
  const { stderr } = await start(['--log', speaking()], { input: '' }).finished;
  assert.match(stderr, /^MRB-BRIDGE-COMMON: MRBAdapterProvider\.cpp: \w+\(\d+\) > \[\w+:\d+\] \[Thread Id:\[\d+\]\] /m);
  assert.doesNotMatch(stderr, /\x1b/);
});

/** What a terminal shows of the log, with the sequences that set colours. */
async function shownIn(file, env = []) {
  const terminal = new Terminal(['--log', file], { columns: 200, rows: 24, env });
  try {
    await terminal.shows(/ended with 3/);
    return terminal.tmux('capture-pane', '-e', '-p', '-t', 'quill');
  } finally {
    terminal.close();
  }
}

test('the log has its colours in a terminal', async () => {
  assert.match(await shownIn(speaking()), /\x1b\[31m\[\w+:\d+\]/);
});

test('NO_COLOR removes the colours of the log in a terminal too', async () => {
  const shown = await shownIn(speaking(), ['NO_COLOR=1']);
  assert.match(shown, /MRB-BRIDGE-COMMON: /);
  assert.doesNotMatch(shown, /\x1b\[31m/);
});
