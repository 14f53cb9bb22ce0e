// Results with an invalid image: a missing buffer, or a size below zero, is a failed
// write, and an existing file is not overwritten for it.

import assert from 'node:assert/strict';
import { existsSync, readFileSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';

import { call, callsOf, forget, inbox, openBridge, rec } from './harness.mjs';
import { assertLogs, thumbnail } from './log_lines.mjs';
import { answered, ASYNC, bitmapFolder, NOT_STORED, resultLines } from './thumbnail_records.mjs';

const bridge = openBridge();
const folder = bitmapFolder();
const FAILED = '{\n\t"origin_path" : "/media/a.jpg",\n\t"thumb_error_code" : 101,\n\t"user_data" : 0\n}\n';
const code = ({ text }) => JSON.parse(text).thumb_error_code;

const RESULTS = {
    'without an image buffer': { images: 0, imageCount: 1, width: 2, height: 2 },
    'without an image buffer and without pixels': { images: 0, imageCount: 1, width: 0, height: 0 },
    'with a negative width': { images: 1, width: -1, height: 2 },
    'with a negative height': { images: 1, width: 2, height: -1 },
    'with a negative width and height': { images: 1, width: -2, height: -2 },
    'with the smallest width and height there are': { images: 1, width: -2147483648, height: -2147483648 },
};

for (const [what, result] of Object.entries(RESULTS)) {
    test(`a result ${what} is 101, logged as a failed write, and creates no file`, async () => {
        const file = path.join(folder, `${what}.bmp`);
        const { text, returned, lines, blocks } = await answered(bridge, { param_save_path: [file] },
                                                                 { ...result, preset: true });
        assert.equal(text, FAILED);
        assert.equal(returned, 0);
        assert.ok(blocks.every(({ released }) => released));
        assert.equal(existsSync(file), false);
        assertLogs(resultLines([thumbnail('m_BmpWrite', 'fwrite error')], NOT_STORED), { lines });
    });
}

test('an existing file stays as it was when the image is invalid', async () => {
    const file = path.join(folder, 'there.bmp');
    writeFileSync(file, 'of before');
    assert.equal(code(await answered(bridge, { param_save_path: [file] }, RESULTS['with a negative width'])), 101);
    assert.equal(readFileSync(file, 'utf8'), 'of before');
});

test('an image that is missing after one that is there leaves the first stored and is 101', async () => {
    const [first, second] = ['first.bmp', 'second.bmp'].map((name) => path.join(folder, name));
    const result = await answered(bridge, { param_save_path: [first, second] },
                                  { images: 1, imageCount: 2, width: 1, height: 1 });
    assert.equal(code(result), 101);
    assert.deepEqual([existsSync(first), existsSync(second)], [true, false]);
});

test('an error of the save path is logged before one of the image', async () => {
    const { lines } = await answered(bridge, { param_save_path: ['none.bmp'] }, RESULTS['without an image buffer']);
    assertLogs(resultLines([thumbnail('m_BmpWrite', 'can not find / in path:none.bmp')], NOT_STORED), { lines });
});

test('a missing image is passed to the flash cache, and is 101 when that does not save it', async () => {
    const { receive, delivered } = inbox();
    call(bridge, ASYNC, receive, { param_origin_path: '/media/a.jpg', param_save_path: ['/a'], param_thumb_type: 1 });
    forget();
    rec.queue('mrb_thumbnail_flash_cache_save_file', { result: 0 });
    rec.fireThumbnail({ originPath: '/media/a.jpg', ...RESULTS['without an image buffer'] });
    assert.deepEqual(callsOf('mrb_thumbnail_flash_cache_save_file'), [[1, null, null]]);
    assert.deepEqual(await delivered(), [FAILED]);
});
