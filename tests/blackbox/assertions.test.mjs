// Programming errors end the process with a fixed text, in every kind of build.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { assertAborted, runChild } from './child.mjs';

test('a general parameter object that cannot be created ends the process', async () => {
    const result = await runChild(`
        const bridge = openBridge();
        rec.queue('mrb_create_general_param', { result: -9 });
        bridge.mrb_request_list_v2(() => {}, msc);
        console.log('answered');`);
    assertAborted(result, 'eRet == MRB_ERR_NONE');
    assert.equal(result.stdout, '');
});

test('a list event without user data ends the process', async () => {
    const result = await runChild(`
        const bridge = openBridge();
        bridge.mrb_request_list_v2(() => {}, msc);
        rec.fireList({ nullUserData: true });
        console.log('went on');`);
    assertAborted(result, 'self != __null');
    assert.equal(result.stdout, '');
});

const USB = 'fireUsb({ device: rec.device({}), nullUserData: true })';
const DLNA = 'fireDlna({ device: rec.device({}), nullUserData: true })';
const STATE = 'fireDlnaState({ state: 1, nullUserData: true })';

for (const [what, register, fire] of [['USB notification', 'mrb_set_usb_callback(() => {})', USB],
                                      ['DLNA notification', 'mrb_set_dlna_callback(() => {})', DLNA],
                                      ['DLNA service state', 'mrb_Init_dlna_service(() => {})', STATE],
                                      ['state of a stopping DLNA service', 'mrb_finalize_dlna_service()', STATE]]) {
    test(`a ${what} without user data ends the process`, async () => {
        const result = await runChild(`
            const bridge = openBridge();
            bridge.${register};
            rec.${fire};
            console.log('went on');`);
        assertAborted(result, 'self != __null');
        assert.equal(result.stdout, '');
    });
}

for (const [what, fire, text] of [['user data', 'nullUserData', 'user_data != __null'],
                                  ['a record', 'nullRecord', 'thumb_result != __null']]) {
    test(`a thumbnail's result without ${what} ends the process`, async () => {
        const result = await runChild(`
            const bridge = openBridge();
            bridge.thumbnail_request_async(() => {}, '{"param_origin_path":"/a"}');
            rec.fireThumbnail({ ${fire}: true });
            console.log('went on');`);
        assertAborted(result, text);
        assert.equal(result.stdout, '');
    });
}
