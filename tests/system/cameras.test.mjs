// Cameras as scripts see them: a folder that is offered as a camera is listed, read, shown and
// copied.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import { script } from '../host/harness.mjs';
import { folder, quill, root, runWith } from './harness.mjs';

/** A memory card with two pictures and a clip; `small` is the EXIF thumbnail. */
function card() {
  const where = folder();
  const pictures = path.join(where, 'DCIM', '100TEST');
  mkdirSync(pictures, { recursive: true });
  const small = path.join(folder(), 'small.jpg');
  const convert = (...options) => execFileSync('convert-im6.q16', options);
  convert('-size', '160x120', 'xc:red', small);
  for (const number of [1, 2]) {
    const file = path.join(pictures, `IMG_000${number}.JPG`);
    convert('-size', '800x600', 'plasma:', file);
    execFileSync('exiftool', ['-q', '-overwrite_original', `-ThumbnailImage<=${small}`, '-EXIF:Model=Desk',
      `-EXIF:DateTimeOriginal=2026:01:0${number} 10:00:00`, file]);
  }
  writeFileSync(path.join(where, 'clip.mp4'), 'no clip');
  return where;
}

const LIST = `
const cameras = () => JSON.parse(JSON.parse(bridge.mrb_get_ptp_list()).return_data)?.storage_devices ?? [];
const camera = (request) => opened({ param_source_name: 'SOURCE_PTP', ...request });
`;

test('an offered camera is in the list of cameras and not in that of USB storages', async () => {
  const where = card();
  const { value } = await runWith({ env: { MRB_CAMERAS: where } },
    `${LIST} finish([cameras(), JSON.parse(JSON.parse(bridge.mrb_get_usb_list()).return_data)]);`);
  const [[device, ...others], sticks] = value;
  assert.deepEqual(others, []);
  assert.equal(device.storage_name, `${path.basename(where)} (folder offered as a camera)`);
  assert.equal(device.storage_id, `ptp:folder:${where}`);
  assert.deepEqual([device.storage_bus, device.storage_address, device.storage_class], [0, 1, 256]);
  assert.ok(!JSON.stringify(sticks).includes(where));
});

test('a list does not wait for a camera\'s capacity; an event reports it', async () => {
  const { value } = await runWith({ env: { MRB_CAMERAS: card() } }, `${LIST}
    const events = [];
    let onEvent = () => {};
    bridge.mrb_set_usb_callback((text) => { events.push(...JSON.parse(text).storage_devices); onEvent(); });
    const [before] = cameras();
    await new Promise((resolve) => { onEvent = () => events.length > 0 && resolve(); onEvent(); });
    const [after] = cameras();
    finish([before, events, after]);`);
  const [before, [{ storage_event: event, ...change }, ...others], after] = value;
  assert.deepEqual([before.storage_availablesize, before.storage_totalsize], ['0', '0']);
  assert.equal(event, 2);
  assert.ok(BigInt(change.storage_totalsize) >= BigInt(change.storage_availablesize));
  assert.ok(BigInt(change.storage_totalsize) > 0n);
  assert.deepEqual(others, []);
  assert.deepEqual({ ...change, storage_availablesize: '0' }, { ...after, storage_availablesize: '0' });
});

test('a script lists the files on a camera, and reads their fields', async () => {
  const where = card();
  const { value } = await runWith({ env: { MRB_CAMERAS: where } }, `${LIST}
    const list = await camera({ param_device_value: cameras()[0].storage_address });
    const field = (param_index, param_field) =>
      send('mrb_get_item_value_v2', { param_agent: list.agent, param_index, param_field }).return_data;
    finish({ ...list, model: field(3, 'MODEL'), width: field(3, 'WIDTH'), taken: field(3, 'DATE_TAKEN'),
             thumbnail: field(3, 'THUMBNAIL_PATH') });`);
  assert.equal(value.event, 0);
  assert.deepEqual(value.items.map(({ name }) => name), ['clip.mp4', 'DCIM', '100TEST', 'IMG_0001.JPG', 'IMG_0002.JPG']);
  const picture = value.items[3];
  assert.equal(picture.size, readFileSync(path.join(where, 'DCIM', '100TEST', 'IMG_0001.JPG')).length);
  assert.equal(picture.media_id, picture.url.replace('ptp://', 'ptp:'));
  assert.deepEqual([value.model, value.width, value.taken, value.thumbnail],
    ['Desk', 800, '2026-01-01T10:00:00', picture.url]);
});

test('a folder of a camera is opened by its media id', async () => {
  const { value } = await runWith({ env: { MRB_CAMERAS: card() } }, `${LIST}
    const all = await camera({});
    const part = await camera({ param_folder_id: all.items[2].media_id, param_sort_category: 'NAME DESC' });
    finish([all, part]);`);
  const [all, part] = value;
  assert.deepEqual(part.items.map(({ url }) => url), [all.items[4].url, all.items[3].url]);
});

test('a camera that does not exist, and one that is removed, are reported by their codes', async () => {
  const where = card();
  const { value } = await runWith({ env: { MRB_CAMERAS: where } }, `${LIST}
    const none = await camera({ param_bus_value: 9, param_device_value: 9 });
    const list = await camera({});
    const fs = require('node:fs');
    fs.renameSync(process.argv[2], process.argv[2] + '2');
    const again = await camera({});
    send('mrb_move_to_index_v2', { param_agent: list.agent, param_index: 3 });
    finish([none.code, again.code, send('mrb_prepare_play_data_v2', { param_agent: list.agent }).return_ecode,
            count(list.agent)]);`, where);
  assert.deepEqual(value, [-4, -4, -11, 5]);
});

