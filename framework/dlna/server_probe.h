#pragma once

#include <string>

#include "base/cancellation.h"
#include "base/result.h"
#include "dlna/content_directory_client.h"

namespace mrb::dlna {

// Classifies a closed or refused connection: the server is gone, or refused a single file
// (MRB_ERR_IO). Sends the server a request to find out. Any other status is returned
// unchanged.
Status classifyDisconnect(ContentDirectoryClient &contentClient, const std::string &server, Status status,
                          const CancellationToken &cancellation);

} // namespace mrb::dlna
