// The product, built for a made-up television by the commands of docs/porting.md, loaded by
// its engine and put through a script.
import assert from 'node:assert/strict';
import { copyFileSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import test, { before } from 'node:test';

import { commandsIn } from '../runner/documents.mjs';
import { inspect } from '../runner/elf.mjs';
import { run } from '../runner/process.mjs';
import { makeCheckout, makeSdk, makeTools, root } from './sdk.mjs';

const document = readFileSync(join(root, 'docs', 'porting.md'), 'utf8');
const [porting] = commandsIn(document, /quillmrbbridge.*for a television/i);

let sdk;
let tools;
let checkout;
let product;

before(async () => {
    sdk = makeSdk();
    tools = makeTools();
    checkout = makeCheckout();
    const { output, ended } = await run('bash', ['-euc', porting.replace(/^SDK=.*$/m, '')], {
        cwd: checkout, seconds: 900, env: { SDK: sdk, PATH: `${tools.path}:${process.env.PATH}` },
    });
    assert.equal(ended, '', `${porting}\n${output}`);
    product = join(checkout, 'build', 'tv', 'lib', 'libquillmrbbridge.so');
    copyFileSync(product, join(sdk, 'usr', 'lib', 'libquillmrbbridge.so'));
});

test('the commands ask for jsoncpp and Clutter alone, and run no Node.js', () => {
    const words = new Set(tools.asked().split(/\s+/).filter((word) => word && !word.startsWith('-')));
    const modules = [...words].filter((word) => !/^\d|^[<>=]|^(includedir|libdir|prefix)$/.test(word));
    assert.deepEqual(modules.sort(), ['clutter-1.0', 'jsoncpp'], tools.asked());
});

test('the library needs the television\'s libraries under their own names', () => {
    const { needed } = inspect(product);
    const isOurs = (name) => /^lib(mrb|quill|systemlog)/.test(name);
    for (const name of ['libjsengine.so.5', 'libtvmedia.so.2', 'libtvlog.so.3']) assert.ok(needed.includes(name), needed.join());
    assert.deepEqual(needed.filter(isOurs), []);
});

test('the library exports loadBridges alone', () => {
    assert.deepEqual(inspect(product).exported, ['loadBridges']);
});

test('the only folder in the library is its own, as built and as installed', async () => {
    assert.deepEqual(inspect(product).paths, ['$ORIGIN']);
    const prefix = join(checkout, 'installed');
    const { output, ended } = await run('cmake', ['--install', join(checkout, 'build', 'tv'), '--prefix', prefix]);
    assert.equal(ended, '', output);
    assert.deepEqual(inspect(join(prefix, 'lib', 'libquillmrbbridge.so')).paths, ['$ORIGIN']);
});

test('no folder of the build machine is in the library', () => {
    const bytes = readFileSync(product);
    for (const folder of [checkout, root, sdk]) assert.ok(!bytes.includes(folder), folder);
});

/** Runs a script in the television's engine; what it printed, as JSON. */
async function onTelevision(script) {
    const engine = join(sdk, 'usr', 'lib', 'engine');
    const file = join(sdk, 'app.js');
    writeFileSync(file, `const rec = require(${JSON.stringify(join(engine, 'recorder.node'))});\n${script}`);
    const { output, ended } = await run(process.execPath, ['--require', join(engine, 'preload.cjs'), file], { cwd: sdk });
    assert.equal(ended, '', output);
    return JSON.parse(output);
}

test('a script opens a list, asks it, and receives its events', async () => {
    const { opened, count, event, calls } = await onTelevision(`
        rec.queue('mrb_request_list_v2', { out: 77 });
        rec.queue('mrb_get_item_count_v2', { out: 3 });
        const bridge = new MRBBridge();
        const ask = (name, request, ...before) => JSON.parse(bridge[name](...before, JSON.stringify(request)));
        const report = { };
        const received = (text) => {
            report.event = JSON.parse(text);
            report.calls = rec.trace().map(([name]) => name);
            console.log(JSON.stringify(report));
            process.exit(0);
        };
        report.opened = ask('mrb_request_list_v2', { param_source_name: 'SOURCE_MSC', param_scan_path: '/mnt/usb' }, received);
        report.count = ask('mrb_get_item_count_v2', { param_agent: 77 });
        rec.fireList({ event: 0, agent: 77 });
    `);
    assert.deepEqual(opened, { return_ecode: 0, return_type: 1, return_data: 77 });
    assert.deepEqual(count, { return_ecode: 0, return_type: 1, return_data: 3 });
    assert.equal(event.param_agent, 77);
    assert.ok(calls.includes('mrb_request_list_v2') && calls.includes('mrb_get_item_count_v2'), calls.join());
});

test('the lines reach the television\'s log with its own call', async () => {
    const [line] = await onTelevision(`
        const bridge = new MRBBridge();
        rec.clearLogs();
        bridge.mrb_get_item_count_v2(JSON.stringify({ param_agent: 5 }));
        console.log(JSON.stringify(rec.logs()));
        process.exit(0);
    `);
    assert.equal(line.tag, 'MRB-BRIDGE-AGENT');
    assert.equal(line.priority, 5);
    assert.match(line.text, /^MRBAgentAdapter\.cpp: GetItemCount\(\d+\) > .*ReqCmd\[mrb_get_item_count_v2\], ReqParam\[\{"param_agent":5\}\]\./);
});
