// Taking back storage registrations and stopping the DLNA service: commands without
// a request that answer the framework's result.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { call, openBridge, rec } from './harness.mjs';
import { assertLogs, storage } from './log_lines.mjs';

const bridge = openBridge();

for (const [name, fn, args] of [['mrb_unset_usb_callback', 'UnsetUSBCallback', []],
                                ['mrb_unset_dlna_callback', 'UnsetDLNACallback', []],
                                ['mrb_finalize_dlna_service', 'FinalizeDLNAService', ['cb1', 'user1']]]) {
    for (const code of [0, -5, 2]) {
        test(`${name} answers the framework's ${code}, though nothing was registered`, () => {
            rec.queue(name, { result: code });
            assert.deepEqual(call(bridge, name), { return_ecode: code });
            assert.deepEqual(rec.trace(), [[name, ...args]]);
            const answer = `{"return_ecode":${code}}\n`;
            assertLogs([storage(fn, `strCmd[${name}] eResult[${code}] strReturnJson[${answer}].`)],
                       { onMainThread: true });
        });
    }
}
