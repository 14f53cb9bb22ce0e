#include "share/open_folders.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "share/file_names.h"

namespace mrb {
namespace {

constexpr mode_t FOLDER_MODE = 0777; // minus the process's mask
constexpr int FOLDER_FLAGS = O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;

int openAt(const OpenFolderPtr &parent, const std::string &name, int flags, OpenFolderPtr &folder) {
    Descriptor descriptor(openat(parent->descriptor.fd(), name.c_str(), flags | FOLDER_FLAGS | O_NOFOLLOW));
    if (!descriptor) {
        return errno;
    }
    folder = std::make_shared<OpenFolder>(OpenFolder{std::move(descriptor), parent});
    return 0;
}

int openOrMake(const OpenFolderPtr &parent, const std::string &name, OpenFolderPtr &folder) {
    const int error = openAt(parent, name, O_RDONLY, folder);
    if (error != ENOENT) {
        return error;
    }
    if (mkdirat(parent->descriptor.fd(), name.c_str(), FOLDER_MODE) != 0 && errno != EEXIST) {
        return errno;
    }
    parent->changed = true;
    return openAt(parent, name, O_RDONLY, folder);
}

} // namespace

int RootFolder::open(const std::string &path, int flags, RootFolder &root) {
    Descriptor descriptor(::open(path.c_str(), flags | FOLDER_FLAGS));
    struct stat status {};
    if (!descriptor || fstat(descriptor.fd(), &status) != 0) {
        return errno;
    }
    root.path_ = path;
    root.folder_ = std::make_shared<OpenFolder>(OpenFolder{std::move(descriptor), nullptr});
    root.device_ = status.st_dev;
    root.file_ = status.st_ino;
    return 0;
}

bool RootFolder::isThere() const {
    struct stat status {};
    return stat(path_.c_str(), &status) == 0 && status.st_dev == device_ && status.st_ino == file_;
}

int openSubfolder(const OpenFolderPtr &parent, const std::string &name, OpenFolderPtr &folder) {
    return openAt(parent, name, O_PATH, folder);
}

int makeSubfolder(const OpenFolderPtr &parent, const std::string &name, OpenFolderPtr &folder) {
    for (NameCandidates names(name, true);;) {
        const int error = openOrMake(parent, names.current(), folder);
        // A file or a link with that name means that the name is taken.
        const bool isTaken = error == ENOTDIR || error == ELOOP;
        if (error == 0 || !names.next(isTaken ? EEXIST : error)) {
            return error;
        }
    }
}

int DirectoryResolver::resolve(std::string_view path, OpenFolderPtr &folder) {
    std::size_t level = 0;
    while (!path.empty()) {
        const std::string_view name = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(name.size() + 1, path.size()));
        if (!isPlainName(name)) {
            return EINVAL;
        }
        if (level == steps_.size() || steps_[level].name != name) {
            steps_.resize(level);
            OpenFolderPtr next;
            const std::string text(name);
            const int error = open_(level == 0 ? start_ : steps_[level - 1].folder, text, next);
            if (error != 0) {
                return error;
            }
            steps_.push_back({text, std::move(next)});
        }
        ++level;
    }
    steps_.resize(level);
    folder = level == 0 ? start_ : steps_.back().folder;
    return 0;
}

} // namespace mrb
