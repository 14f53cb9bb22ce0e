#pragma once
// The bridge's log lines as tests compare them.

#include <regex>
#include <string>
#include <vector>

#include "log_lines.h"

/// "Function: message" of a line whose form is right; the whole line, marked, of
/// any other.
inline std::string messageOf(const recording::LogLine &line) {
    static const std::regex prefix("([A-Za-z_]+\\.cpp): ([~A-Za-z_0-9]+)\\((\\d+)\\) > \033\\[31m"
                                   "\\[([~A-Za-z_0-9]+):(\\d+)\\] \\[Thread Id:\\[\\d+\\]\\] ");
    static const std::string end = "\033[0m";
    // The expression sees the prefix only: it recurses for every character, and
    // messages may be long.
    const std::string head = line.text.substr(0, 300);
    std::smatch parts;
    const bool right = line.log_id == 0 && line.priority == 5 &&
                       std::regex_search(head, parts, prefix, std::regex_constants::match_continuous) &&
                       parts[2] == parts[4] && parts[3] == parts[5] && line.text.ends_with(end);
    if (!right) {
        return "malformed line: " + line.text;
    }
    const auto start = static_cast<size_t>(parts.length(0));
    return parts[2].str() + ": " + line.text.substr(start, line.text.size() - start - end.size());
}

/// The messages of every line so far. Forgets them.
inline std::vector<std::string> takeLog() {
    std::vector<std::string> messages;
    for (const recording::LogLine &line : recording::logLines()) {
        messages.push_back(messageOf(line));
    }
    recording::clearLogLines();
    return messages;
}
