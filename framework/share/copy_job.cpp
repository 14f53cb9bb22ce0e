#include "share/copy_job.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "mrb/agent.h"
#include "text/text.h"

namespace mrb {
namespace {

using std::chrono::steady_clock;

// The maximum of files that wait for their names: enough for one flush of the device to pay off.
constexpr std::size_t MAX_QUEUED = 64;
constexpr std::uint64_t MAX_QUEUED_BYTES = 32UL << 20;

// The interval at which the destination is checked to exist.
constexpr auto POLL_INTERVAL = std::chrono::milliseconds(200);

constexpr std::uint64_t MIN_BLOCK_BYTES = 512;

bool isRemoved(int error) { return resultOfErrno(error) == MRB_ERR_DEVICE_REMOVED; }

Status statusOfWriting(int error, const std::string &name) {
    if (error == EFBIG) {
        return Status::noSpace("Writing " + name + ": the destination cannot hold files as large as this.");
    }
    return Status::ofErrno(error, "Writing " + name);
}

// An errno.
int setTimes(int file, const std::array<timespec, 2> &times) {
    // A file system may not support time stamps; the copy is complete all the same.
    const int error = futimens(file, times.data()) == 0 ? 0 : errno;
    return error == EPERM || error == EOPNOTSUPP || error == EINVAL ? 0 : error;
}

} // namespace

CopyJob::CopyJob(std::shared_ptr<ListSession> list, Selection selection,
                 std::unique_ptr<CopySource> copySource, RootFolder destination)
    : list_(std::move(list)), selection_(std::move(selection)), source_(std::move(copySource)),
      destination_(std::move(destination)), resolver_(destination_.folder(), makeSubfolder) {}

Status CopyJob::make(std::shared_ptr<ListSession> list, Selection selection,
                     std::unique_ptr<CopySource> copySource, const std::string &destination,
                     std::unique_ptr<Job> &job) {
    const std::string path =
        destination.starts_with("file://") ? pathOfFileUri(destination).value_or("") : destination;
    if (!path.starts_with('/')) {
        return Status::invalidParameter("The destination \"" + destination +
                                        "\" is neither an absolute path nor a file:// URI.");
    }
    RootFolder root;
    if (const int error = RootFolder::open(path, O_RDONLY, root); error != 0) {
        return Status::ofErrno(error, path);
    }
    if (faccessat(root.folder()->descriptor.fd(), ".", W_OK | X_OK, AT_EACCESS) != 0) {
        return Status::ofErrno(errno, path);
    }
    job.reset(new CopyJob(std::move(list), std::move(selection), std::move(copySource), std::move(root)));
    return {};
}

JobResult CopyJob::run(JobObserver &observer) {
    CopyPlan plan;
    if (begin(observer, plan) && copy(plan, observer) == Step::GO_ON &&
        finishWaiting(observer) == Step::GO_ON) {
        end(lastEvent());
    }
    // Before the last event is posted: a client that receives it finds no temporary files.
    waiting_.clear();
    failures_.conclude();
    return std::move(result_);
}

int CopyJob::lastEvent() {
    if (result_.status.ok()) {
        return MRB_EVENT_SHARE_DONE;
    }
    // While a removal deletes file by file, the source still exists when the first of them is
    // missed.
    return source_->isThere() ? MRB_EVENT_SHARE_FAILED : MRB_EVENT_DEVICE_REMOVED;
}

bool CopyJob::begin(JobObserver &observer, CopyPlan &plan) {
    struct statvfs space {};
    // A file system that does not report its size has no known limit.
    const bool isKnown = fstatvfs(destination_.folder()->descriptor.fd(), &space) == 0 && space.f_blocks > 0;
    const std::uint64_t block = std::max<std::uint64_t>(space.f_frsize, MIN_BLOCK_BYTES);
    plan = planCopy(list_->list(), selection_, block, observer.cancellation());
    observer.begins(plan.files, plan.bytes);
    if (observer.cancellation().isCancelled()) {
        end(MRB_EVENT_SHARE_STOPPED);
        return false;
    }
    const std::uint64_t free = std::uint64_t{space.f_bavail} * block;
    const bool hasNames = space.f_files == 0 || space.f_favail >= plan.files;
    if (isKnown && (plan.needed > free || !hasNames)) {
        failures_.add(Status::noSpace("The copy needs " + std::to_string(plan.needed) + " bytes; " +
                                      std::to_string(free) + " are free."),
                      "", result_);
        end(MRB_EVENT_SHARE_NO_SPACE);
        return false;
    }
    const Status status = source_->begin(observer.cancellation());
    if (status.ok()) {
        return true;
    }
    if (status.code == MRB_ERR_CANCELLED) {
        end(MRB_EVENT_SHARE_STOPPED);
        return false;
    }
    failures_.add(status, "", result_);
    end(status.code == MRB_ERR_DEVICE_REMOVED ? MRB_EVENT_DEVICE_REMOVED : MRB_EVENT_SHARE_FAILED);
    return false;
}

CopyJob::Step CopyJob::copy(const CopyPlan &plan, JobObserver &observer) {
    for (const std::int32_t number : plan.items) {
        if (observer.cancellation().isCancelled()) {
            return end(MRB_EVENT_SHARE_STOPPED);
        }
        if (copyItem(list_->list().infoOf(number), plan.common, observer) == Step::END) {
            return Step::END;
        }
        const bool isEnough =
            waiting_.size() + folders_.size() >= MAX_QUEUED || waitingBytes_ >= MAX_QUEUED_BYTES;
        if (isEnough && finishWaiting(observer) == Step::END) {
            return Step::END;
        }
    }
    return Step::GO_ON;
}

CopyJob::Step CopyJob::copyItem(const ItemInfo &item, const std::string &common, JobObserver &observer) {
    const bool isFolder = item.type == MRB_ITEM_TYPE_FOLDER;
    std::string path = item.folder;
    if (isFolder) {
        path.append(path.empty() ? "" : "/").append(item.name);
    }
    // The source first: for a folder that is gone, none is created.
    CopySource::File source;
    const Status opened = source_->open(item, observer.cancellation(), source);
    if (!opened.ok()) {
        return sourceFailed(opened, item.name);
    }
    path.erase(0, common.empty() ? 0 : common.size() + 1);
    OpenFolderPtr to;
    if (const int error = resolver_.resolve(source_->pathOf(std::move(path)), to); error != 0) {
        return destinationFailed(error, item.name);
    }
    if (isFolder) {
        folders_.push_back(std::move(to));
        return Step::GO_ON;
    }
    return copyFile(source, item, std::move(to), observer);
}

CopyJob::Step CopyJob::copyFile(const CopySource::File &source, const ItemInfo &item, OpenFolderPtr folder,
                                JobObserver &observer) {
    const auto planned = static_cast<std::uint64_t>(std::max<std::int64_t>(item.size, 0));
    // The list had a smaller size, so the check before the copy did not cover this file.
    if (source.size > planned && !hasRoom(source.size)) {
        return destinationFailed(ENOSPC, item.name);
    }
    NewFile file;
    if (const int error = NewFile::make(std::move(folder), source.mode, file); error != 0) {
        return destinationFailed(error, item.name);
    }
    const std::string name = source_->nameOf(item);
    observer.fileBegins(displayText(name), source.size, planned);
    bool isThere = true;
    CopyResult copied = source_->copy(file.fd(), [&](std::uint64_t bytes) {
        observer.fileMoves(bytes);
        isThere = isThere && isDestinationThere();
        return isThere && !observer.cancellation().isCancelled();
    });
    if (copied.isWhole()) {
        copied.destinationError = setTimes(file.fd(), source.times);
    }
    observer.fileEnds(copied.isWhole());
    if (!copied.isWhole()) {
        return isThere ? copyFailed(copied, item.name) : destinationFailed(ENODEV, item.name);
    }
    // The device writes while the next file is read.
    sync_file_range(file.fd(), 0, 0, SYNC_FILE_RANGE_WRITE);
    waiting_.push_back({std::move(file), name, copied.bytes});
    waitingBytes_ += copied.bytes;
    return Step::GO_ON;
}

// The bytes are flushed before the names, and the names before the next batch, so that a name
// never stands for an incomplete file, even after a crash.
CopyJob::Step CopyJob::finishWaiting(const JobObserver &observer) {
    for (Waiting &waiting : waiting_) {
        if (observer.cancellation().isCancelled()) {
            return end(MRB_EVENT_SHARE_STOPPED);
        }
        if (fdatasync(waiting.file.fd()) != 0) {
            return destinationFailed(errno, waiting.name);
        }
    }
    for (Waiting &waiting : waiting_) {
        if (observer.cancellation().isCancelled()) {
            return end(MRB_EVENT_SHARE_STOPPED);
        }
        if (nameWaiting(waiting) == Step::END) {
            return Step::END;
        }
        if (folders_.empty() || folders_.back() != waiting.file.folder()) {
            folders_.push_back(waiting.file.folder());
        }
    }
    waiting_.clear();
    waitingBytes_ = 0;
    return saveFolders();
}

CopyJob::Step CopyJob::nameWaiting(Waiting &waiting) {
    if (const int error = waiting.file.giveNameLike(waiting.name); error != 0) {
        return destinationFailed(error, waiting.name);
    }
    ++result_.files;
    result_.bytes += waiting.size;
    return Step::GO_ON;
}

CopyJob::Step CopyJob::saveFolders() {
    for (OpenFolderPtr folder : std::exchange(folders_, {})) {
        for (; folder; folder = folder->parent) {
            // Some file systems cannot flush a folder, and fail with these errors.
            if (std::exchange(folder->changed, false) && fsync(folder->descriptor.fd()) != 0 &&
                errno != EINVAL && errno != ENOSYS) {
                return destinationFailed(errno, "");
            }
        }
    }
    // With a removed folder, the files in it are gone.
    return destination_.isThere() ? Step::GO_ON : destinationFailed(ENODEV, "");
}

CopyJob::Step CopyJob::copyFailed(const CopyResult &copied, const std::string &name) {
    if (copied.isCancelled) {
        return end(MRB_EVENT_SHARE_STOPPED);
    }
    return copied.destinationError != 0 ? destinationFailed(copied.destinationError, name)
                                        : sourceFailed(copied.source, name);
}

CopyJob::Step CopyJob::sourceFailed(const Status &status, const std::string &name) {
    if (status.code == MRB_ERR_CANCELLED) {
        return end(MRB_EVENT_SHARE_STOPPED);
    }
    failures_.add(status, name, result_);
    if (status.code == MRB_ERR_DEVICE_REMOVED || !source_->isThere()) {
        return end(MRB_EVENT_DEVICE_REMOVED);
    }
    // After a timeout, every other file would time out too.
    return status.code == MRB_ERR_TIMEOUT ? end(MRB_EVENT_SHARE_FAILED) : Step::GO_ON;
}

CopyJob::Step CopyJob::destinationFailed(int error, const std::string &name) {
    const bool isGone = isRemoved(error) || !destination_.isThere();
    const bool isOfThisFile = error == EFBIG || error == EINVAL || error == EILSEQ || error == ENAMETOOLONG;
    failures_.add(isGone ? Status::deviceRemoved("The destination is gone.")
                         : statusOfWriting(error, displayText(name)),
                  name, result_);
    if (isGone) {
        return end(MRB_EVENT_DEVICE_REMOVED);
    }
    return isOfThisFile ? Step::GO_ON : end(MRB_EVENT_SHARE_FAILED);
}

// A file system that does not report its size has no known limit.
bool CopyJob::hasRoom(std::uint64_t bytes) const {
    struct statvfs space {};
    return fstatvfs(destination_.folder()->descriptor.fd(), &space) != 0 || space.f_blocks == 0 ||
           bytes <= std::uint64_t{space.f_bavail} * std::max<std::uint64_t>(space.f_frsize, MIN_BLOCK_BYTES);
}

CopyJob::Step CopyJob::end(int event) {
    result_.event = event;
    return Step::END;
}

bool CopyJob::isDestinationThere() {
    const auto now = steady_clock::now();
    if (now - lookedAt_ < POLL_INTERVAL) {
        return true;
    }
    lookedAt_ = now;
    return destination_.isThere();
}

} // namespace mrb
