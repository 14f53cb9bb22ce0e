#include "dlna/server_probe.h"

#include <chrono>

namespace mrb::dlna {

Status classifyDisconnect(ContentDirectoryClient &contentClient, const std::string &server, Status status,
                          const CancellationToken &cancellation) {
    if (status.code != MRB_ERR_DEVICE_REMOVED) {
        return status;
    }
    BrowseRequest request;
    request.kind = BrowseRequest::Kind::CAPABILITIES;
    request.server = server;
    request.timeout = std::chrono::seconds(3);
    Page page;
    const int code = contentClient.browse(request, cancellation, page).code;
    const bool isGone = code == MRB_ERR_DEVICE_REMOVED || code == MRB_ERR_TIMEOUT;
    status.code = isGone ? MRB_ERR_DEVICE_REMOVED : MRB_ERR_IO;
    return status;
}

} // namespace mrb::dlna
