// Conversion of a thumbnail request's text to the framework's record, and the other
// thumbnail commands.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { call, inbox, openBridge, rec, REFUSED } from './harness.mjs';
import { assertLogs, json, missingKey, mistypedKey, thumbnail } from './log_lines.mjs';
import { answered, ASYNC, CANCEL, commandLine, FULL, NUMBER_KEYS, OPTIONAL_KEYS, recordOf,
         requestLines } from './thumbnail_records.mjs';

const bridge = openBridge();
const ignore = () => {};
const INT = 1, STRING = 4, BOOL = 5, ARRAY = 6, NULL = 0; // the JSON library's numbers of types

/** The two commands with a request: the script's arguments before it, and the operation. */
const REQUESTS = [{ name: ASYNC, fn: 'ThumbnailRequestAsync', takes: [ignore] },
                  { name: CANCEL, fn: 'ThumbnailRequestCancel', takes: [] }];
const PLAIN = [{ name: 'thumbnail_request_cancel_all', fn: 'ThumbnailRequestCancelAll' },
               { name: 'thumbnail_stop_ptp_decode_sync', fn: 'ThumbnailStopPtpDecodeSync' }];
const LIST_FILE = '/opt/usr/apps/media-resource-broker/data/thumbCache.txt';

const without = (request, key) => Object.fromEntries(Object.entries(request).filter(([name]) => name !== key));

for (const { name, fn, takes } of REQUESTS) {
    const send = (request) => call(bridge, name, ...takes, request);

    test(`${name} with every key sets each field of the record`, () => {
        assert.deepEqual(send(FULL), { return_ecode: 0 });
        assert.deepEqual(rec.trace(), [[name, ...recordOf(FULL)]]);
        assertLogs(requestLines(fn, name, { flashCache: true }), { onMainThread: true });
    });

    test(`${name} with a path alone gives numbers of 0, no save path and no flash cache`, () => {
        const request = { param_origin_path: '/media/a.jpg' };
        assert.equal(bridge[name](...takes, JSON.stringify(request)), '{"return_ecode":0}\n');
        assert.deepEqual(rec.trace(), [[name, ...recordOf(request)]]);
        assertLogs(requestLines(fn, name, { missing: OPTIONAL_KEYS }), { onMainThread: true });
    });

    for (const key of OPTIONAL_KEYS) {
        test(`${name} without ${key} logs it and uses the rest`, () => {
            const request = without(FULL, key);
            assert.deepEqual(send(request), { return_ecode: 0 });
            assert.deepEqual(rec.trace(), [[name, ...recordOf(request)]]);
            assertLogs(requestLines(fn, name, { missing: [key], flashCache: key !== 'param_thumb_type' }));
        });

        const wrong = key === 'param_save_path' ? [['/a.bmp', STRING], [7, INT], [null, NULL]]
            : [['7', STRING], [true, BOOL], [[7], ARRAY], [null, NULL]];
        for (const [value, type] of wrong) {
            test(`${name} with ${JSON.stringify(value)} as ${key} logs it and uses the rest`, () => {
                assert.deepEqual(send({ ...FULL, [key]: value }), { return_ecode: 0 });
                assert.deepEqual(rec.trace(), [[name, ...recordOf(without(FULL, key))]]);
                assertLogs([mistypedKey(type), ...requestLines(fn, name, { flashCache: key !== 'param_thumb_type' })]);
            });
        }
    }

    for (const number of [0, -1, 2147483647, -2147483648]) {
        test(`${name} hands ${number} over unchanged in every number`, () => {
            const request = { param_origin_path: '/a', ...Object.fromEntries(NUMBER_KEYS.map((key) => [key, number])) };
            send(request);
            assert.deepEqual(rec.trace(), [[name, ...recordOf(request)]]);
        });
    }

    for (const [count, low] of [[300, 44], [255, 255], [256, 0], [-1, 255], [2147483647, 255]]) {
        test(`${name} with ${count} video frames hands over the low byte, ${low}`, () => {
            send({ ...FULL, param_video_frame_count: count });
            assert.equal(rec.trace()[0][8], low);
        });
    }

    for (const type of [0, 2, -1, 257]) {
        test(`${name} with thumbnails of type ${type} uses no flash cache`, () => {
            assert.deepEqual(send({ ...FULL, param_thumb_type: type }), { return_ecode: 0 });
            assertLogs(requestLines(fn, name));
        });
    }

    const refused = (request, lines) => {
        assert.deepEqual(send(request), { return_ecode: REFUSED });
        assert.deepEqual(rec.trace(), []);
        assertLogs([...lines, commandLine(fn, name, REFUSED)], { onMainThread: true });
    };
    const noPath = thumbnail('m_GetThumbRequest', 'strPath empth!!!');

    test(`${name} with an empty text is refused`, () => {
        refused('', [thumbnail('m_GetThumbRequest', 'strParam is empty......')]);
    });

    test(`${name} without a path is refused`, () => {
        refused(without(FULL, 'param_origin_path'), [missingKey('param_origin_path'), noPath]);
    });

    for (const [value, type] of [[7, INT], [['/a'], ARRAY], [true, BOOL], [null, NULL]]) {
        test(`${name} with ${JSON.stringify(value)} as path is refused`, () => {
            refused({ ...FULL, param_origin_path: value }, [mistypedKey(type), noPath]);
        });
    }

    test(`${name} with an empty path is refused`, () => {
        refused({ ...FULL, param_origin_path: '' }, [noPath]);
    });

    for (const [text, type] of [['[]', ARRAY], ['7', INT], ['null', NULL], ['"text"', STRING]]) {
        test(`${name} with ${text} for a request is refused`, () => {
            refused(text, [json('Get', `Get fail. jsonvalue is invalid type[${type}].`), noPath]);
        });
    }

    test(`${name} reads a request that ends right after the path`, () => {
        assert.deepEqual(send('{"param_origin_path":"/a",'), { return_ecode: 0 });
        assert.deepEqual(rec.trace(), [[name, ...recordOf({ param_origin_path: '/a' })]]);
    });

    test(`${name} passes a path of any length and letters`, () => {
        const long = `/media/%s %n/${'ä'.repeat(3000)}\n.jpg`;
        send({ ...FULL, param_origin_path: long });
        assert.equal(rec.trace()[0][1], long);
    });
}

