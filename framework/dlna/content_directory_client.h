#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/cancellation.h"
#include "base/result.h"
#include "dlna/transfers.h"
#include "media/item.h"
#include "metadata/metadata.h"

namespace mrb::dlna {

// An object of a server's content directory as the server describes it. All data are
// untrusted: texts are valid UTF-8 without control characters and at most
// Metadata::MAX_TEXT_LENGTH bytes long; what is missing, too long or not a number is omitted.
struct MediaObject {
    std::string id;              // empty: it has none that a request could use
    std::string title;           // may be empty
    std::string upnpClass;       // "object.item.imageItem.photo"
    std::string url;             // of the file itself, http or https
    std::string thumbnail;       // URL of its thumbnail, http or https
    std::string date;            // as the server sent it: "2026-11-21", "2026-11-21T10:20:30Z"
    std::int64_t size = UNKNOWN; // bytes
    bool isContainer = false;
    Metadata metadata;
};

// A prefetched page: its request is under way; cancelled when the last reference is gone.
class Prefetch {
  public:
    Prefetch() = default;
    virtual ~Prefetch() = default;
    Prefetch(const Prefetch &) = delete;
    Prefetch &operator=(const Prefetch &) = delete;
};

// A request to a server's content directory.
struct BrowseRequest {
    enum class Kind {
        CHILDREN,    // the objects in a container
        SEARCH,      // the objects in and below it that meet the criteria
        CAPABILITIES // the properties that can be searched
    };

    Kind kind = Kind::CHILDREN;
    std::string server;    // its id
    std::string container; // its id; "0" is the root
    std::string criteria;  // a UPnP search expression
    std::uint32_t start = 0;
    std::uint32_t count = 0;
    std::chrono::milliseconds timeout{0};    // timeout of the whole response
    bool expectsNextPage = false;            // the next page will most likely be requested as well
    std::shared_ptr<Prefetch> prefetch = {}; // the prefetch that the previous page returned, if any
};

// The result of a request. All numbers are the server's claims.
struct Page {
    std::vector<MediaObject> objects;
    std::uint32_t returned = 0;         // objects in this page
    std::uint32_t total = 0;            // objects in all pages; 0: unknown to the server
    std::uint32_t updateId = 0;         // changes with the content, if the server maintains it
    std::string capabilities;           // of CAPABILITIES: "dc:title,upnp:class", or "*"
    std::shared_ptr<Prefetch> prefetch; // for the next request
};

// The content directories of the servers on a network. Shared by the network and its
// clients, and outlives the network: then every server is gone. Any thread but the
// network's own may call it.
class ContentDirectoryClient {
  public:
    // The maximum size of a response; longer ones are not read.
    static constexpr std::size_t MAX_BYTES = 4UL << 20;

    ContentDirectoryClient() = default;
    virtual ~ContentDirectoryClient() = default;
    ContentDirectoryClient(const ContentDirectoryClient &) = delete;
    ContentDirectoryClient &operator=(const ContentDirectoryClient &) = delete;

    // Returns the result, or an error, at the timeout at the latest; soon after a cancellation.
    // A page whose objects are broken XML holds those that could be parsed, with
    // MRB_ERR_PROTOCOL, and the numbers of the response. MRB_ERR_DEVICE_REMOVED: the server is
    // gone, or closed the connection; MRB_ERR_TIMEOUT; MRB_ERR_PROTOCOL: the response is
    // invalid; MRB_ERR_NOT_FOUND: no such container; MRB_ERR_NOT_SUPPORTED: the server does
    // not support this search; MRB_ERR_PERMISSION_DENIED, MRB_ERR_IO, MRB_ERR_CANCELLED.
    virtual Status browse(const BrowseRequest &request, const CancellationToken &cancellation,
                          Page &page) = 0;

    // Fetches the file of a URL on the host of one of the servers, such as the thumbnail
    // of an item, if it has no more than `most` bytes. The codes are those of ask;
    // MRB_ERR_PERMISSION_DENIED also for URLs on other hosts, MRB_ERR_NOT_FOUND when
    // there is no such file.
    virtual Status fetch(const std::string &url, std::size_t maximum, std::chrono::milliseconds timeout,
                         const CancellationToken &cancellation, std::string &bytes) = 0;

    // Opens transfers of files to and from a server by the calling thread. Codes as of ask.
    virtual Status connect(const std::string &server, const CancellationToken &cancellation,
                           std::unique_ptr<Transfers> &transfers) = 0;
};

} // namespace mrb::dlna
