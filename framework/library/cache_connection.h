#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "library/cache_storage.h"
#include "library/database.h"

namespace mrb {

// The cache's database, opened, with the statements that run on it. Owned by the
// MetadataCache, which uses it on one thread at a time. What SQLite cannot do is thrown as
// DatabaseError.
class CacheConnection {
  public:
    // A writer makes the tables where they are missing; for an empty path the database is in
    // memory. To a reader a file without them is an error.
    CacheConnection(const std::string &path, Database::Role role);

    // Another number than before: another connection has changed the file.
    std::int64_t version();

    MediaRecord read(const MediaKey &key);

    // For writers. Each keeps all of it or nothing.
    void store(std::span<const FileFacts> files);
    void write(const MediaKey &key, const WrittenFields &fields);
    void dropFacts();

    // What quick_check says of the file's contents.
    bool isSound();

  private:
    template <typename Work>
    void inTransaction(Work &&work);

    Database database_;
    std::optional<Statement> findFacts_;
    std::optional<Statement> findWritten_;
    std::optional<Statement> fileVersion_;
    // Of a writer.
    std::optional<Statement> storeFacts_;
    std::optional<Statement> dropWritten_;
    std::optional<Statement> storeWritten_;
};

} // namespace mrb
