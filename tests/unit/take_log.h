#pragma once
// The bridge's log lines as tests compare them: AGENT + "GetItem: message".

#include <regex>
#include <string>
#include <vector>

#include "log_lines.h"

/// What the lines of each part of the bridge begin with: their tag and their file.
inline const std::string PROVIDER = "MRB-BRIDGE-COMMON MRBAdapterProvider.cpp ";
inline const std::string JSON = "MRB-BRIDGE-COMMON MRBBridgeJson.cpp ";
inline const std::string AGENT = "MRB-BRIDGE-AGENT MRBAgentAdapter.cpp ";
inline const std::string THUMBNAIL = "MRB-BRIDGE-THUMBNAIL MRBThumbnailAdapter.cpp ";
inline const std::string STORAGE = "MRB-BRIDGE-STORAGEMGR MRBStorageMgrAdapter.cpp ";

/// "Tag File Function: message" of a line whose form is right; the whole line, marked, of
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
    return line.tag + " " + parts[1].str() + " " + parts[2].str() + ": " +
           line.text.substr(start, line.text.size() - start - end.size());
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
