#pragma once
// The lines that went to the recording system log.

#include <vector>

#include "events.h"

namespace recording {

/// While off, the log formats nothing and returns 0, as without a sink.
void setLogRecording(bool on);

/// The lines so far, in the order of their arrival.
inline std::vector<LogLine> logLines() { return eventsOf<LogLine>(); }
inline void clearLogLines() { forgetLines(); }

/// Writes each line's text, ended by a line feed, to `descriptor` as it arrives;
/// -1 stops that.
void echoLogLines(int descriptor);

} // namespace recording
