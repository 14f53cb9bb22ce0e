#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "library/cache_storage.h"
#include "library/database.h"

namespace mrb {

// The open database of the cache, with its prepared statements. Owned by the MetadataCache, which
// uses it on one thread at a time. Failures of SQLite are thrown as DatabaseError.
class CacheConnection {
  public:
    // A writer creates missing tables; for an empty path the database is in memory. For a reader
    // a file without them is an error.
    CacheConnection(const std::string &path, Database::Role role);

    // Changes when another connection has changed the file.
    std::int64_t version();

    MediaRecord read(const MediaKey &key);

    // For writers. Each is one transaction.
    void store(std::span<const FileMetadata> files);
    void write(const MediaKey &key, const WrittenFields &fields);
    void dropMetadata();

    // The result of quick_check on the file's contents.
    bool isSound();

  private:
    template <typename Work>
    void inTransaction(Work &&work);

    Database database_;
    std::optional<Statement> findMetadata_;
    std::optional<Statement> findWritten_;
    std::optional<Statement> fileVersion_;
    // For writers.
    std::optional<Statement> storeMetadata_;
    std::optional<Statement> dropWritten_;
    std::optional<Statement> storeWritten_;
};

} // namespace mrb
