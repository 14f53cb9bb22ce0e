#include "watch/file_watch.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/log.h"
#include "watch/file_clock.h"
#include "watch/inotify_events.h"

namespace mrb {
namespace {

// On the folder: programs mostly replace a file by another one of its name.
constexpr std::uint32_t WATCHED = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE |
                                  IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

} // namespace

FileWatch::FileWatch(std::string path)
    : path_(std::move(path)), events_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)), began_(fileTime()) {
    const std::string folder = path_.substr(0, path_.rfind('/') + 1);
    if (!events_ || inotify_add_watch(fd(), folder.c_str(), WATCHED) < 0) {
        MRB_LOG_WARNING("Changes of %s will not be noticed: %s", path_.c_str(),
                        std::generic_category().message(errno).c_str());
        events_ = Descriptor();
    }
}

void FileWatch::aboutToRead(std::int32_t folder, int descriptor) {
    if (folder == ROOT_FOLDER) {
        followed_ = stateOf(descriptor, "");
    }
}

// The first read needs no event: the file may have been replaced between its opening and
// the start of the watch.
Change FileWatch::read(const WatchObserver & /*list*/) {
    const bool written = isWritten();
    const std::optional<State> now = stateOf(AT_FDCWD, path_.c_str());
    // Writes within one tick of the clock have the same time.
    const bool isYoung = now && now->modified >= began_;
    return now == followed_ && !(written && isYoung) ? Change::NONE : Change::CHANGED;
}

// Whether an event that has arrived reports that the file was written.
bool FileWatch::isWritten() {
    const std::string_view name = std::string_view(path_).substr(path_.rfind('/') + 1);
    bool found = false;
    readEvents(fd(), [&](const inotify_event &event) {
        const bool isLost = (event.mask & IN_Q_OVERFLOW) != 0;
        const bool isClosed = (event.mask & IN_CLOSE_WRITE) != 0 && event.len > 0;
        found = found || isLost || (isClosed && event.name == name);
    });
    return found;
}

std::optional<FileWatch::State> FileWatch::stateOf(int folder, const char *path) {
    struct statx status {};
    const int flags = AT_EMPTY_PATH | AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
    if (statx(folder, path, flags, STATX_INO | STATX_SIZE | STATX_MTIME, &status) != 0) {
        return std::nullopt;
    }
    return State{(std::uint64_t{status.stx_dev_major} << 32U) | status.stx_dev_minor, status.stx_ino,
                 status.stx_size, nanoseconds(status.stx_mtime.tv_sec, status.stx_mtime.tv_nsec)};
}

} // namespace mrb
