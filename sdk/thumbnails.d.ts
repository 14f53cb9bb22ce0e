// Thumbnails as scripts see them: the methods of MRBBridge and their JSON texts.
// docs/script-api.md has the details.

/** A request. A key that is missing, or has another type, counts as 0 or as no path. */
interface ThumbnailRequest {
  /** An absolute path; a request without one is refused. */
  param_origin_path: string;
  /** Where the images are stored, one path each, in a folder that exists. For the flash cache: names. */
  param_save_path?: string[];
  /** An ITEM_TYPES number; 0: as the file's name says. */
  param_media_type?: number;
  /** 0 any, 1 mass storage, 2 camera, 3 DLNA, 4 playlist. */
  param_source_type?: number;
  /** 1 to 8, an EXIF orientation; 0: the file's own. */
  param_orientation?: number;
  /** The box in pixels that the images fit into. */
  param_thumb_width?: number;
  param_thumb_height?: number;
  /** Not 0: an image in the flash cache serves as well. */
  param_used_cache?: number;
  /** 1: store in the flash cache. Anything else: write bitmap files. */
  param_thumb_type?: number;
  /** 1 to 5 frames of a video; the low byte counts. */
  param_video_frame_count?: number;
  /** Returned as "user_data". */
  param_thumb_user_data?: number;
}

/** What the function receives when the images were stored, parsed. */
interface ThumbnailStored {
  thumb_error_code: 100;
  origin_path: string;
  user_data: number;
  /** Where images were stored, in their order; absent when there are none. */
  save_path?: string[];
  /** Bytes of an image. */
  buffer_size: number;
  image_width: number;
  image_height: number;
  /** Bits per pixel. */
  image_depth: number;
  /** Images that were decoded; there may be more than were stored. */
  image_count: number;
  /** One for each of "image_count", milliseconds in decimal; absent when there are none. */
  time_stamp?: string[];
  /** 1: the images have the original's size. */
  flag_origin_image: number;
}

/** The file has no thumbnail, or it could not be stored. */
interface ThumbnailNotStored {
  thumb_error_code: 101;
  origin_path: string;
  user_data: number;
}

/** The service itself failed, at any of the requests. */
interface ThumbnailServiceFailed {
  thumb_error_code: 102;
}

type ThumbnailResult = ThumbnailStored | ThumbnailNotStored | ThumbnailServiceFailed;

/** What a method returns, parsed. */
interface ThumbnailAnswer {
  /** 0: the service was called. 1: it did not start. 2: no path, or wrong arguments. */
  return_ecode: 0 | 1 | 2;
}

declare var MRBBridge: { prototype: MRBBridge; new (): MRBBridge };

interface MRBBridge {
  /** The function receives a ThumbnailResult for this and earlier requests; the request is a ThumbnailRequest. */
  thumbnail_request_async(notify: (result: string) => void, request: string): string;
  /** Cancels the oldest request with the same values; it has no result unless that is already queued. */
  thumbnail_request_cancel(request: string): string;
  /** Cancels all requests of the program. */
  thumbnail_request_cancel_all(): string;
  /** Ends the requests of cameras, and returns when no camera file is being decoded. */
  thumbnail_stop_ptp_decode_sync(): string;
  /** Opens the flash cache. */
  thumbnail_flash_cache_init(): string;
}
