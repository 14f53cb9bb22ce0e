#pragma once

#include "sink.h"

#include <memory>
#include <string>

namespace systemlog {

/// The path at which a syslog daemon of the machine listens.
inline constexpr const char *syslogSocket = "/dev/log";

/// Writes lines in the form of RFC 3164 to a syslog daemon's local socket, of
/// datagrams or of a stream. Any thread may write; the connection is opened
/// again when the daemon was restarted.
class SyslogSink final : public Sink {
  public:
    /// Null when no daemon listens at `path`.
    static std::unique_ptr<SyslogSink> open(const char *path);
    ~SyslogSink() override;
    void write(int priority, const char *tag, std::string_view text) noexcept override;

  private:
    explicit SyslogSink(const char *path) : path_(path) {}
    bool connectTo(int type) noexcept;
    bool connect() noexcept;
    bool sendPiece(std::string_view header, std::string_view text) noexcept;
    bool sendOnce(std::string_view header, std::string_view text) noexcept;

    const std::string path_;
    // Guarded by LineLock once the sink is open.
    int socket_ = -1;
    bool stream_ = false;
};

} // namespace systemlog
