#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "sources/folder/folder_contents.h"
#include "sources/playlist/playlist_parser.h"
#include "sources/playlist/playlist_roots.h"

namespace mrb {

// The target of a playlist's entry.
struct ResolvedEntry {
    enum class Kind {
        NOTHING, // not a medium
        FILE,
        MISSING, // a file that does not exist, or that the playlist may not name
        URL      // on another machine
    };
    Kind kind = Kind::NOTHING;
    std::string location =
        {};                // the absolute path, exact bytes, with links resolved where it exists; or the URL
    std::string name = {}; // to be shown
    FileStat stat = {};    // for a file
};

// Resolves the entries of one playlist. Owned and used by one thread, which may wait for the
// playlist's device.
class EntryResolver {
  public:
    // `realPlaylist`: the playlist's path with links resolved.
    EntryResolver(const std::string &realPlaylist, PlaylistScope scope);

    // A path is first taken literally, relative to the playlist's folder, and then, since
    // playlists come from other machines, in the spellings of other systems.
    ResolvedEntry find(const PlaylistEntry &entry);

  private:
    [[nodiscard]] ResolvedEntry findFile(std::string_view written, bool isUri);
    [[nodiscard]] std::vector<std::string> meanings(std::string_view written, bool isUri) const;
    bool find(const std::string &path, ResolvedEntry &target);
    const std::string &realFolder(const std::string &folder);

    const std::string folder_;
    const PlaylistScope scope_;
    std::unordered_map<std::string, std::string> realFolders_; // empty: the folder does not exist
};

} // namespace mrb
