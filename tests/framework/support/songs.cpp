#include "support/songs.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <vector>

namespace support {
namespace {

std::string bigEndian(std::uint64_t value, int bytes) {
    std::string text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
        text += static_cast<char>(value >> static_cast<unsigned>(shift));
    }
    return text;
}

std::string littleEndian(std::size_t value) {
    const std::string text = bigEndian(value, 4);
    return {text.rbegin(), text.rend()};
}

std::string withLength(const std::string &text) { return littleEndian(text.size()) + text; }

} // namespace

// See RFC 9639: the marker, a STREAMINFO block, and as the last one the comments.
std::string songBytes(const Song &song) {
    // Blocks of 4096 samples, frames of unknown size, 44,100 Hz, two channels of 16 bits.
    const std::string info = bigEndian(4096, 2) + bigEndian(4096, 2) + bigEndian(0, 6) +
                             bigEndian((44'100ULL << 44U) | (1ULL << 41U) | (15ULL << 36U) | 44'100ULL, 8) +
                             std::string(16, '\0');
    std::vector<std::string> comments;
    const std::array<std::pair<const char *, const std::string &>, 3> tags = {
        {{"ARTIST=", song.artist}, {"ALBUM=", song.album}, {"GENRE=", song.genre}}};
    for (const auto &[name, value] : tags) {
        if (!value.empty()) {
            comments.push_back(name + value);
        }
    }
    std::string tagged = withLength("test") + littleEndian(comments.size());
    for (const std::string &comment : comments) {
        tagged += withLength(comment);
    }
    constexpr std::uint64_t LAST_COMMENTS = 0x84;
    return "fLaC" + bigEndian(0, 1) + bigEndian(info.size(), 3) + info + bigEndian(LAST_COMMENTS, 1) +
           bigEndian(tagged.size(), 3) + tagged;
}

void writeSong(const std::string &path, const Song &song) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << songBytes(song);
    EXPECT_TRUE(file.flush()) << path;
}

} // namespace support
