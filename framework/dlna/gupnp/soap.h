#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/result.h"
#include "dlna/content_directory_client.h"
#include "dlna/gupnp/pending.h"
#include "dlna/gupnp/xml.h"

namespace mrb::dlna {

// The SOAP action of a request, as UPnP's ContentDirectory service names it.
std::string actionOf(const BrowseRequest &request); // "Browse"
// Its body; `serviceType` is the service's own, "urn:schemas-upnp-org:service:ContentDirectory:1".
std::string envelopeOf(const BrowseRequest &request, const std::string &serviceType);

// The same for any action.
using Arguments = std::vector<std::pair<const char *, std::string>>;
std::string envelopeOf(const std::string &action, const Arguments &arguments, const std::string &serviceType);

// The error that an HTTP status stands for.
Status statusOfHttp(unsigned httpStatus);

// The parsed response to an action.
struct SoapResponse {
    Xml xml;
    const xmlNode *response = nullptr; // the response element in it; null: missing
    bool isRefusal = false;            // the server received the call and refused it

    // An argument of the response; empty where there is none.
    [[nodiscard]] std::string text(const char *name) const { return textOf(childOf(response, name)); }
};

// Parses the reply to a call of that action. The codes are those of Directories::ask.
Status readResponse(const Reply &reply, const std::string &action, SoapResponse &response);

// Parses the reply to a request. See Directories::ask for the codes.
Status readReply(const Reply &reply, const BrowseRequest &request, Page &page);

} // namespace mrb::dlna
