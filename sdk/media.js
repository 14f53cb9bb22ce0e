'use strict';
// Lists as objects with methods and promises, over the texts of MRBBridge.

const { LIST_EVENTS, SHARE_EVENTS, describeResult } = require('./codes.js');

/** A refusal, with the code of the bridge or the framework. */
class MediaError extends Error {
  constructor(method, code, message = describeResult(code)) {
    super(`${method}: ${message}`);
    this.name = 'MediaError';
    this.code = code;
  }
}

/** The lists of one MRBBridge object. A program needs one. */
class Media {
  constructor() {
    this.bridge = new MRBBridge();
    this.lists = new Map(); // by handle
    this.shares = new Map(); // by handle
  }

  /** Sends a command and returns its "return_data"; throws a MediaError when it fails. */
  call(method, request = {}, ...callback) {
    const answer = JSON.parse(this.bridge[method](...callback, JSON.stringify(request)));
    if (answer.return_ecode !== 0) {
      throw new MediaError(method, answer.return_ecode);
    }
    return answer.return_data;
  }

  /** Opens a list of a folder. `options`: {contentType, sort, extension, search}. */
  open(folder, options = {}) {
    return new MediaList(this, { param_source_name: 'SOURCE_MSC', param_scan_path: folder }, options);
  }

  /** Opens a list of the entries of one playlist, by its path or URL; without one, of all playlists that are found. */
  openPlaylists(playlist = '', options = {}) {
    const named = playlist === '' ? {} : { param_prepare_data: playlist };
    return new MediaList(this, { param_source_name: 'SOURCE_PLAYLIST', ...named }, options);
  }

  /**
   * Opens a list of a media server, by its "storage_id"; while the DLNA service runs.
   * `folder`: the "media_id" of one of its folders; empty: all of it.
   */
  openServer(server, options = {}, folder = '') {
    return new MediaList(this, { param_source_name: 'SOURCE_DLNA', param_scan_path: server, param_folder_id: folder }, options);
  }

  /** Opens a list of the files on a camera, an element of mrb_get_ptp_list; without one, on the first camera. */
  openCamera({ storage_name, storage_bus, storage_address } = {}, options = {}) {
    return new MediaList(this, { param_source_name: 'SOURCE_PTP', param_model_name: storage_name ?? '',
                                 param_bus_value: storage_bus ?? 0, param_device_value: storage_address ?? 0 }, options);
  }

  /** Lets the program end: it waits for no more events. */
  finish() {
    quill.unref(this.bridge);
  }

  /** Receives the events of all shares. */
  dispatchShareEvent(text) {
    const event = JSON.parse(text);
    this.shares.get(event.param_share_handle)?.handleEvent(event.param_event, progressFrom(event));
  }

  /** Receives the events of all lists: a function belongs to the object, not to a list. */
  dispatchListEvent(text) {
    const event = JSON.parse(text);
    this.lists.get(event.param_agent)?.handleEvent(event.param_event, JSON.parse(event.param_server_data || '{}'));
  }
}

/** The seven numbers and names of a share's progress; sizes in bytes. */
function progressFrom(event) {
  const of = (name) => event[`param_share_${name}`];
  return { totalFiles: of('total_file_count'), doneFiles: of('done_file_count'), totalSize: of('total_file_size'),
           successSize: of('success_file_size'), currentSize: of('current_file_size'),
           progressSize: of('progress_file_size'), currentName: of('current_file_name') };
}

/**
 * A running share. `onProgress` receives every step; `done` is resolved with
 * {event, ...progress} when the share ended (SHARE_EVENTS.DONE or STOPPED) and rejected
 * with an Error that has both when it failed.
 */
class Share {
  constructor(media, handle, onProgress) {
    this.media = media;
    this.handle = handle;
    this.onProgress = onProgress;
    this.done = new Promise((resolve, reject) => { this.settle = { resolve, reject }; });
    this.done.catch(() => {}); // a rejection that no caller awaits is not an error
    media.shares.set(handle, this);
  }

  handleEvent(event, progress) {
    this.onProgress(progress, event);
    if (event === SHARE_EVENTS.STARTED || event === SHARE_EVENTS.PROGRESS) return;
    this.media.shares.delete(this.handle);
    if (event === SHARE_EVENTS.DONE || event === SHARE_EVENTS.STOPPED) {
      this.settle.resolve({ event, ...progress });
    } else {
      const [name] = Object.entries(SHARE_EVENTS).find(([, number]) => number === event) ?? ['UNKNOWN'];
      this.settle.reject(Object.assign(new Error(`the share ended: ${name} (${event})`), { event, ...progress }));
    }
  }

