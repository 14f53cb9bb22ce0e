#include "thumbnail/remote_picture.h"

#include <string>

#include "dlna/dlna_service.h"
#include "mrb/agent.h"
#include "thumbnail/memory_file.h"

namespace mrb::thumbnail {

void decodeRemotePicture(const DecodeRequest &request, const CancellationToken &cancellation,
                         const std::function<Decode> &decode, Decoded &decoded) {
    const std::shared_ptr<dlna::ContentDirectoryClient> contentClient =
        dlna::DlnaService::instance().contentClient();
    if (!contentClient) {
        decoded.status = Status::deviceRemoved("The DLNA service is not started.");
        return;
    }
    std::string bytes;
    decoded.status = contentClient->fetch(
        request.path, MAX_REMOTE_BYTES, REMOTE_TIMEOUT,
        [&cancellation] { return cancellation.isCancelled(); }, bytes);
    MemoryFile file;
    if (decoded.status.ok()) {
        decoded.status = file.write(bytes);
    }
    if (decoded.status.ok()) {
        DecodeRequest local = request;
        local.path = file.path();
        local.mediaType = MRB_ITEM_TYPE_IMAGE; // also for a video: the server's picture of it
        local.frames = 1;
        decode(local, cancellation, decoded);
        decoded.source = {};
    }
}

} // namespace mrb::thumbnail
