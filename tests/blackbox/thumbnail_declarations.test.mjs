// The declarations for editors and TypeScript match what scripts send and receive.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';

import { METHODS, openBridge } from './harness.mjs';
import { answered, FULL } from './thumbnail_records.mjs';

const text = readFileSync(new URL('../../sdk/thumbnails.d.ts', import.meta.url), 'utf8');

/** The body of a declared interface. */
const bodyOf = (name) => new RegExp(`^interface ${name} \\{\\n([^]*?)^\\}`, 'm').exec(text)[1];

/** The declared keys of an interface with their types. */
const declared = (name) => Object.fromEntries(
    [...bodyOf(name).matchAll(/^ {2}(\w+)\??: ([^;]+);$/gm)].map(([, key, type]) => [key, type]));

const typeOf = (value) => (Array.isArray(value) ? `${typeof value[0]}[]` : typeof value);
const types = (document) => Object.fromEntries(
    Object.entries(document).map(([key, value]) => [key, key === 'thumb_error_code' ? String(value) : typeOf(value)]));

const bridge = openBridge();
const CACHE = { param_thumb_type: 1, param_save_path: ['a'] };

test('ThumbnailRequest has every key and its type', () => assert.deepEqual(declared('ThumbnailRequest'), types(FULL)));

for (const [name, request, result] of [['ThumbnailStored', CACHE, { images: 1, width: 1, height: 1 }],
                                       ['ThumbnailNotStored', CACHE, { result: -1 }],
                                       ['ThumbnailServiceFailed', CACHE, { result: 1 }]]) {
    test(`${name} has the keys and types of such a result`, async () => {
        const { text: delivered } = await answered(bridge, request, result);
        assert.deepEqual(declared(name), types(JSON.parse(delivered)));
    });
}

test('the methods are the five of thumbnails, with a function and a request where they are taken', () => {
    const methods = [...bodyOf('MRBBridge').matchAll(/^ {2}(thumbnail_\w+)\((.*)\): string;$/gm)]
        .map(([, name, args]) => [name, [...args.matchAll(/(?:^|, )(\w+):/g)].map(([, argument]) => argument)]);
    const takes = { EC: ['notify', 'request'], E1: ['request'], E0: [] };
    assert.deepEqual(methods, METHODS.slice(26, 31).map(([name, variant]) => [name, takes[variant]]));
});
