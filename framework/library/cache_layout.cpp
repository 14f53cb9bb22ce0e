#include "library/cache_layout.h"

#include <array>

#include "metadata/metadata.h"

namespace mrb {
namespace {

// The table of the metadata. When columns are added, removed or reordered, or when the readers
// return other values for the same files, it gets another name, and the old table is dropped.
// What clients wrote is in another table and stays.
constexpr const char *TABLE = "facts_2";
constexpr const char *EARLIER_METADATA = "DROP TABLE IF EXISTS facts;";

// The columns, in the order of Fact.
constexpr std::array<const char *, METADATA_KEYS> COLUMNS = {
    "mime_type", "format",   "title",         "artist",         "album",       "genre",         "year",
    "track",     "tracks",   "has_cover",     "duration",       "bitrate",     "sample_rate",   "sample_bits",
    "width",     "height",   "aspect_ratio",  "orientation",    "date_taken",  "exposure_time", "f_number",
    "iso",       "model",    "latitude",      "longitude",      "altitude",    "video_codec",   "audio_codec",
    "language",  "synopsis", "has_subtitles", "has_only_sound", "is_encrypted"};

// Without a type, so that SQLite returns values unconverted.
std::string columns(const char *separator) {
    std::string list;
    for (const char *column : COLUMNS) {
        list.append(separator).append(column);
    }
    return list;
}

constexpr const char *KEY = "volume TEXT NOT NULL, path BLOB NOT NULL, size INTEGER NOT NULL, "
                            "modified INTEGER NOT NULL";
constexpr const char *IS_KEY = " WHERE volume = ?1 AND path = ?2 AND size = ?3 AND modified = ?4";

} // namespace

std::string sqlOfTables() {
    return std::string(EARLIER_METADATA) + "CREATE TABLE IF NOT EXISTS " + TABLE + " (" + KEY +
           columns(", ") +
           ", PRIMARY KEY (volume, path)) WITHOUT ROWID;"
           "CREATE TABLE IF NOT EXISTS written (" +
           KEY + ", field TEXT NOT NULL, value, PRIMARY KEY (volume, path, field)) WITHOUT ROWID;";
}

std::string sqlOfFindMetadata() { return "SELECT " + columns(", ").substr(2) + " FROM " + TABLE + IS_KEY; }

std::string sqlOfDropMetadata() { return std::string("DELETE FROM ") + TABLE; }

std::string sqlOfStoreMetadata() {
    std::string places = "?1, ?2, ?3, ?4";
    for (std::size_t property = 0; property < METADATA_KEYS; ++property) {
        places += ", ?" + std::to_string(property + KEY_COLUMNS + 1);
    }
    return std::string("REPLACE INTO ") + TABLE + " (volume, path, size, modified" + columns(", ") +
           ") VALUES (" + places + ")";
}

std::string sqlOfFindWritten() { return std::string("SELECT field, value FROM written") + IS_KEY; }

std::string sqlOfDropWritten() {
    return "DELETE FROM written WHERE volume = ?1 AND path = ?2 AND (size <> ?3 OR modified <> ?4)";
}

std::string sqlOfStoreWritten() {
    return "REPLACE INTO written (volume, path, size, modified, field, value) VALUES (?1, ?2, ?3, ?4, ?5, "
           "?6)";
}

} // namespace mrb
