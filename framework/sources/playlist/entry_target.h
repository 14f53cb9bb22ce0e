#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "sources/folder/folder_contents.h"
#include "sources/playlist/playlist_parser.h"
#include "sources/playlist/playlist_roots.h"

namespace mrb {

// What an entry of a playlist leads to.
struct EntryTarget {
    enum class Kind {
        NOTHING, // that a list could show
        FILE,
        MISSING, // a file that is not there, or may not be named
        URL      // of another machine
    };
    Kind kind = Kind::NOTHING;
    std::string place = {}; // the absolute path, exact bytes, without links where it is there; the URL
    std::string name = {};  // to show
    FileFacts facts = {};   // of a file
};

// Finds what the entries of one playlist lead to. Owned and used by one thread, which
// may wait for the playlist's device.
class EntryTargets {
  public:
    // `realPlaylist`: the playlist's path without links.
    EntryTargets(const std::string &realPlaylist, PlaylistScope scope);

    // A path is taken as it stands, relative to the playlist's folder, and then, since
    // playlists come from other machines, as those may have meant it.
    EntryTarget find(const PlaylistEntry &entry);

  private:
    [[nodiscard]] EntryTarget findFile(std::string_view written, bool isUri);
    [[nodiscard]] std::vector<std::string> meanings(std::string_view written, bool isUri) const;
    bool look(const std::string &path, EntryTarget &target);
    const std::string &realFolder(const std::string &folder);

    const std::string folder_;
    const PlaylistScope scope_;
    std::unordered_map<std::string, std::string> realFolders_; // empty: there is none
};

} // namespace mrb
