// The records that cross the framework's interface. The recording framework writes and reads
// them by byte offset (tests/recording/records.h), so each member has a value of its own here:
// one in another place would show as another's.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';

import { call, callsOf, inbox, openBridge, rec } from './harness.mjs';
import { answered, ASYNC, bitmapFile, bitmapFolder, CANCEL } from './thumbnail_records.mjs';

const REQUEST = { param_origin_path: '/media/record.jpg', param_media_type: 0x01020304, param_source_type: 0x11121314,
                  param_orientation: 0x21222324, param_thumb_width: 0x31323334, param_thumb_height: 0x41424344,
                  param_used_cache: 0x51525354, param_video_frame_count: 0x61 };
const FIELDS = [...Object.values(REQUEST), 'cb1', 'user1'];
const bridge = openBridge();

test('a request has each of its members where the framework reads it', () => {
    assert.deepEqual(call(bridge, ASYNC, () => {}, REQUEST), { return_ecode: 0 });
    assert.deepEqual(callsOf(ASYNC), [FIELDS]);
});

test('a cancelled request has each of its members where the framework reads it', () => {
    assert.deepEqual(call(bridge, CANCEL, REQUEST), { return_ecode: 0 });
    // A cancel has no function of its own.
    assert.deepEqual(callsOf(CANCEL).map((fields) => fields.slice(0, 8)), [FIELDS.slice(0, 8)]);
});

test('a result is read where the framework wrote each of its members', async () => {
    const folder = bitmapFolder();
    const paths = [1, 2, 3, 4, 5].map((number) => path.join(folder, `${number}.bmp`));
    const stamps = [1, 2, 3, 4, 5].map((number) => number * 2 ** 40 + 7 * number);
    const { text, blocks } = await answered(bridge, { param_save_path: paths }, {
        images: 5, width: 3, height: 2, depth: 0x0a0b0c0d, bufferSize: 0x1a1b1c1d, flagOriginImage: 0x2a2b2c2d,
        timeStamps: stamps, preset: true, presetText: 'preset' });
    assert.deepEqual(JSON.parse(text), {
        buffer_size: 0x1a1b1c1d, flag_origin_image: 0x2a2b2c2d, image_count: 5, image_depth: 0x0a0b0c0d,
        image_height: 2, image_width: 3, origin_path: '/media/a.jpg', save_path: paths, thumb_error_code: 100,
        time_stamp: stamps.map(String), user_data: 0 });
    for (const [index, file] of paths.entries()) {
        assert.deepEqual(readFileSync(file), bitmapFile(index, 3, 2, 'preset'));
    }
    assert.deepEqual(blocks.map(({ released }) => released), Array(6).fill(true));
});

test('the longest path of a result ends where its field ends', async () => {
    const file = path.join(bitmapFolder(), 'a.bmp');
    const originPath = `/media/${'x'.repeat(4352 - 8)}`;
    const { text } = await answered(bridge, { param_save_path: [file] }, { originPath, images: 1, width: 1, height: 1 });
    assert.equal(JSON.parse(text).origin_path, originPath);
});

test('progress is read where the framework wrote each of its members', async () => {
    const { receive, delivered } = inbox();
    call(bridge, 'mrb_batch_process_v2', receive, {});
    rec.fireShare({ share: 7, event: 2, totalFileCount: 0x91929394, doneFileCount: 0x81828384,
                    totalFileSize: 2 ** 50 + 1, successFileSize: 2 ** 49 + 2, currentFileSize: 2 ** 48 + 3,
                    progressFileSize: 2 ** 47 + 4, currentFileName: `${'n'.repeat(1000)}.jpg` });
    const [text] = await delivered();
    const { param_event: _, ...progress } = JSON.parse(text);
    assert.deepEqual(progress, {
        param_share_handle: 7, param_share_total_file_count: 0x91929394, param_share_done_file_count: 0x81828384,
        param_share_total_file_size: 2 ** 50 + 1, param_share_success_file_size: 2 ** 49 + 2,
        param_share_current_file_size: 2 ** 48 + 3, param_share_progress_file_size: 2 ** 47 + 4,
        param_share_current_file_name: `${'n'.repeat(1000)}.jpg` });
});
