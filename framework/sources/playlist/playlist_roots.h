#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mrb {

// A folder in which playlists, and the files that they name, may lie.
struct PlaylistRoot {
    std::string given;     // absolute, without a slash at its end; empty for "/"
    std::string real;      // the same without links
    bool isOfUser = false; // the user's own, and nothing that anybody brought along
};

// Where the entries of one playlist may lie. A plain value.
class PlaylistScope {
  public:
    // `own`: where the playlist itself lies.
    PlaylistScope(PlaylistRoot own, std::vector<PlaylistRoot> others)
        : own_(std::move(own)), others_(std::move(others)) {}

    [[nodiscard]] const std::string &own() const { return own_.real; }

    // The path without "." and "..", and without links as far as a root's own path has
    // some; empty: it lies in no root. Looks at no file.
    [[nodiscard]] std::string place(std::string_view path) const;
    // Whether a path without links and dots lies in a root.
    [[nodiscard]] bool holds(std::string_view realPath) const;

  private:
    PlaylistRoot own_;
    std::vector<PlaylistRoot> others_;
};

// The roots of a machine. A plain value.
class PlaylistRoots {
  public:
    // The folders of attached storages, exact bytes, and the user's music folder; empty:
    // there is none. Those that do not exist are left out. Looks at the folders, so it
    // may wait for their devices.
    PlaylistRoots(const std::vector<std::string> &storages, const std::string &musicFolder);

    // Those of this machine, as they are now.
    static PlaylistRoots ofMachine();

    // Where playlists are looked for: the roots that lie in no other one, the user's last.
    [[nodiscard]] std::vector<PlaylistRoot> toSearch() const;

    // What is brought along names only what is brought along with it: a playlist on a
    // storage, what is on that storage. Any other playlist is the user's own, and names
    // what lies in any root, and in the playlist's own folder.
    [[nodiscard]] PlaylistScope scopeOf(const std::string &realPlaylist) const;

  private:
    std::vector<PlaylistRoot> roots_;
};

// The user's music folder, as user-dirs.dirs says, else ~/Music; empty: the user has
// switched it off, or there is no home. Any thread.
std::string musicFolder();

// The absolute path without ".", ".." and repeated slashes; what would lead above "/"
// stays there. Empty for "/". Looks at no file.
std::string normalPath(std::string_view path);

// The real path of a file, all links followed; empty: there is none.
std::string realPath(const std::string &path);

} // namespace mrb
