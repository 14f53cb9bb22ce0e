#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "base/cancellation.h"
#include "base/result.h"
#include "media/item.h"

namespace mrb::dlna {

// A file of this machine to be uploaded to a server.
struct Upload {
    int descriptor = -1;    // read from its beginning
    std::uint64_t size = 0; // bytes
    std::string title;
    std::string extension; // "jpg"; may be empty
    std::string mimeType;
    std::string upnpClass; // "object.item.imageItem.photo"
    std::string container; // the id of the container for it; empty: the server chooses
};

// Transfers files to and from one server, without requests to any other host. Created, used and
// destroyed by one thread, which waits for the server. A transfer of fewer than a few bytes within
// TIMEOUT ends with MRB_ERR_TIMEOUT; soon after a cancellation everything
// ends with MRB_ERR_CANCELLED. Other codes are those of Directories::ask.
class Transfers {
  public:
    Transfers() = default;
    virtual ~Transfers() = default;
    Transfers(const Transfers &) = delete;
    Transfers &operator=(const Transfers &) = delete;

    // The response headers of a file that the server is about to send.
    struct Promise {
        std::int64_t size = UNKNOWN; // bytes
        std::string mimeType;        // without parameters, in lower case; empty: not in the headers
    };

    // Requests the file of a URL. MRB_ERR_PERMISSION_DENIED: the URL is on another host;
    // MRB_ERR_PROTOCOL: also a response that is encoded (compressed), which is refused.
    virtual Status beginDownload(const std::string &url, const CancellationToken &cancellation,
                                 Promise &promise) = 0;

    // Passes the bytes of that file to `take` as they arrive, until it returns false.
    // MRB_ERR_NONE: the file is complete, or `take` returned false.
    using Consumer = std::function<bool(std::span<const char> bytes)>;
    virtual Status finishDownload(const Consumer &take, const CancellationToken &cancellation) = 0;

    // Creates an object for the file on the server and transfers the bytes; `moved` is called
    // with the number sent so far. On a failure the object is destroyed. MRB_ERR_NOT_SUPPORTED:
    // the server accepts no uploads; MRB_ERR_CORRUPT: the file could not be read to its end.
    using Moved = std::function<void(std::uint64_t bytes)>;
    virtual Status upload(const Upload &file, const Moved &moved, const CancellationToken &cancellation) = 0;
};

} // namespace mrb::dlna
