#include "sources/playlist/playlist_table.h"

#include <charconv>
#include <limits>

namespace mrb {

PlaylistTable::Text PlaylistTable::keep(std::string_view text) {
    return {text.empty() ? 0 : text_.add(text), static_cast<std::uint32_t>(text.size())};
}

std::string PlaylistTable::add(const PlaylistRow &row) {
    const MutexLock guard(lock_);
    const std::size_t length = row.playlist.size() + row.location.size() + row.title.size();
    if (text_.endWith(length) + 2 * CHUNK_BYTES > MAX_TEXT_BYTES ||
        rows_.size() >= std::numeric_limits<std::int32_t>::max()) {
        return {};
    }
    if (view(lastPlaylist_) != row.playlist) {
        lastPlaylist_ = keep(row.playlist);
    }
    rows_.push_back({row.duration, lastPlaylist_,
                     row.location == row.playlist ? lastPlaylist_ : keep(row.location), keep(row.title),
                     row.position, row.kind, row.mount});
    return std::to_string(rows_.size() - 1);
}

std::optional<PlaylistRow> PlaylistTable::find(std::string_view id) const {
    std::size_t number = 0;
    const char *end = id.data() + id.size();
    const auto read = std::from_chars(id.data(), end, number);
    const MutexLock guard(lock_);
    if (read.ec != std::errc() || read.ptr != end || number >= rows_.size()) {
        return std::nullopt;
    }
    const Row &row = rows_[number];
    return PlaylistRow{view(row.playlist), row.position, row.kind, view(row.location),
                       view(row.title),    row.duration, row.mount};
}

std::optional<std::string> PlaylistTable::idOf(std::string_view playlist, std::int32_t position) const {
    const MutexLock guard(lock_);
    for (std::size_t number = 0; number < rows_.size(); ++number) {
        if (rows_[number].position == position && view(rows_[number].playlist) == playlist) {
            return std::to_string(number);
        }
    }
    return std::nullopt;
}

} // namespace mrb
