#include "dlna/server_probe.h"

#include <chrono>

namespace mrb::dlna {

Status classifyDisconnect(ContentDirectoryClient &contentClient, const std::string &server, Status outcome,
                          const CancellationToken &cancellation) {
    if (outcome.code != MRB_ERR_DEVICE_REMOVED) {
        return outcome;
    }
    BrowseRequest request;
    request.kind = BrowseRequest::Kind::CAPABILITIES;
    request.server = server;
    request.timeout = std::chrono::seconds(3);
    Page page;
    const int code = contentClient.browse(request, cancellation, page).code;
    const bool isGone = code == MRB_ERR_DEVICE_REMOVED || code == MRB_ERR_TIMEOUT;
    outcome.code = isGone ? MRB_ERR_DEVICE_REMOVED : MRB_ERR_IO;
    return outcome;
}

} // namespace mrb::dlna
