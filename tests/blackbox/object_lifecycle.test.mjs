// An object's construction and release: their framework calls in order, and their log
// lines.

import assert from 'node:assert/strict';
import { describe, test } from 'node:test';

import { call, calledNames, openBridge, rec, requestRefusedList } from './harness.mjs';
import { runChild } from './child.mjs';
import { agent, assertLogs, hasLogged, provider, storage, thumbnail } from './log_lines.mjs';

/** The answer of a command without data, as its text. */
const answerText = (code) => `{"return_ecode":${code}}\n`;

/** The log of a release, by the results of the three storage calls. */
function releaseLog(usb = 0, dlna = 0, service = 0) {
    const command = (fn, name, code) =>
        storage(fn, `strCmd[${name}] eResult[${code}] strReturnJson[${answerText(code)}].`);
    const teardown = (text) => storage('~CMRBStorageMgrAdapter', text);
    return [
        provider('~CMRBAdapterProvider', 'release CMRBAdapterProvider.'),
        thumbnail('~CMRBThumbnailAdapter', 'release CMRBThumbnailAdapter...'),
        agent('~CMRBAgentAdapter', 'Start to destroy CMRBAgentAdapter[%p].'),
        agent('m_DestroyHandler', 'Num of handle for send[0].'),
        agent('m_DestroyHandler', 'Num of handle for agent[0].'),
        agent('~CMRBAgentAdapter', 'End to destroy CMRBAgentAdapter[%p].'),
        command('UnsetUSBCallback', 'mrb_unset_usb_callback', usb),
        teardown(`strUnSetUsb [${answerText(usb)}]\n`),
        command('UnsetDLNACallback', 'mrb_unset_dlna_callback', dlna),
        teardown(`strUnSetDlna [${answerText(dlna)}]\n`),
        command('FinalizeDLNAService', 'mrb_finalize_dlna_service', service),
        teardown(`strFinalizeDlna [${answerText(service)}]\n`),
    ];
}

test('construction starts the thumbnail service and nothing else', () => {
    quill.unref(new MRBBridge());
    assert.deepEqual(rec.trace(), [['thumbnail_init']]);
    assertLogs([provider('CMRBAdapterProvider', 'create CMRBAdapterProvider.'),
                thumbnail('CMRBThumbnailAdapter', 'create CMRBThumbnailAdapter...'),
                thumbnail('CMRBThumbnailAdapter', 'thumbnail_init [1]...')], { onMainThread: true });
});

test('a thumbnail service that does not start is logged as 0, whatever its code, and the object works', () => {
    rec.queue('thumbnail_init', { result: -16 });
    const bridge = new MRBBridge();
    quill.unref(bridge);
    assertLogs([provider('CMRBAdapterProvider', 'create CMRBAdapterProvider.'),
                thumbnail('CMRBThumbnailAdapter', 'create CMRBThumbnailAdapter...'),
                thumbnail('CMRBThumbnailAdapter', 'thumbnail_init [0]...')]);
    assert.equal(call(bridge, 'mrb_get_group_count_v2', '{}').return_ecode, 0);
});

test('a thumbnail service that did not start is not started again, and finalised all the same', () => {
    rec.queue('thumbnail_init', { result: -16 });
    const bridge = openBridge();
    assert.deepEqual(call(bridge, 'thumbnail_request_cancel_all'), { return_ecode: 1 });
    assert.ok(hasLogged(thumbnail('ThumbnailRequestCancelAll', 'not init...')));
    assert.deepEqual(rec.trace(), []);
    quill.release(bridge);
    assert.ok(calledNames().includes('thumbnail_finalize'));
});

test('a release ends thumbnails, lists and storage in this order, and logs each step', () => {
    const bridge = openBridge();
    quill.release(bridge);
    assert.deepEqual(rec.trace(), [['thumbnail_finalize'], ['mrb_unset_usb_callback'], ['mrb_unset_dlna_callback'],
                                   ['mrb_finalize_dlna_service', 'cb1', 'user1']]);
    assertLogs(releaseLog(), { onMainThread: true });
});

test('failures while an object is released are logged and change nothing', () => {
    const bridge = openBridge();
    rec.queue('thumbnail_finalize', { result: -1 });
    rec.queue('mrb_unset_usb_callback', { result: -2 });
    rec.queue('mrb_unset_dlna_callback', { result: -3 });
    rec.queue('mrb_finalize_dlna_service', { result: -4 });
    quill.release(bridge);
    assertLogs(releaseLog(-2, -3, -4));
});

test('an object whose lists the framework refused is released like one that opened none', () => {
    const bridge = openBridge();
    requestRefusedList(bridge, () => {});
    rec.clear();
    rec.clearLogs();
    quill.release(bridge);
    assert.ok(!calledNames().includes('mrb_disconnect_v2'));
    assertLogs(releaseLog());
});

test('a second release of an object does nothing', () => {
    const bridge = openBridge();
    quill.release(bridge);
    rec.clear();
    try {
        quill.release(bridge);
    } catch (error) {
        assert.ok(error instanceof Error);
    }
    assert.deepEqual(rec.trace(), []);
});

test('an open list does not keep the process from ending', async () => {
    const result = await runChild(`
        const bridge = openBridge();
        bridge.mrb_request_list_v2(() => {}, msc);
        process.on('exit', () => console.log('at exit'));`);
    assert.deepEqual([result.status, result.stdout], [0, 'at exit\n']);
    assert.doesNotMatch(result.stderr, /release CMRBAdapterProvider/);
});

// The two children run side by side: each works until it has grown by a good deal.
describe('an object that opened a list', { concurrency: true }, () => {
    const GROWN = { growth: { after: 'Start to destroy', MiB: 150 }, seconds: 180 };

    test('is never released: the walk over its handles does not advance', async () => {
        const result = await runChild(`
            const bridge = openBridge();
            console.log(bridge.mrb_request_list_v2(() => {}, msc).trim());
            quill.release(bridge);
            console.error('the teardown returned');`, GROWN);
        assert.equal(result.killedFor, 'memory', `it ended, or stood still at ${result.peakBytes} bytes`);
        assert.equal(result.stdout, '{"return_data":1001,"return_ecode":0,"return_type":1}\n');
        assert.match(result.stderr, /Start to destroy CMRBAgentAdapter\[0x[0-9a-f]+\]\./);
        assert.doesNotMatch(result.stderr, /Num of handle for|Disconnect Agent|End to destroy|teardown returned/);
    });

    test('is never released after a disconnect either', async () => {
        const result = await runChild(`
            const bridge = openBridge();
            const { return_data } = JSON.parse(bridge.mrb_request_list_v2(() => {}, msc));
            bridge.mrb_disconnect_v2(JSON.stringify({ param_agent: return_data }));
            quill.release(bridge);
            console.error('the teardown returned');`, GROWN);
        assert.equal(result.killedFor, 'memory', `it ended, or stood still at ${result.peakBytes} bytes`);
        assert.match(result.stderr, /Start to destroy CMRBAgentAdapter/);
        assert.doesNotMatch(result.stderr, /Num of handle for|teardown returned/);
    });
});
