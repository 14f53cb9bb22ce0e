#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "base/chunks.h"
#include "sources/source.h"

namespace mrb {

// Sizes and times of one file or folder.
struct FileStat {
    std::int64_t size = UNKNOWN;
    std::int64_t modified = UNKNOWN;
    std::int64_t created = UNKNOWN;
};

// The files, or the sub-folders, of one folder, in the order in which they were found; packed,
// since there may be a hundred thousand, which have to be freed quickly when a scan is cancelled.
// Owned and used by one scan, on its thread.
class FolderContents {
  public:
    // More than a list can hold; a larger folder is not read further.
    static constexpr std::size_t MAX_ENTRIES = 6'000'000;

    // `stat`: those that are known already, if any.
    void add(std::string_view name, std::uint8_t type, const std::optional<FileStat> &stat = {});

    [[nodiscard]] std::size_t size() const { return entries_.size(); }

    // The exact bytes, followed by a zero byte.
    [[nodiscard]] std::string_view name(std::size_t number) const {
        return text_.at(entries_[number].text, entries_[number].nameLength);
    }
    [[nodiscard]] std::uint8_t type(std::size_t number) const { return entries_[number].type; }
    [[nodiscard]] std::optional<FileStat> stat(std::size_t number) const;

    void clear();

  private:
    struct Entry {
        std::uint32_t text;
        std::uint32_t stat; // an index of stats_, or NO_STAT
        std::uint16_t nameLength;
        std::uint8_t type;
    };

    ChunkedArray<Entry> entries_;
    ChunkedArray<FileStat> stats_;
    ChunkedText text_;
};

} // namespace mrb
