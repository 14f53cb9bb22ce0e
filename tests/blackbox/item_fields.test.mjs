// Reading and writing one field of an item.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { call, openBridge, rec } from './harness.mjs';
import { agent, agentCommand, assertLogs, missingKey, mistypedKey, printedHandle } from './log_lines.mjs';

const bridge = openBridge();

const GET = 'mrb_get_item_value_v2';
const SET = 'mrb_set_item_value_v2';
const MOVE = 'mrb_move_to_index_v2';

/*
 * fields  every field of the type
 * getter  the framework's function that reads it, and the value that it finds preset
 * out     values: what the framework returns, what the script gets, and how it is written
 */
const TYPES = {
    lint: { type: 1, preset: 0, fields: ['SIZE', 'DURATION'],
            out: [[123, 123], [5_000_000_000, 705032704], [2_147_483_648, -2147483648], [-1, -1], [2 ** 32, 0]] },
    double: { type: 6, preset: 0, fields: ['LONGITUDE', 'LATITUDE', 'ALTITUDE'],
              out: [[-8.25, -8.25, '-8.25'], [0, 0, '0.0'], [1e300, 1e300, '1.0000000000000001e+300']] },
    time: { type: 1, preset: 0, fields: ['ADDED_TIME', 'MODIFIED_TIME', 'PLAYED_TIME'],
            out: [[1_700_000_000, 1_700_000_000], [-1, -1]] },
    char: { type: 4, preset: null,
            fields: ['TITLE', 'FILE_PATH', 'DISPLAY_NAME', 'MIME_TYPE', 'ALBUM', 'ARTIST', 'GENRE', 'YEAR', 'VIDEO_CODEC',
                     'AUDIO_CODEC', 'EXPOSURE_TIME', 'FNUMBER', 'ISO', 'MODEL', 'CHANNEL_NAME', 'PROGRAM_TITLE',
                     'PROGRAM_CRID', 'GUIDANCE', 'SYNOPSIS', 'LANGUAGE', 'URL', 'MTA_URL', 'THUMBNAIL_PATH', 'ID_MRB',
                     'MRB_MEDIA_FOCUS_ID', 'RESOLUTION_DLNA', 'DATE_TAKEN', 'LOCATION_TAG', 'MODIFIED_MONTH', 'FORMAT'],
            out: [['a %s "title"', 'a %s "title"'], ['', ''], [null, '']] },
    int: { type: 1, preset: 0,
           fields: ['MEDIA_TYPE', 'GROUP_ITEM_COUNT', 'SONGS_COUNT', 'PLAYED_COUNT', 'PLAYED_POSITION', 'WIDTH', 'HEIGHT',
                    'CHANNEL', 'TIMEZONE', 'PTC', 'MAJOR', 'MINOR', 'CHANNEL_TYPE', 'PROGRAM_NUM', 'EMBARGO_TIME',
                    'EXPIRY_TIME', 'START_TIME', 'PROGRAM_START_TIME', 'PROGRAM_END_TIME', 'PROGRAM_DATE',
                    'PARENTAL_RATING', 'ASPECTRATIO', 'ORIENTATION', 'RESOLUTION', 'SAMPLERATE', 'BIT_RESOLUTION',
                    'BITRATE', 'SPORTS_TYPE', 'GUIDANCE_LENGTH', 'HD'],
           out: [[1920, 1920], [-2147483648, -2147483648]] },
    bool: { type: 5, preset: false,
            fields: ['TIMER_RECORD', 'SERIES_RECORD', 'SUBTITLE', 'TTX', 'AD', 'HARD_OF_HEARING_RADIO', 'DATA_SERVICE',
                     'CONTENT_LOCK', 'CONTENT_WATCH', 'HAS_AUDIO_ONLY', 'IS_LOCAL_RECORD', 'IS_DRM'],
            out: [[true, true], [false, false]] },
};
const getterOf = (kind) => `mrb_get_item_value_${kind}_v2`;

const fieldRequest = (field, index = 7) => ({ param_agent: 18, param_index: index, param_field: field });
const readLines = (request, answer, handle, index, field, between, before = [], text = undefined) =>
    agentCommand('GetItemValue', GET, request, answer,
                 [...before, agent('GetItemValue', `Agent[${printedHandle(handle)}],index[${index}], field[${field}]`),
                  ...between.map((line) => agent('GetItemValue', line))], text);

test('there are eighty fields', () => {
    const names = Object.values(TYPES).flatMap(({ fields }) => fields);
    assert.equal(new Set(names).size, 80);
});

