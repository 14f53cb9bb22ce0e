#pragma once

#include "sink.h"

namespace systemlog {

/// The path that exists while the systemd journal runs (sd_booted's counterpart
/// for the journal, and the address that libsystemd sends to).
inline constexpr const char *journalSocket = "/run/systemd/journal/socket";

/// Writes entries with SYSLOG_IDENTIFIER, PRIORITY and MESSAGE to the systemd
/// journal through libsystemd. Entries too large for a datagram go in a sealed
/// memory file, so any length arrives whole. Any thread may write.
class JournalSink final : public Sink {
  public:
    void write(int priority, const char *tag, std::string_view text) noexcept override;
};

} // namespace systemlog
