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
#include "metadata/facts.h"

namespace mrb::dlna {

// An object of a server's content directory as the server describes it. A server may say
// anything: texts are valid UTF-8 without control characters and at most
// Metadata::LONGEST_TEXT bytes long, and what is missing, too long, or no number is left out.
struct MediaObject {
    std::string id;              // empty: it has none that could be asked for again, and cannot be used
    std::string title;           // may be empty
    std::string upnpClass;       // "object.item.imageItem.photo"
    std::string url;             // of the item itself, http or https
    std::string thumbnail;       // URL of a picture of it, http or https
    std::string date;            // as it stands: "2026-11-21", "2026-11-21T10:20:30Z"
    std::int64_t size = UNKNOWN; // bytes
    bool isContainer = false;
    Metadata facts;
};

// An answer that is on its way before it is asked for; given up when nobody holds it any more.
class Ahead {
  public:
    Ahead() = default;
    virtual ~Ahead() = default;
    Ahead(const Ahead &) = delete;
    Ahead &operator=(const Ahead &) = delete;
};

// What a server is asked.
struct Question {
    enum class Kind {
        CHILDREN,    // what is in a container
        SEARCH,      // what is in it and below, and meets the criteria
        CAPABILITIES // by what can be searched
    };

    Kind kind = Kind::CHILDREN;
    std::string server;    // its id
    std::string container; // its id; "0" is the root
    std::string criteria;  // in the content directory's language
    std::uint32_t start = 0;
    std::uint32_t count = 0;
    std::chrono::milliseconds patience{0}; // how long the whole answer may take
    bool isFollowed = false;               // the next page will be asked for as well, most likely
    std::shared_ptr<Ahead> ahead = {};     // what came with the page before, if anything did
};

// What it answered. All numbers are what the server claims.
struct Page {
    std::vector<MediaObject> objects;
    std::uint32_t returned = 0;   // of this page
    std::uint32_t total = 0;      // of all pages; 0: the server does not know
    std::uint32_t updateId = 0;   // changes with the contents, where the server keeps count
    std::string capabilities;     // of a question for those: "dc:title,upnp:class", or "*"
    std::shared_ptr<Ahead> ahead; // for the question that follows
};

// The content directories of the servers on a network. Shared by the network and those
// who read from servers, and outlives the network: then every server is gone. Any thread
// may call it but the network's own.
class Directories {
  public:
    // More of an answer than this is not read.
    static constexpr std::size_t MOST_BYTES = 4UL << 20;

    Directories() = default;
    virtual ~Directories() = default;
    Directories(const Directories &) = delete;
    Directories &operator=(const Directories &) = delete;

    // Returns with the answer, or when there will be none, at the end of the patience at
    // the latest; soon after `cancellation` is cancelled. A page whose objects are broken XML
    // holds those that can be made out, with MRB_ERR_PROTOCOL, and the numbers of what was
    // given. MRB_ERR_DEVICE_REMOVED: the server is not there, or
    // broke off; MRB_ERR_TIMEOUT; MRB_ERR_PROTOCOL: what it said is no answer;
    // MRB_ERR_NOT_FOUND: it has no such container; MRB_ERR_NOT_SUPPORTED: it does not search
    // like that; MRB_ERR_PERMISSION_DENIED, MRB_ERR_IO, MRB_ERR_CANCELLED.
    virtual Status ask(const Question &question, const CancellationToken &cancellation, Page &page) = 0;

    // The file at an address on the host of one of the servers, such as a small picture
    // of an item, if it has no more than `most` bytes. The codes are those of ask;
    // MRB_ERR_PERMISSION_DENIED also for the addresses of others, MRB_ERR_NOT_FOUND when
    // there is none.
    virtual Status fetch(const std::string &url, std::size_t most, std::chrono::milliseconds patience,
                         const CancellationToken &cancellation, std::string &bytes) = 0;

    // Has files moved to and from a server by the calling thread. The codes are those of ask.
    virtual Status connect(const std::string &server, const CancellationToken &cancellation,
                           std::unique_ptr<Transfers> &transfers) = 0;
};

} // namespace mrb::dlna
