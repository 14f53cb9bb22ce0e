// Conversion of the framework's result to the document that a script receives: which
// images are stored, released and reported, and in which order this is decided.

import assert from 'node:assert/strict';
import { existsSync, readFileSync } from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';

import { styled } from './sample_devices.mjs';
import { call, inbox, openBridge, rec } from './harness.mjs';
import { assertEvents, returned } from './event_trace.mjs';
import { assertLogs, deliveryLines, thumbnail } from './log_lines.mjs';
import { answered, ASYNC, bitmapFile, bitmapFolder, EMPTY, NOT_STORED, resultLines, STORED } from './thumbnail_records.mjs';

const bridge = openBridge();
const folder = bitmapFolder();
let number = 0;

/** The paths of `count` new bitmaps. */
const newPaths = (count = 1) => Array.from({ length: count }, () => path.join(folder, `${++number}.bmp`));

const ORIGIN = '/media/a.jpg';
const CODES = { stored: 100, notStored: 101, serviceFailed: 102 };
const ONE = { images: 1, width: 2, height: 2 };
const held = (...functions) => functions.map((allocatedBy) => ({ allocatedBy, released: false }));
const released = (...functions) => functions.map((allocatedBy) => ({ allocatedBy, released: true }));

/** The document of images that were stored. */
const success = (result, members) => styled({
    origin_path: ORIGIN, user_data: 0, thumb_error_code: CODES.stored,
    buffer_size: result.width * result.height * 4, image_width: result.width, image_height: result.height,
    image_depth: 32, image_count: result.imageCount ?? result.images, flag_origin_image: 0, ...members,
});
const failure = styled({ origin_path: ORIGIN, user_data: 0, thumb_error_code: CODES.notStored });

// ---- files ------------------------------------------------------------------------

test('a written image is reported with all of its members', async () => {
    const save_path = newPaths();
    const result = { ...ONE, depth: 24, bufferSize: 99, flagOriginImage: 1, timeStamps: [1500] };
    const { text, returned, lines, trace } = await answered(
        bridge, { param_save_path: save_path, param_thumb_user_data: -2147483648 }, result);
    assert.equal(text, success(result, { save_path, user_data: -2147483648, image_depth: 24, buffer_size: 99,
                                         flag_origin_image: 1, time_stamp: ['1500'] }));
    assert.equal(returned, 1);
    assert.deepEqual(trace, []);
    assertLogs(resultLines([], STORED), { lines, onMainThread: false });
    assert.deepEqual(readFileSync(save_path[0]), bitmapFile(0, 2, 2));
});

test('two save paths and one image store one, and report one path and one time stamp', async () => {
    const [first, second] = newPaths(2);
    const { text } = await answered(bridge, { param_save_path: [first, second] }, ONE);
    assert.equal(text, success(ONE, { save_path: [first], time_stamp: ['0'] }));
    assert.deepEqual([existsSync(first), existsSync(second)], [true, false]);
});

test('one save path and three images store the first, report three and release all', async () => {
    const save_path = newPaths();
    const result = { ...ONE, images: 3, timeStamps: [0, 5000, 10000] };
    const { text, blocks } = await answered(bridge, { param_save_path: save_path }, result);
    assert.equal(text, success(result, { save_path, time_stamp: ['0', '5000', '10000'] }));
    assert.deepEqual(blocks, released('image', 'image', 'image'));
    assert.deepEqual(readFileSync(save_path[0]), bitmapFile(0, 2, 2));
});

test('five images go into five files in their order', async () => {
    const save_path = newPaths(5);
    const result = { ...ONE, images: 5, timeStamps: [1, 2, 3, 4, 5] };
    const { text } = await answered(bridge, { param_save_path: save_path }, result);
    assert.equal(text, success(result, { save_path, time_stamp: ['1', '2', '3', '4', '5'] }));
    save_path.forEach((file, index) => assert.deepEqual(readFileSync(file), bitmapFile(index, 2, 2)));
});

