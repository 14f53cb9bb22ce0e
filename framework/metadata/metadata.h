#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace mrb {

// The metadata of a media file. The comment gives the unit of a number; everything else is text.
enum class MetadataKey : std::uint8_t {
    MIME_TYPE,
    FORMAT, // the short name of the file's format, such as "jpeg"
    TITLE,
    ARTIST,
    ALBUM,
    GENRE,
    YEAR,
    TRACK,         // number on the album, from 1
    TRACKS,        // number of tracks on the album
    HAS_COVER,     // 0 or 1
    DURATION,      // milliseconds
    BITRATE,       // bits per second
    SAMPLE_RATE,   // hertz
    SAMPLE_BITS,   // bits per sample
    WIDTH,         // pixels, as stored
    HEIGHT,        // likewise
    ASPECT_RATIO,  // a thousand times width by height, as shown
    ORIENTATION,   // 1 to 8, as in EXIF
    DATE_TAKEN,    // "2026-11-21T10:20:30"; in UTC with a "Z" at the end, else in local time
    EXPOSURE_TIME, // seconds: "1/125", "2.5"
    F_NUMBER,      // "2.8"
    ISO,
    MODEL,
    LATITUDE,  // degrees, north positive (real)
    LONGITUDE, // degrees, east positive (real)
    ALTITUDE,  // metres above sea level (real)
    VIDEO_CODEC,
    AUDIO_CODEC,
    LANGUAGE, // of the sound tracks, ISO 639-2, separated by commas
    SYNOPSIS,
    HAS_SUBTITLES,  // 0 or 1
    HAS_ONLY_SOUND, // 0 or 1
    IS_ENCRYPTED,   // 0 or 1
};
inline constexpr std::size_t METADATA_KEYS = static_cast<std::size_t>(MetadataKey::IS_ENCRYPTED) + 1;

// No value, an integer, a real number or a text.
using MetadataValue = std::variant<std::monostate, std::int64_t, double, std::string>;

// The metadata of one file. Input may be hostile: texts are made valid UTF-8 without control
// characters and cut at MAX_TEXT_LENGTH, and values that are empty or not finite are left out. A
// plain value without a lock.
class Metadata {
  public:
    static constexpr std::size_t MAX_TEXT_LENGTH = 4096; // bytes

    void setText(MetadataKey key, std::string_view bytes);
    void setNumber(MetadataKey key, std::int64_t number) { at(key) = number; }
    void setReal(MetadataKey key, double number);
    void set(MetadataKey key, MetadataValue value) { at(key) = std::move(value); }
    // Takes the values that are missing here from `other`.
    void fillGaps(const Metadata &other);

    [[nodiscard]] const MetadataValue &operator[](MetadataKey key) const {
        return values_[static_cast<std::size_t>(key)];
    }
    [[nodiscard]] bool has(MetadataKey key) const { return (*this)[key].index() != 0; }
    // A value that is missing or of another type is empty or 0.
    [[nodiscard]] const std::string &text(MetadataKey key) const;
    [[nodiscard]] std::int64_t number(MetadataKey key) const;

  private:
    MetadataValue &at(MetadataKey key) { return values_[static_cast<std::size_t>(key)]; }

    std::array<MetadataValue, METADATA_KEYS> values_;
};

// `bytes` as a text for one line, at most Metadata::MAX_TEXT_LENGTH long.
std::string cleanText(std::string_view bytes);

} // namespace mrb
