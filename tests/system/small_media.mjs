// Minimal files with tags, generated quickly for tests that need thousands.

function bigEndian(number, bytes) {
  const buffer = Buffer.alloc(bytes);
  buffer.writeUIntBE(number, 0, bytes);
  return buffer;
}

function withLength(text) {
  const bytes = Buffer.from(text);
  const length = Buffer.alloc(4);
  length.writeUInt32LE(bytes.length);
  return Buffer.concat([length, bytes]);
}

/** A FLAC file without sound: the marker, STREAMINFO, and the comments (RFC 9639). */
export function songBytes(tags) {
  // Blocks of 4096 samples, frames of unknown size, 44,100 Hz, two channels of 16 bits, one second.
  const info = Buffer.concat([bigEndian(4096, 2), bigEndian(4096, 2), Buffer.alloc(6),
    Buffer.from('0ac442f00000ac44', 'hex'), Buffer.alloc(16)]);
  const texts = Object.entries(tags).map(([name, value]) => withLength(`${name}=${value}`));
  const number = Buffer.alloc(4);
  number.writeUInt32LE(texts.length);
  const comments = Buffer.concat([withLength('test'), number, ...texts]);
  return Buffer.concat([Buffer.from('fLaC\0'), bigEndian(info.length, 3), info, Buffer.from([0x84]),
    bigEndian(comments.length, 3), comments]);
}

/** A JPEG file without image data: EXIF with the date, as in "2024:07:14 09:30:00", and a frame of 16 by 9. */
export function pictureBytes(taken) {
  const entry = (tag, type, count, value) => Buffer.concat([bigEndian(tag, 2), bigEndian(type, 2), bigEndian(count, 4), bigEndian(value, 4)]);
  const directory = (only) => Buffer.concat([bigEndian(1, 2), only, bigEndian(0, 4)]);
  const [LONG, ASCII] = [4, 2];
  const [SUB, DATA] = [26, 44]; // after the header of 8 bytes, directories of 18 each
  const tiff = Buffer.concat([Buffer.from('MM\0*'), bigEndian(8, 4), directory(entry(0x8769, LONG, 1, SUB)),
    directory(entry(0x9003, ASCII, taken.length + 1, DATA)), Buffer.from(`${taken}\0`)]);
  const exif = Buffer.concat([Buffer.from('Exif\0\0'), tiff]);
  const segment = (marker, body) => Buffer.concat([Buffer.from([0xff, marker]), bigEndian(body.length + 2, 2), body]);
  return Buffer.concat([Buffer.from([0xff, 0xd8]), segment(0xe1, exif),
    segment(0xc0, Buffer.concat([Buffer.from([8]), bigEndian(9, 2), bigEndian(16, 2), Buffer.from([1, 1, 0x11, 0])])),
    Buffer.from([0xff, 0xd9])]);
}
