#include "share/file_copy.h"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace mrb {
namespace {

// The maximum of bytes in memory for a slow device: small enough that progress is what the device
// has written, that a stop need not wait, and that little is left to flush at the end.
constexpr std::uint64_t WINDOW = 8UL << 20;

// Whether a call is not supported between these two files, rather than failed this time.
bool isUnknownCall(int error) {
    return error == EXDEV || error == EINVAL || error == ENOSYS || error == EOPNOTSUPP || error == EBADF ||
           error == EPERM;
}

ssize_t moveFast(unsigned strategy, int source, int destination, std::size_t size) {
    return strategy == FileCopier::RANGE ? copy_file_range(source, nullptr, destination, nullptr, size, 0)
                                         : sendfile(destination, source, nullptr, size);
}

// Starts writing the last full window, and waits for the one before it.
void writeBehind(int destination, std::uint64_t before, std::uint64_t now) {
    if (now / WINDOW == before / WINDOW) {
        return;
    }
    const auto window = static_cast<off64_t>(WINDOW);
    const auto last = static_cast<off64_t>((now / WINDOW - 1) * WINDOW);
    sync_file_range(destination, last, window, SYNC_FILE_RANGE_WRITE);
    if (last >= window) {
        sync_file_range(destination, last - window, window,
                        SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER);
    }
}

int writeAll(int destination, std::span<const char> bytes) {
    while (!bytes.empty()) {
        const ssize_t result = write(destination, bytes.data(), bytes.size());
        if (result < 0 && errno != EINTR) {
            return errno;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(std::max<ssize_t>(result, 0)));
    }
    return 0;
}

} // namespace

int FileWriter::write(std::span<const char> bytes) {
    const int error = writeAll(file_, bytes);
    if (error == 0) {
        writeBehind(file_, done_, done_ + bytes.size());
        done_ += bytes.size();
    }
    return error;
}

FileCopier::FileCopier() = default;
FileCopier::~FileCopier() = default;

CopyResult FileCopier::copy(int source, const std::string &name, int destination, std::uint64_t size,
                            const std::function<bool(std::uint64_t)> &moved) {
    CopyResult result;
    unsigned strategy = strategy_;
    std::uint64_t &done = result.bytes;
    while (done < size) {
        const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(PIECE, size - done));
        std::size_t count = 0;
        if (strategy == READ_WRITE) {
            count = readAndWrite(source, name, destination, piece, result);
            if (count == 0) {
                return result;
            }
        } else {
            const ssize_t got = moveFast(strategy, source, destination, piece);
            if (got <= 0) {
                // A slower way either succeeds or shows which side failed.
                const int error = got < 0 ? errno : 0;
                if (error != EINTR) {
                    strategy = isUnknownCall(error) ? strategy + 1 : READ_WRITE;
                    strategy_ = isUnknownCall(error) ? strategy : strategy_;
                }
                continue;
            }
            count = static_cast<std::size_t>(got);
        }
        writeBehind(destination, done, done + count);
        done += count;
        if (!moved(done)) {
            result.isCancelled = true;
            return result;
        }
    }
    return result;
}

std::size_t FileCopier::readAndWrite(int source, const std::string &name, int destination, std::size_t size,
                                     CopyResult &result) {
    if (!buffer_) {
        buffer_.reset(new char[PIECE]);
    }
    ssize_t count = 0;
    do {
        count = read(source, buffer_.get(), size);
    } while (count < 0 && errno == EINTR);
    if (count <= 0) {
        result.source = count < 0 ? Status::ofErrno(errno, name)
                                  : Status::ioError(name + ": the file became shorter while it was copied.");
        return 0;
    }
    result.destinationError = writeAll(destination, {buffer_.get(), static_cast<std::size_t>(count)});
    return result.destinationError == 0 ? static_cast<std::size_t>(count) : 0;
}

} // namespace mrb
