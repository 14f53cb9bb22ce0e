// Thumbnail requests and results of the recording framework, and the records and
// documents that belong to them.

import assert from 'node:assert/strict';
import { mkdtempSync, rmSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { after } from 'node:test';

import { call, forget, inbox, rec } from './harness.mjs';
import { assertLogs, deliveryLines, missingKey, thumbnail } from './log_lines.mjs';

export const ASYNC = 'thumbnail_request_async';
export const CANCEL = 'thumbnail_request_cancel';

/** The numbers of a record by their keys, in the order in which they are read. */
export const NUMBER_KEYS = ['param_media_type', 'param_orientation', 'param_source_type', 'param_thumb_width',
                            'param_thumb_height', 'param_used_cache'];

/** All keys that may be missing, in the order in which they are read. */
export const OPTIONAL_KEYS = ['param_save_path', ...NUMBER_KEYS, 'param_thumb_type', 'param_video_frame_count',
                              'param_thumb_user_data'];

/** A request with every key. */
export const FULL = { param_origin_path: '/media/a.jpg', param_save_path: ['/tmp/none/a.bmp'], param_media_type: 1,
                      param_orientation: 6, param_source_type: 2, param_thumb_width: 320, param_thumb_height: 180,
                      param_used_cache: 1, param_thumb_type: 1, param_video_frame_count: 5,
                      param_thumb_user_data: -77 };

/** The framework's view of a request: the record's fields in their order. */
export const recordOf = (request) =>
    [request.param_origin_path, request.param_media_type ?? 0, request.param_source_type ?? 0,
     request.param_orientation ?? 0, request.param_thumb_width ?? 0, request.param_thumb_height ?? 0,
     request.param_used_cache ?? 0, (request.param_video_frame_count ?? 0) & 0xff, 'cb1', 'user1'];

/** The lines of a request that reaches the framework; `missing` are the keys that it lacks. */
export const requestLines = (fn, command, { missing = [], flashCache = false } = {}) => [
    ...missing.map(missingKey),
    thumbnail('m_GetThumbRequest', flashCache ? 'Use the flash cache.' : 'Not Use the flash cache.'),
    commandLine(fn, command, 0),
];

/** The last line of a command. */
export const commandLine = (fn, command, code) =>
    thumbnail(fn, `strCmd[${command}] eResult[${code}] strReturnJson[{"return_ecode":${code}}\n].`);

/** Byte b of image i as the recording framework fills it. */
export const imageBytes = (index, width, height) =>
    Buffer.from(Array.from({ length: width * height * 4 }, (_, offset) => (offset + index * 50) % 251));

/** The 4,096 bytes of a preset buffer that begins with a text. */
export const presetBytes = (text) => Buffer.concat([Buffer.from(text), Buffer.alloc(4096 - text.length, 'P')]);

/** What a bitmap file of an image is, byte for byte. */
export function bitmapFile(index, width, height, preset) {
    const header = Buffer.alloc(54);
    header.write('BM');
    header.writeUInt32LE(width * height * 4 + 54, 2);
    header.writeUInt32LE(54, 10);
    header.writeUInt32LE(40, 14);
    header.writeInt32LE(width, 18);
    header.writeInt32LE(height, 22);
    header.writeUInt16LE(1, 26);
    header.writeUInt16LE(32, 28);
    const pixels = imageBytes(index, width, height);
    const rows = Array.from({ length: height }, (_, row) => pixels.subarray(row * width * 4, (row + 1) * width * 4));
    return Buffer.concat([header, ...rows.reverse(), ...(preset === undefined ? [] : [presetBytes(preset)])]);
}

/** A folder for this file's bitmaps, removed when the process ends. */
export function bitmapFolder() {
    const folder = mkdtempSync(path.join(os.tmpdir(), 'bitmaps-'));
    after(() => rmSync(folder, { recursive: true, force: true }));
    return folder;
}

/**
 * Requests a thumbnail and has the framework answer with `result`. Resolves to the
 * text that is delivered, what the callback returned to the framework, and what was
 * called and logged until then: all lines but those of the delivery, which are checked here.
 */
export async function answered(bridge, request, result) {
    const { receive, delivered, calls } = inbox();
    const full = { param_origin_path: '/media/a.jpg', ...request };
    assert.deepEqual(call(bridge, ASYNC, receive, full), { return_ecode: 0 });
    forget();
    const returned = rec.fireThumbnail({ originPath: full.param_origin_path, ...result });
    const [lines, trace, blocks, events] = [rec.logs(), rec.trace(), rec.blocks(), rec.events()];
    const [text] = await delivered();
    assert.deepEqual(calls, [[text]]);
    assertLogs(deliveryLines(26, text), { lines: lines.splice(-2), onMainThread: false });
    return { text, returned, lines, trace, blocks, events };
}

const recv = (text) => thumbnail('m_MrbThumbnailRecv', text);

/** The lines of a result: its first, those `between`, and how it ended. */
export const resultLines = (between, end) =>
    [recv('mrb_thumbnail_cache_recv...\n'), ...between, ...(end === undefined ? [] : [recv(end)])];
export const STORED = 'return.success..\n';
export const NOT_STORED = 'bWriteRet false...\n';
export const EMPTY = 'vSavePath empty err_no < 0...\n';
