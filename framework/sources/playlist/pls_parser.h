#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "sources/playlist/playlist_parser.h"
#include "sources/playlist/text_lines.h"

namespace mrb {

// pls: lines "File1=...", "Title1=..." and "Length1=..." (seconds) in any order, so the entries
// are passed on at the end, in the order of their numbers.
class PlsParser final : public PlaylistParser {
  public:
    // More entries are left out. It is above PlaylistReader's maximum, which reports the excess.
    static constexpr std::size_t MAX_ENTRIES = 150'000;

    explicit PlsParser(Consumer take);
    [[nodiscard]] bool feed(std::string_view bytes) override { return lines_.feed(bytes); }
    void finish() override;

  private:
    struct Entry {
        std::string target;
        std::string title;
        std::int64_t duration = UNKNOWN;
    };

    bool read(std::string_view line);

    const Consumer take_;
    TextLines lines_;
    std::map<std::uint32_t, Entry> entries_;
};

} // namespace mrb
