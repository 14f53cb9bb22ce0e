// Thumbnails that scripts request: real media, real files, real cancels.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { existsSync, mkdirSync, readdirSync, readFileSync, statSync, truncateSync } from 'node:fs';
import path from 'node:path';
import test, { before } from 'node:test';

import { folder, root, valueOf } from './harness.mjs';

const media = folder();
const of = (name) => path.join(media, name);

// The sanitizer's runtime must not be loaded into other programs.
const tool = (program, ...args) => execFileSync(program, args, {
  env: { ...process.env, LD_PRELOAD: '' }, maxBuffer: 1 << 28, stdio: ['ignore', 'pipe', 'pipe'] });
const ffmpeg = (...args) => tool('ffmpeg', '-nostdin', '-v', 'error', '-y', ...args);

before(() => {
  // Four quarters of one colour each, which scaling changes only near their borders.
  tool('convert', '(', 'xc:red', 'xc:lime', '+append', ')', '(', 'xc:blue', 'xc:white', '+append', ')', '-append',
    '-filter', 'point', '-resize', '800x600!', '-quality', '95', of('picture.jpg'));
  ffmpeg('-i', of('picture.jpg'), '-vf', 'scale=300:300', of('cover.jpg'));
  ffmpeg('-f', 'lavfi', '-i', 'sine=duration=1', '-i', of('cover.jpg'), '-map', '0', '-map', '1', '-c:v', 'copy',
    '-disposition:v', 'attached_pic', of('song.mp3'));
  ffmpeg('-f', 'lavfi', '-i', 'sine=duration=1', of('bare.mp3'));
  ffmpeg('-f', 'lavfi', '-i', 'testsrc2=size=640x360:rate=10:duration=10', '-c:v', 'mpeg4', '-g', '5', of('clip.mp4'));
});

const PRELUDE = `
const { Thumbnailer } = require(${JSON.stringify(path.join(root, 'sdk', 'thumbnailer.js'))});
const bridge = new MRBBridge();
const call = (method, ...args) => JSON.parse(bridge[method](...args));
const results = [];
let wake = () => {};
const request = (parameters) => call('thumbnail_request_async', (text) => {
  results.push(JSON.parse(text));
  wake();
}, JSON.stringify(parameters));
const answered = (count) => new Promise((resolve) => {
  wake = () => { if (results.length >= count) resolve(results); };
  wake();
});
`;

/** Runs a script's body with the prelude; returns the value that it passes to finish(). */
const run = (body, ...args) => valueOf(PRELUDE, body, { env: { MRB_ROOT: folder() }, args });

/** The results of requests that a script sends in this order, sorted by their user data. */
const thumbnails = async (...requests) => (await run(`
  const requests = JSON.parse(process.argv[2]);
  requests.forEach((each, index) => request({ ...each, param_thumb_user_data: index }));
  finish(await answered(requests.length));`, JSON.stringify(requests))).sort((a, b) => a.user_data - b.user_data);

/** The colour of a bitmap's pixel as ImageMagick reads it, from 0 to 255. */
const colour = (file, x, y) =>
  [...tool('convert', file, '-crop', `1x1+${x}+${y}`, '-depth', '8', 'rgb:-')];

/** Asserts that every channel is as expected, within the error of encoding and scaling. */
function assertColour(actual, expected) {
  assert.ok(actual.every((value, channel) => Math.abs(value - expected[channel]) < 12), `${actual} is not ${expected}`);
}

/** Checks the quarters of the picture, from the upper left. */
const QUARTERS = [[0.25, 0.25, [255, 0, 0]], [0.75, 0.25, [0, 255, 0]], [0.25, 0.75, [0, 0, 255]],
                  [0.75, 0.75, [255, 255, 255]]];
function assertQuarters(file, width, height) {
  assert.equal(tool('identify', '-format', '%w %h', file).toString(), `${width} ${height}`);
  for (const [x, y, expected] of QUARTERS) {
    assertColour(colour(file, Math.floor(width * x), Math.floor(height * y)), expected);
  }
}

test('a picture becomes a bitmap within the requested box, which ImageMagick opens upright', async () => {
  const file = path.join(folder(), 'picture.bmp');
  const [result] = await thumbnails({ param_origin_path: of('picture.jpg'), param_save_path: [file],
    param_thumb_width: 160, param_thumb_height: 160 });
  assert.deepEqual(result, { thumb_error_code: 100, origin_path: of('picture.jpg'), user_data: 0, save_path: [file],
    buffer_size: 160 * 120 * 4, image_width: 160, image_height: 120, image_depth: 32, image_count: 1,
    time_stamp: ['0'], flag_origin_image: 0 });
  assertQuarters(file, 160, 120);
});

