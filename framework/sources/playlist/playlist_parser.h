#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "sources/source.h"

namespace mrb {

// One entry as a playlist writes it. The views are valid until the callback returns.
struct PlaylistEntry {
    std::string_view target;         // a path or a URL, the exact bytes; not empty, without zero bytes
    std::string_view title = {};     // UTF-8; empty: none
    std::int64_t duration = UNKNOWN; // milliseconds
    bool isUri = false;              // percent-encoded as in a web page: "%20" is a blank
};

// Parses the text of one playlist incrementally. Whatever the bytes are, it holds no more of them
// than a line or an element, or, where the format has entries in any order, the entries. Owned
// and used by one thread.
class PlaylistParser {
  public:
    // Takes an entry; false: parsing ends.
    using Consumer = std::function<bool(const PlaylistEntry &entry)>;

    // A longer line or element is not an entry and is left out.
    static constexpr std::size_t MAX_TEXT_LENGTH = 64UL << 10;

    PlaylistParser() = default;
    virtual ~PlaylistParser() = default;
    PlaylistParser(const PlaylistParser &) = delete;
    PlaylistParser &operator=(const PlaylistParser &) = delete;

    // Parses the next bytes. False: no more bytes are needed, since an entry ended parsing or the
    // text is malformed.
    [[nodiscard]] virtual bool feed(std::string_view bytes) = 0;

    // Called after the last bytes, unless feed returned false.
    virtual void finish() = 0;

    // The text is not a playlist of the format; the entries so far count.
    [[nodiscard]] virtual bool isBroken() const { return false; }
};

// The parser for a playlist file of that name: m3u, m3u8, pls or xspf, by the extension. Null: it
// has another extension.
std::unique_ptr<PlaylistParser> makePlaylistParser(std::string_view fileName, PlaylistParser::Consumer take);

// The number of milliseconds of a decimal number of seconds or milliseconds at the start of
// `text`; UNKNOWN when there is none, and when it is negative or longer than a year.
std::int64_t durationOf(std::string_view text, double millisecondsEach);

} // namespace mrb
