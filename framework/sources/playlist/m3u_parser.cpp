#include "sources/playlist/m3u_parser.h"

#include <utility>

namespace mrb {
namespace {

constexpr std::string_view EXTENDED = "#EXTINF:";
constexpr double SECOND = 1000;

// The comma before the title: after the seconds there may be attributes, whose quoted values may
// contain commas.
std::size_t titleComma(std::string_view text) {
    bool isQuoted = false;
    for (std::size_t position = 0; position < text.size(); ++position) {
        isQuoted = isQuoted != (text[position] == '"');
        if (text[position] == ',' && !isQuoted) {
            return position;
        }
    }
    // An unterminated quote does not count.
    return text.find(',');
}

} // namespace

M3uParser::M3uParser(Consumer take)
    : take_(std::move(take)), lines_([this](std::string_view line) { return read(line); }) {}

bool M3uParser::read(std::string_view line) {
    if (line.starts_with('#')) {
        readComment(line);
        return true;
    }
    const bool goesOn = take_({line, title_, duration_});
    title_.clear();
    duration_ = UNKNOWN;
    return goesOn;
}

void M3uParser::readComment(std::string_view line) {
    if (!line.starts_with(EXTENDED)) {
        return;
    }
    line.remove_prefix(EXTENDED.size());
    const std::size_t comma = titleComma(line);
    duration_ = durationOf(line.substr(0, comma), SECOND);
    title_ = comma == std::string_view::npos ? std::string() : utf8Of(line.substr(comma + 1));
}

} // namespace mrb
