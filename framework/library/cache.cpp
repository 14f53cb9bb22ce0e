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

constexpr std::size_t MOST_RECENT = 1024;
// How long another process may have its turn, and how often it is looked whether it still has.
constexpr auto LONGEST_TURN = std::chrono::seconds(2);
constexpr auto BETWEEN_TRIES = std::chrono::milliseconds(5);
// When a file that another process held is tried again.
constexpr auto TIME_OF_ANOTHER = std::chrono::seconds(5);

std::string variable(const char *name) {
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

Status failed(const DatabaseError &failure) {
    return {failure.isBusy() ? MRB_ERR_BUSY : MRB_ERR_IO,
            std::string("Something cannot be kept: ") + failure.what()};
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
    // A relative path there is to be ignored, says the XDG base directory standard.
    if (const std::string folder = variable("XDG_CACHE_HOME"); folder.starts_with('/')) {
        return folder + "/mrb";
    }
    const std::string home = variable("HOME");
    return home.starts_with('/') ? home + "/.cache/mrb" : "";
}

// While another process holds the file, the database in memory stands in for it.
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

// Of several processes, one at a time begins the file or sets it aside: SQLite does
// not wait for the others there. Let go with the descriptor; without a place to write
// to, there is nothing to be taken turns at.
Descriptor MetadataCache::takeTurn() const {
    Descriptor turn(::open((folder_ + "/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    const auto last = steady_clock::now() + LONGEST_TURN;
    if (turn && lockFile(turn.number(), last, BETWEEN_TRIES) == EWOULDBLOCK) {
        throw DatabaseError::busy("another process does not let go of its lock");
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
    // Tells who is trusted with the names of somebody's files.
    chmod(path.c_str(), S_IRUSR | S_IWUSR);
}

// Moves the file out of the way, in this process's turn. Of several that find it
// damaged, one does, and the others must not move the new one.
void MetadataCache::setAside(const std::string &why) {
    connection_.reset();
    const std::string path = file();
    try {
        if (CacheConnection(path, Database::Role::WRITER).isSound()) {
            return;
        }
    } catch (const std::exception &) { // NOLINT(bugprone-empty-catch): it is damaged, as we were told
    }
    const std::string aside = path + ".damaged";
    if (std::rename(path.c_str(), aside.c_str()) == 0) {
        MRB_LOG_WARNING("The metadata cache %s is damaged (%s); it is now %s, and a new one is begun.",
                        path.c_str(), why.c_str(), aside.c_str());
    }
    for (const char *companion : {"-wal", "-shm", "-journal"}) {
        std::remove((path + companion).c_str());
    }
}

// Runs `work` with the database open; once more with a new one when the old turns
// out to be damaged. With the lock held.
template <typename Work>
auto MetadataCache::withConnection(Work &&work) {
    open();
    try {
        return work();
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
    return work();
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
    const std::lock_guard guard(lock_);
    try {
        return withConnection([&] { return read(key); });
    } catch (const DatabaseError &failure) {
        MRB_LOG_WARNING("The metadata cache cannot be read: %s", failure.what());
        return std::make_shared<MediaRecord>();
    }
}

// Whatever the reader cannot do, but to wait, is left to the writer: it creates the file, and
// sets a damaged one aside.
CacheAnswer MetadataCache::lookUp(const MediaKey &key) {
    const std::lock_guard guard(lookingUp_);
    if (!isInMemory_) {
        try {
            CacheAnswer answer{nullptr, true, false};
            const unsigned opening = openings_;
            if (!reader_ || readerOpening_ != opening) {
                reader_ = std::make_unique<CacheConnection>(file(), Database::Role::READER);
                readerOpening_ = opening;
                answer.othersChanged = true;
            }
            const std::int64_t version = reader_->version();
            answer.othersChanged = answer.othersChanged || version != readerVersion_;
            readerVersion_ = version;
            answer.record = std::make_shared<MediaRecord>(reader_->read(key));
            return answer;
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
    if (recent_.size() >= MOST_RECENT) {
        recent_.clear();
    }
    recent_.insert_or_assign(text, record);
    return record;
}

Status MetadataCache::store(std::span<const FileFacts> files) {
    if (files.empty()) {
        return {};
    }
    const std::lock_guard guard(lock_);
    try {
        withConnection([&] {
            connection_->store(files);
            for (const auto &[key, facts] : files) {
                recent_.erase(textOf(key));
            }
        });
        return {};
    } catch (const DatabaseError &failure) {
        MRB_LOG_WARNING("Metadata of %zu files are not kept: %s", files.size(), failure.what());
        if (failure.isFull()) {
            dropFacts();
        }
        return failed(failure);
    }
}

// All of them can be read again from the files; what clients wrote stays.
void MetadataCache::dropFacts() noexcept {
    try {
        connection_->dropFacts();
    } catch (const std::exception &failure) {
        MRB_LOG_WARNING("The metadata cache cannot be emptied: %s", failure.what());
    }
}

Status MetadataCache::write(const MediaKey &key, const WrittenFields &fields) {
    const std::lock_guard guard(lock_);
    try {
        return withConnection([&]() -> Status {
            if (tryAgainAt_) {
                return Status::busy("Fields cannot be written: another process holds the cache.");
            }
            if (!isOnDisk_) {
                return Status::permissionDenied(
                    "Fields are not written: there is no folder to keep them in.");
            }
            connection_->write(key, fields);
            recent_.erase(textOf(key));
            return {};
        });
    } catch (const DatabaseError &failure) {
        return failed(failure);
    }
}

void MetadataCache::close() {
    const std::scoped_lock guard(lookingUp_, lock_);
    reader_.reset();
    connection_.reset();
    recent_.clear();
}

} // namespace mrb
