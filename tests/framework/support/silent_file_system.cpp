#include "support/silent_file_system.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cstdlib>

namespace support {
namespace {

mrb::Descriptor openFuse() { return mrb::Descriptor(open("/dev/fuse", O_RDWR | O_CLOEXEC)); }

} // namespace

std::vector<const char *> silentFileSystems() {
    return openFuse() ? std::vector{"fuse"} : std::vector<const char *>();
}

SilentFileSystem::SilentFileSystem(const char *type) : program_(openFuse()) {
    unsetenv("MRB_DEVICE_TIMEOUT"); // its tests hold the usual one
    const std::string options =
        "fd=" + std::to_string(program_.fd()) + ",rootmode=40000,user_id=0,group_id=0";
    EXPECT_EQ(mount("dead", path().c_str(), type, 0, options.c_str()), 0);
}

SilentFileSystem::~SilentFileSystem() { end(); }

void SilentFileSystem::end() {
    program_ = mrb::Descriptor();
    umount2(path().c_str(), MNT_DETACH);
}

} // namespace support
