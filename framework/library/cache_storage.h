#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "base/result.h"
#include "metadata/facts.h"

namespace mrb {

// Names the contents of a file: another size or time, and it is another file.
struct MediaKey {
    std::string volume; // the storage's id
    std::string path;   // below the storage's mount place; any bytes but zero
    std::int64_t size = 0;
    std::int64_t modified = 0; // seconds since 1970

    bool operator==(const MediaKey &) const = default;
};

// One text for a key, for looking it up in memory.
std::string textOf(const MediaKey &key);

// The fields that a client wrote, by name.
using WrittenFields = std::map<std::string, FactValue, std::less<>>;

// The metadata of one file, to be kept.
using FileFacts = std::pair<MediaKey, Metadata>;

// What is known of a file: its metadata, once they were read, and the fields written.
struct MediaRecord {
    bool isRead = false;
    bool isLate = false; // the cache did not answer in time: it may know more
    Metadata facts;
    WrittenFields written;
};

// What is looked up for a client.
struct CacheAnswer {
    std::shared_ptr<const MediaRecord> record; // null: it cannot be known now
    bool isLasting = false;                    // the record is valid until an answer says that others changed
    bool othersChanged = false;
};

// Where the cache keeps what it knows. Each call takes as long as the disk and other
// processes do, so it is for the framework's own threads.
class CacheStorage {
  public:
    virtual ~CacheStorage() = default;

    // Does not wait for a write; one thread at a time.
    virtual CacheAnswer lookUp(const MediaKey &key) = 0;

    // Keeps metadata, all or none. MRB_ERR_BUSY here and below: another process holds the
    // cache, and the same may succeed later. Any thread.
    virtual Status store(std::span<const FileFacts> files) = 0;

    // Keeps fields that a client wrote. Any thread.
    virtual Status write(const MediaKey &key, const WrittenFields &fields) = 0;
};

} // namespace mrb
