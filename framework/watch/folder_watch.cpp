#include "watch/folder_watch.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "base/log.h"
#include "media/media_types.h"
#include "watch/file_clock.h"
#include "watch/inotify_events.h"

namespace mrb {
namespace {

constexpr std::uint32_t CONTENTS =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE | IN_ONLYDIR | IN_EXCL_UNLINK;
constexpr std::uint32_t ITSELF = IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
constexpr std::uint32_t COME_OR_GONE = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
constexpr std::uint32_t ENDED = IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED;

std::string errorText(int error) { return std::generic_category().message(error); }

} // namespace

FolderWatch::FolderWatch(std::string root)
    : root_(std::move(root)), events_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)), began_(fileTime()) {
    if (!events_) {
        MRB_LOG_WARNING("Changes below %s will not be noticed: %s", root_.c_str(), errorText(errno).c_str());
    }
}

void FolderWatch::aboutToRead(std::int32_t folder, int descriptor) {
    if (!events_ || rootOnly_) {
        return;
    }
    // By its descriptor: the path may lead elsewhere by now.
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    const bool isRoot = folder == ROOT_FOLDER;
    const bool full = folders_.size() >= MAX_FOLDERS;
    const int watch =
        full ? -1 : inotify_add_watch(fd(), path.c_str(), isRoot ? CONTENTS | ITSELF : CONTENTS);
    if (watch >= 0) {
        folders_.try_emplace(watch, folder);
        if (isRoot) {
            rootWatch_ = watch;
            identity_ = identityOf(descriptor, "").value_or(Identity{});
        }
        return;
    }
    const int error = errno;
    // A folder that was removed again, or may not be watched, loses its own events only.
    if (!isRoot && !full && error != ENOSPC && error != ENOMEM) {
        return;
    }
    const std::string reason = full ? "it has too many folders" : errorText(error);
    if (isRoot) {
        MRB_LOG_WARNING("Changes below %s will not be noticed: %s", root_.c_str(), reason.c_str());
        events_ = Descriptor();
        return;
    }
    MRB_LOG_WARNING("Changes in the sub-folders of %s will not be noticed: %s", root_.c_str(),
                    reason.c_str());
    watchRootOnly(CONTENTS | ITSELF);
}

void FolderWatch::awaitRemoval() { watchRootOnly(ITSELF); }

// Replaces the instance, because each watch that is removed one by one puts an event into
// the queue, and so many may overflow it. One is removed from the old instance: where the
// limit of watches was reached, the new watch takes its place.
void FolderWatch::watchRootOnly(std::uint32_t mask) {
    rootOnly_ = true;
    int expected = 0; // bytes in the old queue
    for (const auto &[watch, folder] : folders_) {
        if (watch != rootWatch_) {
            inotify_rm_watch(fd(), watch);
            expected = sizeof(inotify_event);
            break;
        }
    }
    Descriptor events(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    const int watch = events ? inotify_add_watch(events.fd(), root_.c_str(), mask) : -1;
    if (watch < 0) {
        return; // The old instance serves as well.
    }
    int waiting = 0;
    lost_ = ioctl(fd(), FIONREAD, &waiting) != 0 || waiting > expected;
    events_ = std::move(events);
    rootWatch_ = watch;
    folders_ = {{watch, ROOT_FOLDER}};
}

Change FolderWatch::read(const WatchObserver &list) {
    Change change = std::exchange(lost_, false) ? Change::CHANGED : Change::NONE;
    readEvents(fd(), [&](const inotify_event &event) {
        // Several changes count as one.
        const bool asksRoot = event.wd == rootWatch_ && (event.mask & ENDED) != 0;
        if (change == Change::NONE || (change == Change::CHANGED && asksRoot)) {
            const Change next = meaningOf(list, event.wd, event.mask, event.len > 0 ? event.name : "");
            change = next == Change::NONE ? change : next;
        }
    });
    return change;
}

Change FolderWatch::meaningOf(const WatchObserver &list, int watch, std::uint32_t mask,
                              const char *name) const {
    // Events were lost, and any of them may have mattered.
    if ((mask & IN_Q_OVERFLOW) != 0) {
        return Change::CHANGED;
    }
    if ((mask & ENDED) != 0) {
        if (watch == rootWatch_) {
            return sourceIsThere() ? Change::CHANGED : Change::REMOVED;
        }
        // The parent folder's watch reports the end of a sub-folder, except for an unmount:
        return (mask & IN_UNMOUNT) != 0 ? Change::CHANGED : Change::NONE;
    }
    const auto folder = folders_.find(watch);
    if (folder == folders_.end() || name[0] == '.') {
        return Change::NONE;
    }
    if ((mask & IN_ISDIR) != 0) {
        return isSystemFolder(name) ? Change::NONE : Change::CHANGED;
    }
    const MediaType *type = mediaTypeOf(name);
    if (type == nullptr || !list.shows(type->itemType)) {
        return Change::NONE;
    }
    const bool matters = (mask & COME_OR_GONE) != 0 || isRewritten(list, folder->second, name);
    return matters ? Change::CHANGED : Change::NONE;
}

// Many programs open files for writing without writing.
bool FolderWatch::isRewritten(const WatchObserver &list, std::int32_t folder, const char *name) const {
    const std::optional<ItemInfo> listed = list.listed(folder, name);
    if (!listed) {
        return true;
    }
    const std::string path = root_ + "/" + listed->folder + "/" + listed->name;
    struct statx now {};
    if (statx(AT_FDCWD, path.c_str(), AT_NO_AUTOMOUNT, STATX_SIZE | STATX_MTIME, &now) != 0) {
        return true;
    }
    // The list has the time in seconds; within one second, a file counts as rewritten if it
    // is younger than the opening.
    return listed->size != static_cast<std::int64_t>(now.stx_size) ||
           listed->modified != now.stx_mtime.tv_sec ||
           nanoseconds(now.stx_mtime.tv_sec, now.stx_mtime.tv_nsec) >= began_;
}

bool FolderWatch::sourceIsThere() const { return identityOf(AT_FDCWD, root_.c_str()) == identity_; }

std::optional<FolderWatch::Identity> FolderWatch::identityOf(int folder, const char *path) {
    struct statx status {};
    if (statx(folder, path, AT_EMPTY_PATH | AT_NO_AUTOMOUNT, STATX_INO, &status) != 0) {
        return std::nullopt;
    }
    return Identity{(std::uint64_t{status.stx_dev_major} << 32U) | status.stx_dev_minor, status.stx_ino};
}

} // namespace mrb
