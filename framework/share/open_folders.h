#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/descriptor.h"

namespace mrb {

// A folder held open, with those that it lies in. Owned by whoever works in it.
struct OpenFolder {
    Descriptor descriptor;
    std::shared_ptr<OpenFolder> parent;
    bool changed = false; // a name was added that is not on the disk yet
};
using OpenFolderPtr = std::shared_ptr<OpenFolder>;

// The folder on which a share stands, and whether its path still leads to it: it may
// be removed, unmounted, or hidden by another mount. Owned and used by one thread.
class Place {
  public:
    Place() = default;

    // Opens it; an errno. `flags` beside O_DIRECTORY and O_CLOEXEC.
    static int open(const std::string &path, int flags, Place &place);

    [[nodiscard]] const OpenFolderPtr &folder() const { return folder_; }
    [[nodiscard]] bool isThere() const;

  private:
    std::string path_;
    OpenFolderPtr folder_;
    std::uint64_t device_ = 0;
    std::uint64_t file_ = 0;
};

// Opens a sub-folder of an open one; an errno. A symbolic link is never followed.
using SubfolderOpener = int (*)(const OpenFolderPtr &parent, const std::string &name, OpenFolderPtr &folder);

// Opens what is there, to look files up in it.
int openSubfolder(const OpenFolderPtr &parent, const std::string &name, OpenFolderPtr &folder);

// The same to write in it; makes it when it is not there. When something else has
// its name, or the file system refuses that, it gets the next name that will do.
int makeSubfolder(const OpenFolderPtr &parent, const std::string &name, OpenFolderPtr &folder);

// The way from a place down to the folder that is worked in, held open, since
// neighbours lie in the same one. Owned and used by one thread.
class FolderWay {
  public:
    FolderWay(OpenFolderPtr start, SubfolderOpener open) : start_(std::move(start)), open_(open) {}

    // Opens the folder `path`, names joined with '/' (empty: the place); an errno,
    // EINVAL for a path that would lead elsewhere.
    int go(std::string_view path, OpenFolderPtr &folder);

  private:
    struct Step {
        std::string name;
        OpenFolderPtr folder;
    };

    OpenFolderPtr start_;
    SubfolderOpener open_;
    std::vector<Step> steps_;
};

} // namespace mrb
