#pragma once

#include <string>

namespace support {

struct Song {
    std::string artist = {};
    std::string album = {};
    std::string genre = {};
};

// A FLAC file with these tags and no sound: the header, from which any program reads them.
// Fast, for tests that need thousands.
std::string songBytes(const Song &song);

void writeSong(const std::string &path, const Song &song);

} // namespace support
