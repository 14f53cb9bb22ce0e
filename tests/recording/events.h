#pragma once
// The one trace of the recording framework and the recording log, in order and with
// threads: the calls of the framework's functions, the lines that went to the log, and
// what callbacks returned. Any thread.

#include <string>
#include <variant>
#include <vector>

#include "value.h"

namespace recording {

/// A call of a framework function: its name, and its arguments in order. Recorded when
/// the call begins. Out-arguments show what the caller had preset, opaque handles their
/// number.
struct Call {
    const char *function;
    std::vector<Value> arguments;
};

/// A line that went to the log.
struct LogLine {
    int log_id;
    int priority;
    std::string tag;
    std::string text; // formatted
};

/// What a callback of the bridge returned to the framework: null where it returns nothing.
struct Returned {
    const char *callback; // the kind of registration: "list", "thumbnail", ...
    Value value;
};

struct Event {
    int thread; // the kernel's id of the thread on which it happened
    std::variant<Call, LogLine, Returned> what;
};

/// Adds an event of the calling thread.
void addEvent(std::variant<Call, LogLine, Returned> what);

/// Everything so far.
std::vector<Event> events();

/// Everything of one sort so far.
template <typename What>
std::vector<What> eventsOf() {
    std::vector<What> result;
    for (const Event &event : events()) {
        if (const auto *what = std::get_if<What>(&event.what)) {
            result.push_back(*what);
        }
    }
    return result;
}

/// Forget the calls and what callbacks returned, or the lines of the log.
void forgetCalls();
void forgetLines();

} // namespace recording