for (const { name, takes } of [...REQUESTS.map((entry) => ({ ...entry, takes: [...entry.takes, FULL] })),
                                   ...PLAIN.map((entry) => ({ ...entry, takes: [] }))]) {
    for (const code of [-1, -2147483648, 1, 2]) {
        test(`${name} answers 0 when the framework returns ${code}`, () => {
            rec.queue(name, { result: code });
            assert.deepEqual(call(bridge, name, ...takes), { return_ecode: 0 });
            assert.equal(rec.trace().length, 1);
        });
    }
}

for (const { name, fn } of PLAIN) {
    test(`${name} calls the framework without arguments`, () => {
        assert.deepEqual(call(bridge, name), { return_ecode: 0 });
        assert.deepEqual(rec.trace(), [[name]]);
        assertLogs([commandLine(fn, name, 0)], { onMainThread: true });
    });
}

const INIT = 'thumbnail_flash_cache_init';
const initLine = thumbnail('ThumbnailFlashCacheInit', `strCmd is :${INIT} \n`);

for (const code of [0, -1, 1]) {
    test(`${INIT} names the list file and answers 0 when the framework returns ${code}`, () => {
        rec.queue('mrb_thumbnail_flash_cache_init', { result: code });
        assert.deepEqual(call(bridge, INIT), { return_ecode: 0 });
        assert.deepEqual(rec.trace(), [['mrb_thumbnail_flash_cache_init', LIST_FILE]]);
        assertLogs([initLine, commandLine('ThumbnailFlashCacheInit', INIT, 0)], { onMainThread: true });
    });
}

test('only its command opens the flash cache', async () => {
    await answered(bridge, { param_thumb_type: 1, param_save_path: ['a'] }, { width: 1, height: 1, images: 1 });
    assert.ok(!rec.trace().some(([name]) => name === 'mrb_thumbnail_flash_cache_init'));
});

// ---- a service that did not start -----------------------------------------------

function bridgeWithoutService() {
    rec.queue('thumbnail_init', { result: -1 });
    return openBridge();
}
const stopped = bridgeWithoutService();

for (const { name, fn, takes, first = [] } of [
    ...REQUESTS.map((entry) => ({ ...entry, takes: [...entry.takes, FULL] })),
    ...REQUESTS.map((entry) => ({ ...entry, takes: [...entry.takes, ''] })),
    ...PLAIN.map((entry) => ({ ...entry, takes: [] })),
    { name: INIT, fn: 'ThumbnailFlashCacheInit', takes: [], first: [initLine] },
]) {
    test(`${name}(${takes.at(-1) === '' ? 'an empty text' : ''}) answers 1 and calls nothing when the service did not start`, () => {
        assert.deepEqual(call(stopped, name, ...takes), { return_ecode: 1 });
        assert.deepEqual(rec.trace(), []);
        assertLogs([...first, thumbnail(fn, 'not init...'), commandLine(fn, name, 1)], { onMainThread: true });
    });
}

test('a service that did not start is not started again, and finalised with the object all the same', () => {
    const object = bridgeWithoutService();
    assert.deepEqual(call(object, 'thumbnail_request_cancel_all'), { return_ecode: 1 });
    assert.deepEqual(call(object, 'thumbnail_request_cancel_all'), { return_ecode: 1 });
    assert.deepEqual(rec.trace(), []);
    quill.release(object);
    assert.deepEqual(rec.trace()[0], ['thumbnail_finalize']);
});

// ---- contexts ----------------------------------------------------------------------

test('each request has user data of its own and the same callback', () => {
    call(bridge, ASYNC, ignore, FULL);
    call(bridge, ASYNC, ignore, FULL);
    call(bridge, CANCEL, FULL);
    assert.deepEqual(rec.trace().map((args) => args.slice(-2)), [['cb1', 'user1'], ['cb1', 'user2'], ['cb1', 'user3']]);
});

test('a request without a save path has the result 101', async () => {
    const { text } = await answered(bridge, {}, { width: 1, height: 1 });
    assert.equal(JSON.parse(text).thumb_error_code, 101);
});

test('the script function of a refused request is called for the result of an earlier one', async () => {
    const [first, second] = [inbox(), inbox()];
    call(bridge, ASYNC, first.receive, { param_origin_path: '/media/a.jpg' });
    assert.deepEqual(call(bridge, ASYNC, second.receive, ''), { return_ecode: REFUSED });
    rec.fireThumbnail({ result: -1, originPath: '/media/a.jpg' });
    assert.equal(JSON.parse((await second.delivered())[0]).origin_path, '/media/a.jpg');
    assert.deepEqual(first.calls, []);
});
