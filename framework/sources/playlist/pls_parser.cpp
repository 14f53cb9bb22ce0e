#include "sources/playlist/pls_parser.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "media/media_types.h"

namespace mrb {
namespace {

constexpr double SECOND = 1000;
constexpr std::string_view FILE_KEY = "file";
constexpr std::string_view TITLE_KEY = "title";
constexpr std::string_view LENGTH_KEY = "length";

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

} // namespace

PlsParser::PlsParser(Consumer take)
    : take_(std::move(take)), lines_([this](std::string_view line) { return read(line); }) {}

bool PlsParser::read(std::string_view line) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return true; // "[playlist]", or any other line
    }
    const std::string_view written = trimmed(line.substr(0, equals));
    const std::string_view value = trimmed(line.substr(equals + 1));
    const std::size_t letters = std::min(written.find_first_of("0123456789"), written.size());
    const std::string key = lowerCase(written.substr(0, letters));
    std::uint32_t number = 0;
    const char *end = written.data() + written.size();
    const auto read = std::from_chars(written.data() + letters, end, number);
    const bool isOfEntry = key == FILE_KEY || key == TITLE_KEY || key == LENGTH_KEY;
    if (!isOfEntry || read.ec != std::errc() || read.ptr != end || value.empty()) {
        return true;
    }
    if (entries_.size() >= MAX_ENTRIES && !entries_.contains(number)) {
        return true;
    }
    Entry &entry = entries_[number];
    if (key == FILE_KEY) {
        entry.target = value;
    } else if (key == TITLE_KEY) {
        entry.title = utf8Of(value);
    } else {
        entry.duration = durationOf(value, SECOND);
    }
    return true;
}

void PlsParser::finish() {
    lines_.finish();
    for (const auto &[number, entry] : entries_) {
        if (!entry.target.empty() && !take_({entry.target, entry.title, entry.duration})) {
            return;
        }
    }
}

} // namespace mrb
