#pragma once

#include <sys/types.h>

#include <string>

#include "base/descriptor.h"
#include "share/open_folders.h"

namespace mrb {

// A file that is being written and does not have its name yet. Where the file system
// can, it has none at all, so that not even a crash leaves anything; elsewhere a
// hidden temporary one. It is gone with the object unless it was given its name.
// Owned and used by one thread.
class NewFile {
  public:
    // How the file waits for its name.
    enum class Kind { UNNAMED, TEMPORARY };

    NewFile() = default;
    NewFile(NewFile &&other) noexcept;
    NewFile &operator=(NewFile &&other) noexcept;
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;
    ~NewFile() { discard(); }

    // Makes one in `folder`; an errno. `mode` is its permissions before the process's
    // mask. `kind` is tried first; what has no unnamed files gets a temporary one.
    static int make(OpenFolderPtr folder, mode_t mode, NewFile &file, Kind kind = Kind::UNNAMED);

    [[nodiscard]] int number() const { return descriptor_.number(); }
    [[nodiscard]] const OpenFolderPtr &folder() const { return folder_; }

    // Gives it its name: an errno, EEXIST when that is taken, by whatever. Nobody
    // ever sees less than the whole file under it, and nothing is replaced.
    int giveName(const std::string &name);

    // Has it keep `name` or another that will do, see NameCandidates; an errno.
    int giveNameLike(const std::string &name);

  private:
    void discard();
    int makeTemporary(mode_t mode);

    OpenFolderPtr folder_;
    Descriptor descriptor_;
    std::string temporary_; // its name meanwhile; empty: it has none
};

// The ways to rename a file in its folder without replacing another; each answers an
// errno. The first needs a file system that has such a call; the second one that has
// links; the third takes the name with an empty file, and then replaces that.
int renameByFlag(int folder, const std::string &from, const std::string &to);
int renameByLink(int folder, const std::string &from, const std::string &to);
int renameByReservation(int folder, const std::string &from, const std::string &to);

} // namespace mrb
