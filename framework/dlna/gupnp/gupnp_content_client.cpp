#include "dlna/gupnp/gupnp_content_client.h"

#include <libgupnp/gupnp.h>

#include <optional>
#include <string>
#include <utility>

#include "base/deleter.h"
#include "base/log.h"
#include "dlna/gupnp/soap.h"
#include "dlna/gupnp/uri.h"

namespace mrb::dlna {
namespace {

constexpr const char *CONTENT_DIRECTORY = "urn:schemas-upnp-org:service:ContentDirectory:"; // and its version

void freeServices(GList *list) { g_list_free_full(list, g_object_unref); }

Status gone() { return Status::deviceRemoved("The server is gone."); }

} // namespace

// The prefetch of the page after a requested one.
class GupnpContentClient::NextPage final : public Prefetch {
  public:
    NextPage(std::shared_ptr<GupnpContentClient> contentClient, const BrowseRequest &before)
        : contentClient_(std::move(contentClient)), request_(before) {
        request_.start += request_.count;
        request_.prefetch = nullptr; // of the pages before
        pending_ = contentClient_->begin(request_);
    }
    ~NextPage() override {
        try {
            contentClient_->abandon(pending_);
        } catch (...) {
            // Out of memory: the call continues, and its reply is dropped.
            pending_ = nullptr;
        }
    }
    NextPage(const NextPage &) = delete;
    NextPage &operator=(const NextPage &) = delete;

    // Null: another page was prefetched than the requested one.
    [[nodiscard]] std::shared_ptr<Pending> of(const BrowseRequest &request) const {
        const bool isSame = request.kind == request_.kind && request.server == request_.server &&
                            request.container == request_.container &&
                            request.criteria == request_.criteria && request.start == request_.start &&
                            request.count == request_.count;
        return isSame ? pending_ : nullptr;
    }