test('no images are a success without paths and time stamps, and release the preset buffer', async () => {
    const [save_path] = newPaths();
    const result = { images: 0, width: 2, height: 2, preset: true };
    const { text, returned, blocks, lines } = await answered(bridge, { param_save_path: [save_path] }, result);
    assert.equal(text, success(result, {}));
    assert.equal(returned, 1);
    assert.deepEqual(blocks, released('preset'));
    assertLogs(resultLines([], STORED), { lines });
    assert.equal(existsSync(save_path), false);
});

test('a negative count is reported as it is and counts as 0', async () => {
    const result = { ...ONE, imageCount: -1 };
    const { text, blocks } = await answered(bridge, { param_save_path: newPaths() }, result);
    assert.equal(text, success(result, {}));
    assert.deepEqual(blocks, held('image'));
});

test('time stamps are texts of every 64-bit number', async () => {
    const save_path = newPaths();
    const result = { ...ONE, images: 2, timeStamps: [9223372036854775807n, -9223372036854775808n] };
    const { text } = await answered(bridge, { param_save_path: save_path }, result);
    assert.deepEqual(JSON.parse(text).time_stamp, ['9223372036854775807', '-9223372036854775808']);
});

test('the images and the preset buffer of a success are released once', async () => {
    const { blocks } = await answered(bridge, { param_save_path: newPaths(2) },
                                      { ...ONE, images: 2, preset: true, presetText: 'x\0' });
    assert.deepEqual(blocks, released('image', 'image', 'preset'));
});

test('images stored before a failure stay, and are not reported', async () => {
    const [first] = newPaths();
    const { text, returned, blocks, lines } = await answered(
        bridge, { param_save_path: [first, 'none.bmp', ...newPaths()] }, { ...ONE, images: 3, preset: true });
    assert.equal(text, failure);
    assert.equal(returned, 0);
    assert.deepEqual(blocks, released('image', 'image', 'image', 'preset'));
    assert.ok(existsSync(first));
    assert.equal(existsSync(path.join(folder, `${number}.bmp`)), false); // nothing is tried after a failure
    assertLogs(resultLines([thumbnail('m_BmpWrite', `bmp_write bufferPreset : [${'P'.repeat(4096)}]###\n`),
                            thumbnail('m_BmpWrite', 'can not find / in path:none.bmp')], NOT_STORED), { lines });
});

// ---- no images, or no place for them --------------------------------------------------

for (const code of [-1, -13, -2147483648]) {
    test(`the framework's ${code} is reported as 101 with the path and the user data`, async () => {
        const [file] = newPaths();
        const { text, returned, lines, blocks } = await answered(
            bridge, { param_save_path: [file], param_thumb_user_data: 7 }, { ...ONE, result: code, preset: true });
        assert.equal(text, '{\n\t"origin_path" : "/media/a.jpg",\n\t"thumb_error_code" : 101,\n\t"user_data" : 7\n}\n');
        assert.equal(returned, 0);
        assert.deepEqual(blocks, held('image', 'preset'));
        assert.equal(existsSync(file), false);
        assertLogs(resultLines([], EMPTY), { lines, onMainThread: false });
    });
}

for (const [what, request] of [['no save path', {}], ['no element in the save path', { param_save_path: [] }],
                               ['a number among the save paths', { param_save_path: ['/tmp/a', {}] }],
                               ['no save path for the flash cache', { param_thumb_type: 1 }]]) {
    for (const code of [0, 1, -1]) {
        test(`${what} is 101 when the framework returns ${code}, and its buffers stay`, async () => {
            const { text, returned, lines, trace, blocks } = await answered(bridge, request,
                                                                            { ...ONE, result: code, preset: true });
            assert.equal(text, failure);
            assert.equal(returned, 0);
            assert.deepEqual(trace, []);
            assert.deepEqual(blocks, held('image', 'preset'));
            assertLogs(resultLines([], EMPTY), { lines });
        });
    }
}

