#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "base/mount_identity.h"
#include "base/result.h"
#include "metadata/cache.h"
#include "metadata/read_metadata.h"

namespace mrb {

// One item, as a list knows it.
struct MediaItem {
    std::string path; // absolute, the exact bytes; empty: no file of this machine
    std::string name; // its file name
    MediaKey key;
    std::optional<Metadata> told = {}; // what its source says of it
    // On which its folder has to be for it to be read; not known: on any.
    MountIdentity mount = {};

    // False: nothing can be known of it.
    [[nodiscard]] bool isKnown() const { return told || !path.empty(); }
};

// The metadata of all items that this process asks about: of a file from the cache, and
// from the file itself the first time; what it does not say, and of what is no file all,
// from the source. Owned by the Framework; any thread may call it, and
// the lock is never held while a file is read.
class MediaLibrary {
  public:
    explicit MediaLibrary(std::string folder = MetadataCache::folderOfEnvironment(),
                          ReadMetadata &reader = readMetadata)
        : cache_(std::move(folder)), reader_(reader) {}

    // What is known of the item, whose file is read when it was not before.
    Outcome read(const MediaItem &item, std::shared_ptr<const MediaRecord> &record);

    // The same without reading the file.
    std::shared_ptr<const MediaRecord> known(const MediaItem &item);

    // Calls `take` with the record of each item of which something can be known, in order; of a file that
    // cannot be read, with what is known of it. What is read is kept in batches. False: `stopped`, which is
    // asked while each item is read, became true.
    bool readAll(std::int32_t items, const std::function<MediaItem(std::int32_t)> &itemAt,
                 const std::function<bool()> &stopped,
                 const std::function<void(std::int32_t, const MediaRecord &)> &take);

    // Keeps fields that a client wrote.
    Outcome write(const MediaItem &item, const WrittenFields &fields) {
        return cache_.write(item.key, fields);
    }

    void close() { cache_.close(); }

  private:
    Outcome readFile(const MediaItem &item, std::shared_ptr<const MediaRecord> &record);

    MetadataCache cache_;
    ReadMetadata &reader_;
};

} // namespace mrb