for (const [kind, { type, preset, fields, out }] of Object.entries(TYPES)) {
    const getter = getterOf(kind);
    const [[given, got]] = out;

    for (const field of fields) {
        test(`the field ${field} is read as ${kind}`, () => {
            rec.queue(getter, { out: given });
            assert.deepEqual(call(bridge, GET, fieldRequest(field)), { return_ecode: 0, return_type: type, return_data: got });
            assert.deepEqual(rec.trace(), [[MOVE, 18, 7], [getter, 18, field, preset]]);
        });
    }

    for (const [value, data, written = JSON.stringify(data)] of out) {
        test(`a ${kind} value ${value} is answered as ${written}, logged in order`, () => {
            rec.queue(getter, { out: value });
            const request = fieldRequest(fields[0]);
            const answer = { return_ecode: 0, return_type: type, return_data: data };
            assert.deepEqual(call(bridge, GET, request), answer);
            assertLogs(readLines(request, answer, 18, 7, fields[0], [`Dealing get ${kind} value.`], [],
                                 `{"return_data":${written},"return_ecode":0,"return_type":${type}}\n`),
                       { onMainThread: true });
        });
    }

    test(`a ${kind} value that cannot be read answers the code alone, whatever came with it`, () => {
        rec.queue(getter, { result: -17, out: given });
        const request = fieldRequest(fields[0]);
        assert.deepEqual(call(bridge, GET, request), { return_ecode: -17 });
        assertLogs(readLines(request, { return_ecode: -17 }, 18, 7, fields[0], [`Dealing get ${kind} value.`]));
    });
}

for (const result of [0, -17]) {
    test(`a text field that comes with ${result} is released exactly once`, () => {
        rec.queue(getterOf('char'), { result, out: 'text' });
        call(bridge, GET, fieldRequest('TITLE'));
        assert.deepEqual(rec.blocks(), [{ allocatedBy: getterOf('char'), released: true }]);
    });
}

test('a text field whose pointer was left untouched answers an empty text', () => {
    assert.equal(call(bridge, GET, fieldRequest('TITLE')).return_data, '');
    assert.deepEqual(rec.blocks(), []);
});

test('SIZE of 5,000,000,000 bytes answers its low 32 bits', () => {
    rec.queue(getterOf('lint'), { out: 5_000_000_000 });
    assert.deepEqual(call(bridge, GET, fieldRequest('SIZE')), { return_ecode: 0, return_type: 1, return_data: 705032704 });
});

for (const field of ['title', 'TITLE ', 'Title', '', 'NO_SUCH_FIELD']) {
    test(`the unknown field "${field}" is a success without data`, () => {
        const request = fieldRequest(field);
        assert.deepEqual(call(bridge, GET, request), { return_ecode: 0 });
        assert.deepEqual(rec.trace(), [[MOVE, 18, 7]]);
        assertLogs(readLines(request, { return_ecode: 0 }, 18, 7, field, ['Dealing error field.']));
    });
}

test('reading moves the cursor to the index before anything else', () => {
    call(bridge, GET, fieldRequest('WIDTH', -3));
    assert.deepEqual(rec.trace()[0], [MOVE, 18, -3]);
});

test('an index that the cursor cannot move to ends the reading', () => {
    rec.queue(MOVE, { result: -3 });
    const request = fieldRequest('TITLE', 99);
    assert.deepEqual(call(bridge, GET, request), { return_ecode: -3 });
    assert.deepEqual(rec.trace(), [[MOVE, 18, 99]]);
    assertLogs(readLines(request, { return_ecode: -3 }, 18, 99, 'TITLE', []));
});

test('reading without keys reads a field without a name of item 0', () => {
    assert.deepEqual(call(bridge, GET, {}), { return_ecode: 0 });
    assert.deepEqual(rec.trace(), [[MOVE, 0, 0]]);
    assertLogs(readLines({}, { return_ecode: 0 }, 0, 0, '', ['Dealing error field.'],
                         ['param_agent', 'param_index', 'param_field'].map(missingKey)));
});

test('reading with mistyped keys reads a field without a name of item 0', () => {
    const request = { param_agent: '18', param_index: true, param_field: 5 };
    assert.deepEqual(call(bridge, GET, request), { return_ecode: 0 });
    assert.deepEqual(rec.trace(), [[MOVE, 0, 0]]);
    assertLogs(readLines(request, { return_ecode: 0 }, 0, 0, '', ['Dealing error field.'],
                         [mistypedKey(4), mistypedKey(5), mistypedKey(1)]));
});

// ---- writing --------------------------------------------------------------------

const SET_CHAR = 'mrb_set_item_value_char_v2';
const SET_INT = 'mrb_set_item_value_int_v2';
const writing = (field, value) => ({ ...fieldRequest(field), param_value: value });
const writeLines = (request, answer, between) => agentCommand('SetItemValue', SET, request, answer, between);
const says = (line) => agent('SetItemValue', line);

