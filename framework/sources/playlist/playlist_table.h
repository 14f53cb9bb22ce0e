#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/chunks.h"
#include "base/mount_identity.h"
#include "base/mutex.h"
#include "sources/playlist/entry_resolver.h"

namespace mrb {

// A playlist in a list, or an entry of one.
struct PlaylistRow {
    std::string_view playlist = {}; // its path, exact bytes; for an entry that of its playlist
    std::int32_t position = 0;      // of an entry, counted from 1
    ResolvedEntry::Kind kind = ResolvedEntry::Kind::FILE;
    std::string_view location = {};  // see ResolvedEntry
    std::string_view title = {};     // as written in the playlist
    std::int64_t duration = UNKNOWN; // milliseconds, likewise
    MountIdentity mount = {};        // of a file that exists: see Source
};

// What a list of playlists remembers of its items besides the columns of every list, by the ids
// that it gives them. It only grows. Owned by a PlaylistSource; one thread adds, any thread may
// look up.
class PlaylistTable {
  public:
    static constexpr std::size_t MAX_TEXT_BYTES = 1UL << 28; // bytes of all texts

    // The new row's id; empty when the table is full. The rows of one playlist are adjacent,
    // apart from those of playlists in it.
    std::string add(const PlaylistRow &row);

    // No value: no row has that id. Its texts live as long as the table.
    [[nodiscard]] std::optional<PlaylistRow> find(std::string_view id) const;

    // The id of the first row with that playlist and position. Linear in the size of the table.
    [[nodiscard]] std::optional<std::string> idOf(std::string_view playlist, std::int32_t position) const;

  private:
    struct Text {
        std::uint32_t start;
        std::uint32_t length;
    };
    struct Row {
        std::int64_t duration;
        Text playlist;
        Text location;
        Text title;
        std::int32_t position;
        ResolvedEntry::Kind kind;
        MountIdentity mount;
    };

    Text keep(std::string_view text) MRB_REQUIRES(lock_);
    [[nodiscard]] std::string_view view(Text text) const MRB_REQUIRES(lock_) {
        return text_.at(text.start, text.length);
    }

    mutable Mutex lock_;
    ChunkedArray<Row> rows_ MRB_GUARDED_BY(lock_);
    ChunkedText text_ MRB_GUARDED_BY(lock_);
    Text lastPlaylist_ MRB_GUARDED_BY(lock_){0, 0};
};

} // namespace mrb