test('a bitmap has the length in its header', async () => {
  const file = path.join(folder(), 'picture.bmp');
  await thumbnails({ param_origin_path: of('picture.jpg'), param_save_path: [file] });
  const bytes = readFileSync(file);
  assert.equal(bytes.length, bytes.readUInt32LE(2));
});

test('with the cache allowed, the metadata of the original follow the pixels', async () => {
  const file = path.join(folder(), 'picture.bmp');
  await thumbnails({ param_origin_path: of('picture.jpg'), param_save_path: [file], param_used_cache: 1 });
  const bytes = readFileSync(file);
  assert.equal(bytes.length, bytes.readUInt32LE(2) + 4096);
  const [text] = bytes.subarray(bytes.readUInt32LE(2)).toString().split('\0');
  const { width, height } = JSON.parse(text);
  assert.deepEqual([width, height], [800, 600]);
});

test('a song shows its cover', async () => {
  const file = path.join(folder(), 'song.bmp');
  const [result] = await thumbnails({ param_origin_path: of('song.mp3'), param_save_path: [file],
    param_thumb_width: 100, param_thumb_height: 100 });
  assert.equal(result.thumb_error_code, 100);
  assertQuarters(file, 100, 100);
});

test('a video has as many frames as requested, each in its file with its time', async () => {
  const where = folder();
  const files = [1, 2, 3, 4, 5].map((number) => path.join(where, `${number}.bmp`));
  const [result] = await thumbnails({ param_origin_path: of('clip.mp4'), param_save_path: files,
    param_thumb_width: 320, param_thumb_height: 320, param_video_frame_count: 5 });
  assert.deepEqual([result.thumb_error_code, result.image_count, result.image_width, result.image_height],
    [100, 5, 320, 180]);
  assert.deepEqual(result.save_path, files);
  const times = result.time_stamp.map(Number);
  assert.equal(times.length, 5);
  assert.ok(times.every((time, index) => time >= 0 && time < 10_000 && (index === 0 || time > times[index - 1])), times);
  files.forEach((file, index) => {
    const expected = path.join(where, `expected${index}.bmp`);
    ffmpeg('-ss', String(times[index] / 1000), '-i', of('clip.mp4'), '-frames:v', '1', '-vf', 'scale=320:180', expected);
    const compared = likeness(file, expected);
    assert.ok(compared > 25, `frame ${index} at ${times[index]} ms: ${compared} dB`);
  });
});

/** The similarity of two pictures in decibels. ImageMagick's compare exits with 1 when they differ. */
function likeness(one, other) {
  try {
    return decibels(tool('compare', '-metric', 'PSNR', one, other, 'null:'));
  } catch (error) {
    if (error.status !== 1) throw error;
    return decibels(error.stderr);
  }
}
const decibels = (output) => (/inf/.test(output) ? Infinity : Number.parseFloat(String(output)));

test('a file without a thumbnail is reported as 101, and writes nothing', async () => {
  const where = folder();
  const requests = ['none.jpg', 'bare.mp3', '.'].map((name, index) =>
    ({ param_origin_path: of(name), param_save_path: [path.join(where, `${index}.bmp`)] }));
  const results = await thumbnails(...requests);
  assert.deepEqual(results, requests.map(({ param_origin_path: origin }, index) =>
    ({ origin_path: origin, thumb_error_code: 101, user_data: index })));
  assert.deepEqual(readdirSync(where), []);
});

test('a folder that does not exist is reported as 101', async () => {
  const [result] = await thumbnails({ param_origin_path: of('picture.jpg'), param_save_path: [of('none/a.bmp')] });
  assert.equal(result.thumb_error_code, 101);
  assert.equal(existsSync(of('none')), false);
});

