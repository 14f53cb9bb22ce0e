#include "choose_sink.h"

#include "stderr_sink.h"

#include <string_view>
#include <unistd.h>

namespace systemlog {
namespace {

std::unique_ptr<Sink> systemSink(const LogSockets &sockets) {
    if (access(sockets.journal, W_OK) == 0) {
        return std::make_unique<JournalSink>();
    }
    return SyslogSink::open(sockets.syslog);
}

void warnOfUnknown(std::string_view choice) {
    const std::string text = "QUILL_LOG is \"" + std::string(choice) +
                             "\"; expected \"system\", \"stderr\" or \"off\". Using \"system\".";
    StderrSink().write(4, "quill", text);
}

} // namespace

std::unique_ptr<Sink> chooseSink(const char *choice, const LogSockets &sockets) {
    const std::string_view chosen = choice == nullptr ? "" : choice;
    if (chosen == "off") {
        return nullptr;
    }
    if (chosen == "stderr") {
        return std::make_unique<StderrSink>();
    }
    if (!chosen.empty() && chosen != "system") {
        warnOfUnknown(chosen);
    }
    return systemSink(sockets);
}

} // namespace systemlog
