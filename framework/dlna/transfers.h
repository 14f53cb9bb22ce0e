#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "base/cancellation.h"
#include "base/result.h"
#include "media/item.h"

namespace mrb::dlna {

// A file of this machine that a server shall have.
struct Upload {
    int descriptor = -1;    // read from its beginning
    std::uint64_t size = 0; // bytes
    std::string title;
    std::string extension; // "jpg"; may be empty
    std::string mimeType;
    std::string upnpClass; // "object.item.imageItem.photo"
    std::string container; // the id of that in which it shall be; empty: the server chooses
};

// Moves files to and from one server, asking no host but the server's. Made, used and
// destroyed by one thread, which waits meanwhile. What takes longer than PATIENCE for a few
// bytes is given up with MRB_ERR_TIMEOUT; soon after `cancellation` is cancelled everything
// ends with MRB_ERR_CANCELLED. Other codes are those of Directories::ask.
class Transfers {
  public:
    Transfers() = default;
    virtual ~Transfers() = default;
    Transfers(const Transfers &) = delete;
    Transfers &operator=(const Transfers &) = delete;

    // What a server says of a file that it is about to send.
    struct Promise {
        std::int64_t size = UNKNOWN; // bytes
        std::string mimeType;        // without parameters, in lower case; empty: it says none
    };

    // Asks for the file at an address. MRB_ERR_PERMISSION_DENIED: it is the address of another
    // host; MRB_ERR_PROTOCOL: also an answer that is encoded (compressed), which is refused.
    virtual Status beginDownload(const std::string &url, const CancellationToken &cancellation,
                                 Promise &promise) = 0;

    // Gives `take` the bytes of that file as they come; when that answers false, no more.
    // A success: the file is whole, or `take` wanted no more.
    using Take = std::function<bool(std::span<const char> bytes)>;
    virtual Status finishDownload(const Take &take, const CancellationToken &cancellation) = 0;

    // Has the server make an object for the file and get its bytes; `moved` hears how many
    // it has. The object is taken back when that fails. MRB_ERR_NOT_SUPPORTED: it takes
    // none; MRB_ERR_CORRUPT: the file could not be read to its end.
    using Moved = std::function<void(std::uint64_t bytes)>;
    virtual Status upload(const Upload &file, const Moved &moved, const CancellationToken &cancellation) = 0;
};

} // namespace mrb::dlna
