#pragma once
// The lines that went to the recording system log.

#include <string>
#include <vector>

namespace recording {

struct LogLine {
    int log_id;
    int priority;
    std::string tag;
    std::string text; // formatted
};

/// While off, the log formats nothing and answers 0, as when nobody listens.
void setLogRecording(bool on);

/// The lines so far, in the order of their arrival.
std::vector<LogLine> logLines();
void clearLogLines();

/// Writes each line's text, ended by a line feed, to `descriptor` as it arrives;
/// -1 stops that.
void echoLogLines(int descriptor);

} // namespace recording
