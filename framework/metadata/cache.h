#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>

#include "base/descriptor.h"
#include "base/result.h"
#include "metadata/facts.h"

namespace mrb {

class Database;
class Statement;

// Names the contents of a file: another size or time, and it is another file.
struct MediaKey {
    std::string volume; // the storage's id
    std::string path;   // below the storage's mount place; any bytes but zero
    std::int64_t size = 0;
    std::int64_t modified = 0; // seconds since 1970

    bool operator==(const MediaKey &) const = default;
};

// The fields that a client wrote, by name.
using WrittenFields = std::map<std::string, FactValue, std::less<>>;

// What is known of a file: its metadata, once they were read, and the fields written.
struct MediaRecord {
    bool isRead = false;
    Metadata facts;
    WrittenFields written;
};

// Metadata and written fields on disk, shared by all processes of a user. When the
// file is damaged it is set aside and a new one begun; when there is no place to
// write to, metadata are kept in memory as long as the process lives, and fields
// cannot be written. Any thread may call it; a call holds the lock for as long as
// SQLite takes for one file, or for one batch of files.
class MetadataCache {
  public:
    // `folder` is made when it is first needed; empty: no place on disk.
    explicit MetadataCache(std::string folder);
    ~MetadataCache();
    MetadataCache(const MetadataCache &) = delete;
    MetadataCache &operator=(const MetadataCache &) = delete;

    // What is known of the file; nothing when it was never read nor written to.
    std::shared_ptr<const MediaRecord> find(const MediaKey &key);

    // Keeps metadata. What cannot be kept on disk is no failure: they are read again.
    void store(std::span<const std::pair<MediaKey, Metadata>> files);

    // Keeps fields that a client wrote.
    Outcome write(const MediaKey &key, const WrittenFields &fields);

    // Closes the file; the next call opens it again.
    void close();

    // The folder that the environment names: MRB_CACHE_FOLDER, or mrb in
    // XDG_CACHE_HOME or ~/.cache. Empty when it names none.
    static std::string folderOfEnvironment();

    // The file's name in its folder; another layout has another name.
    static constexpr const char *FILE_NAME = "metadata-1.sqlite";

  private:
    struct Connection;

    template <typename Work>
    auto withConnection(Work &&work);
    void open();
    [[nodiscard]] Descriptor takeTurn() const;
    void openFile();
    void setAside(const std::string &why);
    std::shared_ptr<const MediaRecord> read(const MediaKey &key);
    void forgetIfChanged();
    void dropFacts() noexcept;

    const std::string folder_;

    std::mutex lock_; // guards what follows
    std::unique_ptr<Connection> connection_;
    bool isOnDisk_ = false;
    // What was asked for last, since a script reads one field after the other.
    std::unordered_map<std::string, std::shared_ptr<const MediaRecord>> recent_;
    std::int64_t version_ = 0; // of the file as other processes change it
};

} // namespace mrb
