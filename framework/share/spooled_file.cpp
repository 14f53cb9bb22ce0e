#include "share/spooled_file.h"

#include <fcntl.h>

#include <cstdlib>
#include <utility>

#include "mrb/agent.h"

namespace mrb {
namespace {

// Only the user may read it.
constexpr mode_t MODE = 0600;

// Not /tmp, which is in memory on many machines: videos are large.
std::string temporaryFolder() {
    const char *named = std::getenv("TMPDIR");
    return named != nullptr && *named == '/' ? named : "/var/tmp";
}

} // namespace

Status SpooledFile::fill(CopySource &copySource, const std::string &name,
                         const CancellationToken &cancellation) {
    const std::string folder = temporaryFolder();
    const std::string about = name + ": a temporary file in " + folder;
    RootFolder root;
    int error = RootFolder::open(folder, O_RDONLY, root);
    if (error == 0) {
        error = NewFile::make(root.folder(), MODE, file_);
    }
    if (error != 0) {
        return Status::ofErrno(error, about);
    }
    CopyResult result =
        copySource.copy(file_.fd(), [&](std::uint64_t /*bytes*/) { return !cancellation.isCancelled(); });
    size_ = result.bytes;
    if (result.isCancelled) {
        return {MRB_ERR_CANCELLED, {}};
    }
    return result.destinationError != 0 ? Status::ofErrno(result.destinationError, about)
                                        : std::move(result.source);
}

} // namespace mrb
