#include "watch/watch_thread.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <iterator>
#include <system_error>
#include <utility>

#include "base/log.h"

namespace mrb {
namespace {

using std::chrono::steady_clock;

// A change is reported when no other has followed for QUIET, at the latest SHUTDOWN_TIMEOUT after the first.
constexpr auto QUIET = std::chrono::milliseconds(200);
constexpr auto SHUTDOWN_TIMEOUT = std::chrono::seconds(2);

// The poll entries that do not belong to lists.
enum { WAKE, MOUNTS, LISTS };

} // namespace

WatchThread::Time WatchThread::Entry::due() const {
    return std::min(lastChange + QUIET, firstChange + SHUTDOWN_TIMEOUT);
}

WatchThread::~WatchThread() { finish(Time::max()); }

void WatchThread::watch(const std::shared_ptr<WatchObserver> &list, std::unique_ptr<Watch> source) {
    if (source->fd() < 0) {
        return; // The watch has logged why.
    }
    MutexLock guard(lock_);
    if (finishing_) {
        return;
    }
    if (entries_.size() >= MAX_LISTS) {
        guard.unlock();
        MRB_LOG_WARNING("A list is not watched for changes: %zu others are.", MAX_LISTS);
        return;
    }
    start();
    auto entry = std::make_shared<Entry>();
    entry->key = list.get();
    entry->list = list;
    entry->source = std::move(source);
    entries_.push_back(std::move(entry));
    wake();
}

void WatchThread::forget(const WatchObserver &list) {
    const MutexLock guard(lock_);
    for (const auto &entry : entries_) {
        if (entry->key == &list) {
            entry->forgotten = true;
            wake();
        }
    }
}

bool WatchThread::finish(Time deadline) {
    {
        const MutexLock guard(lock_);
        finishing_ = true;
        if (thread_.isStarted()) {
            wake();
        }
    }
    return thread_.finish(deadline);
}

void WatchThread::start() {
    if (thread_.isStarted()) {
        return;
    }
    wake_ = Descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!wake_) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    // Signals mounts by POLLPRI. Without it, unmounts while a file is still open (lazy ones) are
    // noticed late; nothing else needs it.
    mounts_ = Descriptor(open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC));
    thread_.start([this] { run(); });
}

void WatchThread::wake() const { eventfd_write(wake_.fd(), 1); }

void WatchThread::run() {
    Entries entries;
    std::vector<pollfd> polled;
    while (collect(entries)) {
        polled.assign({{wake_.fd(), POLLIN, 0}, {mounts_.fd(), POLLPRI, 0}});
        Time due = Time::max();
        for (const auto &entry : entries) {
            polled.push_back({entry->source->fd(), POLLIN, 0});
            due = entry->changed ? std::min(due, entry->due()) : due;
        }
        int timeout = -1;
        if (due != Time::max()) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - steady_clock::now());
            timeout = static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 60'000));
        }
        poll(polled.data(), polled.size(), timeout);
        eventfd_t ignored = 0;
        eventfd_read(wake_.fd(), &ignored);
        const bool mountsChanged = polled[MOUNTS].revents != 0;
        for (std::size_t index = 0; index < entries.size(); ++index) {
            try {
                handle(*entries[index], polled[LISTS + index].revents != 0, mountsChanged);
            } catch (const std::exception &failure) {
                MRB_LOG_ERROR("A change was not reported: %s", failure.what());
            }
        }
    }
}

// Collects the lists to watch now. Forgotten ones close with the last copy of their entry: here,
// since one that was added and forgotten since the last call is held nowhere else. False: the
// thread has to end.
bool WatchThread::collect(Entries &entries) {
    Entries dropped;
    Entries next;
    bool isEnd = false;
    {
        const MutexLock guard(lock_);
        isEnd = finishing_;
        const auto firstDropped =
            std::stable_partition(entries_.begin(), entries_.end(),
                                  [isEnd](const auto &entry) { return !isEnd && !entry->forgotten; });
        dropped.assign(std::make_move_iterator(firstDropped), std::make_move_iterator(entries_.end()));
        entries_.erase(firstDropped, entries_.end());
        next = entries_;
    }
    // Not under the lock, for which the application's calls wait: the kernel takes up to some
    // tens of milliseconds to close an inotify instance.
    entries = std::move(next);
    return !isEnd;
}

void WatchThread::handle(Entry &entry, bool readable, bool mountsChanged) {
    const std::shared_ptr<WatchObserver> list = entry.list.lock();
    if (!list) {
        return;
    }
    const auto now = steady_clock::now();
    const bool isNew = std::exchange(entry.isNew, false);
    Change change = readable || isNew ? entry.source->read(*list) : Change::NONE;
    if (change == Change::CHANGED && !entry.notified) {
        entry.firstChange = entry.changed ? entry.firstChange : now;
        entry.lastChange = now;
        entry.changed = true;
    }
    const bool due = entry.changed && now >= entry.due();
    if (due) {
        // Before the check: from now on the removal is reported.
        entry.source->awaitRemoval();
    }
    if ((due || mountsChanged || isNew) && !entry.source->sourceIsThere()) {
        change = Change::REMOVED;
    }
    if (change == Change::REMOVED) {
        list->sourceRemoved();
        forget(*list);
    } else if (due) {
        entry.changed = false;
        entry.notified = true;
        list->sourceChanged();
    }
}

} // namespace mrb
