#include "thumbnail/flash_cache.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <set>
#include <utility>

#include "base/file_lock.h"
#include "base/log.h"
#include "thumbnail/flash_picture.h"

namespace mrb::thumbnail {
namespace {

using Kind = FlashLine::Kind;
using std::chrono::steady_clock;

// The timeout for the lock that another process holds, the interval at which it is tried, and how
// long later calls do not wait for it after a timeout.
constexpr auto LOCK_TIMEOUT = std::chrono::seconds(1);
constexpr auto BETWEEN_TRIES = std::chrono::milliseconds(1);
constexpr auto TIME_OF_ANOTHER = std::chrono::seconds(5);

// The list is rewritten when it has this many obsolete lines more than entries.
constexpr std::size_t SPARE_LINES = 256;

FileIdentity identityOf(const std::string &path) {
    struct stat fileStat {};
    if (stat(path.c_str(), &fileStat) != 0) {
        return {};
    }
    return {fileStat.st_size,
            std::int64_t{fileStat.st_mtim.tv_sec} * 1'000'000'000 + fileStat.st_mtim.tv_nsec};
}

bool writeAt(int file, const std::string &text, std::int64_t offset) {
    return pwrite(file, text.data(), text.size(), offset) == static_cast<ssize_t>(text.size());
}

} // namespace

// Holds the lock that all processes use; other processes do not change the cache during its life.
class FlashCache::Turn {
  public:
    explicit Turn(FlashCache &cache) MRB_REQUIRES(cache.lock_) : file_(cache.turns_.fd()) {
        const auto began = steady_clock::now();
        const auto last = began < cache.heldUntil_ ? began : began + LOCK_TIMEOUT;
        const int error = lockFile(file_, last, BETWEEN_TRIES);
        hasCome_ = error == 0;
        if (error == EWOULDBLOCK) {
            cache.heldUntil_ = steady_clock::now() + TIME_OF_ANOTHER;
        }
    }
    ~Turn() {
        if (hasCome_) {
            unlockFile(file_);
        }
    }
    Turn(const Turn &) = delete;
    Turn &operator=(const Turn &) = delete;

    explicit operator bool() const { return hasCome_; }

