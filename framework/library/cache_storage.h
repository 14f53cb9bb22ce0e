#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "base/result.h"
#include "metadata/metadata.h"

namespace mrb {

// Identifies the contents of a file: with another size or time, it is another file.
struct MediaKey {
    std::string volume; // the storage's id
    std::string path;   // below the storage's mount point; any bytes but zero
    std::int64_t size = 0;
    std::int64_t modified = 0; // seconds since 1970

    bool operator==(const MediaKey &) const = default;
};

// The key as one string, for looking it up in memory.
std::string textOf(const MediaKey &key);

// The fields that a client wrote, by name.
using WrittenFields = std::map<std::string, MetadataValue, std::less<>>;

// The metadata of one file, to be stored.
using FileMetadata = std::pair<MediaKey, Metadata>;

// What is known of a file: its metadata, once they were read, and the fields that clients wrote.
struct MediaRecord {
    bool isRead = false;
    bool isLate = false; // the cache did not answer in time: it may hold more
    Metadata metadata;
    WrittenFields written;
};

// The result of a lookup for a client.
struct CacheResult {
    std::shared_ptr<const MediaRecord> record; // null: not available now
    bool isLasting = false;                    // the record is valid until another answer has othersChanged
    bool othersChanged = false;
};

// The cache's storage. Each call takes as long as the disk and other processes do, so only the
// framework's own threads call it.
class CacheStorage {
  public:
    virtual ~CacheStorage() = default;

    // Does not wait for a write; one thread at a time.
    virtual CacheResult lookUp(const MediaKey &key) = 0;

    // Stores metadata, all or none. MRB_ERR_BUSY here and below: another process holds the cache,
    // and a retry may succeed. Any thread.
    virtual Status store(std::span<const FileMetadata> files) = 0;

    // Stores fields that a client wrote. Any thread.
    virtual Status write(const MediaKey &key, const WrittenFields &fields) = 0;
};

} // namespace mrb
