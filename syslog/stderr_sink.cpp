#include "stderr_sink.h"

#include "line_lock.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/uio.h>
#include <unistd.h>

namespace systemlog {
namespace {

/// Removes `written` bytes from the front of the pieces that remain to be written.
void advance(iovec *&pieces, int &count, size_t written) {
    while (count > 0 && written >= pieces->iov_len) {
        written -= pieces->iov_len;
        ++pieces;
        --count;
    }
    if (count > 0) {
        pieces->iov_base = static_cast<char *>(pieces->iov_base) + written;
        pieces->iov_len -= written;
    }
}

/// Waits until the descriptor can be written to; false when it never will be.
bool waitUntilWritable(int descriptor) {
    pollfd waiting{descriptor, POLLOUT, 0};
    return poll(&waiting, 1, -1) >= 0 || errno == EINTR;
}

iovec pieceOf(const char *text, size_t length) {
    // writev only reads, but iovec serves readv too and has no const.
    return {const_cast<char *>(text), length};
}

bool refusesColours() {
    const char *no_color = getenv("NO_COLOR");
    return no_color != nullptr && *no_color != '\0';
}

} // namespace

StderrSink::StderrSink(int descriptor)
    : descriptor_(descriptor), colours_(isatty(descriptor) == 1 && !refusesColours()) {}

void StderrSink::write(int /*priority*/, const char *tag, std::string_view text) noexcept {
    std::array<iovec, 4> line{pieceOf(tag, strlen(tag)), pieceOf(": ", 2), pieceOf(text.data(), text.size()),
                              pieceOf("\n", 1)};
    iovec *pieces = line.data();
    int count = static_cast<int>(line.size());

    const LineLock lock;
    while (count > 0) {
        const ssize_t written = writev(descriptor_, pieces, count);
        if (written >= 0) {
            advance(pieces, count, static_cast<size_t>(written));
        } else if (errno == EAGAIN) {
            // Another part of the program made the descriptor non-blocking, as
            // Node does with a terminal or a pipe.
            if (!waitUntilWritable(descriptor_)) {
                return;
            }
        } else if (errno != EINTR) {
            return;
        }
    }
}

} // namespace systemlog
