#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mrb {

// A folder in which playlists, and the files that they name, may lie.
struct PlaylistRoot {
    std::string given;     // absolute, without a trailing slash; empty for "/"
    std::string real;      // the same with links resolved
    bool isOfUser = false; // the user's own folder, not a removable storage
};

// The folders in which the entries of one playlist may lie. A plain value.
class PlaylistScope {
  public:
    // `own`: the root in which the playlist itself lies.
    PlaylistScope(PlaylistRoot own, std::vector<PlaylistRoot> others)
        : own_(std::move(own)), others_(std::move(others)) {}

    [[nodiscard]] const std::string &own() const { return own_.real; }

    // The path without "." and "..", and with the links in a root's own path resolved; empty: it
    // lies outside the roots. Does not access files.
    [[nodiscard]] std::string resolve(std::string_view path) const;
    // Whether a path without links and dots lies in a root.
    [[nodiscard]] bool holds(std::string_view realPath) const;

  private:
    PlaylistRoot own_;
    std::vector<PlaylistRoot> others_;
};

// The roots of a machine. A plain value.
class PlaylistRoots {
  public:
    // `storages`: the folders of attached storages, exact bytes; `musicFolder`: the user's,
    // empty: there is none. Those that do not exist are left out. Accesses the folders, so it may
    // wait for their devices.
    PlaylistRoots(const std::vector<std::string> &storages, const std::string &musicFolder);

    // The current roots of this machine.
    static PlaylistRoots ofMachine();

    // The roots that are searched for playlists: those that lie in no other root, the user's
    // last.
    [[nodiscard]] std::vector<PlaylistRoot> searchFolders() const;

    // A playlist on a removable storage may name only files on that storage. Any other playlist
    // is the user's own, and may name files in any root, and in the playlist's own folder.
    [[nodiscard]] PlaylistScope scopeOf(const std::string &realPlaylist) const;

  private:
    std::vector<PlaylistRoot> roots_;
};

// The user's music folder, as in user-dirs.dirs, else ~/Music; empty: the user has disabled it,
// or there is no home folder. Any thread.
std::string musicFolder();

// The absolute path without ".", ".." and repeated slashes; a path above "/" ends at "/". Empty
// for "/". Does not access files.
std::string normalPath(std::string_view path);

// The path of a file with all links resolved; empty: it does not exist.
std::string realPath(const std::string &path);

} // namespace mrb