for (const code of [1, 2147483647]) {
    test(`the framework's ${code} is reported as 102 and nothing else, and its buffers stay`, async () => {
        const { text, returned, lines, blocks } = await answered(bridge, { param_save_path: newPaths() },
                                                                 { ...ONE, result: code, preset: true });
        assert.equal(text, '{\n\t"thumb_error_code" : 102\n}\n');
        assert.equal(returned, 0);
        assert.deepEqual(blocks, held('image', 'preset'));
        assert.equal(lines.length, 2);
        const [, source] = /> \x1b\[31m\[m_MrbThumbnailRecv:(\d+)\]/.exec(lines[1].text);
        assertLogs(resultLines([thumbnail('m_MrbThumbnailRecv', `line=${source}`)]), { lines, onMainThread: false });
    });
}

// ---- the flash cache --------------------------------------------------------------------

const cacheTrace = (handle, file, width, image, preset) => [
    ['mrb_create_thumbnail_flash_cache_param', 0],
    ['mrb_set_thumbnail_flash_cache_filename', handle, file],
    ['mrb_set_thumbnail_flash_cache_url', handle, ORIGIN],
    ['mrb_set_thumbnail_flash_cache_xsize', handle, width],
    ['mrb_set_thumbnail_flash_cache_ysize', handle, width],
    ['mrb_thumbnail_flash_cache_save_file', handle, image, preset],
    ['mrb_destroy_thumbnail_flash_cache_param', handle],
];

test('images for the flash cache are saved there one by one, with the width for a height', async () => {
    const result = { images: 2, width: 3, height: 5, preset: true };
    const save_path = ['key one', '/no/such/folder/two'];
    const { text, returned, trace, lines, blocks } = await answered(
        bridge, { param_thumb_type: 1, param_save_path: save_path }, result);
    assert.deepEqual(trace, [...cacheTrace(1, 'key one', 3, 1, 3), ...cacheTrace(2, save_path[1], 3, 2, 3)]);
    assert.equal(text, success(result, { save_path, time_stamp: ['0', '0'] }));
    assert.equal(returned, 1);
    assert.deepEqual(blocks, released('image', 'image', 'preset'));
    assertLogs(resultLines([], STORED), { lines, onMainThread: false });
});

test('a result logs, is stored, logs the end, is queued, and returned to the framework, on one thread', async () => {
    const request = { param_save_path: ['key'], param_thumb_type: 1 };
    const stored = await answered(bridge, request, ONE);
    const failed = await answered(bridge, request, { result: -1 });
    const order = ({ text }, between, end, value) =>
        [...resultLines(between, end), ...deliveryLines(26, text), returned('thumbnail', value)];
    assertEvents(order(stored, cacheTrace(1, 'key', 2, 1, null), STORED, 1), { events: stored.events, onMainThread: false });
    assertEvents(order(failed, [], EMPTY, 0), { events: failed.events, onMainThread: false });
});

test('an image for the flash cache without a preset buffer is saved with none', async () => {
    const { trace } = await answered(bridge, { param_thumb_type: 1, param_save_path: ['key'] }, ONE);
    assert.deepEqual(trace, cacheTrace(1, 'key', 2, 1, null));
});

test('parameters that the flash cache does not create end the storing', async () => {
    rec.queue('mrb_create_thumbnail_flash_cache_param', { result: 1 });
    rec.queue('mrb_create_thumbnail_flash_cache_param', { result: 0 });
    const { receive, delivered } = inbox();
    call(bridge, ASYNC, receive, { param_origin_path: ORIGIN, param_thumb_type: 1, param_save_path: ['a', 'b', 'c'] });
    rec.clearLogs();
    assert.equal(rec.fireThumbnail({ ...ONE, images: 3, preset: true, originPath: ORIGIN }), 0);
    assertLogs(resultLines([thumbnail('m_MrbThumbnailRecv', 'mrb_create_thumbnail_flash_cache_param failed')], NOT_STORED),
               { lines: rec.logs().slice(0, -2), onMainThread: false });
    const called = rec.trace().map(([name]) => name);
    assert.equal(called.filter((name) => name === 'mrb_create_thumbnail_flash_cache_param').length, 2);
    assert.equal(called.filter((name) => name === 'mrb_destroy_thumbnail_flash_cache_param').length, 1);
    assert.equal(called.filter((name) => name === 'mrb_thumbnail_flash_cache_save_file').length, 1);
    assert.deepEqual(rec.blocks(), released('image', 'image', 'image', 'preset'));
    assert.deepEqual(await delivered(), [failure]);
});

test('an image that the flash cache does not save ends the storing, with its parameters destroyed', async () => {
    const { receive, delivered } = inbox();
    call(bridge, ASYNC, receive, { param_origin_path: ORIGIN, param_thumb_type: 1, param_save_path: ['a', 'b'] });
    rec.clear();
    rec.clearLogs();
    rec.queue('mrb_thumbnail_flash_cache_save_file', { result: 0 });
    assert.equal(rec.fireThumbnail({ ...ONE, images: 2, originPath: ORIGIN }), 0);
    assertLogs(resultLines([thumbnail('m_MrbThumbnailRecv', 'mrb_thumbnail_flash_cache_save_file failed')], NOT_STORED),
               { lines: rec.logs().slice(0, -2), onMainThread: false });
    assert.deepEqual(rec.trace(), cacheTrace(1, 'a', 2, 1, null));
    assert.deepEqual(rec.blocks(), released('image', 'image'));
    assert.deepEqual(await delivered(), [failure]);
});

for (const name of ['filename', 'url', 'xsize', 'ysize']) {
    test(`the flash cache's result of its ${name} is ignored`, async () => {
        const { receive, delivered } = inbox();
        call(bridge, ASYNC, receive, { param_origin_path: ORIGIN, param_thumb_type: 1, param_save_path: ['a'] });
        rec.queue(`mrb_set_thumbnail_flash_cache_${name}`, { result: -1 });
        assert.equal(rec.fireThumbnail({ ...ONE, originPath: ORIGIN }), 1);
        assert.equal(JSON.parse((await delivered())[0]).thumb_error_code, CODES.stored);
    });
}

// ---- delivery ------------------------------------------------------------------------------

test('each result goes to its own request\'s paths and user data', async () => {
    const paths = newPaths(3);
    const { receive, delivered } = inbox();
    const start = rec.registrations('thumbnail');
    paths.forEach((file, index) => call(bridge, ASYNC, receive, {
        param_origin_path: ORIGIN, param_save_path: [file], param_thumb_user_data: index }));
    for (const index of [2, 0, 1]) rec.fireThumbnail({ ...ONE, originPath: ORIGIN, registration: start + index });
    const documents = (await delivered(3)).map((text) => JSON.parse(text));
    assert.deepEqual(documents.map((document) => [document.user_data, document.save_path]),
                     [2, 0, 1].map((index) => [index, [paths[index]]]));
});

test('a path of 4,351 bytes arrives whole', async () => {
    const long = `/${'x'.repeat(4350)}`;
    const { text } = await answered(bridge, { param_origin_path: long }, { result: -1 });
    assert.equal(JSON.parse(text).origin_path, long);
});

test('a result for a released object reaches no function', async () => {
    const object = openBridge();
    const { receive, calls } = inbox();
    call(object, ASYNC, receive, { param_origin_path: ORIGIN });
    rec.fireThumbnail({ result: -1, originPath: ORIGIN });
    quill.release(object);
    const other = inbox();
    call(bridge, ASYNC, other.receive, { param_origin_path: ORIGIN });
    rec.fireThumbnail({ result: -1, originPath: ORIGIN });
    await other.delivered();
    assert.deepEqual(calls, []);
});
