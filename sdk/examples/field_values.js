'use strict';
// The eighty fields of an item, the most interesting first, each with a function that
// formats its value.

const { ITEM_TYPES } = require('../codes.js');
const { clock, printable, size } = require('./terminal.js');

const number = (value) => value.toLocaleString('en');
const unit = (name) => (value) => `${number(value)} ${name}`;
const plain = (value) => printable(String(value));
const truth = (value) => (value ? 'yes' : 'no');
const time = (value) => (value === 0 ? 'never' : `${new Date(value * 1000).toISOString().slice(0, 19).replace('T', ' ')} UTC`);
const degrees = (value) => `${value.toFixed(6)}°`;
const named = (names) => (value) => (names[value] ? `${names[value]} (${value})` : String(value));

/** Milliseconds, of which the bridge passes the low 32 bits, signed. */
const duration = (value) => `${clock((value >>> 0) / 1000)} (${((value >>> 0) / 1000).toFixed(3)} s)`;

const ORIENTATIONS = ['not known', 'upright', 'mirrored', 'turned by 180°', 'mirrored, turned by 180°',
                      'mirrored, turned by 270°', 'turned by 90°', 'mirrored, turned by 90°', 'turned by 270°'];
const HD = ['no', 'from 720 lines', 'from 1080 lines', 'from 2160 lines'];
const TYPE_NAMES = Object.fromEntries(Object.entries(ITEM_TYPES).map(([name, type]) => [type, name.toLowerCase()]));

const all = (names, show) => names.map((name) => [name, show]);

/** [name, the function that formats its value]. */
const FIELDS = [
  ...all(['TITLE', 'ARTIST', 'ALBUM', 'GENRE', 'YEAR'], plain),
  ['SONGS_COUNT', number],
  ['SYNOPSIS', plain],
  ['DURATION', duration],
  ['DATE_TAKEN', plain],
  ['MODEL', plain],
  ['EXPOSURE_TIME', (value) => `${plain(value)} s`],
  ['FNUMBER', (value) => `f/${plain(value)}`],
  ['ISO', plain],
  ...all(['LATITUDE', 'LONGITUDE'], degrees),
  ['ALTITUDE', (value) => `${value.toFixed(1)} m`],
  ['LOCATION_TAG', plain],
  ...all(['WIDTH', 'HEIGHT', 'RESOLUTION'], unit('pixels')),
  ['RESOLUTION_DLNA', plain],
  ['ASPECTRATIO', (value) => `${(value / 1000).toFixed(3)} to 1`],
  ['ORIENTATION', named(ORIENTATIONS)],
  ['HD', named(HD)],
  ...all(['FORMAT', 'MIME_TYPE', 'VIDEO_CODEC', 'AUDIO_CODEC', 'LANGUAGE'], plain),
  ['BITRATE', unit('bit/s')],
  ['SAMPLERATE', unit('Hz')],
  ['BIT_RESOLUTION', unit('bits')],
  ...all(['SUBTITLE', 'HAS_AUDIO_ONLY', 'IS_DRM'], truth),
  ['SIZE', (value) => `${size(value)} (${number(value)} bytes)`],
  ...all(['ADDED_TIME', 'MODIFIED_TIME'], time),
  ['MODIFIED_MONTH', plain],
  ['PLAYED_TIME', time],
  ['PLAYED_COUNT', number],
  ['PLAYED_POSITION', (value) => clock(value)],
  ['PARENTAL_RATING', plain],
  ...all(['CONTENT_LOCK', 'CONTENT_WATCH'], truth),
  ['MEDIA_TYPE', named(TYPE_NAMES)],
  ['GROUP_ITEM_COUNT', number],
  ...all(['DISPLAY_NAME', 'FILE_PATH', 'URL', 'ID_MRB', 'THUMBNAIL_PATH', 'MRB_MEDIA_FOCUS_ID'], plain),
  // Fields that only a television's own recordings have.
  ...all(['TIMER_RECORD', 'SERIES_RECORD', 'TTX', 'AD', 'HARD_OF_HEARING_RADIO', 'DATA_SERVICE', 'IS_LOCAL_RECORD'], truth),
  ...all(['CHANNEL', 'TIMEZONE', 'PTC', 'MAJOR', 'MINOR', 'CHANNEL_TYPE', 'PROGRAM_NUM', 'EMBARGO_TIME', 'EXPIRY_TIME',
          'START_TIME', 'PROGRAM_START_TIME', 'PROGRAM_END_TIME', 'PROGRAM_DATE', 'SPORTS_TYPE', 'GUIDANCE_LENGTH',
          'CHANNEL_NAME', 'PROGRAM_TITLE', 'PROGRAM_CRID', 'GUIDANCE', 'MTA_URL'], plain),
];

/** Fields whose empty value is a valid one: the framework refuses them if there is no value. */
const REFUSED_WHEN_EMPTY = new Set(['LATITUDE', 'LONGITUDE', 'ALTITUDE', 'TIMEZONE']);

/** Fields that repeat others in another form, or that are for programs. */
const FOR_PROGRAMS = new Set(['RESOLUTION', 'RESOLUTION_DLNA', 'LOCATION_TAG', 'MODIFIED_MONTH', 'MEDIA_TYPE',
                              'DISPLAY_NAME', 'FILE_PATH', 'URL', 'ID_MRB']);

/** Whether a value means that the item has none. */
const isEmpty = (name, value) =>
  value === undefined || (!REFUSED_WHEN_EMPTY.has(name) && (value === 0 || value === false || value === ''));

module.exports = { FIELDS, FOR_PROGRAMS, REFUSED_WHEN_EMPTY, isEmpty };
