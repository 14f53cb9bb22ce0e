'use strict';
// Thumbnails as promises, over the texts of MRBBridge.

const { describeResult } = require('./codes.js');

/** "thumb_error_code" of a result. */
const THUMBNAIL_CODES = { STORED: 100, NOT_STORED: 101, SERVICE_FAILED: 102 };

const REASONS = {
  [THUMBNAIL_CODES.NOT_STORED]: 'the file has no thumbnail, or it could not be written',
  [THUMBNAIL_CODES.SERVICE_FAILED]: 'the thumbnail service failed',
};

/** A request that failed: `code` is a THUMBNAIL_CODES; 0 when it was cancelled. */
class ThumbnailError extends Error {
  constructor(code, message = REASONS[code] ?? `unknown result ${code}`) {
    super(message);
    this.name = 'ThumbnailError';
    this.code = code;
  }
}

/**
 * The thumbnail requests of one MRBBridge object. Registers the object's function for
 * results; no other code may call the object's cancel and stop methods.
 */
class Thumbnailer {
  constructor(bridge) {
    this.bridge = bridge;
    this.pending = new Map(); // requests without a result, by id, oldest first
    this.lastId = 0;
  }

  /**
   * Requests thumbnails of `file`, an absolute path, as bitmap files: one for each of
   * `savePaths`, in folders that exist. `options`: {width, height, orientation,
   * mediaType, sourceType, usedCache}. Returns {done, cancel}: `done` is resolved with
   * the result's document, or rejected with a ThumbnailError; after cancel() it is
   * rejected at once.
   */
  request(file, savePaths, { width = 0, height = 0, orientation = 0, mediaType = 0, sourceType = 0,
                             usedCache = false } = {}) {
    this.lastId = (this.lastId % 0x7fffffff) + 1;
    const id = this.lastId;
    const request = {
      param_origin_path: file, param_save_path: savePaths, param_media_type: mediaType,
      param_source_type: sourceType, param_orientation: orientation, param_thumb_width: width,
      param_thumb_height: height, param_used_cache: usedCache ? 1 : 0, param_thumb_type: 0,
      param_video_frame_count: savePaths.length, param_thumb_user_data: id,
    };
    const done = new Promise((resolve, reject) => {
      this.pending.set(id, { request, resolve, reject });
    });
    done.catch(() => {}); // a rejection that no caller awaits is not an error
    try {
      this.call('thumbnail_request_async', (text) => this.handleResult(text), JSON.stringify(request));
    } catch (error) {
      this.pending.delete(id);
      throw error;
    }
    return { done, cancel: () => this.cancel(id) };
  }

  /** Cancels all requests. */
  cancelAll() {
    this.call('thumbnail_request_cancel_all');
    const cancelled = [...this.pending.values()];
    this.pending.clear();
    cancelled.forEach(({ reject }) => reject(new ThumbnailError(0, 'cancelled')));
  }

  cancel(id) {
    const entry = this.pending.get(id);
    if (!entry) return;
    this.pending.delete(id);
    // The framework identifies a request by its parameters, and cancels the oldest of
    // equal ones. If another pending request is equal, only the promise is rejected.
    const isSame = ({ request }) => sameRequest(request, entry.request);
    if (![...this.pending.values()].some(isSame)) {
      this.call('thumbnail_request_cancel', JSON.stringify(entry.request));
    }
    entry.reject(new ThumbnailError(0, 'cancelled'));
  }

  /** Receives all results: a function belongs to the object, not to a request. */
  handleResult(text) {
    const { user_data: id = this.pending.keys().next().value, ...result } = JSON.parse(text);
    const entry = this.pending.get(id); // a failure of the service names no request: the oldest
    if (!entry) return; // cancelled before the result arrived
    this.pending.delete(id);
    if (result.thumb_error_code === THUMBNAIL_CODES.STORED) {
      entry.resolve(result);
    } else {
      entry.reject(new ThumbnailError(result.thumb_error_code));
    }
  }

  call(method, ...args) {
    const { return_ecode: code } = JSON.parse(this.bridge[method](...args));
    if (code !== 0) throw new ThumbnailError(code, `${method}: ${describeResult(code)}`);
  }
}

/** Whether two requests are equal for the framework, which does not receive these keys. */
const NOT_COMPARED = new Set(['param_save_path', 'param_thumb_type', 'param_thumb_user_data']);
const sameRequest = (one, other) =>
  Object.keys(one).every((key) => NOT_COMPARED.has(key) || one[key] === other[key]);

module.exports = { THUMBNAIL_CODES, Thumbnailer, ThumbnailError };
