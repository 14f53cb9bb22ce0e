#pragma once

#include <string>
#include <vector>

#include "base/result.h"
#include "dlna/directories.h"

namespace mrb::dlna {

// Appends the objects of a DIDL-Lite document (UPnP ContentDirectory:1, 2.8), in its order. A
// value that is none costs that value; an object that could not be asked for again, or is not
// whole, comes without an id. `isRepaired`: letters of the document were replaced with
// U+FFFD before. Of a broken document, the objects that can be made out and
// MRB_ERR_PROTOCOL.
Status readObjects(const std::string &didl, bool isRepaired, std::vector<MediaObject> &objects);

// Where the bytes of an object of a document shall be sent, as a server says that
// has made it; empty: it does not say.
std::string importUrlOf(const std::string &didl);

} // namespace mrb::dlna
