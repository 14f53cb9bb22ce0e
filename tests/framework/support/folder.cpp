#include "support/folder.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace support {
namespace {

// In memory where the machine offers that: the tests make tens of thousands of files.
std::filesystem::path placeForFolders() {
    const char *inMemory = "/dev/shm";
    return access(inMemory, W_OK | X_OK) == 0 ? inMemory : std::filesystem::temp_directory_path();
}

void require(bool key, const char *what) {
    if (!key) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

// The capabilities of this thread.
struct Capabilities {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets{};

    Capabilities() { require(syscall(SYS_capget, &header, sets.data()) == 0, "capget"); }
    void apply() { require(syscall(SYS_capset, &header, sets.data()) == 0, "capset"); }
};

} // namespace

Folder::Folder() {
    std::string name = (placeForFolders() / "framework-test-XXXXXX").string();
    require(mkdtemp(name.data()) != nullptr, "mkdtemp");
    require(chmod(name.c_str(), 0755) == 0, "chmod");
    path_ = name;
}

Folder::~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void Folder::file(const std::string &name, std::size_t size) const {
    const std::filesystem::path where = path_ / name;
    std::filesystem::create_directories(where.parent_path());
    std::ofstream(where, std::ios::binary) << std::string(size, 'x');
    if (!std::filesystem::exists(where)) {
        throw std::runtime_error("cannot write " + where.string());
    }
}

void Folder::files(std::initializer_list<const char *> names, std::size_t size) const {
    for (const char *name : names) {
        file(name, size);
    }
}

void Folder::folder(const std::string &name) const { std::filesystem::create_directories(path_ / name); }

void Folder::setModified(const std::string &name, std::int64_t seconds) const {
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    require(utimensat(AT_FDCWD, path(name).c_str(), times, 0) == 0, "utimensat");
}

void Folder::link(const std::string &target, const std::string &name) const {
    std::filesystem::create_symlink(target, path_ / name);
}

void Folder::pictures(int folders, int count) const {
    for (int folderIndex = 1; folderIndex <= folders; ++folderIndex) {
        const std::string where = path(std::to_string(folderIndex));
        std::filesystem::create_directories(where);
        for (int index = 1; index <= count; ++index) {
            const std::string name = where + "/" + std::to_string(index) + ".jpg";
            const int file = open(name.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
            require(file >= 0, "open");
            close(file);
        }
    }
}

void Folder::chain(const std::string &name, int levels) const {
    int at = open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    require(at >= 0, "open");
    for (int level = 0; level < levels; ++level) {
        require(mkdirat(at, name.c_str(), 0755) == 0, "mkdirat");
        const int next = openat(at, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        require(next >= 0, "openat");
        close(at);
        at = next;
    }
    close(at);
}

UnprivilegedFiles::UnprivilegedFiles() {
    Capabilities capabilities;
    const unsigned past = CAP_TO_MASK(CAP_DAC_OVERRIDE) | CAP_TO_MASK(CAP_DAC_READ_SEARCH);
    taken_ = capabilities.sets[0].effective & past;
    capabilities.sets[0].effective &= ~past;
    capabilities.apply();
}

UnprivilegedFiles::~UnprivilegedFiles() {
    Capabilities capabilities;
    capabilities.sets[0].effective |= taken_;
    capabilities.apply();
}

} // namespace support
