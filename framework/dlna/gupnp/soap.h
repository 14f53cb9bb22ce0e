#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/result.h"
#include "dlna/directories.h"
#include "dlna/gupnp/pending.h"
#include "dlna/gupnp/xml.h"

namespace mrb::dlna {

// The call of a content directory that a question is, in the words of UPnP's
// ContentDirectory service.
std::string actionOf(const Question &question); // "Browse"
// Its body; `serviceType` is the service's own, "urn:schemas-upnp-org:service:ContentDirectory:1".
std::string envelopeOf(const Question &question, const std::string &serviceType);

// The same of any action.
using Arguments = std::vector<std::pair<const char *, std::string>>;
std::string envelopeOf(const std::string &action, const Arguments &arguments, const std::string &serviceType);

// What a status of HTTP means.
Status outcomeOfStatus(unsigned status);

// What a service answered.
struct Answer {
    Xml xml;
    const xmlNode *response = nullptr; // in it; null: it answered something else
    bool isRefusal = false;            // it heard the call and did not do it

    // An argument of the response; empty where there is none.
    [[nodiscard]] std::string text(const char *name) const { return textOf(childOf(response, name)); }
};

// Reads the reply to a call of that action. The codes are those of Directories::ask.
Status readAnswer(const Reply &reply, const std::string &action, Answer &answer);

// What the reply to a question says. See Directories::ask for the codes.
Status readReply(const Reply &reply, const Question &question, Page &page);

} // namespace mrb::dlna
