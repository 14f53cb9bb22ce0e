// Fields, selection and shares of the sdk, on the recording framework.

import assert from 'node:assert/strict';
import { createRequire } from 'node:module';
import { after, test } from 'node:test';

import { rec } from './harness.mjs';

const require = createRequire(import.meta.url);
const { Media, MediaError } = require('../../sdk/media.js');
const { SHARE_EVENTS, SHARE_TYPES } = require('../../sdk/codes.js');

/** The framework's codes of the events, which scripts receive under other numbers. */
const FRAMEWORK = { STARTED: 18, PROGRESS: 2, DONE: 19, FAILED: 20, STOPPED: 21, NO_SPACE: 22, DEVICE_REMOVED: 23 };

const media = new Media();
after(() => media.finish());
const list = media.open('/media/stick');

test('a run of items is returned as objects', () => {
    rec.queue('mrb_get_item_count_v2', { out: 2 });
    rec.queue('mrb_get_item_v2', { out: '{"name":"a"}' });
    rec.queue('mrb_get_item_v2', { out: '{"name":"b"}' });
    assert.deepEqual(list.items(0, 9), [{ name: 'a' }, { name: 'b' }]);
});

test('a field is returned with its value, and an unknown field as undefined', () => {
    rec.queue('mrb_get_item_value_char_v2', { out: 'Sunset' });
    assert.equal(list.field(3, 'TITLE'), 'Sunset');
    assert.equal(list.field(3, 'title'), undefined);
});

test('a field that cannot be read throws the code', () => {
    rec.queue('mrb_get_item_value_char_v2', { result: -17 });
    assert.throws(() => list.field(3, 'TITLE'), (error) => error instanceof MediaError && error.code === -17);
});

test('selection methods reach the framework with the list and their arguments', () => {
    list.toggle(4, 2);
    list.selectGroup(1);
    list.deselectGroup(2);
    list.deselectAll();
    list.setField(5, 'PLAYED_COUNT', 6);
    const { handle } = list;
    assert.deepEqual(rec.trace(), [
        ['mrb_toggle_select_v2', handle, 4], ['mrb_toggle_select_v2', handle, 2], ['mrb_select_group_v2', handle, 1],
        ['mrb_deselect_group_v2', handle, 2], ['mrb_deselect_all_v2', handle], ['mrb_move_to_index_v2', handle, 5],
        ['mrb_set_item_value_int_v2', handle, 'PLAYED_COUNT', 6]]);
});

const copy = (onProgress) => list.share(SHARE_TYPES.COPY, { param_dest_device_path: '/media/other' }, onProgress);

for (const ending of ['DONE', 'STOPPED']) {
    test(`a share receives its steps and is resolved when it is ${ending}`, async () => {
        const steps = [];
        const share = copy((progress, event) => steps.push([event, progress.doneFiles]));
        ['STARTED', 'PROGRESS', ending].forEach((name, doneFileCount) =>
            rec.fireShare({ share: share.handle, event: FRAMEWORK[name], doneFileCount }));
        const { event, doneFiles } = await share.done;
        assert.deepEqual([event, doneFiles], [SHARE_EVENTS[ending], 2]);
        assert.deepEqual(steps, [[SHARE_EVENTS.STARTED, 0], [SHARE_EVENTS.PROGRESS, 1], [SHARE_EVENTS[ending], 2]]);
    });
}

for (const ending of ['FAILED', 'NO_SPACE', 'DEVICE_REMOVED']) {
    test(`a share that ends with ${ending} is rejected with the event`, async () => {
        const share = copy();
        rec.fireShare({ share: share.handle, event: FRAMEWORK[ending] });
        await assert.rejects(share.done, { event: SHARE_EVENTS[ending] });
    });
}

test('events of two shares reach the share that they belong to', async () => {
    const [first, second] = [copy(), copy()];
    rec.fireShare({ share: second.handle, event: FRAMEWORK.DONE, doneFileCount: 2 });
    rec.fireShare({ share: first.handle, event: FRAMEWORK.DONE, doneFileCount: 1 });
    assert.equal((await first.done).doneFiles, 1);
    assert.equal((await second.done).doneFiles, 2);
});

test('stopping a share names its handle', () => {
    const share = copy();
    rec.clear();
    share.stop();
    assert.deepEqual(rec.trace(), [['mrb_stop_batch_process_v2', share.handle]]);
});
