#pragma once

#include <sys/types.h>

#include <string>

#include "base/descriptor.h"
#include "share/open_folders.h"

namespace mrb {

// A file that is being written and does not have its name yet. Where the file system supports it,
// it has no name at all, so that not even a crash leaves a file; elsewhere a hidden temporary
// one. It is deleted with the object unless it was given its name. Owned and used by one thread.
class NewFile {
  public:
    // The state of the file before it gets its name.
    enum class Kind { UNNAMED, TEMPORARY };

    NewFile() = default;
    NewFile(NewFile &&other) noexcept;
    NewFile &operator=(NewFile &&other) noexcept;
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;
    ~NewFile() { discard(); }

    // Creates one in `folder`; returns 0 or an errno. `mode` is its permissions before the
    // process's mask. `kind` is tried first; a file system without unnamed files gets a temporary
    // one.
    static int make(OpenFolderPtr folder, mode_t mode, NewFile &file, Kind kind = Kind::UNNAMED);

    [[nodiscard]] int fd() const { return descriptor_.fd(); }
    [[nodiscard]] const OpenFolderPtr &folder() const { return folder_; }

    // Gives it its name; returns 0 or an errno, EEXIST when the name is taken. Only the complete
    // file is ever visible under it, and nothing is replaced.
    int giveName(const std::string &name);

    // Gives it `name` or the next possible one, see NameCandidates; returns 0 or an errno.
    int giveNameLike(const std::string &name);

  private:
    void discard();
    int makeTemporary(mode_t mode);

    OpenFolderPtr folder_;
    Descriptor descriptor_;
    std::string temporary_; // its temporary name; empty: none
};

// The ways to rename a file in its folder without replacing another; each returns 0 or an errno.
// The first needs a file system with that call; the second one with hard links; the third creates
// an empty file with the new name, and then replaces that.
int renameByFlag(int folder, const std::string &from, const std::string &to);
int renameByLink(int folder, const std::string &from, const std::string &to);
int renameByReservation(int folder, const std::string &from, const std::string &to);

} // namespace mrb
