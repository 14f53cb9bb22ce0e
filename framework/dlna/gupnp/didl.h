#pragma once

#include <string>
#include <vector>

#include "base/result.h"
#include "dlna/directories.h"

namespace mrb::dlna {

// Appends the objects of a DIDL-Lite document, in its order; one that could not be asked
// for again comes without an id. Of a broken document, those before the fault and
// MRB_ERR_PROTOCOL.
Outcome readObjects(const std::string &didl, std::vector<MediaObject> &objects);

// Where the bytes of the first object of a document shall be sent, as a server says that
// has made it; empty: it does not say.
std::string importUrlOf(const std::string &didl);

} // namespace mrb::dlna
