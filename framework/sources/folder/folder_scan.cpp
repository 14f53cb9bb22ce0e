#include "sources/folder/folder_scan.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include "base/log.h"
#include "mrb/agent.h"

namespace mrb {
namespace {

// The number of items added under one lock: large enough that locking costs nothing, small enough
// that a script that reads an item never waits.
constexpr std::size_t RUN_LENGTH = 256;

// Folders with more files show their first ones before the others are sorted. Smaller ones are
// sorted at once.
constexpr std::size_t LARGE_FOLDER = 4096;

} // namespace

FolderScan::FolderScan(ItemSink &sink, const std::string &path, FolderMounts *mounts)
    : sink_(sink), path_(path), mounts_(mounts), reader_(sink), order_(sink) {}

FillResult FolderScan::run(Descriptor folder) {
    const auto root = std::make_shared<Descriptor>(std::move(folder));
    Step step = readContents(root, ROOT_FOLDER, 0, "");
    while (step == Step::GO_ON && !pending_.empty()) {
        step = sink_.cancellation().isCancelled() ? end(Status::cancelled()) : visitNext();
    }
    return std::move(result_);
}

FolderScan::Step FolderScan::visitNext() {
    const Pending pending = std::move(pending_.back());
    pending_.pop_back();
    const std::string name(names_.begin() + static_cast<std::ptrdiff_t>(pending.name), names_.end());
    names_.resize(pending.name);
    // Without following a link: the folder may have been replaced by a link.
    Descriptor folder(openat(pending.parent->fd(), name.c_str(),
                             O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    const int error = folder ? 0 : errno;
    if (error == ENOENT || error == ENOTDIR || error == ELOOP) {
        return Step::GO_ON;
    }
    FileStat stat;
    if (folder) {
        statFile(folder.fd(), "", stat);
    } else {
        statFile(pending.parent->fd(), name.c_str(), stat);
    }
    const std::int32_t number = sink_.addFolder(pending.parentFolder, name);
    const SourceItem item{.name = name,
                          .folder = pending.parentFolder,
                          .type = MRB_ITEM_TYPE_FOLDER,
                          .modified = stat.modified,
                          .created = stat.created,
                          .opens = number};
    if (number < 0 || !sink_.add({&item, 1})) {
        return end(Status::cancelled());
    }
    if (!folder) {
        return failed(error, pending.level, name);
    }
    if (pending.level > MAX_LEVEL) {
        ++result_.tooDeep;
        return Step::GO_ON;
    }
    return readContents(std::make_shared<Descriptor>(std::move(folder)), number, pending.level, name);
}

FolderScan::Step FolderScan::readContents(const std::shared_ptr<Descriptor> &folder, std::int32_t number,
                                          int level, const std::string &name) {
    files_.clear();
    folders_.clear();
    sink_.aboutToRead(number, folder->fd());
    if (mounts_ != nullptr) {
        mounts_->add(folder->fd());
    }
    int error = reader_.read(folder->fd(), files_, folders_);
    if (!addFiles(*folder, number, error)) {
        return end(Status::cancelled());
    }
    if (error != 0 && failed(error, level, name) == Step::END) {
        return Step::END;
    }
    return awaitFolders(folder, number, level + 1) ? Step::GO_ON : end(Status::cancelled());
}

// A folder that cannot be read costs only its own contents, unless it is the one on which the
// list was opened, or the whole device is gone.
FolderScan::Step FolderScan::failed(int error, int level, const std::string &name) {
    const Status status = Status::ofErrno(error, level == 0 ? path_ : name);
    if (level == 0 || status.code == MRB_ERR_CANCELLED || status.code == MRB_ERR_DEVICE_REMOVED) {
        return end(status);
    }
    if (error != ENOENT) {
        ++result_.unreadable;
        MRB_LOG_WARNING("Folder not read: %s (below %s)", status.message.c_str(), path_.c_str());
    }
    return Step::GO_ON;
}

bool FolderScan::addFiles(const Descriptor &folder, std::int32_t number, int &failure) {
    PagedVector<std::uint32_t> order;
    if (files_.size() > LARGE_FOLDER &&
        (!order_.first(files_, RUN_LENGTH, order) || !add(folder, order, number, failure))) {
        return false;
    }
    const std::size_t added = order.size();
    return order_.rest(files_, order) && add(folder, std::span(order).subspan(added), number, failure);
}

bool FolderScan::add(const Descriptor &folder, std::span<const std::uint32_t> files, std::int32_t number,
                     int &failure) {
    std::vector<SourceItem> run;
    run.reserve(std::min(files.size(), RUN_LENGTH));
    for (const std::uint32_t file : files) {
        if (sink_.cancellation().isCancelled()) {
            return false;
        }
        const std::string_view name = files_.name(file);
        FileStat stat = files_.stat(file).value_or(FileStat{});
        const int error = files_.stat(file) ? 0 : FolderReader::readFile(folder.fd(), name.data(), stat);
        if (error == 0) {
            run.push_back({name, {}, number, files_.type(file), stat.size, stat.modified, stat.created});
        } else if (error != ENOENT && failure == 0) {
            failure = error;
        }
        if (run.size() == RUN_LENGTH) {
            if (!sink_.add(run)) {
                return false;
            }
            run.clear();
        }
    }
    return run.empty() || sink_.add(run);
}

bool FolderScan::awaitFolders(const std::shared_ptr<Descriptor> &folder, std::int32_t number, int level) {
    PagedVector<std::uint32_t> order;
    if (!order_.rest(folders_, order)) {
        return false;
    }
    for (auto next = order.rbegin(); next != order.rend(); ++next) {
        const std::string_view name = folders_.name(*next);
        pending_.push_back({folder, names_.size(), number, level});
        names_.insert(names_.end(), name.begin(), name.end());
    }
    return true;
}

FolderScan::Step FolderScan::end(Status status) {
    result_.status = std::move(status);
    return Step::END;
}

} // namespace mrb
