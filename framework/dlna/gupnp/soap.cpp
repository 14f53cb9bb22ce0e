#include "dlna/gupnp/soap.h"

#include <glib.h>
#include <libxml/tree.h>

#include <charconv>
#include <utility>

#include "dlna/gupnp/didl.h"
#include "dlna/gupnp/gobject.h"

namespace mrb::dlna {
namespace {

std::string argument(const char *name, const std::string &value) {
    const Text escaped(g_markup_escape_text(value.data(), static_cast<gssize>(value.size())));
    return std::string("<") + name + ">" + escaped.get() + "</" + name + ">";
}

// Error codes of UPnP actions that have a meaning for the request.
struct Fault {
    int number;
    int code;
};
constexpr Fault FAULTS[] = {
    {401, MRB_ERR_NOT_SUPPORTED},     // invalid action
    {501, MRB_ERR_IO},                // action failed
    {602, MRB_ERR_NOT_SUPPORTED},     // an optional action that the server lacks
    {606, MRB_ERR_PERMISSION_DENIED}, // not authorized
    {701, MRB_ERR_NOT_FOUND},         // no such object
    {708, MRB_ERR_NOT_SUPPORTED},     // unsupported or invalid search criteria
    {710, MRB_ERR_NOT_FOUND},         // no such container
    {713, MRB_ERR_PERMISSION_DENIED}, // restricted parent
    {720, MRB_ERR_IO},                // cannot process the request
    {801, MRB_ERR_PERMISSION_DENIED}, // access denied
};

std::uint32_t numberOf(const xmlNode *parent, const char *name) {
    const std::string text = textOf(childOf(parent, name));
    std::uint32_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

Status statusOfFault(const xmlNode *fault) {
    const xmlNode *detail = childOf(childOf(fault, "detail"), "UPnPError");
    const auto number = static_cast<int>(numberOf(detail, "errorCode"));
    std::string message = "The server returned the UPnP error " + std::to_string(number) + ' ' +
                          cleanText(textOf(childOf(detail, "errorDescription")));
    for (const Fault &known : FAULTS) {
        if (known.number == number) {
            return {known.code, std::move(message)};
        }
    }
    return Status::protocolError(std::move(message));
}

} // namespace

std::string actionOf(const BrowseRequest &request) {
    switch (request.kind) {
    case BrowseRequest::Kind::CHILDREN:
        return "Browse";
    case BrowseRequest::Kind::SEARCH:
        return "Search";
    case BrowseRequest::Kind::CAPABILITIES:
        break;
    }
    return "GetSearchCapabilities";
}

std::string envelopeOf(const BrowseRequest &request, const std::string &serviceType) {
    Arguments arguments;
    if (request.kind == BrowseRequest::Kind::CHILDREN) {
        arguments = {{"ObjectID", request.container}, {"BrowseFlag", "BrowseDirectChildren"}};
    } else if (request.kind == BrowseRequest::Kind::SEARCH) {
        arguments = {{"ContainerID", request.container}, {"SearchCriteria", request.criteria}};
    }
    if (request.kind != BrowseRequest::Kind::CAPABILITIES) {
        arguments.insert(arguments.end(), {{"Filter", "*"},
                                           {"StartingIndex", std::to_string(request.start)},
                                           {"RequestedCount", std::to_string(request.count)},
                                           {"SortCriteria", ""}});
    }
    return envelopeOf(actionOf(request), arguments, serviceType);
}

std::string envelopeOf(const std::string &action, const Arguments &arguments,
                       const std::string &serviceType) {
    std::string all;
    for (const auto &[name, value] : arguments) {
        all += argument(name, value);
    }
    const Text type(g_markup_escape_text(serviceType.data(), static_cast<gssize>(serviceType.size())));
    return R"(<?xml version="1.0" encoding="utf-8"?>)"
           R"(<s:Envelope xmlns:s="http://schemas.xmlsoap.org/soap/envelope/")"
           R"( s:encodingStyle="http://schemas.xmlsoap.org/soap/encoding/"><s:Body><u:)" +
           action + " xmlns:u=\"" + type.get() + "\">" + all + "</u:" + action + "></s:Body></s:Envelope>";
}

Status statusOfHttp(unsigned httpStatus) {
    constexpr unsigned OK = 200;
    constexpr unsigned UNAUTHORIZED = 401;
    constexpr unsigned FORBIDDEN = 403;
    constexpr unsigned NOT_FOUND = 404;
    constexpr unsigned REDIRECTIONS = 3;
    constexpr unsigned CLASS = 100;
    if (httpStatus == OK) {
        return {};
    }
    if (httpStatus / CLASS == REDIRECTIONS) {
        return Status::protocolError("The server redirects the request, which is not followed.");
    }
    const bool isRefusal = httpStatus == UNAUTHORIZED || httpStatus == FORBIDDEN;
    const int other = httpStatus == NOT_FOUND ? MRB_ERR_NOT_FOUND : MRB_ERR_PROTOCOL;
    return {isRefusal ? MRB_ERR_PERMISSION_DENIED : other,
            "The server returned the HTTP status " + std::to_string(httpStatus) + "."};
}

Status readResponse(const Reply &reply, const std::string &action, SoapResponse &response) {
    response = {};
    if (!reply.status.ok()) {
        return reply.status;
    }
    Status form = readXml(reply.body, response.xml);
    const xmlDoc *document = response.xml.document.get();
    const xmlNode *body = document != nullptr ? childOf(xmlDocGetRootElement(document), "Body") : nullptr;
    if (const xmlNode *fault = childOf(body, "Fault")) {
        response.isRefusal = true;
        return statusOfFault(fault);
    }
    if (Status status = statusOfHttp(reply.httpStatus); !status.ok()) {
        response.isRefusal = true;
        // 404 is then about the control URL, not about the requested object.
        status.code = status.code == MRB_ERR_NOT_FOUND ? MRB_ERR_PROTOCOL : status.code;
        return status;
    }
    if (!form.ok()) {
        return form;
    }
    response.response = childOf(body, (action + "Response").c_str());
    if (response.response == nullptr) {
        return Status::protocolError("The server's response does not match " + action + ".");
    }
    return {};
}

Status readReply(const Reply &reply, const BrowseRequest &request, Page &page) {
    SoapResponse response;
    if (Status status = readResponse(reply, actionOf(request), response); !status.ok()) {
        return status;
    }
    if (request.kind == BrowseRequest::Kind::CAPABILITIES) {
        page.capabilities = response.text("SearchCaps");
        return {};
    }
    page.returned = numberOf(response.response, "NumberReturned");
    page.total = numberOf(response.response, "TotalMatches");
    page.updateId = numberOf(response.response, "UpdateID");
    return readObjects(response.text("Result"), response.xml.isRepaired, page.objects);
}

} // namespace mrb::dlna
