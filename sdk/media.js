'use strict';
// Lists as objects with methods and promises, over the texts of MRBBridge.

const { LIST_EVENTS, describeResult } = require('./codes.js');

/** A refusal, with the code that the bridge or the framework gave. */
class MediaError extends Error {
  constructor(method, code, message = describeResult(code)) {
    super(`${method}: ${message}`);
    this.name = 'MediaError';
    this.code = code;
  }
}

/** The lists of one MRBBridge object. Made once by a program. */
class Media {
  constructor() {
    this.bridge = new MRBBridge();
    this.lists = new Map(); // by handle
  }

  /** Sends a command and returns its "return_data"; throws a MediaError when it fails. */
  ask(method, request = {}, ...callback) {
    const answer = JSON.parse(this.bridge[method](...callback, JSON.stringify(request)));
    if (answer.return_ecode !== 0) {
      throw new MediaError(method, answer.return_ecode);
    }
    return answer.return_data;
  }

  /** Opens a list of a folder. `wishes`: {contentType, sort, extension, search}. */
  open(folder, wishes = {}) {
    return new MediaList(this, folder, wishes);
  }

  /** Nothing more to wait for: lets the program end. */
  finish() {
    quill.unref(this.bridge);
  }

  /** Every list's events come here: a function belongs to the object, not to a list. */
  hear(text) {
    const event = JSON.parse(text);
    this.lists.get(event.param_agent)?.hear(event.param_event, JSON.parse(event.param_server_data || '{}'));
  }
}

/**
 * One list. `ready` is resolved with the framework's summary when every item is
 * there. To see a folder in another way, close its list and open another one: events
 * of an earlier opening that are still on their way then belong to no list.
 */
class MediaList {
  constructor(media, folder, { contentType = '', sort = '', extension, search } = {}) {
    this.media = media;
    this.onGrowth = () => {};
    this.onChange = () => {};
    const request = {
      param_source_name: 'SOURCE_MSC',
      param_scan_path: folder,
      param_content_type: contentType,
      param_sort_category: sort,
      ...(extension ? { param_media_extension: extension } : {}),
      ...(search ? { param_key_word: search } : {}),
    };
    this.ready = new Promise((resolve, reject) => { this.settle = { resolve, reject }; });
    this.ready.catch(() => {}); // whoever waits for it hears of it
    this.handle = this.media.ask('mrb_request_list_v2', request, (text) => this.media.hear(text));
    this.media.lists.set(this.handle, this);
  }

  hear(event, data) {
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

  ask(method, request = {}) {
    return this.media.ask(method, { param_agent: this.handle, ...request });
  }

  count() { return this.ask('mrb_get_item_count_v2'); }

  item(index) { return JSON.parse(this.ask('mrb_get_item_v2', { param_index: index })); }

  moveTo(index) { this.ask('mrb_move_to_index_v2', { param_index: index }); }

  pageOf(mediaId) { return this.ask('mrb_get_page_index_v2', { param_media: mediaId }); }

  navigate(mode) { this.ask('mrb_set_navigation_v2', { param_navigation: mode }); }

  close() {
    this.media.lists.delete(this.handle);
    this.ask('mrb_disconnect_v2');
  }
}

module.exports = { Media, MediaError };
