#include "thumbnail/media_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "thumbnail/limits.h"

namespace mrb::thumbnail {
namespace {

// Between two pieces a reader checks for cancellation.
constexpr std::int64_t PIECE = 1 << 20;

} // namespace

Status MediaFile::open(const std::string &path) {
    // With O_NONBLOCK, since opening a pipe without a writer would block.
    file_ = Descriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file_) {
        return Status::ofErrno(errno, path);
    }
    struct stat status {};
    if (fstat(file_.fd(), &status) != 0) {
        return Status::ofErrno(errno, path);
    }
    if (!S_ISREG(status.st_mode)) {
        return Status::notSupported(path + ": not a file");
    }
    identity_ = {status.st_size,
                 std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec};
    return {};
}

Status MediaFile::read(std::int64_t count, const CancellationToken &cancellation, Bytes &bytes) const {
    // The file's size is a hint: the file may shrink.
    count = std::min(count, identity_.size);
    auto have = static_cast<std::int64_t>(bytes.size());
    bytes.resize(static_cast<std::size_t>(std::max(count, have)));
    while (have < count) {
        const auto piece = static_cast<std::size_t>(std::min(PIECE, count - have));
        const ssize_t got = pread(file_.fd(), bytes.data() + have, piece, have);
        if (got < 0 && errno != EINTR) {
            return Status::ofErrno(errno, "reading");
        }
        if (got == 0) {
            bytes.resize(static_cast<std::size_t>(have));
            break;
        }
        have += std::max<ssize_t>(got, 0);
        if (cancellation.isCancelled()) {
            return endOf(cancellation);
        }
    }
    return {};
}

Status MediaFile::readAll(const CancellationToken &cancellation, Bytes &bytes) const {
    if (identity_.size > MAX_FILE_BYTES) {
        return Status::outOfMemory("The picture's file is too large to be decoded.");
    }
    return read(identity_.size, cancellation, bytes);
}

} // namespace mrb::thumbnail
