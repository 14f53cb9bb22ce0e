#pragma once

#include <string>
#include <vector>

#include "base/descriptor.h"
#include "support/folder.h"

namespace support {

// The types of file systems that can be mounted as a SilentFileSystem. Where the system does
// not give access to the device of such file systems, as in most containers, there are none.
std::vector<const char *> silentFileSystems();

// A mounted file system whose program never responds. Made inside of Surroundings::MOUNTS;
// a test failure when it cannot be mounted. Used by one test thread.
class SilentFileSystem {
  public:
    explicit SilentFileSystem(const char *type);
    ~SilentFileSystem();
    SilentFileSystem(const SilentFileSystem &) = delete;
    SilentFileSystem &operator=(const SilentFileSystem &) = delete;

    [[nodiscard]] std::string path() const { return folder_.path(); }
    [[nodiscard]] std::string path(const std::string &name) const { return folder_.path(name); }

    // Ends its program and unmounts it: threads that wait for it continue.
    void end();

  private:
    const Folder folder_;
    mrb::Descriptor program_; // never read from
};

} // namespace support
