#pragma once

#include <string>

#include "sources/playlist/playlist_parser.h"
#include "sources/playlist/text_lines.h"

namespace mrb {

// m3u and m3u8: an entry on each line; "#EXTINF:SECONDS,TITLE" before an entry gives its duration
// and title, and other lines that begin with "#" are comments. "#EXTM3U" is not required, since
// many programs do not write it.
class M3uParser final : public PlaylistParser {
  public:
    explicit M3uParser(Consumer take);
    [[nodiscard]] bool feed(std::string_view bytes) override { return lines_.feed(bytes); }
    void finish() override { lines_.finish(); }

  private:
    bool read(std::string_view line);
    void readComment(std::string_view line);

    const Consumer take_;
    TextLines lines_;
    std::string title_; // of the next entry
    std::int64_t duration_ = UNKNOWN;
};

} // namespace mrb
