#include "share/folder_origin.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "mrb/agent.h"
#include "share/file_names.h"
#include "text/text.h"

namespace mrb {
namespace {

// A copy may be read and written by whom its original may, as far as the process's
// mask allows; pictures are no programs.
constexpr mode_t COPIED_MODE = 0666;

Outcome outcomeOfFile(int error, const std::string &name) {
    if (error == ENODATA) {
        return {MRB_ERR_IO, displayText(name) + ": the file became shorter while it was copied."};
    }
    return outcomeOfErrno(error, displayText(name));
}

} // namespace

Outcome FolderOrigin::begin(const Stopped & /*isStopped*/) {
    const int error = Place::open(root_, O_PATH, place_);
    if (error == 0) {
        way_.emplace(place_.folder(), openSubfolder);
        return {};
    }
    Outcome outcome = outcomeOfErrno(error, root_);
    outcome.code = error == ENOENT ? MRB_ERR_DEVICE_REMOVED : outcome.code;
    return outcome;
}

Outcome FolderOrigin::open(const ItemFacts &item, const Stopped & /*isStopped*/, File &file) {
    const bool isFolder = item.type == MRB_ITEM_TYPE_FOLDER;
    std::string path = item.folder;
    if (isFolder) {
        path.append(path.empty() ? "" : "/").append(item.name);
    }
    OpenFolderPtr from;
    if (const int error = way_->go(path, from); error != 0) {
        return outcomeOfFile(error, item.name);
    }
    if (isFolder) {
        return {};
    }
    if (!isPlainName(item.name)) {
        return outcomeOfFile(EINVAL, item.name);
    }
    // What was a file when it was listed may be a pipe by now, which would wait.
    file_ = Descriptor(
        openat(from->descriptor.number(), item.name.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file_) {
        return outcomeOfFile(errno, item.name);
    }
    struct stat status {};
    if (fstat(file_.number(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return outcomeOfFile(S_ISREG(status.st_mode) ? errno : ENOENT, item.name);
    }
    name_ = item.name;
    size_ = static_cast<std::uint64_t>(status.st_size);
    file = {size_, status.st_mode & COPIED_MODE, {status.st_atim, status.st_mtim}};
    return {};
}

Origin::End FolderOrigin::copy(int destination, const std::function<bool(std::uint64_t)> &moved) {
    const CopyEnd copied = copier_.copy(file_.number(), destination, size_, moved);
    return {copied.sourceError != 0 ? outcomeOfFile(copied.sourceError, name_) : Outcome(),
            copied.destinationError, copied.stopped, size_};
}

} // namespace mrb
