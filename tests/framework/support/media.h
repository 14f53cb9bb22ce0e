#pragma once

#include "support/folder.h"

namespace support {

// Real media with known tags, made by ffmpeg and exiftool: photo.jpg, photo.webp,
// photo.avif, photo.heic, plain.jpg, plain.png, plain.gif, plain.bmp, plain.tiff, song.mp3,
// song.flac, song.ogg, song.m4a, song.wav, covered.mp3, covered.flac, film.mp4, film.mkv, film.ts,
// silent.avi.
void makeMedia(const Folder &folder);

} // namespace support
