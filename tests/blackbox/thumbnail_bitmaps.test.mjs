// Bitmap files of thumbnails, byte for byte, and as another program reads them.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { existsSync, mkdirSync, readFileSync, statSync, symlinkSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';

import { openBridge } from './harness.mjs';
import { assertLogs, thumbnail } from './log_lines.mjs';
import { answered, bitmapFile, bitmapFolder, imageBytes, NOT_STORED, resultLines } from './thumbnail_records.mjs';

const bridge = openBridge();
const folder = bitmapFolder();
const code = ({ text }) => JSON.parse(text).thumb_error_code;

/** Writes an image to a file of this name; returns the result. */
const write = (file, width, height, more = {}) =>
    answered(bridge, { param_save_path: [file] }, { images: 1, width, height, ...more });

// The sanitizer's runtime must not be loaded into other programs.
const run = (program, ...args) => execFileSync(program, args, {
    env: { ...process.env, LD_PRELOAD: '', LD_LIBRARY_PATH: '' }, stdio: ['ignore', 'pipe', 'pipe'] });

/**
 * What other programs make of a file: its size, and its pixels from the top, three
 * bytes each. ImageMagick refuses a bitmap that is longer than its header says.
 */
const READERS = {
    ImageMagick: (file) => ({
        size: run('identify', '-format', '%w %h', `bmp:${file}`).toString(),
        pixels: run('convert', `bmp:${file}`, '-depth', '8', 'bgr:-'),
    }),
    FFmpeg: (file) => ({
        size: run('ffprobe', '-v', 'error', '-show_entries', 'stream=width,height', '-of', 'csv=p=0:s=\\ ', file)
            .toString().trim(),
        pixels: run('ffmpeg', '-v', 'error', '-i', file, '-f', 'rawvideo', '-pix_fmt', 'bgr24', '-'),
    }),
};

const withoutAlpha = (pixels) => pixels.filter((_, offset) => offset % 4 !== 3);

for (const [width, height] of [[1, 1], [2, 2], [3, 5], [5, 3], [257, 1], [1, 300]]) {
    for (const preset of [undefined, 'preset']) {
        const what = `${width}x${height}${preset ? ' with a preset buffer' : ''}`;
        const file = path.join(folder, `${what}.bmp`);

        test(`a bitmap of ${what} is right to the byte`, async () => {
            const result = await write(file, width, height, preset ? { preset: true, presetText: preset } : {});
            assert.equal(code(result), 100);
            assert.deepEqual(readFileSync(file), bitmapFile(0, width, height, preset));
        });

        for (const reader of preset ? ['FFmpeg'] : ['ImageMagick', 'FFmpeg']) {
            test(`a bitmap of ${what} is read by ${reader} with the same pixels`, () => {
                const { size, pixels } = READERS[reader](file);
                assert.equal(size, `${width} ${height}`);
                assert.deepEqual(pixels, Buffer.from(withoutAlpha(imageBytes(0, width, height))));
            });
        }
    }
}

test('a bitmap of 2x2 has 70 bytes, 4,166 with a preset buffer, and its header has 70 in both', async () => {
    const [plain, trailed] = ['plain.bmp', 'trailed.bmp'].map((name) => path.join(folder, name));
    await write(plain, 2, 2);
    await write(trailed, 2, 2, { preset: true });
    assert.deepEqual([plain, trailed].map((file) => statSync(file).size), [70, 4166]);
    assert.deepEqual([plain, trailed].map((file) => readFileSync(file).readUInt32LE(2)), [70, 70]);
});

test('a preset buffer is logged to its first zero', async () => {
    const { lines } = await write(path.join(folder, 'zero.bmp'), 1, 1, { preset: true, presetText: 'up to here\0no more' });
    assertLogs(resultLines([thumbnail('m_BmpWrite', 'bmp_write bufferPreset : [up to here]###\n')], 'return.success..\n'),
               { lines });
});

test('a preset buffer without a zero is logged to its end, and written whole', async () => {
    const file = path.join(folder, 'endless.bmp');
    const { lines } = await write(file, 1, 1, { preset: true });
    assertLogs(resultLines([thumbnail('m_BmpWrite', `bmp_write bufferPreset : [${'P'.repeat(4096)}]###\n`)],
                           'return.success..\n'), { lines });
    assert.deepEqual(readFileSync(file), bitmapFile(0, 1, 1, ''));
});

test('an existing file is overwritten completely', async () => {
    const file = path.join(folder, 'old.bmp');
    writeFileSync(file, Buffer.alloc(10_000, 1));
    assert.equal(code(await write(file, 1, 1)), 100);
    assert.deepEqual(readFileSync(file), bitmapFile(0, 1, 1));
});

test('a bitmap of no pixels is a header', async () => {
    const file = path.join(folder, 'empty.bmp');
    assert.equal(code(await write(file, 0, 0)), 100);
    assert.deepEqual(readFileSync(file), bitmapFile(0, 0, 0));
});

test('a path may hold spaces, letters and dots', async () => {
    const file = path.join(folder, './%s ä b');
    assert.equal(code(await write(file, 1, 1)), 100);
    assert.deepEqual(readFileSync(file), bitmapFile(0, 1, 1));
});

// ---- failures -------------------------------------------------------------------------

const blocked = path.join(folder, 'a folder');
mkdirSync(blocked);
const full = path.join(folder, 'full.bmp');
symlinkSync('/dev/full', full);
writeFileSync(path.join(folder, 'a file'), '');

for (const [what, file, message] of [
    ['without a slash', 'thumb.bmp', 'can not find / in path:thumb.bmp'],
    ['that is empty', '', 'can not find / in path:'],
    ['with a percent sign and no slash', '%s%n', 'can not find / in path:%s%n'],
    ['whose only slash is its first letter', '/thumb.bmp', 'fail to access dir path:'],
    ['in a folder that does not exist', `${folder}/none/thumb.bmp`, `fail to access dir path:${folder}/none`],
    ['that is a folder', blocked, 'fopen fail'],
    ['that ends with a slash', `${blocked}/`, 'fopen fail'],
    ['below a file', `${folder}/a file/thumb.bmp`, 'fopen fail'],
    ['on a medium that is full', full, 'fwrite error'],
]) {
    test(`a save path ${what} is reported as 101 and logged`, async () => {
        const result = await write(file, 2, 2, { preset: true });
        assert.equal(result.text, '{\n\t"origin_path" : "/media/a.jpg",\n\t"thumb_error_code" : 101,\n\t"user_data" : 0\n}\n');
        assert.equal(result.returned, 0);
        assert.deepEqual(result.blocks.map(({ released }) => released), [true, true]);
        assertLogs(resultLines([thumbnail('m_BmpWrite', message)], NOT_STORED), { lines: result.lines, onMainThread: false });
    });
}

test('a missing folder is not created', () => assert.equal(existsSync(path.join(folder, 'none')), false));

test('no file stays open', async () => {
    const open = () => new Set(Array.from({ length: 100 }, (_, number) => number)
        .filter((number) => existsSync(`/proc/self/fd/${number}`))).size;
    await write(full, 1, 1);
    const before = open();
    for (let i = 0; i < 20; ++i) {
        await write(full, 1, 1);
        await write(path.join(folder, 'again.bmp'), 1, 1);
    }
    assert.equal(open(), before);
});
