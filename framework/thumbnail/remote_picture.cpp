#include "thumbnail/remote_picture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "base/descriptor.h"
#include "dlna/dlna_service.h"
#include "mrb/agent.h"

namespace mrb::thumbnail {
namespace {

// A file without a place, which decoders open like any other.
Outcome writeFile(const std::string &bytes, Descriptor &file) {
    file = Descriptor(memfd_create("mrb-picture", MFD_CLOEXEC));
    for (std::size_t written = 0; file && written < bytes.size();) {
        const ssize_t size = write(file.number(), bytes.data() + written, bytes.size() - written);
        if (size < 0 && errno != EINTR) {
            return outcomeOfErrno(errno, "a fetched picture");
        }
        written += size > 0 ? static_cast<std::size_t>(size) : 0;
    }
    return file ? Outcome() : outcomeOfErrno(errno, "a fetched picture");
}

} // namespace

void decodeRemotePicture(const DecodeRequest &request, const StopSign &stop,
                         const std::function<Decode> &decode, Decoded &decoded) {
    const std::shared_ptr<dlna::Directories> directories = dlna::DlnaService::instance().directories();
    if (!directories) {
        decoded.outcome = {MRB_ERR_DEVICE_REMOVED, "The DLNA service is not started."};
        return;
    }
    std::string bytes;
    decoded.outcome = directories->fetch(
        request.path, MOST_REMOTE_BYTES, REMOTE_PATIENCE, [&stop] { return stop.isUp(); }, bytes);
    Descriptor file;
    if (decoded.outcome.code == MRB_ERR_NONE) {
        decoded.outcome = writeFile(bytes, file);
    }
    if (decoded.outcome.code == MRB_ERR_NONE) {
        DecodeRequest local = request;
        local.path = "/proc/self/fd/" + std::to_string(file.number());
        local.mediaType = MRB_ITEM_TYPE_IMAGE; // also of a film: the server's picture of it
        local.frames = 1;
        decode(local, stop, decoded);
        decoded.source = {};
    }
}

} // namespace mrb::thumbnail
