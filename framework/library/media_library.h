#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "base/cancellation.h"
#include "base/mount_identity.h"
#include "base/result.h"
#include "library/cache.h"
#include "library/prompt_cache.h"
#include "metadata/read_metadata.h"

namespace mrb {

// One item, as its list knows it.
struct MediaItem {
    std::string path; // absolute, the exact bytes; empty: not a file of this machine
    std::string name; // its file name
    MediaKey key;
    std::optional<Metadata> sourceMetadata = {}; // the metadata that its source reported
    // The mount on which its folder has to be for it to be read; unknown: any mount.
    MountIdentity mount = {};

    // False: the item cannot have metadata.
    [[nodiscard]] bool isKnown() const { return sourceMetadata || !path.empty(); }
};

// The metadata of all items that this process reads. A file's come from the cache, the first time
// from the file itself; what the file lacks, and everything of an item that is not a file, comes
// from the source. Owned by the SessionManager. Each member function says which thread calls it; those
// for clients do not wait for the cache.
class MediaLibrary {
  public:
    explicit MediaLibrary(std::string folder = MetadataCache::folderOfEnvironment(),
                          ReadMetadata &reader = readMetadata,
                          PromptCache::Limits limits = PromptCache::Limits())
        : cache_(std::move(folder)), promptly_(cache_, limits), reader_(reader) {}

    // Opens the cache before a client's first call; does not wait for it. Any thread.
    void prepare() { promptly_.prepare(); }

    // The item's record; a file is read when it was not read before. Any thread.
    Status read(const MediaItem &item, std::shared_ptr<const MediaRecord> &record);

    // The same without reading the file. Any thread.
    std::shared_ptr<const MediaRecord> cachedRecord(const MediaItem &item);

    // Calls `take` with the record of each item that can have metadata, in order; for a file that
    // cannot be read, with what is known of it. New metadata are stored in batches. False:
    // it was cancelled, which is checked while each item is read. A thread of the framework.
    bool readAll(std::int32_t items, const std::function<MediaItem(std::int32_t)> &itemAt,
                 const CancellationToken &cancellation,
                 const std::function<void(std::int32_t, const MediaRecord &)> &take);

    // Stores fields that a client wrote, later if the cache is not available now. Any thread.
    Status write(const MediaItem &item, const WrittenFields &fields) {
        return promptly_.write(item.key, fields);
    }

    // The same synchronously, however long that takes. A thread of the framework.
    Status writeNow(const MediaItem &item, const WrittenFields &fields);

    // Completes pending writes. False: some were still pending at the deadline. Later calls of
    // clients find nothing.
    bool finish(std::chrono::steady_clock::time_point deadline) { return promptly_.finish(deadline); }
    // Closes the cache, which no thread uses any more.
    void close() { cache_.close(); }

  private:
    Status readFile(const MediaItem &item, std::shared_ptr<const MediaRecord> &record);
    void store(std::span<const FileMetadata> files);

    MetadataCache cache_;
    PromptCache promptly_; // the same for calls of clients
    ReadMetadata &reader_;
};

} // namespace mrb
