#include "journal_sink.h"

// Without this libsystemd adds this file's own name and line to every entry.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <array>
#include <new>
#include <string>
#include <sys/uio.h>
#include <systemd/sd-journal.h>

namespace systemlog {

void JournalSink::write(int priority, const char *tag, std::string_view text) noexcept {
    try {
        std::string identifier = "SYSLOG_IDENTIFIER=";
        identifier += tag;
        std::string urgency = "PRIORITY=" + std::to_string(priority);
        std::string message;
        message.reserve(text.size() + sizeof "MESSAGE=");
        message += "MESSAGE=";
        message += text;
        const std::array<iovec, 3> fields{iovec{identifier.data(), identifier.size()},
                                          iovec{urgency.data(), urgency.size()},
                                          iovec{message.data(), message.size()}};
        // No lock: each entry is one datagram or one memory file.
        static_cast<void>(sd_journal_sendv(fields.data(), static_cast<int>(fields.size())));
    } catch (const std::bad_alloc &) {
        // No memory for the entry: it is dropped, as one that cannot be sent is.
        return;
    }
}

} // namespace systemlog
