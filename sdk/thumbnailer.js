'use strict';
// Thumbnails as promises, over the texts of MRBBridge.

const { describeResult } = require('./codes.js');

/** "thumb_error_code" of a result. */
const THUMBNAIL_CODES = { STORED: 100, NOT_STORED: 101, SERVICE_FAILED: 102 };

const REASONS = {
  [THUMBNAIL_CODES.NOT_STORED]: 'there is no thumbnail, or it could not be written',
  [THUMBNAIL_CODES.SERVICE_FAILED]: 'the thumbnail service failed',
};

/** A request without thumbnails: `code` is a THUMBNAIL_CODES; 0 when it was cancelled. */
class ThumbnailError extends Error {
  constructor(code, message = REASONS[code] ?? `unknown result ${code}`) {
    super(message);
    this.name = 'ThumbnailError';
    this.code = code;
  }
}

/**
 * The thumbnail requests of one MRBBridge object, whose function for results this is.
 * The object's cancel and stop methods are for this class alone.
 */
class Thumbnailer {
  constructor(bridge) {
    this.bridge = bridge;
    this.waiting = new Map(); // by number, oldest first
    this.numbers = 0;
  }

  /**
   * Asks for thumbnails of `file`, an absolute path, as bitmap files: as many as there
   * are `savePaths`, in folders that exist. `wishes`: {width, height, orientation,
   * mediaType, sourceType, usedCache}. Returns {done, cancel}: `done` is resolved with
   * the result's document, or rejected with a ThumbnailError; after cancel() it is
   * rejected at once.
   */
  request(file, savePaths, { width = 0, height = 0, orientation = 0, mediaType = 0, sourceType = 0,
                             usedCache = false } = {}) {
    this.numbers = (this.numbers % 0x7fffffff) + 1;
    const number = this.numbers;
    const request = {
      param_origin_path: file, param_save_path: savePaths, param_media_type: mediaType,
      param_source_type: sourceType, param_orientation: orientation, param_thumb_width: width,
      param_thumb_height: height, param_used_cache: usedCache ? 1 : 0, param_thumb_type: 0,
      param_video_frame_count: savePaths.length, param_thumb_user_data: number,
    };
    const done = new Promise((resolve, reject) => {
      this.waiting.set(number, { request, resolve, reject });
    });
    done.catch(() => {}); // whoever waits for it hears of it
    try {
      this.ask('thumbnail_request_async', (text) => this.hear(text), JSON.stringify(request));
    } catch (error) {
      this.waiting.delete(number);
      throw error;
    }
    return { done, cancel: () => this.cancel(number) };
  }

  /** Takes all requests back. */
  cancelAll() {
    this.ask('thumbnail_request_cancel_all');
    const cancelled = [...this.waiting.values()];
    this.waiting.clear();
    cancelled.forEach(({ reject }) => reject(new ThumbnailError(0, 'cancelled')));
  }

  cancel(number) {
    const entry = this.waiting.get(number);
    if (!entry) return;
    this.waiting.delete(number);
    // The framework knows a request by what is asked, and takes back the oldest of
    // those alike. Where another one wants the same, only the result is not awaited.
    const like = ({ request }) => sameWish(request, entry.request);
    if (![...this.waiting.values()].some(like)) {
      this.ask('thumbnail_request_cancel', JSON.stringify(entry.request));
    }
    entry.reject(new ThumbnailError(0, 'cancelled'));
  }

  /** Every result comes here: a function belongs to the object, not to a request. */
  hear(text) {
    const { user_data: number = this.waiting.keys().next().value, ...result } = JSON.parse(text);
    const entry = this.waiting.get(number); // the service's own failure does not say whose it is
    if (!entry) return; // cancelled while it was on its way
    this.waiting.delete(number);
    if (result.thumb_error_code === THUMBNAIL_CODES.STORED) {
      entry.resolve(result);
    } else {
      entry.reject(new ThumbnailError(result.thumb_error_code));
    }
  }

  ask(method, ...args) {
    const { return_ecode: code } = JSON.parse(this.bridge[method](...args));
    if (code !== 0) throw new ThumbnailError(code, `${method}: ${describeResult(code)}`);
  }
}

/** Whether the framework tells two requests apart. */
const OWN_TO_THE_BRIDGE = new Set(['param_save_path', 'param_thumb_type', 'param_thumb_user_data']);
const sameWish = (one, other) =>
  Object.keys(one).every((key) => OWN_TO_THE_BRIDGE.has(key) || one[key] === other[key]);

module.exports = { THUMBNAIL_CODES, Thumbnailer, ThumbnailError };
