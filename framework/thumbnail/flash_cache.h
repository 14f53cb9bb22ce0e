#pragma once

#include <chrono>
#include <map>
#include <string>

#include "base/descriptor.h"
#include "base/mutex.h"
#include "thumbnail/flash_entry.h"

namespace mrb::thumbnail {

// The flash thumbnail cache: a list file and, in a folder next to it, one file for each image.
// Owned jointly by the FlashCacheOpener and the threads that use it; any thread of the framework may
// call it, and other processes may use the same list. Its lock is held while files are read and
// written, so a call that must not wait does not use it.
//
// The list is a journal that is only appended to, or replaced as a whole. An image's file is
// complete before its line is written, so a crash at any moment loses at most the image that was
// being added.
class FlashCache {
  public:
    struct Limits {
        std::int64_t bytes = std::int64_t{128} << 20; // of all images
        std::size_t entries = 8192;
    };

    FlashCache() = default;
    explicit FlashCache(Limits limits) : limits_(limits) {}
    FlashCache(const FlashCache &) = delete;
    FlashCache &operator=(const FlashCache &) = delete;

    // Opens the cache whose list is the file `list`, which is created with its folders when it
    // does not exist; a cache that was open before is closed. MRB_ERR_BUSY: another process holds
    // its lock.
    Status open(const std::string &list);

    // Removes entries without files, and files without entries: the leftovers of a crash.
    void dropStrangers();

    // Stores an image in place of one with the same key; the least recently used ones are evicted
    // for it. `entry.id` is assigned here. `pixels` are the entry's width x height x 4 bytes,
    // `preset` null or MRB_THUMB_PRESET_BYTES bytes. False: no cache is open, or the image could
    // not be written or is larger than the cache.
    bool save(FlashEntry entry, const unsigned char *pixels, const char *preset);

    // Finds the image for a request for a single one, unless the file has changed. `now`: the
    // file's current identity, where it is not a file of this machine.
    bool find(const DecodeRequest &request, Decoded &decoded, const FileIdentity *now = nullptr);

  private:
    class Turn;
    using Entries = std::map<std::uint64_t, FlashEntry>;

    [[nodiscard]] std::string pictureOf(std::uint64_t id) const MRB_REQUIRES(lock_);
    bool refresh() MRB_REQUIRES(lock_);
    bool readFrom(std::int64_t offset) MRB_REQUIRES(lock_);
    void apply(FlashLine line) MRB_REQUIRES(lock_);
    void forget(std::uint64_t id) MRB_REQUIRES(lock_);
    bool append(const FlashLine &line) MRB_REQUIRES(lock_);
    bool remove(std::uint64_t id) MRB_REQUIRES(lock_);
    bool makeRoom(std::int64_t bytes) MRB_REQUIRES(lock_);
    bool rewriteWhenLong() MRB_REQUIRES(lock_);

    const Limits limits_{};
    Mutex lock_;
    std::string list_ MRB_GUARDED_BY(lock_);
    // Until then no call waits for another process, which held it for too long.
    std::chrono::steady_clock::time_point heldUntil_ MRB_GUARDED_BY(lock_);
    Descriptor turns_ MRB_GUARDED_BY(lock_); // the file whose lock synchronizes processes
    Descriptor journal_ MRB_GUARDED_BY(lock_);
    std::uint64_t inode_ MRB_GUARDED_BY(lock_) = 0; // of the journal
    std::int64_t read_ MRB_GUARDED_BY(lock_) = 0;   // bytes of the journal that were read
    std::size_t lines_ MRB_GUARDED_BY(lock_) = 0;
    std::int64_t bytes_ MRB_GUARDED_BY(lock_) = 0; // of all images
    std::uint64_t lastId_ MRB_GUARDED_BY(lock_) = 0;
    std::uint64_t lastUse_ MRB_GUARDED_BY(lock_) = 0;
    Entries entries_ MRB_GUARDED_BY(lock_);
    std::map<FlashKey, std::uint64_t> ids_ MRB_GUARDED_BY(lock_);
    // Ids by last use, the oldest first, and the inverse.
    std::map<std::uint64_t, std::uint64_t> uses_ MRB_GUARDED_BY(lock_);
    std::map<std::uint64_t, std::uint64_t> usedAt_ MRB_GUARDED_BY(lock_);
};

} // namespace mrb::thumbnail
