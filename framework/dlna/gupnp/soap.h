#pragma once

#include <string>
#include <string_view>

#include "base/result.h"
#include "dlna/directories.h"
#include "dlna/gupnp/pending.h"

namespace mrb::dlna {

// The call of a content directory that a question is, in the words of UPnP's
// ContentDirectory service.
std::string actionOf(const Question &question); // "Browse"
// Its body; `serviceType` is the service's own, "urn:schemas-upnp-org:service:ContentDirectory:1".
std::string envelopeOf(const Question &question, const std::string &serviceType);

// What a status of HTTP means.
Outcome outcomeOfStatus(unsigned status);

// What the reply to that says. See Directories::ask for the codes.
Outcome readReply(const Reply &reply, const Question &question, Page &page);

} // namespace mrb::dlna
