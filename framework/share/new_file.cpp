#include "share/new_file.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "share/file_names.h"

namespace mrb {
namespace {

constexpr int MAX_TEMPORARY_NAMES = 100;

// Hidden, so that lists of the folder do not show it.
std::string temporaryName() {
    std::uint64_t random = 0;
    if (getrandom(&random, sizeof random, GRND_NONBLOCK) < 0) {
        random = static_cast<std::uint64_t>(getpid());
    }
    std::array<char, 40> name{};
    std::snprintf(name.data(), name.size(), ".mrb-%016llx.part", static_cast<unsigned long long>(random));
    return name.data();
}

// Whether the file system does not support the call, whatever the name.
bool isUnknownCall(int error) {
    return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP || error == EISDIR;
}

} // namespace

int renameByFlag(int folder, const std::string &from, const std::string &to) {
    return renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE) == 0 ? 0 : errno;
}

int renameByLink(int folder, const std::string &from, const std::string &to) {
    if (linkat(folder, from.c_str(), folder, to.c_str(), 0) != 0) {
        return errno;
    }
    unlinkat(folder, from.c_str(), 0);
    return 0;
}

int renameByReservation(int folder, const std::string &from, const std::string &to) {
    const Descriptor reserved(
        openat(folder, to.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_NOFOLLOW | O_CLOEXEC, 0600));
    struct stat ours {};
    struct stat there {};
    if (!reserved || fstat(reserved.fd(), &ours) != 0) {
        return errno;
    }
    // Another program may have put another file there; that one stays.
    const bool isOurs = fstatat(folder, to.c_str(), &there, AT_SYMLINK_NOFOLLOW) == 0 &&
                        there.st_dev == ours.st_dev && there.st_ino == ours.st_ino && there.st_size == 0;
    if (!isOurs) {
        return EEXIST;
    }
    if (renameat(folder, from.c_str(), folder, to.c_str()) == 0) {
        return 0;
    }
    const int error = errno;
    unlinkat(folder, to.c_str(), 0);
    return error;
}

NewFile::NewFile(NewFile &&other) noexcept
    : folder_(std::move(other.folder_)), descriptor_(std::move(other.descriptor_)),
      temporary_(std::exchange(other.temporary_, {})) {}

NewFile &NewFile::operator=(NewFile &&other) noexcept {
    std::swap(folder_, other.folder_);
    std::swap(descriptor_, other.descriptor_);
    std::swap(temporary_, other.temporary_);
    return *this;
}

int NewFile::make(OpenFolderPtr folder, mode_t mode, NewFile &file, Kind kind) {
    NewFile made;
    made.folder_ = std::move(folder);
    int error = EOPNOTSUPP;
    if (kind == Kind::UNNAMED) {
        const int at = made.folder_->descriptor.fd();
        made.descriptor_ = Descriptor(openat(at, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, mode));
        error = made.descriptor_ ? 0 : errno;
    }
    if (isUnknownCall(error)) {
        error = made.makeTemporary(mode);
    }
    if (error == 0) {
        file = std::move(made);
    }
    return error;
}

int NewFile::makeTemporary(mode_t mode) {
    int error = EEXIST;
    for (int tries = 0; error == EEXIST && tries < MAX_TEMPORARY_NAMES; ++tries) {
        const std::string name = temporaryName();
        descriptor_ = Descriptor(openat(folder_->descriptor.fd(), name.c_str(),
                                        O_CREAT | O_EXCL | O_RDWR | O_NOFOLLOW | O_CLOEXEC, mode));
        error = descriptor_ ? 0 : errno;
        if (error == 0) {
            temporary_ = name;
        }
    }
    return error;
}

int NewFile::giveName(const std::string &name) {
    const int folder = folder_->descriptor.fd();
    int error = 0;
    if (temporary_.empty()) {
        const std::string file = "/proc/self/fd/" + std::to_string(fd());
        error = linkat(AT_FDCWD, file.c_str(), folder, name.c_str(), AT_SYMLINK_FOLLOW) == 0 ? 0 : errno;
    } else {
        error = renameByFlag(folder, temporary_, name);
        if (isUnknownCall(error)) {
            error = renameByLink(folder, temporary_, name);
        }
        if (isUnknownCall(error) || error == EPERM) {
            error = renameByReservation(folder, temporary_, name);
        }
    }
    if (error == 0) {
        temporary_.clear();
        folder_->changed = true;
    }
    return error;
}

int NewFile::giveNameLike(const std::string &name) {
    for (NameCandidates names(name, false);;) {
        const int error = giveName(names.current());
        if (error == 0 || !names.next(error)) {
            return error;
        }
    }
}

void NewFile::discard() {
    if (!temporary_.empty()) {
        unlinkat(folder_->descriptor.fd(), temporary_.c_str(), 0);
        temporary_.clear();
    }
}

} // namespace mrb
