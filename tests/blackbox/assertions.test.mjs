// Programming errors end the process with a fixed text, in every kind of build.

import assert from 'node:assert/strict';
import path from 'node:path';
import { test } from 'node:test';

import { assertAborted, assertionBuilds, runChild } from './child.mjs';

for (const of of assertionBuilds) {
    const build = path.basename(of);

    test(`${build}: a general parameter object that cannot be made ends the process`, async () => {
        const result = await runChild(`
            const bridge = openBridge();
            rec.queue('mrb_create_general_param', { result: -9 });
            bridge.mrb_request_list_v2(() => {}, msc);
            console.log('answered');`, { of });
        assertAborted(result, 'eRet == MRB_ERR_NONE');
        assert.equal(result.stdout, '');
    });

    test(`${build}: a list event without user data ends the process`, async () => {
        const result = await runChild(`
            const bridge = openBridge();
            bridge.mrb_request_list_v2(() => {}, msc);
            rec.fireList({ nullUserData: true });
            console.log('went on');`, { of });
        assertAborted(result, 'self != __null');
        assert.equal(result.stdout, '');
    });

    test(`${build}: a DLNA service state without user data ends the process`, async () => {
        const result = await runChild(`
            const bridge = openBridge();
            bridge.mrb_finalize_dlna_service();
            rec.fireDlnaState({ state: 1, nullUserData: true });
            console.log('went on');`, { of });
        assertAborted(result, 'self != __null');
        assert.equal(result.stdout, '');
    });
}
