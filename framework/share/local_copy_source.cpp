#include "share/local_copy_source.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "share/file_names.h"
#include "text/text.h"

namespace mrb {
namespace {

// The permissions to read and write are copied, as far as the process's mask allows; the one to
// execute is not, since media are not programs.
constexpr mode_t COPIED_MODE = 0666;

Status statusOfFile(int error, const std::string &name) {
    return error == 0 ? Status() : Status::ofErrno(error, displayText(name));
}

} // namespace

Status LocalCopySource::begin(const CancellationToken & /*cancellation*/) {
    int error = RootFolder::open(root_, O_PATH, rootFolder_);
    const MountIdentity listed = mountOfRoot();
    if (error == 0 && listed.isKnown && mountIdentityOf(rootFolder_.folder()->descriptor.fd()) != listed) {
        error = ENODEV; // another mount, or the folder on which it was mounted
    }
    if (error == 0) {
        resolver_.emplace(rootFolder_.folder(), openSubfolder);
        return {};
    }
    Status status = Status::ofErrno(error, root_);
    status.code = error == ENOENT ? MRB_ERR_DEVICE_REMOVED : status.code;
    return status;
}

// Another file system may be mounted below the root now; then the source as a whole is not gone.
int LocalCopySource::goTo(std::string_view path, const MountIdentity &mount, OpenFolderPtr &folder) {
    const int error = resolver_->resolve(path, folder);
    const bool isOther = error == 0 && mount.isKnown && mountIdentityOf(folder->descriptor.fd()) != mount;
    return isOther ? ENOENT : error;
}

Status LocalCopySource::openFile(std::string_view path, LastLink link, const MountIdentity &mount,
                                 const std::string &name, File &file) {
    const std::size_t slash = path.rfind('/');
    const std::string last(path.substr(slash == std::string_view::npos ? 0 : slash + 1));
    OpenFolderPtr from;
    const int error = goTo(path.substr(0, slash == std::string_view::npos ? 0 : slash), mount, from);
    if (error != 0 || !isPlainName(last)) {
        return statusOfFile(error != 0 ? error : EINVAL, name);
    }
    // A file that was listed may be a pipe now, which would block.
    const int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    file_ = Descriptor(
        openat(from->descriptor.fd(), last.c_str(), link == LastLink::FOLLOWED ? flags : flags | O_NOFOLLOW));
    if (!file_) {
        return statusOfFile(errno, name);
    }
    struct stat fileStat {};
    if (fstat(file_.fd(), &fileStat) != 0 || !S_ISREG(fileStat.st_mode)) {
        return statusOfFile(S_ISREG(fileStat.st_mode) ? errno : ENOENT, name);
    }
    name_ = name;
    size_ = static_cast<std::uint64_t>(fileStat.st_size);
    file = {size_, fileStat.st_mode & COPIED_MODE, {fileStat.st_atim, fileStat.st_mtim}};
    return {};
}

Status LocalCopySource::openFolder(std::string_view path, const MountIdentity &mount,
                                   const std::string &name) {
    OpenFolderPtr folder;
    return statusOfFile(goTo(path, mount, folder), name);
}

CopyResult LocalCopySource::copy(int destination, const std::function<bool(std::uint64_t)> &moved) {
    return copier_.copy(file_.fd(), displayText(name_), destination, size_, moved);
}

} // namespace mrb
