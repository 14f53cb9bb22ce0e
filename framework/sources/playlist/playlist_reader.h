#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "base/descriptor.h"
#include "sources/playlist/entry_resolver.h"
#include "sources/playlist/playlist_table.h"
#include "sources/source.h"

namespace mrb {

// Opens the playlist of that path for reading; returns 0 or an error number of the system, EINVAL
// for what is not a file.
int openPlaylist(const std::string &path, Descriptor &file);

// Reads playlists into a list: each is an item that opens as a folder, with its entries in their
// order, and so is a playlist in a playlist. Owned and used by the thread that fills the list.
class PlaylistReader {
  public:
    // Limits of playlists, whose contents are untrusted.
    static constexpr std::int64_t MAX_BYTES = 64L << 20;  // of one playlist
    static constexpr std::int32_t MAX_ENTRIES = 100'000;  // of one playlist, listed or not
    static constexpr std::int32_t MAX_PLAYLISTS = 10'000; // of one list
    static constexpr std::int32_t MAX_NESTED = 1'000;     // of those, nested in others
    static constexpr std::size_t MAX_LEVEL = 8;           // a playlist in a playlist has level 1

    PlaylistReader(ItemSink &sink, PlaylistTable &table, const PlaylistRoots &roots)
        : sink_(sink), table_(table), roots_(roots) {}

    // Adds a playlist with its entries. `real`: its path with links resolved. False: the list is
    // full, or was cancelled.
    bool addPlaylist(const std::string &real, const SourceItem &item);

    // Adds the entries of an open playlist to the list's own folder; returns 0 or an error number
    // of the system. The caller checks whether the sink was cancelled.
    int addEntries(const Descriptor &file, const std::string &real);

    // The list is full, or was cancelled.
    [[nodiscard]] bool isFull() const { return isFull_; }

    // Counts playlists that could not be read, or not to their end, and those nested too deep.
    [[nodiscard]] const FillResult &result() const { return result_; }

  private:
    struct Identity {
        dev_t device = 0;
        ino_t file = 0;
        bool operator==(const Identity &) const = default;
    };
    struct Reading; // of one playlist

    // The item of a playlist, and its entries.
    bool addOpening(SourceItem item, const PlaylistRow &row, const std::string &real);
    [[nodiscard]] bool isWorthOpening();
    bool open(const std::string &real, Descriptor &file);
    static Identity identityOf(const Descriptor &file);
    int read(const Descriptor &file, Reading &reading);
    int feed(const Descriptor &file, PlaylistParser &parser, Reading &reading);
    bool take(const PlaylistEntry &entry, Reading &reading);
    bool add(SourceItem item, PlaylistRow row);
    void leaveOut(const std::string &real, const char *why);

    ItemSink &sink_;
    PlaylistTable &table_;
    const PlaylistRoots &roots_;
    FillResult result_;
    std::vector<Identity> way_; // the stack of playlists that are being read, the outermost first
    std::int32_t playlists_ = 0;
    std::int32_t nested_ = 0;
    bool isFull_ = false; // or cancelled
};

} // namespace mrb
