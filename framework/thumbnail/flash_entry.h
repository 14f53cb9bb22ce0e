#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include "thumbnail/decoding.h"

namespace mrb::thumbnail {

// What an image in the flash cache shows: the same key asks for the same image.
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
    std::uint64_t id = 0; // also names the picture's file
    FlashKey key;
    std::string name; // the file name that the client gave
    int width = 0;    // pixels
    int height = 0;
    bool whole = false;  // it has the original's size
    bool preset = false; // a preset buffer is kept with it
    FileIdentity source;

    // Of the picture's file.
    [[nodiscard]] std::int64_t bytes() const;
};

// One line of the list file: an entry that was added, used, or removed.
struct FlashLine {
    enum class Kind : char { ADDED = '+', USED = '=', REMOVED = '-' };
    Kind kind = Kind::ADDED;
    FlashEntry entry; // only the id unless it was added
};

// The line's text with its line feed. It begins with a checksum of the rest, so that
// a line that a crash cut short is known as such.
std::string textOf(const FlashLine &line);

// Reads a line without its line feed; no value when it is none.
std::optional<FlashLine> readLine(std::string_view text);

} // namespace mrb::thumbnail
