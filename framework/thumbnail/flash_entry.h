#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include "thumbnail/decoder.h"

namespace mrb::thumbnail {

// The key of an image in the flash cache: the parameters of its request.
struct FlashKey {
    std::string path;
    int boxWidth = 0; // as requested
    int boxHeight = 0;
    int orientation = 0;
    int frames = 1;
    int index = 0; // of the frame

    bool operator==(const FlashKey &) const = default;
    [[nodiscard]] auto order() const {
        return std::tie(path, boxWidth, boxHeight, orientation, frames, index);
    }
    bool operator<(const FlashKey &other) const { return order() < other.order(); }
};

struct FlashEntry {
    std::uint64_t id = 0; // also part of the image file's name
    FlashKey key;
    std::string name; // the client's file name
    int width = 0;    // pixels
    int height = 0;
    bool whole = false;  // it has the original's size
    bool preset = false; // a preset buffer is stored with it
    FileIdentity source;

    // The size of the image's file.
    [[nodiscard]] std::int64_t bytes() const;
};

// One line of the list file: an entry that was added, used, or removed.
struct FlashLine {
    enum class Kind : char { ADDED = '+', USED = '=', REMOVED = '-' };
    Kind kind = Kind::ADDED;
    FlashEntry entry; // only the id unless it was added
};

// The line's text with its line feed. It begins with a checksum of the rest, by which a line that
// a crash truncated is detected.
std::string textOf(const FlashLine &line);

// Parses a line without its line feed; no value when it is invalid.
std::optional<FlashLine> readLine(std::string_view text);

} // namespace mrb::thumbnail
