#include "thumbnail/memory_file.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace mrb::thumbnail {

Status MemoryFile::write(const std::string &bytes) {
    file_ = Descriptor(memfd_create("mrb-picture", MFD_CLOEXEC));
    std::size_t written = 0;
    while (file_ && written < bytes.size()) {
        const ssize_t size = ::write(file_.fd(), bytes.data() + written, bytes.size() - written);
        if (size < 0 && errno != EINTR) {
            break;
        }
        written += size > 0 ? static_cast<std::size_t>(size) : 0;
    }
    return file_ && written == bytes.size() ? Status() : Status::ofErrno(errno, "a fetched picture");
}

} // namespace mrb::thumbnail
