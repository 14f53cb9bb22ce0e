#pragma once

#include <libsoup/soup.h>
#include <libxml/tree.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/cancellation.h"
#include "dlna/gupnp/http_requests.h"
#include "dlna/gupnp/session.h"
#include "dlna/gupnp/soap.h"
#include "dlna/gupnp/thread_main_loop.h"
#include "dlna/gupnp/xml.h"
#include "dlna/transfers.h"

namespace mrb::dlna {

class OfferedFile;

// The control URL of a server's content directory, and its addresses.
struct ServiceEndpoint {
    std::string controlUrl;
    std::string type; // "urn:schemas-upnp-org:service:ContentDirectory:1"
    std::string host; // the server's
    std::string here; // the address of this machine through which it was found
};

// Transfers over connections of their own, in a main context of the calling thread. Owned
// and used like every Transfers.
class GupnpTransfers final : public Transfers {
  public:
    GupnpTransfers(std::string server, ServiceEndpoint endpoint);
    ~GupnpTransfers() override;

    Status beginDownload(const std::string &url, const CancellationToken &cancellation,
                         Promise &promise) override;
    Status finishDownload(const Consumer &take, const CancellationToken &cancellation) override;
    Status upload(const Upload &file, const Moved &moved, const CancellationToken &cancellation) override;

  private:
    // An object that the server created for a file.
    struct Created {
        std::string id;
        std::string importUrl;
    };
    // A download or an upload.
    struct Request {
        Object<SoupMessage> message;
        Object<GCancellable> cancellable;
        Object<GInputStream> stream; // of the response
    };

    Status makeRequest(const char *method, const std::string &url, Request &request) const;
    Status send(Request &request, const CancellationToken &cancellation, const Pace &pace);
    Status call(const std::string &action, const Arguments &arguments, const CancellationToken &cancellation,
                SoapResponse &response);
    Status create(const Upload &file, const CancellationToken &cancellation, Created &created);
    Status import(const Upload &file, const Created &created, const Moved &moved,
                  const CancellationToken &cancellation);
    Status follow(const std::string &transfer, OfferedFile &offered, const Moved &moved,
                  const CancellationToken &cancellation);
    Status post(const Upload &file, const Created &created, const Moved &moved,
                const CancellationToken &cancellation);
    void destroy(const Created &created);
    [[nodiscard]] bool isOfServer(const std::string &url) const;

    const std::string server_; // its id
    const ServiceEndpoint endpoint_;
    ThreadMainLoop loop_;
    std::unique_ptr<Session> session_;
    std::unique_ptr<HttpRequests> exchanges_;
    std::optional<Request> download_; // begun and not yet finished
};

} // namespace mrb::dlna