  private:
    const std::shared_ptr<GupnpContentClient> contentClient_;
    BrowseRequest request_;
    std::shared_ptr<Pending> pending_;
};

Status GupnpContentClient::browse(const BrowseRequest &request, const CancellationToken &cancellation,
                                  Page &page) {
    // The `ahead` of a page of these directories is always a NextPage.
    const auto next = std::static_pointer_cast<NextPage>(request.prefetch);
    std::shared_ptr<Pending> pending = next ? next->of(request) : nullptr;
    const Reply reply = await(pending ? std::move(pending) : begin(request), request.timeout, cancellation);
    if (request.expectsNextPage && reply.status.ok()) {
        page.prefetch = std::make_shared<NextPage>(shared_from_this(), request); // overlaps parsing
    }
    return readReply(reply, request, page);
}

Status GupnpContentClient::fetch(const std::string &url, std::size_t maximum,
                                 std::chrono::milliseconds timeout, const CancellationToken &cancellation,
                                 std::string &bytes) {
    const auto begin = [this, url, maximum](std::shared_ptr<Pending> pending) {
        beginFetch(url, maximum, std::move(pending));
    };
    Reply reply = await(this->begin(begin), timeout, cancellation);
    bytes = std::move(reply.body);
    return reply.status.ok() ? statusOfHttp(reply.httpStatus) : reply.status;
}

Status GupnpContentClient::connect(const std::string &server, const CancellationToken &cancellation,
                                   std::unique_ptr<Transfers> &transfers) {
    // Sends no request: returns at once, unless the network's thread is busy.
    constexpr auto TIMEOUT = std::chrono::seconds(10);
    const auto endpoint = std::make_shared<ServiceEndpoint>();
    const auto begin = [this, server, endpoint](const std::shared_ptr<Pending> &pending) {
        pending->finish({findService(server, *endpoint), 0, {}});
    };
    Status status = await(this->begin(begin), TIMEOUT, cancellation).status;
    if (status.ok()) {
        transfers = std::make_unique<GupnpTransfers>(server, *endpoint);
    }
    return status;
}

std::shared_ptr<Pending> GupnpContentClient::begin(Begin begin) {
    auto pending = std::make_shared<Pending>();
    const auto self = shared_from_this();
    const bool isBegun = post([self, begin = std::move(begin), pending] { begin(pending); });
    return isBegun ? pending : nullptr;
}

std::shared_ptr<Pending> GupnpContentClient::begin(const BrowseRequest &request) {
    return begin(
        [this, request](std::shared_ptr<Pending> pending) { beginCall(request, std::move(pending)); });
}

Reply GupnpContentClient::await(const std::shared_ptr<Pending> &pending, std::chrono::milliseconds timeout,
                                const CancellationToken &cancellation) {
    if (!pending) {
        return {gone(), 0, {}};
    }
    Reply reply = pending->await(timeout, cancellation);
    if (reply.status.code == MRB_ERR_CANCELLED || reply.status.code == MRB_ERR_TIMEOUT) {
        abandon(pending);
    }
    return reply;
}

void GupnpContentClient::abandon(std::shared_ptr<Pending> pending) {
    const auto self = shared_from_this();
    if (pending) {
        post([self, pending = std::move(pending)] {
            if (self->requests_) {
                self->requests_->abandon(*pending);
            }
        });
    }
}

bool GupnpContentClient::post(Task task) {
    const MutexLock guard(lock_);
    if (closed_) {
        return false;
    }
    tasks_.push_back(std::move(task));
    // The source has run, or never will, when this is destroyed: close() is called before.
    GSource *source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(
        source,
        [](gpointer self) -> gboolean {
            static_cast<GupnpContentClient *>(self)->runTasks();
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
    g_source_attach(source, context_);
    g_source_unref(source);
    return true;
}

void GupnpContentClient::runTasks() {
    MutexLock guard(lock_);
    const std::deque<Task> tasks = std::exchange(tasks_, {});
    guard.unlock();
    for (const Task &task : tasks) {
        try {
            task();
        } catch (const std::exception &failure) {
            MRB_LOG_ERROR("A request was not sent: %s", failure.what()); // its caller waits for its timeout
        }
    }
}

// Looks up the control URL and the service type of a server's content directory.
Status GupnpContentClient::findService(const std::string &server, ServiceEndpoint &endpoint) {
    GUPnPDeviceInfo *device = servers_ != nullptr ? servers_->find(server) : nullptr;
    if (device == nullptr) {
        return gone();
    }
    const std::unique_ptr<GList, Deleter<freeServices>> services(gupnp_device_info_list_services(device));
    for (const GList *each = services.get(); each != nullptr; each = each->next) {
        auto *service = GUPNP_SERVICE_INFO(each->data);
        const char *name = gupnp_service_info_get_service_type(service);
        if (name == nullptr || !g_str_has_prefix(name, CONTENT_DIRECTORY)) {
            continue;
        }
        const Text url(gupnp_service_info_get_control_url(service));
        const std::string host = hostOf(url.get());
        // A server must not make this machine send requests to other hosts.
        if (host.empty() || host != hostOf(gupnp_device_info_get_location(device))) {
            return Status::protocolError("The server's content directory is on another host: refused.");
        }
        GSSDPClient *client = GSSDP_CLIENT(gupnp_device_info_get_context(device));
        const char *here = gssdp_client_get_host_ip(client);
        endpoint = {url.get(), name, host, here != nullptr ? here : ""};
        return {};
    }
    return Status::notSupported("The server has no content directory.");
}

void GupnpContentClient::beginCall(const BrowseRequest &request, std::shared_ptr<Pending> pending) {
    ServiceEndpoint endpoint;
    Status status = findService(request.server, endpoint);
    if (!status.ok()) {
        pending->finish({std::move(status), 0, {}});
        return;
    }
    requests_->begin({request.server, endpoint.controlUrl, endpoint.type + '#' + actionOf(request),
                      envelopeOf(request, endpoint.type), MAX_BYTES},
                     std::move(pending));
}

void GupnpContentClient::beginFetch(const std::string &url, std::size_t maximum,
                                    std::shared_ptr<Pending> pending) {
    const std::string host = hostOf(url.c_str());
    const std::optional<std::string> server = servers_ != nullptr ? servers_->at(host) : std::nullopt;
    if (!server) {
        pending->finish({Status::permissionDenied("There is no DLNA server at \"" + host + "\"."), 0, {}});
        return;
    }
    requests_->begin({*server, url, {}, {}, maximum}, std::move(pending));
}

void GupnpContentClient::open(const ServerTable &servers) {
    servers_ = &servers;
    requests_ = std::make_unique<HttpRequests>();
}

void GupnpContentClient::serversLeft() {
    if (requests_) {
        requests_->keep([this](const std::string &server) { return servers_->find(server) != nullptr; });
    }
}

void GupnpContentClient::close() {
    {
        const MutexLock guard(lock_);
        closed_ = true;
    }
    servers_ = nullptr; // posted tasks find no server any more
    runTasks();
    requests_.reset();
}

} // namespace mrb::dlna
