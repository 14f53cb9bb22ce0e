#include "metadata/media_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace mrb {

Status MediaFile::open(const std::string &path) { return openIn(AT_FDCWD, path.c_str(), path); }

Status MediaFile::openIn(int folder, const char *name, const std::string &path) {
    // Non-blocking: a pipe with a media file's name must not block us.
    file_ = Descriptor(openat(folder, name, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (!file_ || fstat(file_.fd(), &status) != 0) {
        return Status::ofErrno(errno, path);
    }
    if (!S_ISREG(status.st_mode)) {
        return Status::notSupported("\"" + path + "\" is not a regular file.");
    }
    begin(status.st_size, status.st_mtim.tv_sec);
    return {};
}

void MediaFile::open(std::unique_ptr<MediaBytes> bytes) {
    bytes_ = std::move(bytes);
    begin(bytes_->size(), bytes_->modified());
}

void MediaFile::begin(std::int64_t size, std::int64_t modified) {
    size_ = size;
    modified_ = modified;
    left_ = MAX_BYTES;
    deadline_ = std::chrono::steady_clock::now() + TIMEOUT;
}

bool MediaFile::isExhausted() const {
    return left_ <= 0 || failed_ || isCancelled() || std::chrono::steady_clock::now() >= deadline_;
}

std::size_t MediaFile::read(std::int64_t offset, void *buffer, std::size_t length) {
    if (offset < 0 || offset >= size_ || left_ <= 0) {
        return 0;
    }
    const auto maximum = static_cast<std::size_t>(std::min(left_, size_ - offset));
    length = std::min(length, maximum);
    std::size_t have = 0;
    while (have < length && !isExhausted()) {
        const std::int64_t got = readPiece(offset + static_cast<std::int64_t>(have),
                                           static_cast<char *>(buffer) + have, length - have);
        if (got <= 0) {
            failed_ = got < 0;
            break;
        }
        have += static_cast<std::size_t>(got);
    }
    left_ -= static_cast<std::int64_t>(have);
    return have;
}

std::int64_t MediaFile::readPiece(std::int64_t offset, char *buffer, std::size_t length) {
    if (bytes_) {
        std::size_t got = 0;
        return bytes_->read(offset, buffer, length, got) ? static_cast<std::int64_t>(got) : -1;
    }
    ssize_t got = 0;
    do {
        got = pread(file_.fd(), buffer, length, offset);
    } while (got < 0 && errno == EINTR);
    return got;
}

std::string MediaFile::read(std::int64_t offset, std::size_t length) {
    if (offset < 0 || offset >= size_) {
        return {};
    }
    // Never more memory than the file has bytes, whatever length it claims.
    length =
        static_cast<std::size_t>(std::min<std::int64_t>(static_cast<std::int64_t>(length), size_ - offset));
    std::string bytes(length, '\0');
    bytes.resize(read(offset, bytes.data(), length));
    return bytes;
}

} // namespace mrb