for (const field of TYPES.char.fields) {
    test(`the field ${field} is written as a text`, () => {
        assert.deepEqual(call(bridge, SET, writing(field, 'new %d')), { return_ecode: 0 });
        assert.deepEqual(rec.trace(), [[MOVE, 18, 7], [SET_CHAR, 18, field, 'new %d']]);
    });
}

for (const field of TYPES.int.fields) {
    test(`the field ${field} is written as an integer`, () => {
        assert.deepEqual(call(bridge, SET, writing(field, -5)), { return_ecode: 0 });
        assert.deepEqual(rec.trace(), [[MOVE, 18, 7], [SET_INT, 18, field, -5]]);
    });
}

for (const [kind, field, value] of [...['lint', 'double', 'time', 'bool'].flatMap(
    (of) => TYPES[of].fields.map((field) => [of, field, of === 'bool' ? true : 5])), ['unknown', 'title', 'x']]) {
    test(`writing the ${kind} field ${field} does nothing and succeeds`, () => {
        const request = writing(field, value);
        assert.deepEqual(call(bridge, SET, request), { return_ecode: 0 });
        assert.deepEqual(rec.trace(), [[MOVE, 18, 7]]);
        assertLogs(writeLines(request, { return_ecode: 0 }, [says(`Not support operation for setting[${field}].`)]));
    });
}

for (const result of [0, -5]) {
    test(`writing a text that the framework answers with ${result} is logged in order`, () => {
        rec.queue(SET_CHAR, { result });
        const request = writing('TITLE', 'new');
        assert.deepEqual(call(bridge, SET, request), { return_ecode: result });
        assertLogs(writeLines(request, { return_ecode: result }, [
            says('Dealing set string value.'), says('agent[0x12] field[TITLE] pValue[new]')]), { onMainThread: true });
    });

    test(`writing an integer that the framework answers with ${result} is logged in order`, () => {
        rec.queue(SET_INT, { result });
        const request = writing('PLAYED_COUNT', 3);
        assert.deepEqual(call(bridge, SET, request), { return_ecode: result });
        assertLogs(writeLines(request, { return_ecode: result }, [
            says('Dealing set int value.'), says('Agent[0x12] field[PLAYED_COUNT] nValue[3]')]));
    });
}

test('writing moves the cursor to the index before anything else', () => {
    call(bridge, SET, { ...writing('TITLE', 'x'), param_index: 3 });
    assert.deepEqual(rec.trace()[0], [MOVE, 18, 3]);
});

test('an index that the cursor cannot move to ends the writing', () => {
    rec.queue(MOVE, { result: -3 });
    const request = writing('TITLE', 'x');
    assert.deepEqual(call(bridge, SET, request), { return_ecode: -3 });
    assert.deepEqual(rec.trace(), [[MOVE, 18, 7]]);
    assertLogs(writeLines(request, { return_ecode: -3 }, []));
});

test('writing without a value writes an empty text or 0', () => {
    call(bridge, SET, fieldRequest('TITLE'));
    call(bridge, SET, fieldRequest('PLAYED_COUNT'));
    assert.deepEqual(rec.trace(), [[MOVE, 18, 7], [SET_CHAR, 18, 'TITLE', ''],
                                   [MOVE, 18, 7], [SET_INT, 18, 'PLAYED_COUNT', 0]]);
});

test('writing a value of another type writes an empty text or 0', () => {
    const title = writing('TITLE', 5);
    call(bridge, SET, title);
    assertLogs(writeLines(title, { return_ecode: 0 }, [says('Dealing set string value.'), mistypedKey(1),
                                                       says('agent[0x12] field[TITLE] pValue[]')]));
    rec.clearLogs();
    const count = writing('PLAYED_COUNT', '5');
    call(bridge, SET, count);
    assertLogs(writeLines(count, { return_ecode: 0 }, [says('Dealing set int value.'), mistypedKey(4),
                                                       says('Agent[0x12] field[PLAYED_COUNT] nValue[0]')]));
    assert.deepEqual(rec.trace(), [[MOVE, 18, 7], [SET_CHAR, 18, 'TITLE', ''],
                                   [MOVE, 18, 7], [SET_INT, 18, 'PLAYED_COUNT', 0]]);
});

test('writing without keys moves to item 0 and writes nothing', () => {
    assert.deepEqual(call(bridge, SET, {}), { return_ecode: 0 });
    assert.deepEqual(rec.trace(), [[MOVE, 0, 0]]);
    assertLogs(writeLines({}, { return_ecode: 0 }, [...['param_agent', 'param_index', 'param_field'].map(missingKey),
                                                    says('Not support operation for setting[].')]));
});
