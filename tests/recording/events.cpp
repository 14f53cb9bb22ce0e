#include "events.h"

#include <mutex>
#include <utility>

#include <sys/syscall.h>
#include <unistd.h>

namespace recording {

namespace {

// Guarded by its mutex; never destroyed, because threads may go on until the process ends.
struct Trace {
    std::mutex mutex;
    std::vector<Event> events;
};

Trace &trace() {
    static auto *only = new Trace;
    return *only;
}

void forget(bool lines) {
    const std::lock_guard<std::mutex> lock(trace().mutex);
    std::erase_if(trace().events, [lines](const Event &event) {
        return std::holds_alternative<LogLine>(event.what) == lines;
    });
}

} // namespace

void addEvent(std::variant<Call, LogLine, Returned> what) {
    const auto thread = static_cast<int>(syscall(SYS_gettid));
    const std::lock_guard<std::mutex> lock(trace().mutex);
    trace().events.push_back({thread, std::move(what)});
}

std::vector<Event> events() {
    const std::lock_guard<std::mutex> lock(trace().mutex);
    return trace().events;
}

void forgetCalls() { forget(false); }
void forgetLines() { forget(true); }

} // namespace recording