  private:
    int file_;
    bool hasCome_ = false;
};

Status FlashCache::open(const std::string &list) {
    const MutexLock guard(lock_);
    std::error_code error;
    std::filesystem::create_directories(list + ".d", error);
    Descriptor turns(::open((list + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    if (error || !turns) {
        return Status::ofErrno(error ? error.value() : errno, list);
    }
    list_ = list;
    turns_ = std::move(turns);
    journal_ = Descriptor();
    heldUntil_ = {};
    const Turn turn(*this);
    if (!turn) {
        turns_ = Descriptor();
        return Status::busy("\"" + list + "\" is locked by another program.");
    }
    if (!refresh()) {
        Status status = Status::ofErrno(errno, list);
        turns_ = Descriptor();
        return status;
    }
    return {};
}

std::string FlashCache::pictureOf(std::uint64_t id) const {
    return list_ + ".d/" + std::to_string(id) + ".bmp";
}

// Reads the lines that other processes wrote since this process last held the lock.
bool FlashCache::refresh() {
    struct stat fileStat {};
    const bool there = stat(list_.c_str(), &fileStat) == 0;
    if (!journal_ || !there || fileStat.st_ino != inode_ || fileStat.st_size < read_) {
        journal_ = Descriptor(::open(list_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
        if (!journal_ || fstat(journal_.fd(), &fileStat) != 0) {
            return false;
        }
        inode_ = fileStat.st_ino;
        entries_.clear();
        ids_.clear();
        uses_.clear();
        usedAt_.clear();
        bytes_ = 0;
        lines_ = 0;
        read_ = 0;
    }
    return fileStat.st_size == read_ || readFrom(read_);
}

bool FlashCache::readFrom(std::int64_t offset) {
    std::string text;
    char piece[64 << 10];
    ssize_t got = 0;
    while ((got = pread(journal_.fd(), piece, sizeof piece, offset)) > 0) {
        text.append(piece, static_cast<std::size_t>(got));
        offset += got;
    }
    if (got < 0) {
        return false;
    }
    // A crash truncated what follows the last line feed; the next line overwrites it.
    std::size_t at = 0;
    for (std::size_t end = 0; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
        ++lines_;
        if (auto line = readLine(std::string_view(text).substr(at, end - at))) {
            apply(std::move(*line));
        }
    }
    read_ += static_cast<std::int64_t>(at);
    return true;
}

void FlashCache::apply(FlashLine line) {
    const std::uint64_t id = line.entry.id;
    if (line.kind == Kind::REMOVED) {
        forget(id);
        return;
    }
    if (line.kind == Kind::ADDED) {
        forget(id);
        if (const auto same = ids_.find(line.entry.key); same != ids_.end()) {
            forget(same->second);
        }
        lastId_ = std::max(lastId_, id);
        bytes_ += line.entry.bytes();
        ids_[line.entry.key] = id;
        entries_[id] = std::move(line.entry);
    } else if (entries_.count(id) == 0) {
        return;
    }
    if (const auto used = usedAt_.find(id); used != usedAt_.end()) {
        uses_.erase(used->second);
    }
    uses_[++lastUse_] = id;
    usedAt_[id] = lastUse_;
}

void FlashCache::forget(std::uint64_t id) {
    const auto found = entries_.find(id);
    if (found == entries_.end()) {
        return;
    }
    bytes_ -= found->second.bytes();
    ids_.erase(found->second.key);
    uses_.erase(usedAt_[id]);
    usedAt_.erase(id);
    entries_.erase(found);
}

bool FlashCache::append(const FlashLine &line) {
    const std::string text = textOf(line);
    if (ftruncate(journal_.fd(), read_) != 0 || !writeAt(journal_.fd(), text, read_)) {
        return false;
    }
    read_ += static_cast<std::int64_t>(text.size());
    ++lines_;
    apply(line);
    return rewriteWhenLong();
}

bool FlashCache::remove(std::uint64_t id) {
    FlashLine line;
    line.kind = Kind::REMOVED;
    line.entry.id = id;
    const std::string picture = pictureOf(id);
    return append(line) && (unlink(picture.c_str()) == 0 || errno == ENOENT);
}

bool FlashCache::makeRoom(std::int64_t bytes) {
    while (!entries_.empty() && (bytes_ + bytes > limits_.bytes || entries_.size() >= limits_.entries)) {
        if (!remove(uses_.begin()->second)) {
            return false;
        }
    }
    return bytes <= limits_.bytes;
}

bool FlashCache::rewriteWhenLong() {
    if (lines_ <= 2 * entries_.size() + SPARE_LINES) {
        return true;
    }
    std::string text;
    for (const auto &[use, id] : uses_) {
        text += textOf({Kind::ADDED, entries_[id]});
    }
    const std::string unfinished = list_ + ".new";
    Descriptor file(::open(unfinished.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    struct stat fileStat {};
    if (!file || !writeAt(file.fd(), text, 0) || fdatasync(file.fd()) != 0 ||
        fstat(file.fd(), &fileStat) != 0 || std::rename(unfinished.c_str(), list_.c_str()) != 0) {
        return true; // the long list is still valid
    }
    journal_ = std::move(file);
    inode_ = fileStat.st_ino;
    read_ = fileStat.st_size;
    lines_ = entries_.size();
    return true;
}

void FlashCache::dropStrangers() {
    const MutexLock guard(lock_);
    const Turn turn(*this);
    if (!turn || !refresh()) {
        return;
    }
    std::set<std::string> known;
    for (const auto &[id, entry] : Entries(entries_)) {
        std::error_code error;
        const std::string picture = pictureOf(id);
        if (std::filesystem::file_size(picture, error) == static_cast<std::uintmax_t>(entry.bytes()) &&
            !error) {
            known.insert(picture);
        } else {
            remove(id);
        }
    }
    std::error_code error;
    for (const auto &file : std::filesystem::directory_iterator(list_ + ".d", error)) {
        if (known.count(file.path().string()) == 0) {
            std::filesystem::remove(file.path(), error);
        }
    }
}

bool FlashCache::save(FlashEntry entry, const unsigned char *pixels, const char *preset) {
    const MutexLock guard(lock_);
    if (!turns_) {
        return false;
    }
    const Turn turn(*this);
    if (!turn) {
        return false;
    }
    entry.preset = preset != nullptr;
    if (entry.source == FileIdentity()) {
        entry.source = identityOf(entry.key.path);
    }
    if (!refresh()) {
        return false;
    }
    if (const auto same = ids_.find(entry.key); same != ids_.end() && !remove(same->second)) {
        return false;
    }
    entry.id = lastId_ + 1;
    if (!makeRoom(entry.bytes()) ||
        !writeFlashPicture(pictureOf(entry.id), pixels, entry.width, entry.height, preset)) {
        MRB_LOG_WARNING("Thumbnail of \"%s\" not stored in %s.", entry.key.path.c_str(), list_.c_str());
        return false;
    }
    return append({Kind::ADDED, std::move(entry)});
}

bool FlashCache::find(const DecodeRequest &request, Decoded &decoded, const FileIdentity *now) {
    const MutexLock guard(lock_);
    if (!turns_ || request.frames != 1) {
        return false;
    }
    const Turn turn(*this);
    const FlashKey key{request.path, request.width, request.height, request.orientation, 1, 0};
    if (!turn || !refresh() || ids_.count(key) == 0) {
        return false;
    }
    const FlashEntry entry = entries_[ids_[key]];
    Image image;
    image.width = entry.width;
    image.height = entry.height;
    if ((now != nullptr ? *now : identityOf(request.path)) != entry.source ||
        !readFlashPicture(pictureOf(entry.id), image, entry.preset ? &decoded.preset : nullptr)) {
        decoded.preset.clear();
        remove(entry.id);
        return false;
    }
    decoded.source = entry.source;
    decoded.originalWidth = entry.whole ? entry.width : 0;
    decoded.originalHeight = entry.whole ? entry.height : 0;
    decoded.images.push_back(std::move(image));
    if (uses_.rbegin()->second != entry.id) {
        FlashLine line;
        line.kind = Kind::USED;
        line.entry.id = entry.id;
        append(line);
    }
    return true;
}

} // namespace mrb::thumbnail