test('a thumbnail is decoded from the EXIF thumbnail, or from the whole picture, and a sync ends camera requests', async () => {
  const output = folder();
  const { value } = await runWith({ env: { MRB_CAMERAS: card() } }, `${LIST}
    const list = await camera({});
    const results = [];
    let onEvent = () => {};
    const request = (more) => bridge.thumbnail_request_async((text) => { results.push(JSON.parse(text)); onEvent(); },
      JSON.stringify({ param_origin_path: list.items[3].url, param_source_type: 2, ...more }));
    request({ param_thumb_width: 160, param_thumb_height: 160, param_save_path: [process.argv[2] + '/small.bmp'] });
    await new Promise((resolve) => { onEvent = () => results.length === 1 && resolve(); onEvent(); });
    request({ param_thumb_width: 400, param_thumb_height: 400, param_save_path: [process.argv[2] + '/large.bmp'] });
    await new Promise((resolve) => { onEvent = () => results.length === 2 && resolve(); onEvent(); });
    finish([results, JSON.parse(bridge.thumbnail_stop_ptp_decode_sync())]);`, output);
  const [results, sync] = value;
  assert.equal(results.length, 2, JSON.stringify(results));
  assert.deepEqual(sync, { return_ecode: 0 });
  assert.deepEqual(readdirSync(output).sort(), ['large.bmp', 'small.bmp']);
  const size = (name) => execFileSync('identify-im6.q16', ['-format', '%wx%h', path.join(output, name)]).toString();
  assert.deepEqual([size('small.bmp'), size('large.bmp')], ['160x120', '400x300']);
});

test('the selection of a camera\'s list is copied to a folder', async () => {
  const where = card();
  const to = folder();
  const { value } = await runWith({ env: { MRB_CAMERAS: where } }, `${LIST}
    const list = await camera({});
    send('mrb_toggle_select_v2', { param_agent: list.agent, param_item_list: [2] });
    const events = [];
    await new Promise((resolve) => bridge.mrb_batch_process_v2((text) => {
      const event = JSON.parse(text);
      events.push(event);
      if ([18, 19, 26, 27, 28].includes(event.param_event)) resolve();
    }, JSON.stringify({ param_agent: list.agent, param_share_type: 2, param_dest_device_path: process.argv[2] })));
    finish(events.at(-1));`, to);
  assert.equal(value.param_event, 18, JSON.stringify(value));
  assert.equal(value.param_share_done_file_count, 2);
  for (const name of ['IMG_0001.JPG', 'IMG_0002.JPG']) {
    assert.deepEqual(readFileSync(path.join(to, '100TEST', name)), readFileSync(path.join(where, 'DCIM', '100TEST', name)));
  }
});

test('the promise layer opens cameras', async () => {
  const where = card();
  const { status, stdout, stderr } = await quill(['--camera', where, script('app.js', `
    const { Media } = require(${JSON.stringify(path.join(root, 'sdk', 'media.js'))});
    (async () => {
      const media = new Media();
      const list = media.openCamera({}, { contentType: 'IMAGE' });
      await list.ready;
      console.log(list.count());
      media.finish();
    })();`)]);
  assert.deepEqual([status, stderr], [0, '']);
  assert.equal(stdout, '2\n');
});

test('a file, or no folder, cannot be offered as a camera', async () => {
  const file = path.join(card(), 'clip.mp4');
  for (const [options, message] of [[['--camera', file], `quill: --camera ${file}: not a folder\n`],
                                    [['--camera'], 'quill: --camera needs a folder\n'],
                                    [['--camera='], 'quill: --camera needs a folder\n']]) {
    const { status, stderr } = await quill(options);
    assert.deepEqual([status, stderr], [1, message]);
  }
});

test('a camera that hangs blocks neither a script nor the end of the program', async () => {
  const where = card();
  // Opening a pipe blocks until it has a writer, also in libgphoto2.
  execFileSync('mkfifo', [path.join(where, 'hangs.jpg')]);
  const { value } = await runWith({ env: { MRB_CAMERAS: where } }, `${LIST}
    const list = await camera({});
    const index = list.items.findIndex(({ name }) => name === 'hangs.jpg');
    bridge.thumbnail_request_async(() => {}, JSON.stringify({ param_origin_path: list.items[index].url }));
    const field = (param_field) =>
      send('mrb_get_item_value_v2', { param_agent: list.agent, param_index: index, param_field }).return_ecode;
    console.log(JSON.stringify([field('MODEL'), field('MODEL'), bridge.thumbnail_stop_ptp_decode_sync() !== '']));
    process.exit();`);
  assert.deepEqual(value, [-13, -13, true]);
});

test('a list is notified once of its camera\'s removal, and keeps its items', async () => {
  const where = card();
  const { value } = await runWith({ env: { MRB_CAMERAS: where } }, `${LIST}
    const fs = require('node:fs');
    const list = await camera({});
    const left = () => events.filter(({ param_event }) => param_event === 28);
    const gone = (number) => new Promise((resolve) => { wake = () => left().length >= number && resolve(); wake(); });
    fs.renameSync(process.argv[2], process.argv[2] + '2');
    await gone(1);
    const [first] = left();
    fs.renameSync(process.argv[2] + '2', process.argv[2]);
    const again = await camera({});
    fs.renameSync(process.argv[2], process.argv[2] + '2');
    await gone(2);
    finish([first.data, left().map(({ param_agent }) => param_agent === list.agent), count(list.agent), again.event]);`, where);
  assert.deepEqual(value, [{ item_count: 5 }, [true, false], 5, 0]);
});
