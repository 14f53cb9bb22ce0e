#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/descriptor.h"

namespace mrb {

// An open folder and its open parents. Owned by the jobs that use it.
struct OpenFolder {
    Descriptor descriptor;
    std::shared_ptr<OpenFolder> parent;
    bool changed = false; // a name was added and is not flushed yet
};
using OpenFolderPtr = std::shared_ptr<OpenFolder>;

// The root folder of a share, and whether its path still leads to it: it may be removed,
// unmounted, or hidden by another mount. Owned and used by one thread.
class RootFolder {
  public:
    RootFolder() = default;

    // Opens it; returns 0 or an errno. `flags` in addition to O_DIRECTORY and O_CLOEXEC.
    static int open(const std::string &path, int flags, RootFolder &root);

    [[nodiscard]] const OpenFolderPtr &folder() const { return folder_; }
    [[nodiscard]] bool isThere() const;

  private:
    std::string path_;
    OpenFolderPtr folder_;
    std::uint64_t device_ = 0;
    std::uint64_t file_ = 0;
};

// Opens a sub-folder of an open one; returns 0 or an errno. A symbolic link is never followed.
using SubfolderOpener = int (*)(const OpenFolderPtr &parent, const std::string &name, OpenFolderPtr &folder);

// Opens an existing folder to open files in it.
int openSubfolder(const OpenFolderPtr &parent, const std::string &name, OpenFolderPtr &folder);

// Opens a folder for writing, which is created when it does not exist. When the name is taken by
// a file, or refused by the file system, the next possible name is used.
int makeSubfolder(const OpenFolderPtr &parent, const std::string &name, OpenFolderPtr &folder);

// Opens folders below a start folder, and caches the open path, since consecutive files lie in
// the same folder. Owned and used by one thread.
class DirectoryResolver {
  public:
    DirectoryResolver(OpenFolderPtr start, SubfolderOpener open) : start_(std::move(start)), open_(open) {}

    // Opens the folder `path`, names joined with '/' (empty: the start folder); returns 0 or an
    // errno, EINVAL for a path with names such as "..".
    int resolve(std::string_view path, OpenFolderPtr &folder);

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
