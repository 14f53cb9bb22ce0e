#pragma once

#include "journal_sink.h"
#include "sink.h"
#include "syslog_sink.h"

#include <memory>

namespace systemlog {

/// The sockets of the machine's logs.
struct LogSockets {
    const char *journal = journalSocket;
    const char *syslog = syslogSocket;
};

/// The sink that `choice`, the value of QUILL_LOG, selects: "system" (also
/// when null or empty), "stderr" or "off". Any other value is reported on
/// standard error and treated as "system". Null for "off", and when no log is
/// there. Throws std::bad_alloc.
std::unique_ptr<Sink> chooseSink(const char *choice, const LogSockets &sockets = {});

} // namespace systemlog
