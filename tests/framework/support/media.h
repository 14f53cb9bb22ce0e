#pragma once

#include <gtest/gtest.h>

#include <initializer_list>

#include "support/folder.h"

namespace support {

// Real media with known tags, made by ffmpeg and exiftool: photo.jpg, photo.webp,
// photo.avif, photo.heic, plain.jpg, plain.png, plain.gif, plain.bmp, plain.tiff, song.mp3,
// song.flac, song.ogg, song.m4a, song.wav, covered.mp3, covered.flac, film.mp4, film.mkv, film.ts,
// silent.avi.
void makeMedia(const Folder &folder);

// A folder with these files of makeMedia; all of them without names.
class MediaFolder : public Folder {
  public:
    explicit MediaFolder(std::initializer_list<const char *> names = {});
};

// A test of the media that makeMedia makes, which it makes once for the suite and which the
// tests do not change.
class MediaTest : public testing::Test {
  protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();

    static const Folder *media_;
};

} // namespace support
