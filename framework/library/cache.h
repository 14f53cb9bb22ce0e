#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>

#include "base/descriptor.h"
#include "base/mutex.h"
#include "library/cache_storage.h"

namespace mrb {

class CacheConnection;

// Metadata and written fields on disk, shared by all processes of a user. A damaged file is set
// aside and replaced by a new one. Where no file can be written, metadata are kept in memory as
// long as the process lives, and fields cannot be written. Owned by the MediaLibrary. Only the
// framework's own threads call it, never clients' calls: it holds its lock for as long as SQLite,
// the disk and other processes take.
class MetadataCache final : public CacheStorage {
  public:
    // `folder` is created on first use; empty: no cache on disk.
    explicit MetadataCache(std::string folder);
    ~MetadataCache() override;
    MetadataCache(const MetadataCache &) = delete;
    MetadataCache &operator=(const MetadataCache &) = delete;

    // What is known of the file; an empty record when it was neither read nor written before.
    std::shared_ptr<const MediaRecord> find(const MediaKey &key) MRB_EXCLUDES(lock_);

    // The same through a connection of its own, which does not wait for writes.
    CacheResult lookUp(const MediaKey &key) override;
    Status store(std::span<const FileMetadata> files) override;
    Status write(const MediaKey &key, const WrittenFields &fields) override;

    // Closes the file; the next call opens it again.
    void close();

    // The folder from the environment: MRB_CACHE_FOLDER, or mrb in XDG_CACHE_HOME or ~/.cache.
    // Empty when none of them is set.
    static std::string folderOfEnvironment();

    // The file's name in its folder; another layout gets another name.
    static constexpr const char *FILE_NAME = "metadata-1.sqlite";

  private:
    // Calls a member function with the database open.
    template <typename Work, typename... Arguments>
    auto withConnection(Work work, const Arguments &...arguments) MRB_REQUIRES(lock_);
    [[nodiscard]] std::string file() const { return folder_ + '/' + FILE_NAME; }
    void open() MRB_REQUIRES(lock_);
    [[nodiscard]] Descriptor takeTurn() const;
    void openFile() MRB_REQUIRES(lock_);
    void setAside(const std::string &why) MRB_REQUIRES(lock_);
    std::shared_ptr<const MediaRecord> read(const MediaKey &key) MRB_REQUIRES(lock_);
    void storeFiles(std::span<const FileMetadata> files) MRB_REQUIRES(lock_);
    Status writeFields(const MediaKey &key, const WrittenFields &fields) MRB_REQUIRES(lock_);
    void forgetIfChanged() MRB_REQUIRES(lock_);
    void dropMetadata() noexcept MRB_REQUIRES(lock_);

    const std::string folder_;
    // How often the file was opened; another file may have replaced it.
    std::atomic<unsigned> openings_ = 0;
    std::atomic<bool> isInMemory_;

    Mutex lookingUp_ MRB_ACQUIRED_BEFORE(lock_);
    std::unique_ptr<CacheConnection> reader_ MRB_GUARDED_BY(lookingUp_);
    // The value of openings_ when the reader was opened.
    unsigned readerOpening_ MRB_GUARDED_BY(lookingUp_) = 0;
    std::int64_t readerVersion_ MRB_GUARDED_BY(lookingUp_) = 0;

    Mutex lock_;
    std::unique_ptr<CacheConnection> connection_ MRB_GUARDED_BY(lock_);
    bool isOnDisk_ MRB_GUARDED_BY(lock_) = false;
    // Set when another process held the file.
    std::optional<std::chrono::steady_clock::time_point> tryAgainAt_ MRB_GUARDED_BY(lock_);
    // The most recently used records, since a list is read through more than once.
    std::unordered_map<std::string, std::shared_ptr<const MediaRecord>> recent_ MRB_GUARDED_BY(lock_);
    // The file's data version, which other connections change.
    std::int64_t version_ MRB_GUARDED_BY(lock_) = 0;
};

} // namespace mrb
