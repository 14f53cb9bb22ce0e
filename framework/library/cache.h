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

// Metadata and written fields on disk, shared by all processes of a user. When the
// file is damaged it is set aside and a new one begun; when there is no place to
// write to, metadata are kept in memory as long as the process lives, and fields
// cannot be written. Owned by the MediaLibrary. The framework's own threads call it, and
// clients' calls never do: it holds its lock for as long as SQLite, the disk and other
// processes take.
class MetadataCache final : public CacheStorage {
  public:
    // `folder` is made when it is first needed; empty: no place on disk.
    explicit MetadataCache(std::string folder);
    ~MetadataCache() override;
    MetadataCache(const MetadataCache &) = delete;
    MetadataCache &operator=(const MetadataCache &) = delete;

    // What is known of the file; nothing when it was never read nor written to.
    std::shared_ptr<const MediaRecord> find(const MediaKey &key);

    // The same through a connection of its own, which no write holds up.
    CacheAnswer lookUp(const MediaKey &key) override;
    Status store(std::span<const FileFacts> files) override;
    Status write(const MediaKey &key, const WrittenFields &fields) override;

    // Closes the file; the next call opens it again.
    void close();

    // The folder that the environment names: MRB_CACHE_FOLDER, or mrb in
    // XDG_CACHE_HOME or ~/.cache. Empty when it names none.
    static std::string folderOfEnvironment();

    // The file's name in its folder; another layout has another name.
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
    void dropFacts() noexcept;

    const std::string folder_;
    // How often the file was opened; another one may have taken its place.
    std::atomic<unsigned> openings_ = 0;
    std::atomic<bool> isInMemory_;

    std::mutex lookingUp_; // guards what follows; comes before lock_
    std::unique_ptr<CacheConnection> reader_;
    unsigned readerOpening_ = 0; // of openings_, when the reader was opened
    std::int64_t readerVersion_ = 0;

    std::mutex lock_; // guards what follows
    std::unique_ptr<CacheConnection> connection_;
    bool isOnDisk_ = false;
    // Another process held the file: then it is tried again.
    std::optional<std::chrono::steady_clock::time_point> tryAgainAt_;
    // What was asked for last, since a list is read through more than once.
    std::unordered_map<std::string, std::shared_ptr<const MediaRecord>> recent_;
    std::int64_t version_ = 0; // of the file as other connections change it
};

} // namespace mrb
