#include "library/cache.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "base/file_lock.h"
#include "base/log.h"
#include "library/cache_connection.h"

namespace mrb {
namespace {

using std::chrono::steady_clock;

constexpr std::size_t MAX_RECENT = 1024;
// The timeout for the lock that another process holds, and the interval at which it is tried.
constexpr auto LOCK_TIMEOUT = std::chrono::seconds(2);
constexpr auto BETWEEN_TRIES = std::chrono::milliseconds(5);
// The delay before a file that another process held is tried again.
constexpr auto TIME_OF_ANOTHER = std::chrono::seconds(5);

std::string variable(const char *name) {
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

Status failed(const DatabaseError &failure) {
    return {failure.isBusy() ? MRB_ERR_BUSY : MRB_ERR_IO,
            std::string("The metadata cache cannot be written: ") + failure.what()};
}

} // namespace

std::string textOf(const MediaKey &key) {
    std::string text = key.volume;
    text.append(1, '\0').append(key.path).append(1, '\0');
    return text.append(std::to_string(key.size)).append(1, '/').append(std::to_string(key.modified));
}

MetadataCache::MetadataCache(std::string folder) : folder_(std::move(folder)), isInMemory_(folder_.empty()) {}

MetadataCache::~MetadataCache() = default;

std::string MetadataCache::folderOfEnvironment() {
    if (std::string folder = variable("MRB_CACHE_FOLDER"); !folder.empty()) {
        return folder;
    }
    // The XDG base directory standard says that a relative path is to be ignored.
    if (const std::string folder = variable("XDG_CACHE_HOME"); folder.starts_with('/')) {
        return folder + "/mrb";
    }
    const std::string home = variable("HOME");
    return home.starts_with('/') ? home + "/.cache/mrb" : "";
}

// While another process holds the file, a database in memory replaces it.
void MetadataCache::open() {
    if (connection_ && !(tryAgainAt_ && steady_clock::now() >= *tryAgainAt_)) {
        return;
    }
    tryAgainAt_.reset();
    recent_.clear();
    isOnDisk_ = false;
    if (!folder_.empty()) {
        try {
            openFile();
            isOnDisk_ = true;
            isInMemory_ = false;
            ++openings_;
            return;
        } catch (const DatabaseError &failure) {
            if (failure.isBusy()) {
                tryAgainAt_ = steady_clock::now() + TIME_OF_ANOTHER;
            }
            MRB_LOG_WARNING("Metadata are kept in memory only, %s cannot be used: %s", folder_.c_str(),
                            failure.what());
        }
    }
    connection_ = std::make_unique<CacheConnection>("", Database::Role::WRITER);
    isInMemory_ = true;
}

// One process at a time creates the file or sets it aside: SQLite does not wait for other
// processes while that happens. The lock is released with the descriptor. Where no file can be
// written, there is nothing to lock.
Descriptor MetadataCache::takeTurn() const {
    Descriptor turn(::open((folder_ + "/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    const auto last = steady_clock::now() + LOCK_TIMEOUT;
    if (turn && lockFile(turn.fd(), last, BETWEEN_TRIES) == EWOULDBLOCK) {
        throw DatabaseError::busy("another process does not release its lock");
    }
    return turn;
}

void MetadataCache::openFile() {
    std::error_code ignored;
    std::filesystem::create_directories(folder_, ignored);
    const std::string path = file();
    const Descriptor turn = takeTurn();
    try {
        connection_ = std::make_unique<CacheConnection>(path, Database::Role::WRITER);
    } catch (const DatabaseError &failure) {
        if (!failure.isDamage()) {
            throw;
        }
        setAside(failure.what());
        connection_ = std::make_unique<CacheConnection>(path, Database::Role::WRITER);
    }
    // Only the user may read it: it holds the names of the user's files.
    chmod(path.c_str(), S_IRUSR | S_IWUSR);
}

// Renames the damaged file, with the lock held. Of several processes that find it damaged, one
// renames it, and the others must not rename the new one.
void MetadataCache::setAside(const std::string &why) {
    connection_.reset();
    const std::string path = file();
    try {
        if (CacheConnection(path, Database::Role::WRITER).isSound()) {
            return;
        }
    } catch (const std::exception &) { // NOLINT(bugprone-empty-catch): the damage is known already
    }
    const std::string aside = path + ".damaged";
    if (std::rename(path.c_str(), aside.c_str()) == 0) {
        MRB_LOG_WARNING("The metadata cache %s is damaged (%s); it is now %s, and a new one is created.",
                        path.c_str(), why.c_str(), aside.c_str());
    }
    for (const char *companion : {"-wal", "-shm", "-journal"}) {
        std::remove((path + companion).c_str());
    }
}

// Calls it once more with a new database when the old one turns out to be damaged.
template <typename Work, typename... Arguments>
auto MetadataCache::withConnection(Work work, const Arguments &...arguments) {
    open();
    try {
        return (this->*work)(arguments...);
    } catch (const DatabaseError &failure) {
        if (!isOnDisk_ || !failure.isDamage()) {
            throw;
        }
        {
            const Descriptor turn = takeTurn();
            setAside(failure.what());
        }
        open();
    }
    return (this->*work)(arguments...);
}

void MetadataCache::forgetIfChanged() {
    if (!isOnDisk_) {
        return;
    }
    const std::int64_t version = connection_->version();
    if (version != version_) {
        version_ = version;
        recent_.clear();
    }
}

std::shared_ptr<const MediaRecord> MetadataCache::find(const MediaKey &key) {
    const MutexLock guard(lock_);
    try {
        return withConnection(&MetadataCache::read, key);
    } catch (const DatabaseError &failure) {
        MRB_LOG_WARNING("The metadata cache cannot be read: %s", failure.what());
        return std::make_shared<MediaRecord>();
    }
}

// Any failure of the reader other than a timeout is handled by the writer, which creates the file
// and sets a damaged one aside.
CacheResult MetadataCache::lookUp(const MediaKey &key) {
    const MutexLock guard(lookingUp_);
    if (!isInMemory_) {
        try {
            CacheResult result{nullptr, true, false};
            const unsigned opening = openings_;
            if (!reader_ || readerOpening_ != opening) {
                reader_ = std::make_unique<CacheConnection>(file(), Database::Role::READER);
                readerOpening_ = opening;
                result.othersChanged = true;
            }
            const std::int64_t version = reader_->version();
            result.othersChanged = result.othersChanged || version != readerVersion_;
            readerVersion_ = version;
            result.record = std::make_shared<MediaRecord>(reader_->read(key));
            return result;
        } catch (const DatabaseError &failure) {
            reader_.reset();
            if (failure.isBusy()) {
                return {nullptr, false, true};
            }
        }
    }
    return {find(key), false, true};
}

std::shared_ptr<const MediaRecord> MetadataCache::read(const MediaKey &key) {
    forgetIfChanged();
    const std::string text = textOf(key);
    if (const auto found = recent_.find(text); found != recent_.end()) {
        return found->second;
    }
    auto record = std::make_shared<MediaRecord>(connection_->read(key));
    if (recent_.size() >= MAX_RECENT) {
        recent_.clear();
    }
    recent_.insert_or_assign(text, record);
    return record;
}

void MetadataCache::storeFiles(std::span<const FileMetadata> files) {
    connection_->store(files);
    for (const auto &[key, metadata] : files) {
        recent_.erase(textOf(key));
    }
}

Status MetadataCache::store(std::span<const FileMetadata> files) {
    if (files.empty()) {
        return {};
    }
    const MutexLock guard(lock_);
    try {
        withConnection(&MetadataCache::storeFiles, files);
        return {};
    } catch (const DatabaseError &failure) {
        MRB_LOG_WARNING("Metadata of %zu files are not kept: %s", files.size(), failure.what());
        if (failure.isFull()) {
            dropMetadata();
        }
        return failed(failure);
    }
}

// Metadata can be read from the files again; fields that clients wrote stay.
void MetadataCache::dropMetadata() noexcept {
    try {
        connection_->dropMetadata();
    } catch (const std::exception &failure) {
        MRB_LOG_WARNING("The metadata cache cannot be emptied: %s", failure.what());
    }
}

Status MetadataCache::writeFields(const MediaKey &key, const WrittenFields &fields) {
    if (tryAgainAt_) {
        return Status::busy("Fields cannot be written: another process holds the cache.");
    }
    if (!isOnDisk_) {
        return Status::permissionDenied("Fields are not written: there is no folder to keep them in.");
    }
    connection_->write(key, fields);
    recent_.erase(textOf(key));
    return {};
}

Status MetadataCache::write(const MediaKey &key, const WrittenFields &fields) {
    const MutexLock guard(lock_);
    try {
        return withConnection(&MetadataCache::writeFields, key, fields);
    } catch (const DatabaseError &failure) {
        return failed(failure);
    }
}

void MetadataCache::close() {
    const MutexLock noLookup(lookingUp_);
    const MutexLock guard(lock_);
    reader_.reset();
    connection_.reset();
    recent_.clear();
}

} // namespace mrb
