// The commands on an open list, as a table: the keys of each request, the framework's
// calls, and the log lines.

import { agent } from './log_lines.mjs';

/** The handle as log lines print it. */
const pointer = (handle) => (handle === 0 ? '(nil)' : `0x${(handle >>> 0).toString(16)}`);

const int = (name, value) => ({ name, value, preset: 0, kind: 'int' });
const flag = (name, value) => ({ name, value, preset: false, kind: 'bool' });
const text = (name, value) => ({ name, value, preset: '', kind: 'text' });

const HANDLE = int('param_agent', 18);
const PAGE_PARAM = 1;

/** The calls of a page style, from the creation of its parameter object to the end. */
const pageCalls = (handle, style, order, group, row, column, padding) => [
    ['mrb_create_page_param', 0], ['mrb_param_set_page_style_mask', PAGE_PARAM, style],
    ['mrb_param_set_page_style_order', PAGE_PARAM, order],
    ['mrb_param_set_page_style_group_index', PAGE_PARAM, group],
    ['mrb_param_set_page_style_row', PAGE_PARAM, row], ['mrb_param_set_page_style_column', PAGE_PARAM, column],
    ['mrb_param_set_page_style_padding', PAGE_PARAM, padding], ['mrb_set_page_style_v2', handle, PAGE_PARAM],
    ['mrb_destroy_page_param', PAGE_PARAM],
];

const EACH_TYPE = [1, 2, 3, 5, 6, 10, 11, 7, 9, 14, 13];
const NO_COUNTS = '{"item_count_all":0,"item_count_empty":0,"item_count_folder":0,"item_count_group":0,' +
                  '"item_count_image":0,"item_count_m3u":0,"item_count_music":0,"item_count_record":0,' +
                  '"item_count_scsa":0,"item_count_uhd":0,"item_count_upfolder":0,"item_count_video":0}\n';

/*
 * name     the command, and the framework function whose result it answers
 * fn       the operation, which log lines name
 * keys     what the request holds, in the order in which it is read
 * calls    what reaches the framework, from the keys' values
 * log      the command's own lines, from the values
 * answer   the members of a success besides "return_ecode" while the framework returns
 *          nothing, from the values; none for commands without data
 */
export const COMMANDS = [
    { name: 'mrb_set_page_style_v2', fn: 'SetPageStyle',
      keys: [HANDLE, int('param_page_style', 5), int('param_page_order', 1), int('param_group_index', 2),
             int('param_row', 3), int('param_column', 4), flag('param_need_padding', true)],
      calls: pageCalls,
      log: (handle, style, order, group, row, column, padding) => [
          `Agent[${pointer(handle)}] ePageStyle[${style}] eOrder[${order}] nGroupIndex[${group}] nRow[${row}] ` +
          `nColumn[${column}] bNeedPadding[${Number(padding)}]`] },
    { name: 'mrb_set_navigation_v2', fn: 'SetNavigation', keys: [HANDLE, int('param_navigation', 3)],
      calls: (handle, mode) => [['mrb_set_navigation_v2', handle, mode]],
      log: (handle, mode) => [`Agent[${pointer(handle)}], navigation[${mode}]`] },
    { name: 'mrb_get_navigation_v2', fn: 'GetNavigation', keys: [HANDLE],
      calls: (handle) => [['mrb_get_navigation_v2', handle, 0]],
      log: (handle) => [`Agent[${pointer(handle)}]`], answer: () => ({ return_data: 0, return_type: 1 }) },
    { name: 'mrb_get_group_count_v2', fn: 'GetGroupCount', keys: [HANDLE],
      calls: (handle) => [['mrb_get_group_count_v2', handle, 0]], log: () => [],
      answer: () => ({ return_data: 0, return_type: 1 }) },
    { name: 'mrb_get_item_count_v2', fn: 'GetItemCount', keys: [HANDLE, flag('get_item_count_for_each_type', true)],
      calls: (handle, each) => [['mrb_get_item_count_v2', handle, 0],
                                ...(each ? EACH_TYPE : []).map((type) =>
                                    ['mrb_get_item_count_by_type_v2', handle, type, 0])],
      log: (handle, each) => [`Agent[${pointer(handle)}]`, `PARAM_GET_ITEM_COUNT_FOR_EACH_TYPE[${Number(each)}].`],
      answer: (handle, each) => (each ? { return_data: NO_COUNTS, return_type: 4 }
                                      : { return_data: 0, return_type: 1 }) },
    { name: 'mrb_get_item_v2', fn: 'GetItem', keys: [HANDLE, int('param_index', 7)],
      calls: (handle, index) => [['mrb_get_item_v2', handle, index, null]],
      log: (handle, index) => [`Agent[${pointer(handle)}] Index[${index}]`],
      answer: () => ({ return_data: '', return_type: 4 }) },
    { name: 'mrb_move_to_index_v2', fn: 'MoveToIndex', keys: [HANDLE, int('param_index', 7)],
      calls: (handle, index) => [['mrb_move_to_index_v2', handle, index]],
      log: (handle, index) => [`Agent[${pointer(handle)}] Index[${index}]`] },
    { name: 'mrb_get_page_index_v2', fn: 'GetPageIndex', keys: [HANDLE, text('param_media', 'msc:/a%20b.jpg')],
      calls: (handle, media) => [['mrb_get_page_index_v2', handle, media, 0]],
      log: (handle, media) => [`Agent[${pointer(handle)}] mediaId[${media}]`],
      answer: () => ({ return_data: 0, return_type: 1 }) },
    { name: 'mrb_prepare_play_data_v2', fn: 'PreparePlayData', keys: [HANDLE],
      calls: (handle) => [['mrb_prepare_play_data_v2', handle, null]], log: () => [],
      answer: () => ({ return_data: '', return_type: 4 }) },
    { name: 'mrb_get_rating_info_v2', fn: 'GetRatingInfo', keys: [HANDLE],
      calls: (handle) => [['mrb_get_rating_info_v2', handle, null]], log: () => [],
      answer: () => ({ return_data: '', return_type: 4 }) },
    { name: 'mrb_get_storage_id_v2', fn: 'GetStorageId', keys: [text('param_mount_path', '/media/stick')],
      calls: (path) => [['mrb_get_storage_id_v2', path, null]], log: () => [],
      answer: () => ({ return_data: '', return_type: 4 }) },
].map((command) => ({
    ...command,
    log: (...values) => command.log(...values).map((line) => agent(command.fn, line)),
    answer: (...values) => ({ ...command.answer?.(...values), return_ecode: 0 }),
}));

/** A request of a command's own values, some of them replaced; undefined takes a key out. */
export const requestOf = ({ keys }, replaced = {}) =>
    ({ ...Object.fromEntries(keys.map(({ name, value }) => [name, value])), ...replaced });

/** The values that a command works with: its own, with some of them replaced. */
export const valuesOf = ({ keys }, replaced = {}) =>
    keys.map(({ name, value }) => (name in replaced ? replaced[name] : value));
