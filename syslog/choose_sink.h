#pragma once

#include "journal_sink.h"
#include "sink.h"
#include "syslog_sink.h"

#include <memory>

namespace systemlog {

/// The sockets at which a log of the machine is looked for.
struct Places {
    const char *journal = journalSocket;
    const char *syslog = syslogSocket;
};

/// The sink that `choice`, the value of QUILL_LOG, asks for: "system" (also
/// when null or empty), "stderr" or "off". Any other value is told of on
/// standard error and taken as "system". Null when nobody listens. Throws
/// std::bad_alloc.
std::unique_ptr<Sink> chooseSink(const char *choice, const Places &places = {});

} // namespace systemlog