test('the flash cache stores thumbnails and serves requests with them', async () => {
  const parameters = { param_origin_path: of('picture.jpg'), param_save_path: ['name in the cache'],
                       param_thumb_width: 64, param_thumb_height: 64 };
  const file = path.join(folder(), 'picture.bmp');
  const results = await run(`
    const [parameters, file] = process.argv.slice(2);
    call('thumbnail_flash_cache_init');
    request({ ...JSON.parse(parameters), param_thumb_type: 1 });
    await answered(1);
    request({ ...JSON.parse(parameters), param_used_cache: 1, param_save_path: [file] });
    const list = process.env.MRB_ROOT + '/opt/usr/apps/media-resource-broker/data/thumbCache.txt';
    finish([...await answered(2), require('node:fs').readFileSync(list, 'utf8').length > 0]);`,
    JSON.stringify(parameters), file);
  assert.deepEqual(results.slice(0, 2).map(({ thumb_error_code: code, save_path: paths, image_width: width, image_height: height }) =>
    [code, paths, width, height]), [[100, parameters.param_save_path, 64, 48], [100, [file], 64, 48]]);
  assert.equal(results[2], true);
  truncateSync(file, readFileSync(file).readUInt32LE(2)); // removes what follows the pixels
  assertQuarters(file, 64, 48);
});

// ---- cancellations --------------------------------------------------------------------

test('cancelled requests have no result, and the others have', async () => {
  const { kept, late } = await run(`
    const [video, origin, where] = process.argv.slice(2);
    const parametersOf = (number, path) => ({ param_origin_path: path, param_save_path: [where + '/' + number + '.bmp'],
                                      param_thumb_width: 100 + number, param_thumb_user_data: number });
    for (let number = 0; number < 20; ++number) request(parametersOf(number, video)); // keeps the decoders busy
    for (let number = 20; number < 70; ++number) {
      request(parametersOf(number, origin));
      call('thumbnail_request_cancel', JSON.stringify(parametersOf(number, origin)));
    }
    const isKept = ({ user_data: number }) => number < 20;
    await new Promise((resolve) => {
      wake = () => { if (results.filter(isKept).length >= 20) resolve(); };
      wake();
    });
    await new Promise(setImmediate);
    const numbers = (of) => of.map(({ user_data: number }) => number).sort((a, b) => a - b);
    finish({ kept: numbers(results.filter(isKept)), late: results.filter((result) => !isKept(result)).length });`,
    of('clip.mp4'), of('picture.jpg'), folder());
  assert.deepEqual(kept, Array.from({ length: 20 }, (_, index) => index));
  assert.ok(late < 25, `${late} of 50 requests had a result although they were cancelled at once`);
});

test('after all requests were cancelled only queued results arrive, and new requests have results', async () => {
  const { before: early, after } = await run(`
    const [origin, where] = process.argv.slice(2);
    const parametersOf = (number) => ({ param_origin_path: origin, param_save_path: [where + '/' + number + '.bmp'],
                                param_thumb_width: 100 + number, param_thumb_user_data: number });
    for (let number = 0; number < 500; ++number) request(parametersOf(number));
    call('thumbnail_request_cancel_all');
    request(parametersOf(1000));
    await new Promise((resolve) => {
      wake = () => { if (results.some(({ user_data: number }) => number === 1000)) resolve(); };
      wake();
    });
    const before = results.length;
    request(parametersOf(1001));
    await answered(before + 1);
    finish({ before, after: results.at(-1).user_data });`, of('picture.jpg'), folder());
  assert.ok(early < 400, `${early} results of 500 requests that were cancelled`);
  assert.equal(after, 1001);
});

test('when an object is released, the requests of the others get their results all the same', async () => {
  const { codes, again } = await run(`
    const [origin, where] = process.argv.slice(2);
    const parametersOf = (number) => ({ param_origin_path: origin, param_save_path: [where + '/' + number + '.bmp'],
                                param_thumb_width: 100 + number, param_thumb_user_data: number });
    const other = new MRBBridge();
    other.thumbnail_request_async(() => { throw new Error('a released object received a result'); },
      JSON.stringify(parametersOf(500)));
    for (let number = 0; number < 100; ++number) request(parametersOf(number));
    quill.release(other);
    const codes = (await answered(100)).map(({ thumb_error_code: code }) => code);
    request(parametersOf(1000));
    finish({ codes, again: (await answered(101)).at(-1).thumb_error_code });`, of('picture.jpg'), folder());
  assert.equal(codes.length, 100);
  assert.ok(codes.every((code) => code === 100 || code === 101), codes);
  assert.ok(codes.includes(101), 'all results came before the other object was released');
  assert.equal(again, 100);
});

