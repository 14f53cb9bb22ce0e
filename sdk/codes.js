'use strict';
// The numbers in answers and events, by name. The framework's headers define them.

/** "return_ecode": 0 is success, 2 (and 1 for thumbnails) the bridge's own refusal, the rest the framework's. */
const RESULTS = {
  0: ['MRB_ERR_NONE', 'success'],
  1: ['NOT_INITIALISED', 'the thumbnail service did not start'],
  2: ['REFUSED', 'the bridge cannot use the call: wrong arguments, or an unknown source or command'],
  [-1]: ['MRB_ERR_INVALID_PARAMETER', 'an argument is missing, empty or malformed'],
  [-2]: ['MRB_ERR_INVALID_HANDLE', 'no open list has this handle'],
  [-3]: ['MRB_ERR_OUT_OF_RANGE', 'the index is negative or past the end'],
  [-4]: ['MRB_ERR_NOT_FOUND', 'it does not exist'],
  [-5]: ['MRB_ERR_NOT_SUPPORTED', 'the media framework does not support this'],
  [-6]: ['MRB_ERR_PERMISSION_DENIED', 'the system does not let this program read it'],
  [-7]: ['MRB_ERR_NOT_A_FOLDER', 'it is not a folder'],
  [-8]: ['MRB_ERR_IO', 'the device failed while reading or writing'],
  [-9]: ['MRB_ERR_OUT_OF_MEMORY', 'not enough memory'],
  [-10]: ['MRB_ERR_CANCELLED', 'it was cancelled'],
  [-11]: ['MRB_ERR_DEVICE_REMOVED', 'the device or server went away'],
  [-12]: ['MRB_ERR_NO_SPACE', 'the destination has too little free space'],
  [-13]: ['MRB_ERR_TIMEOUT', 'the device or server did not respond in time'],
  [-14]: ['MRB_ERR_PROTOCOL', 'the device or server sent a malformed response'],
  [-15]: ['MRB_ERR_BUSY', 'another program holds the device'],
  [-16]: ['MRB_ERR_NOT_INITIALIZED', 'the service was not started'],
  [-17]: ['MRB_ERR_CORRUPT', 'the media file is damaged'],
};

/** "param_event" of list events. */
const LIST_EVENTS = { READY: 0, FAILED: 1, GROWN: 25, CANCELLED: 13, DEVICE_REMOVED: 28, CHANGED: 29 };

/** "param_event" of share events. All but STARTED and PROGRESS end the share. */
const SHARE_EVENTS = { STARTED: 17, PROGRESS: 8, DONE: 18, FAILED: 19, STOPPED: 26, NO_SPACE: 27, DEVICE_REMOVED: 28 };

/** "param_share_type": what a share does with the selection. DELETE is refused by the framework for Linux. */
const SHARE_TYPES = { DELETE: 1, COPY: 2, DLNA: 4, LOCK: 32 };

/** "type" of an item. */
const ITEM_TYPES = {
  FOLDER: 1, IMAGE: 2, VIDEO: 3, MUSIC: 5, RECORD: 6, M3U: 7, GROUP: 9, UHD: 10, SCSA: 11, UPFOLDER: 13, EMPTY: 14,
};

/** "param_navigation": how a list's view moves through folders. */
const NAVIGATION = { FLAT: 0, FOLDER: 1, ENTER: 2, UP: 3 };

/** "storage_filesystem" of a device. */
const FILE_SYSTEMS = [
  'unknown', 'FAT', 'exFAT', 'NTFS', 'ext2', 'ext3', 'ext4', 'Btrfs', 'XFS', 'F2FS', 'HFS', 'APFS', 'ISO 9660', 'UDF',
  'tmpfs',
];

/** "storage_class" of a device. */
const STORAGE_CLASSES = { NONE: 0, CAMERA: 6, MASS_STORAGE: 8, FOLDER: 256 };

/** "storage_event" of a device. */
const STORAGE_EVENTS = { ADDED: 0, REMOVED: 1, CHANGED: 2 };

/** "param_event" of the DLNA service. */
const SERVICE_EVENTS = { STARTED: 20, NOT_STARTED: 21 };

/** The meaning of a "return_ecode", as text for a person. */
function describeResult(code) {
  const [name, meaning] = RESULTS[code] ?? ['UNKNOWN', 'an unknown code'];
  return `${meaning} (${name}, ${code})`;
}

module.exports = {
  RESULTS, LIST_EVENTS, SHARE_EVENTS, SHARE_TYPES, ITEM_TYPES, NAVIGATION, FILE_SYSTEMS, STORAGE_CLASSES,
  STORAGE_EVENTS, SERVICE_EVENTS, describeResult,
};
