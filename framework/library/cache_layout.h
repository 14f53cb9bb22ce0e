#pragma once

#include <string>

namespace mrb {

// The tables of the metadata cache, and what is done with them.

// Volume, path, size and time of change come first everywhere.
inline constexpr int KEY_COLUMNS = 4;

// Another process may read while one writes; a power cut may cost the last writes,
// never the file. 256 MiB are the facts of a million files.
inline constexpr const char *CACHE_SETTINGS[] = {
    "PRAGMA journal_mode = WAL",
    "PRAGMA synchronous = NORMAL",
    "PRAGMA max_page_count = 65536",
    "PRAGMA cell_size_check = ON",
};

// Makes them where they are missing. What earlier readers found goes: its table has
// another name, so that a program with those readers, running at the same time, neither
// takes nor leaves anything here.
std::string sqlOfTables();
std::string sqlOfDropFacts();
std::string sqlOfFindFacts();
std::string sqlOfStoreFacts();
std::string sqlOfFindWritten();
std::string sqlOfDropWritten();
std::string sqlOfStoreWritten();

} // namespace mrb
