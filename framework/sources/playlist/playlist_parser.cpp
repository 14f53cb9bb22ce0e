#include "sources/playlist/playlist_parser.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <utility>

#include "media/media_types.h"
#include "sources/playlist/m3u_parser.h"
#include "sources/playlist/pls_parser.h"
#include "sources/playlist/xspf_parser.h"

namespace mrb {
namespace {

template <typename Parser>
std::unique_ptr<PlaylistParser> make(PlaylistParser::Consumer take) {
    return std::make_unique<Parser>(std::move(take));
}

struct Format {
    std::string_view extension;
    std::unique_ptr<PlaylistParser> (*make)(PlaylistParser::Consumer take);
};

constexpr Format FORMATS[] = {
    {"m3u", make<M3uParser>},
    {"m3u8", make<M3uParser>},
    {"pls", make<PlsParser>},
    {"xspf", make<XspfParser>},
};

constexpr double MAX_DURATION = 366.0 * 24 * 3600 * 1000;

} // namespace

std::unique_ptr<PlaylistParser> makePlaylistParser(std::string_view fileName, PlaylistParser::Consumer take) {
    const std::string extension = lowerCase(extensionOf(fileName));
    for (const Format &format : FORMATS) {
        if (format.extension == extension) {
            return format.make(std::move(take));
        }
    }
    return nullptr;
}

std::int64_t durationOf(std::string_view text, double millisecondsEach) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    double number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    const double milliseconds = number * millisecondsEach;
    // NaN and infinity fail one of the comparisons.
    const bool isSane = milliseconds >= 0 && milliseconds <= MAX_DURATION;
    return read.ec == std::errc() && isSane ? static_cast<std::int64_t>(milliseconds) : UNKNOWN;
}

} // namespace mrb
