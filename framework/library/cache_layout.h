#pragma once

#include <string>

namespace mrb {

// The tables of the metadata cache, and the statements on them.

// Volume, path, size and time of change are the first columns of every table.
inline constexpr int KEY_COLUMNS = 4;

// WAL: another process may read while one writes, and a power cut may cost the last writes but
// never the file. 256 MiB hold the metadata of a million files.
inline constexpr const char *CACHE_SETTINGS[] = {
    "PRAGMA journal_mode = WAL",
    "PRAGMA synchronous = NORMAL",
    "PRAGMA max_page_count = 65536",
    "PRAGMA cell_size_check = ON",
};

// Creates missing tables and drops that of earlier readers. That table has another name, so that
// a program with those readers, running at the same time, neither reads nor writes this one.
std::string sqlOfTables();
std::string sqlOfDropMetadata();
std::string sqlOfFindMetadata();
std::string sqlOfStoreMetadata();
std::string sqlOfFindWritten();
std::string sqlOfDropWritten();
std::string sqlOfStoreWritten();

} // namespace mrb
