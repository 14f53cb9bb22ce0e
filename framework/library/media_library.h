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
// from the source. Owned by the Framework. Each member function says which thread calls it;
// those of clients do not wait for the cache.
class MediaLibrary {
  public:
    explicit MediaLibrary(std::string folder = MetadataCache::folderOfEnvironment(),
                          ReadMetadata &reader = readMetadata,
                          PromptCache::Limits limits = PromptCache::Limits())
        : cache_(std::move(folder)), promptly_(cache_, limits), reader_(reader) {}

    // Has the cache opened before a client asks; does not wait for it. Any thread.
    void prepare() { promptly_.prepare(); }

    // What is known of the item, whose file is read when it was not before. Any thread.
    Status read(const MediaItem &item, std::shared_ptr<const MediaRecord> &record);

    // The same without reading the file. Any thread.
    std::shared_ptr<const MediaRecord> known(const MediaItem &item);

    // Calls `take` with the record of each item of which something can be known, in order; of a file that
    // cannot be read, with what is known of it. What is read is kept in batches. False: it was
    // cancelled, which is asked while each item is read. A thread of the framework.
    bool readAll(std::int32_t items, const std::function<MediaItem(std::int32_t)> &itemAt,
                 const CancellationToken &cancellation,
                 const std::function<void(std::int32_t, const MediaRecord &)> &take);

    // Keeps fields that a client wrote, later if the cache cannot do it now. Any thread.
    Status write(const MediaItem &item, const WrittenFields &fields) {
        return promptly_.write(item.key, fields);
    }

    // The same at once, however long that takes. A thread of the framework.
    Status writeNow(const MediaItem &item, const WrittenFields &fields);

    // Keeps what is still to be kept. False: that was not over at the deadline. Later calls
    // of clients find nothing.
    bool finish(std::chrono::steady_clock::time_point deadline) { return promptly_.finish(deadline); }
    // Closes the cache, with which no thread is at work any more.
    void close() { cache_.close(); }

  private:
    Status readFile(const MediaItem &item, std::shared_ptr<const MediaRecord> &record);
    void store(std::span<const FileFacts> files);

    MetadataCache cache_;
    PromptCache promptly_; // the same for calls of clients
    ReadMetadata &reader_;
};

} // namespace mrb