test('1,000 requests with random cancels: each that was not cancelled has one result', async () => {
  const where = folder();
  mkdirSync(path.join(where, 'bitmaps'));
  const names = ['picture.jpg', 'song.mp3', 'clip.mp4', 'none.jpg', 'bare.mp3'].map(of);
  const { answers, cancelled, late } = await run(`
    const [where, ...names] = process.argv.slice(2);
    let state = 12345;
    const random = (limit) => {
      state = (Math.imul(state, 1103515245) + 12345) >>> 0;
      return (state >>> 8) % limit;
    };
    const answers = new Array(1001).fill(0);
    const cancelled = new Set();
    let done = () => {};
    const onResult = (text) => {
      answers[JSON.parse(text).user_data] += 1;
      done();
    };
    // A unique width, so that the cancellation of another request never matches.
    const parametersOf = (number) => JSON.stringify({
      param_origin_path: names[number % names.length], param_save_path: [where + '/' + number + '.bmp'],
      param_thumb_width: 16 + number, param_thumb_height: 48, param_thumb_user_data: number });
    const waiting = () => answers.findIndex((count, number) => count === 0 && !cancelled.has(number)) >= 0;
    for (let number = 0; number < 1000; ++number) {
      call('thumbnail_request_async', onResult, parametersOf(number));
      if (random(2) === 0) {
        const other = random(number + 1);
        call('thumbnail_request_cancel', parametersOf(other));
        cancelled.add(other);
      }
      if (random(20) === 0) await new Promise(setImmediate); // some results arrive in between
    }
    call('thumbnail_request_async', onResult, parametersOf(1000));
    await new Promise((resolve) => {
      done = () => { if (!waiting()) resolve(); };
      done();
    });
    await new Promise(setImmediate);
    finish({ answers, cancelled: [...cancelled], late: [...cancelled].filter((number) => answers[number] > 0).length });`,
    path.join(where, 'bitmaps'), ...names);
  const kept = answers.filter((count, number) => !cancelled.includes(number));
  assert.ok(cancelled.length > 200 && kept.length > 500, `${cancelled.length} cancelled, ${kept.length} kept`);
  assert.ok(kept.every((count) => count === 1), 'a request that was kept did not get exactly one result');
  assert.ok(answers.every((count) => count <= 1), 'a request got two results');
  assert.ok(late < cancelled.length, 'no cancellation had an effect');
});

// ---- the promise layer -----------------------------------------------------------------

test('the promise layer resolves with the document, and rejects with the code', async () => {
  const file = path.join(folder(), 'picture.bmp');
  const [width, code] = await run(`
    const [picture, none, file] = process.argv.slice(2);
    const thumbnails = new Thumbnailer(bridge);
    const stored = await thumbnails.request(picture, [file], { width: 80, height: 80 }).done;
    const error = await thumbnails.request(none, [file]).done.catch((error) => error);
    finish([stored.image_width, error.code]);`, of('picture.jpg'), of('none.jpg'), file);
  assert.deepEqual([width, code], [80, 101]);
  assert.ok(statSync(file).size > 0);
});

test('the promise layer refuses a file without a name at once', async () => {
  assert.equal(await run(`
    try {
      new Thumbnailer(bridge).request('', []);
    } catch (error) {
      finish(error.code);
    }`), 2);
});

test('of two equal requests in the promise layer the cancelled one is rejected, the other fulfilled', async () => {
  const where = folder();
  const codes = await run(`
    const [picture, where] = process.argv.slice(2);
    const thumbnails = new Thumbnailer(bridge);
    for (let number = 0; number < 20; ++number) thumbnails.request(picture, [where + '/' + number], { width: 20 + number });
    const [first, second] = ['a', 'b'].map((name) => thumbnails.request(picture, [where + '/' + name], { width: 10 }));
    second.cancel();
    second.cancel(); // has no further effect
    finish([(await first.done).thumb_error_code, (await second.done.catch((error) => error)).code]);`,
    of('picture.jpg'), where);
  assert.deepEqual(codes, [100, 0]);
});

test('the promise layer cancels all requests', async () => {
  const codes = await run(`
    const [picture, where] = process.argv.slice(2);
    const thumbnails = new Thumbnailer(bridge);
    const all = Array.from({ length: 10 }, (_, number) => thumbnails.request(picture, [where + '/' + number]));
    thumbnails.cancelAll();
    finish(await Promise.all(all.map(({ done }) => done.catch((error) => error.code))));`, of('picture.jpg'), folder());
  assert.deepEqual(codes, Array(10).fill(0));
});
