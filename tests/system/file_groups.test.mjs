// A list of real music grouped by metadata, as a script reads it, against ffprobe.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readdirSync } from 'node:fs';
import path from 'node:path';
import test, { before } from 'node:test';

import { folder, root, run } from './harness.mjs';
import { byName } from './model.mjs';

const library = path.join(folder(), 'library');
let songs = [];

/** A song's tags, with names in any case; Ogg files have them in the stream. */
function tagsOf(file) {
  const { format, streams } = JSON.parse(execFileSync('ffprobe',
    ['-v', 'error', '-show_entries', 'format_tags:stream_tags', '-of', 'json', file], { encoding: 'utf8' }));
  const tags = Object.assign({}, ...(streams ?? []).map((stream) => stream.tags), format?.tags);
  return Object.fromEntries(Object.entries(tags).map(([name, value]) => [name.toLowerCase(), value]));
}

before(() => {
  execFileSync(path.join(root, 'tools', 'make-library'), [library], { stdio: 'ignore' });
  songs = readdirSync(library, { recursive: true, withFileTypes: true })
    .filter((entry) => entry.isFile() && /\.(mp3|flac|ogg|opus|m4a|wav)$/.test(entry.name))
    .map((entry) => tagsOf(path.join(entry.parentPath ?? entry.path, entry.name)));
  assert.ok(songs.length > 5 && songs.some((song) => song.artist));
});

/** [name, number of songs], in order, those without the tag last. */
function expected(tag) {
  const counts = new Map();
  for (const song of songs) {
    counts.set(song[tag] ?? '', (counts.get(song[tag] ?? '') ?? 0) + 1);
  }
  return [...counts].sort(([a], [b]) => (a === '') - (b === '') || byName(a, b));
}

for (const [tag, style] of [['artist', 0x50], ['album', 0x60], ['genre', 0x70]]) {
  test(`a script sees real music in groups by ${tag}`, async () => {
    const seen = await run(`
      const [, , where, style] = process.argv;
      const { return_data: agent } = open({ param_scan_path: where, param_content_type: 'MUSIC' });
      const { return_ecode } = send('mrb_set_page_style_v2', { param_agent: agent, param_page_style: Number(style),
        param_page_order: 0, param_group_index: -2, param_row: 1, param_column: 1, param_need_padding: false });
      const isGrouped = ({ param_event, data }) => param_event === 25 && data.grouped_count === data.item_count;
      await new Promise((resolve) => { wake = () => { if (events.some(isGrouped)) resolve(); }; wake(); });
      const groups = Array.from({ length: count(agent) }, (_, index) =>
        JSON.parse(send('mrb_get_item_v2', { param_agent: agent, param_index: index }).return_data));
      finish({ return_ecode, total: send('mrb_get_group_count_v2', { param_agent: agent }).return_data,
        groups: groups.map((group) => [group.name, group.item_count]) });`, library, String(style));
    assert.equal(seen.return_ecode, 0);
    assert.deepEqual(seen.groups, expected(tag));
    assert.equal(seen.total, seen.groups.length);
  });
}
