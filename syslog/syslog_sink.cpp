#include "syslog_sink.h"

#include "line_lock.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <sys/socket.h>
#include <sys/syslog.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

namespace systemlog {
namespace {

// RFC 3164, 4.1: a packet has at most 1,024 bytes, and a tag at most 32.
// Daemons cut what is longer, each at a place of its own.
constexpr size_t packetLimit = 1024;
constexpr int tagLimit = 32;

struct Header {
    std::array<char, 128> bytes{};
    size_t length = 0;
    [[nodiscard]] std::string_view view() const { return {bytes.data(), length}; }
};

void append(Header &header, int printed) {
    if (printed > 0) {
        header.length = std::min(header.length + static_cast<size_t>(printed), header.bytes.size() - 1);
    }
}

/// "<13>Nov  5 09:03:07 tag[4711]: ". The months are RFC 3164's, whatever the
/// locale.
Header lineHeader(int priority, const char *tag) {
    static constexpr std::array<const char *, 12> months{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    Header header;
    append(header, snprintf(header.bytes.data(), header.bytes.size(), "<%d>%s %2d %02d:%02d:%02d %.*s[%d]: ",
                            LOG_USER | priority, months.at(static_cast<size_t>(local.tm_mon)), local.tm_mday,
                            local.tm_hour, local.tm_min, local.tm_sec, tagLimit, tag, getpid()));
    return header;
}

Header numbered(Header header, size_t piece, size_t pieces) {
    append(header, snprintf(header.bytes.data() + header.length, header.bytes.size() - header.length,
                            "(%zu/%zu) ", piece, pieces));
    return header;
}

/// The front of `text`, at most `limit` bytes, not ending inside a UTF-8
/// character. Text that is not UTF-8 is cut anywhere.
std::string_view firstPiece(std::string_view text, size_t limit) {
    if (text.size() <= limit) {
        return text;
    }
    const auto continues = [&](size_t at) { return (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U; };
    size_t end = limit;
    while (end > limit - 3 && continues(end)) {
        --end;
    }
    return text.substr(0, continues(end) ? limit : end);
}

} // namespace

std::unique_ptr<SyslogSink> SyslogSink::open(const char *path) {
    std::unique_ptr<SyslogSink> sink(new SyslogSink(path));
    if (!sink->connect()) {
        return nullptr;
    }
    return sink;
}

SyslogSink::~SyslogSink() {
    if (socket_ >= 0) {
        close(socket_);
    }
}

bool SyslogSink::connectTo(int type) noexcept {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path_.size() >= sizeof address.sun_path) {
        return false;
    }
    path_.copy(address.sun_path, path_.size());
    socket_ = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    if (socket_ < 0) {
        return false;
    }
    if (::connect(socket_, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0) {
        return true;
    }
    const int connectErrno = errno;
    close(socket_);
    socket_ = -1;
    errno = connectErrno;
    return false;
}

bool SyslogSink::connect() noexcept {
    stream_ = false;
    if (connectTo(SOCK_DGRAM)) {
        return true;
    }
    stream_ = errno == EPROTOTYPE && connectTo(SOCK_STREAM);
    return stream_;
}

bool SyslogSink::sendOnce(std::string_view header, std::string_view text) noexcept {
    if (socket_ < 0) {
        return false;
    }
    // In a stream a zero ends each message, as syslog(3) does it.
    std::array<char, packetLimit + 1> packet{};
    header.copy(packet.data(), header.size());
    text.copy(packet.data() + header.size(), text.size());
    const size_t length = header.size() + text.size() + (stream_ ? 1 : 0);
    size_t sent = 0;
    do {
        const ssize_t result = send(socket_, packet.data() + sent, length - sent, MSG_NOSIGNAL);
        if (result >= 0) {
            sent += static_cast<size_t>(result);
        } else if (errno != EINTR) {
            return false;
        }
    } while (sent < length);
    return true;
}

bool SyslogSink::sendPiece(std::string_view header, std::string_view text) noexcept {
    if (sendOnce(header, text)) {
        return true;
    }
    // The daemon may have been restarted: its new socket needs a new connection.
    if (socket_ >= 0) {
        close(socket_);
    }
    socket_ = -1;
    return connect() && sendOnce(header, text);
}

void SyslogSink::write(int priority, const char *tag, std::string_view text) noexcept {
    const int savedErrno = errno;
    const Header header = lineHeader(priority, tag);
    size_t limit = packetLimit - header.length;
    const LineLock lock;
    if (text.size() <= limit) {
        sendPiece(header.view(), text);
    } else {
        limit -= strlen("(18446744073709551615/18446744073709551615) ");
        size_t pieces = 0;
        for (std::string_view rest = text; !rest.empty(); ++pieces) {
            rest.remove_prefix(firstPiece(rest, limit).size());
        }
        std::string_view rest = text;
        for (size_t number = 1; number <= pieces; ++number) {
            const std::string_view piece = firstPiece(rest, limit);
            if (!sendPiece(numbered(header, number, pieces).view(), piece)) {
                break;
            }
            rest.remove_prefix(piece.size());
        }
    }
    errno = savedErrno;
}

} // namespace systemlog
