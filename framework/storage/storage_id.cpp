#include "storage/storage_id.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>

#include "base/deleter.h"
#include "base/on_demand.h"
#include "base/timed_calls.h"
#include "storage/mount_table.h"

namespace mrb {

std::string uuidOfDevice(const std::string &device, const std::string &folder) {
    struct stat deviceStat {};
    if (stat(device.c_str(), &deviceStat) != 0 || !S_ISBLK(deviceStat.st_mode)) {
        return {};
    }
    std::error_code failure;
    std::filesystem::directory_iterator link(folder, failure);
    for (; !failure && link != std::filesystem::directory_iterator(); link.increment(failure)) {
        struct stat found {};
        if (stat(link->path().c_str(), &found) == 0 && S_ISBLK(found.st_mode) &&
            found.st_rdev == deviceStat.st_rdev) {
            return link->path().filename().string();
        }
    }
    return {};
}

namespace {

// The timeout of a client's call.
constexpr auto CALL_LIMIT = std::chrono::milliseconds(100);

// True: `path` is `folder` or lies below it; both without a slash at the end.
bool isWithin(const std::string &path, const std::string &folder) {
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

} // namespace

Status readStorageId(const std::string &path, std::string &id) {
    if (!path.starts_with('/')) {
        return Status::invalidParameter("The mount path \"" + path + "\" is not absolute.");
    }
    const MallocPtr<char> real(realpath(path.c_str(), nullptr));
    if (!real) {
        return Status::ofErrno(errno, path);
    }
    const MountTable table = readMountTable();
    if (!table) {
        return Status::ioError("The table of mounts cannot be read.");
    }
    // Backwards: of several mounts at one mount point, the last one hides the others.
    libmnt_fs *mount = mnt_table_find_mountpoint(table.get(), real.get(), MNT_ITER_BACKWARD);
    if (mount == nullptr) {
        return Status::notFound("No mount contains \"" + path + "\".");
    }
    id = storageIdOf(entryOf(mount));
    return {};
}

Status readStorageIdInTime(const std::string &path, std::string &id) {
    struct Result {
        Status status;
        std::string id;
    };
    static OnDemand<TimedCalls> calls;
    const auto result = std::make_shared<Result>();
    const auto read = [result, path] {
        try {
            result->status = readStorageId(path, result->id);
        } catch (const std::exception &failure) {
            result->status = Status::outOfMemory(failure.what());
        }
    };
    if (!calls.get().run(path, read, std::chrono::steady_clock::now() + CALL_LIMIT)) {
        return Status::timedOut("What holds \"" + path + "\" does not answer in time.");
    }
    id = result->id;
    return result->status;
}

std::vector<Mount> mountsOf(const std::string &folder) {
    const std::string root = folder == "/" ? "" : folder;
    std::vector<Mount> mounts;
    const MountTable table = readMountTable();
    libmnt_fs *holder =
        table ? mnt_table_find_mountpoint(table.get(), folder.c_str(), MNT_ITER_BACKWARD) : nullptr;
    const MountIterator each(mnt_new_iter(MNT_ITER_BACKWARD));
    libmnt_fs *mount = nullptr;
    while (holder != nullptr && each && mnt_table_next_fs(table.get(), each.get(), &mount) == 0) {
        const MountEntry entry = entryOf(mount);
        std::string mountPoint = entry.mountPoint;
        mountPoint = mountPoint == "/" ? "" : mountPoint;
        const bool isKnown = std::ranges::find(mounts, mountPoint, &Mount::mountPoint) != mounts.end();
        if (!isKnown && (mount == holder || isWithin(mountPoint, root))) {
            mounts.push_back({std::move(mountPoint), storageIdOf(entry)});
        }
    }
    std::ranges::stable_sort(mounts, std::greater(),
                             [](const Mount &found) { return found.mountPoint.size(); });
    return mounts;
}

} // namespace mrb
