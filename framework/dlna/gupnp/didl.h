#pragma once

#include <string>
#include <vector>

#include "base/result.h"
#include "dlna/content_directory_client.h"

namespace mrb::dlna {

// Appends the objects of a DIDL-Lite document (UPnP ContentDirectory:1, 2.8), in its order. An
// invalid value is omitted; an object that no request could use again, or that is incomplete,
// has an empty id. `isRepaired`: characters of the document were replaced with
// U+FFFD before. From a broken document, the objects that could be parsed, with
// MRB_ERR_PROTOCOL.
Status readObjects(const std::string &didl, bool isRepaired, std::vector<MediaObject> &objects);

// The URL to which the bytes of a created object have to be sent, from the server's response
// to its creation; empty: the response has none.
std::string importUrlOf(const std::string &didl);

} // namespace mrb::dlna
