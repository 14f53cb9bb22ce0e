#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>

#include "base/descriptor.h"
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
    std::shared_ptr<const MediaRecord> find(const MediaKey &key);

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
    template <typename Work>
    auto withConnection(Work &&work);
    [[nodiscard]] std::string file() const { return folder_ + '/' + FILE_NAME; }
    void open();
    [[nodiscard]] Descriptor takeTurn() const;
    void openFile();
    void setAside(const std::string &why);
    std::shared_ptr<const MediaRecord> read(const MediaKey &key);
    void forgetIfChanged();
    void dropMetadata() noexcept;

    const std::string folder_;
    // How often the file was opened; another file may have replaced it.
    std::atomic<unsigned> openings_ = 0;
    std::atomic<bool> isInMemory_;

    std::mutex lookingUp_; // guards what follows; comes before lock_
    std::unique_ptr<CacheConnection> reader_;
    unsigned readerOpening_ = 0; // the value of openings_ when the reader was opened
    std::int64_t readerVersion_ = 0;

    std::mutex lock_; // guards what follows
    std::unique_ptr<CacheConnection> connection_;
    bool isOnDisk_ = false;
    // Set when another process held the file.
    std::optional<std::chrono::steady_clock::time_point> tryAgainAt_;
    // The most recently used records, since a list is read through more than once.
    std::unordered_map<std::string, std::shared_ptr<const MediaRecord>> recent_;
    std::int64_t version_ = 0; // the file's data version, which other connections change
};

} // namespace mrb
