// Playlists are untrusted: whatever their bytes, the entries are read without harm, and they are
// the same however the bytes are split.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "sources/playlist/playlist_parser.h"

namespace {

void require(bool key) {
    if (!key) {
        std::abort();
    }
}

constexpr const char *NAMES[] = {"a.m3u", "a.pls", "a.xspf"};

std::vector<std::string> read(const char *name, std::string_view text, std::size_t piece) {
    std::vector<std::string> entries;
    const auto parser = mrb::makePlaylistParser(name, [&](const mrb::PlaylistEntry &entry) {
        require(!entry.target.empty() && entry.target.find('\0') == std::string_view::npos);
        require(entry.target.size() <= mrb::PlaylistParser::MAX_TEXT_LENGTH);
        require(entry.duration >= 0 || entry.duration == mrb::UNKNOWN);
        entries.push_back(std::string(entry.target) + '\n' + std::string(entry.title));
        return true;
    });
    bool goesOn = true;
    for (; goesOn && !text.empty(); text.remove_prefix(std::min(piece, text.size()))) {
        goesOn = parser->feed(text.substr(0, piece));
    }
    if (goesOn) {
        parser->finish();
    }
    return entries;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    for (const char *name : NAMES) {
        const auto whole = read(name, text, text.size() + 1);
        require(read(name, text, 5) == whole);
    }
    return 0;
}
