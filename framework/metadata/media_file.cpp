#include "metadata/media_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace mrb {

Outcome MediaFile::open(const std::string &path) {
    // Without blocking: a pipe under a media file's name must not hold us.
    file_ = Descriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat facts {};
    if (!file_ || fstat(file_.number(), &facts) != 0) {
        return outcomeOfErrno(errno, path);
    }
    if (!S_ISREG(facts.st_mode)) {
        return {MRB_ERR_NOT_SUPPORTED, "\"" + path + "\" is not a regular file."};
    }
    size_ = facts.st_size;
    modified_ = facts.st_mtim.tv_sec;
    left_ = MOST_BYTES;
    deadline_ = std::chrono::steady_clock::now() + LONGEST_TIME;
    return {};
}

bool MediaFile::isExhausted() const {
    return left_ <= 0 || failed_ || isStopped() || std::chrono::steady_clock::now() >= deadline_;
}

std::size_t MediaFile::read(std::int64_t offset, void *buffer, std::size_t length) {
    if (offset < 0 || offset >= size_ || isExhausted()) {
        return 0;
    }
    const auto most = static_cast<std::size_t>(std::min(left_, size_ - offset));
    length = std::min(length, most);
    std::size_t have = 0;
    while (have < length) {
        const ssize_t got = pread(file_.number(), static_cast<char *>(buffer) + have, length - have,
                                  offset + static_cast<std::int64_t>(have));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            failed_ = got < 0;
            break;
        }
        have += static_cast<std::size_t>(got);
    }
    left_ -= static_cast<std::int64_t>(have);
    return have;
}

std::string MediaFile::read(std::int64_t offset, std::size_t length) {
    if (offset < 0 || offset >= size_) {
        return {};
    }
    // Never more memory than the file has bytes, whatever it claims.
    length =
        static_cast<std::size_t>(std::min<std::int64_t>(static_cast<std::int64_t>(length), size_ - offset));
    std::string bytes(length, '\0');
    bytes.resize(read(offset, bytes.data(), length));
    return bytes;
}

} // namespace mrb
