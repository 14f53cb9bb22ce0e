#include "storage/offered_folders.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <utility>

#include "base/log.h"
#include "storage/file_systems.h"
#include "storage/mount_table.h"
#include "text/text.h"

namespace mrb {
namespace {

constexpr std::uint32_t CHANGES =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

// Cached by the kernel, so that a file system that hangs does not block it.
bool isFolder(const std::string &path) {
    struct statx status {};
    return statx(AT_FDCWD, path.c_str(), AT_STATX_DONT_SYNC, STATX_TYPE, &status) == 0 &&
           S_ISDIR(status.stx_mode);
}

int fileSystemOf(const std::string &folder) {
    const MountTable table = readMountTable();
    libmnt_fs *mount = table ? mountHolding(table.get(), folder) : nullptr;
    return mount != nullptr ? fileSystemNumber(entryOf(mount).type) : MRB_FILE_SYSTEM_UNKNOWN;
}

Device describeStorage(const std::string &folder) {
    Device device;
    const std::string path = displayText(folder);
    device.id = "folder:" + path;
    device.name = displayText(std::filesystem::path(folder).filename()) + " (folder offered as a device)";
    device.vendor = "folder";
    device.mountPath = folder;
    device.fileSystem = fileSystemOf(folder);
    device.deviceClass = MRB_STORAGE_CLASS_FOLDER;
    return device;
}

// `number`, from 1, distinguishes cameras of the same name, like an address on a bus.
Device describeCamera(const std::string &folder, int number) {
    Device device;
    device.kind = DeviceKind::CAMERA;
    device.id = "ptp:folder:" + displayText(folder);
    device.name = displayText(std::filesystem::path(folder).filename()) + " (folder offered as a camera)";
    device.vendor = "folder";
    device.address = number;
    device.camera.port = "disk:" + folder;
    device.deviceClass = MRB_STORAGE_CLASS_FOLDER;
    return device;
}

} // namespace

std::vector<std::string> offeredFolders(const char *variable) {
    std::vector<std::string> folders;
    const char *named = std::getenv(variable);
    std::istringstream lines(named != nullptr ? named : "");
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with('/')) {
            if (!line.empty()) {
                MRB_LOG_WARNING("\"%s\" in %s is not an absolute path; it is ignored.",
                                displayText(line).c_str(), variable);
            }
            continue;
        }
        std::string normal = std::filesystem::path(line).lexically_normal();
        while (normal.size() > 1 && normal.ends_with('/')) {
            normal.pop_back();
        }
        folders.push_back(std::move(normal));
    }
    return folders;
}

OfferedFolders::OfferedFolders(std::vector<std::string> folders, DeviceKind kind)
    : folders_(std::move(folders)), kind_(kind) {
    if (folders_.empty()) {
        return;
    }
    changes_ = Descriptor(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!changes_) {
        MRB_LOG_WARNING("Changes of the offered folders will be noticed late: %s.", std::strerror(errno));
    }
}

void OfferedFolders::addDescriptors(std::vector<pollfd> &waited) const {
    waited.push_back({changes_.fd(), POLLIN, 0});
}

void OfferedFolders::scan(DeviceTable &table) {
    alignas(inotify_event) std::array<char, 16 << 10> events{};
    while (changes_ && read(changes_.fd(), events.data(), events.size()) > 0) {
    }
    // Before the check, so that later changes are reported. Watching a folder again has no
    // effect; watches of deleted folders are gone.
    watch();
    int number = 0;
    for (const std::string &folder : folders_) {
        ++number;
        const std::string key = (kind_ == DeviceKind::CAMERA ? "folder camera:" : "folder:") + folder;
        if (!isFolder(folder)) {
            table.remove(key);
        } else if (!table.contains(key)) {
            table.set(key,
                      kind_ == DeviceKind::CAMERA ? describeCamera(folder, number) : describeStorage(folder));
        }
    }
}

// Watches the parents of the folders, from the root on: each of them may be created or removed.
void OfferedFolders::watch() {
    for (const std::string &folder : folders_) {
        std::filesystem::path level;
        for (const auto &part : std::filesystem::path(folder)) {
            // A watch on the folder itself would report its files.
            if (changes_ && !level.empty() && inotify_add_watch(changes_.fd(), level.c_str(), CHANGES) < 0) {
                break;
            }
            level /= part;
        }
    }
}

} // namespace mrb
