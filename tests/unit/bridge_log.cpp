#include "bridge_log.h"

#include <regex.h> // std::regex takes much longer to compile

#include <array>
#include <stdexcept>

namespace {

regex_t compiled(const char *expression) {
    regex_t result;
    if (regcomp(&result, expression, REG_EXTENDED) != 0) {
        throw std::invalid_argument(expression);
    }
    return result;
}

} // namespace

std::string messageOf(const recording::LogLine &line) {
    static const regex_t prefix = compiled("^([A-Za-z_]+\\.cpp): ([~A-Za-z_0-9]+)\\(([0-9]+)\\) > \033\\[31m"
                                           "\\[([~A-Za-z_0-9]+):([0-9]+)\\] \\[Thread Id:\\[[0-9]+\\]\\] ");
    static const std::string end = "\033[0m";
    std::array<regmatch_t, 6> matches{};
    const bool begins = regexec(&prefix, line.text.c_str(), matches.size(), matches.data(), 0) == 0;
    const auto part = [&](size_t number) {
        const auto [from, to] = matches.at(number);
        return line.text.substr(static_cast<size_t>(from), static_cast<size_t>(to - from));
    };
    const bool right = begins && line.log_id == 0 && line.priority == 5 && part(2) == part(4) &&
                       part(3) == part(5) && line.text.ends_with(end);
    if (!right) {
        return "malformed line: " + line.text;
    }
    const auto start = static_cast<size_t>(matches[0].rm_eo);
    return line.tag + " " + part(1) + " " + part(2) + ": " +
           line.text.substr(start, line.text.size() - start - end.size());
}

std::vector<std::string> takeLog() {
    std::vector<std::string> messages;
    for (const recording::LogLine &line : recording::logLines()) {
        messages.push_back(messageOf(line));
    }
    recording::clearLogLines();
    return messages;
}