  stop() { this.media.call('mrb_stop_batch_process_v2', { param_share_handle: this.handle }); }
}

/**
 * One list. `ready` is resolved with the framework's summary when the list is complete.
 * To see a folder in another way, close its list and open another one: late events of
 * the closed list are then ignored.
 */
class MediaList {
  constructor(media, place, { contentType = '', sort = '', extension, search } = {}) {
    this.media = media;
    this.onGrowth = () => {};
    this.onChange = () => {};
    const request = {
      ...place,
      param_content_type: contentType,
      param_sort_category: sort,
      ...(extension ? { param_media_extension: extension } : {}),
      ...(search ? { param_key_word: search } : {}),
    };
    this.ready = new Promise((resolve, reject) => { this.settle = { resolve, reject }; });
    this.ready.catch(() => {}); // a rejection that no caller awaits is not an error
    this.handle = this.media.call('mrb_request_list_v2', request, (text) => this.media.dispatchListEvent(text));
    this.media.lists.set(this.handle, this);
  }

  handleEvent(event, data) {
    switch (event) {
      case LIST_EVENTS.READY:
      case LIST_EVENTS.CANCELLED:
        this.settle.resolve(data);
        break;
      case LIST_EVENTS.FAILED:
        this.settle.reject(Object.assign(new Error(data.message ?? data.error), { code: data.error }));
        break;
      case LIST_EVENTS.GROWN:
        this.onGrowth(data);
        break;
      case LIST_EVENTS.CHANGED:
      case LIST_EVENTS.DEVICE_REMOVED:
        this.onChange(event);
        break;
      default:
        break;
    }
  }

  call(method, request = {}) {
    return this.media.call(method, { param_agent: this.handle, ...request });
  }

  count() { return this.call('mrb_get_item_count_v2'); }

  item(index) { return JSON.parse(this.call('mrb_get_item_v2', { param_index: index })); }

  /** The descriptions of up to `count` items from `index` on. */
  items(index, count) {
    const run = JSON.parse(this.call('mrb_get_item_list_v2', { param_index: index, param_count: count }));
    return run.param_item_list.map((item) => JSON.parse(item));
  }

  /** A field of an item; undefined when there is no field of that name. SIZE and DURATION: the low 32 bits. */
  field(index, name) { return this.call('mrb_get_item_value_v2', { param_index: index, param_field: name }); }

  /** Writes a text or integer field; others stay as they are. */
  setField(index, name, value) {
    this.call('mrb_set_item_value_v2', { param_index: index, param_field: name, param_value: value });
  }

  /** Selects the items of these types and no others; returns their total size in bytes. */
  selectTypes(types) { return this.call('mrb_select_all_v2', { param_selected_item_type_arr: types }); }

  deselectAll() { this.call('mrb_deselect_all_v2'); }

  selectGroup(index) { this.call('mrb_select_group_v2', { param_index: index }); }

  deselectGroup(index) { this.call('mrb_deselect_group_v2', { param_index: index }); }

  toggle(...indexes) { this.call('mrb_toggle_select_v2', { param_item_list: indexes }); }

  isSelected(index) { return this.call('mrb_get_selected_state_v2', { param_index: index }); }

  selectionCount() { return this.call('mrb_get_selection_count_v2'); }

  /** Starts a share of the selection. `parameters`: the request's keys besides "param_agent" and the type. */
  share(type, parameters = {}, onProgress = () => {}) {
    const request = { param_agent: this.handle, param_share_type: type, ...parameters };
    const handle = this.media.call('mrb_batch_process_v2', request, (text) => this.media.dispatchShareEvent(text));
    return new Share(this.media, handle, onProgress);
  }

  moveTo(index) { this.call('mrb_move_to_index_v2', { param_index: index }); }

  pageOf(mediaId) { return this.call('mrb_get_page_index_v2', { param_media: mediaId }); }

  navigate(mode) { this.call('mrb_set_navigation_v2', { param_navigation: mode }); }

  close() {
    this.media.lists.delete(this.handle);
    this.call('mrb_disconnect_v2');
  }
}

module.exports = { Media, MediaError, Share };
