#pragma once

#include <string_view>

namespace systemlog {

/// Where lines of the log go. The library owns one for the life of the process,
/// and every thread of the program calls it.
class Sink {
  public:
    Sink() = default;
    Sink(const Sink &) = delete;
    Sink &operator=(const Sink &) = delete;
    virtual ~Sink() = default;

    /// Delivers one message, whole, or drops it: a program does not fail
    /// because its log does. `priority` is 0 (most urgent) to 7, as in
    /// syslog(3); `tag` ends with a zero; `text` may hold any bytes.
    virtual void write(int priority, const char *tag, std::string_view text) noexcept = 0;

    /// Whether the sink displays colours. From the texts for other sinks the sequences
    /// that set them are removed: a file would hold them as they are, and journalctl shows
    /// an entry with an escape in it as binary data.
    [[nodiscard]] virtual bool showsColours() const noexcept { return false; }
};

} // namespace systemlog
