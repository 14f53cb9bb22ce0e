#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "sources/source.h"

namespace mrb {

// One entry as a playlist writes it. The views live until the call that hands it over
// returns.
struct PlaylistEntry {
    std::string_view target;         // a path or a URL, the exact bytes; not empty, without zeros
    std::string_view title = {};     // UTF-8; empty: none
    std::int64_t duration = UNKNOWN; // milliseconds
    bool isUri = false;              // a reference as in a web page: "%20" is a blank
};

// Understands the text of one playlist, piece by piece. Whatever the bytes are, it holds
// no more of them than a line or an element, or, where the format has entries in any
// order, the entries. Owned and used by one thread.
class PlaylistParser {
  public:
    // Takes an entry; false: no more is wanted.
    using Take = std::function<bool(const PlaylistEntry &entry)>;

    // A longer line or element is no entry and is left out.
    static constexpr std::size_t LONGEST_TEXT = 64UL << 10;

    PlaylistParser() = default;
    virtual ~PlaylistParser() = default;
    PlaylistParser(const PlaylistParser &) = delete;
    PlaylistParser &operator=(const PlaylistParser &) = delete;

    // Takes the next bytes. False: more need not come, since no more is wanted or the
    // text is broken.
    [[nodiscard]] virtual bool feed(std::string_view bytes) = 0;

    // Says that the last bytes came, unless feed was false.
    virtual void finish() = 0;

    // What came until now is no playlist of the format; the entries before that count.
    [[nodiscard]] virtual bool isBroken() const { return false; }
};

// The parser for a playlist file of that name: m3u, m3u8, pls or xspf, by the extension.
// Null: it is none of these.
std::unique_ptr<PlaylistParser> makePlaylistParser(std::string_view fileName, PlaylistParser::Take take);

// The number of milliseconds of a decimal number of seconds or milliseconds in front of
// `text`; UNKNOWN where there is none, and for what is negative or longer than a year.
std::int64_t durationOf(std::string_view text, double millisecondsEach);

} // namespace mrb
