// The recording system log.

#include "system_log.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

#include <unistd.h>

#include "log_lines.h"

namespace recording {

namespace {

std::atomic<bool> listening{true};
std::atomic<int> echo_to{-1};

// Held while a line is written and kept, so that both have one order; never destroyed,
// because threads may log while the process ends.
std::mutex &mutex() {
    static auto *only = new std::mutex;
    return *only;
}

void echo(std::string text) {
    const int descriptor = echo_to.load();
    if (descriptor < 0) {
        return;
    }
    text += '\n';
    size_t written = 0;
    while (written < text.size()) {
        const ssize_t step = write(descriptor, text.data() + written, text.size() - written);
        if (step <= 0) {
            return;
        }
        written += static_cast<size_t>(step);
    }
}

} // namespace

void setLogRecording(bool on) { listening.store(on, std::memory_order_relaxed); }

void echoLogLines(int descriptor) { echo_to.store(descriptor); }

} // namespace recording

extern "C" int system_log_print(int log_id, int priority, const char *tag, const char *format, ...) {
    if (!recording::listening.load(std::memory_order_relaxed)) {
        return 0;
    }
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    if (length > 0) {
        vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    if (length < 0) {
        return -1;
    }

    const std::lock_guard<std::mutex> lock(recording::mutex());
    recording::echo(text);
    recording::addEvent(recording::LogLine{log_id, priority, tag, std::move(text)});
    return length;
}
