#include "dlna/gupnp/gupnp_network.h"

#include <libxml/xmlerror.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/c_callback.h"
#include "base/deleter.h"
#include "base/log.h"
#include "base/threads.h"
#include "dlna/gupnp/description_filter.h"
#include "dlna/gupnp/local_addresses.h"
#include "dlna/gupnp/main_context.h"

namespace mrb::dlna {
namespace {

constexpr const char *MEDIA_SERVER = "urn:schemas-upnp-org:device:MediaServer:1"; // and its later versions

// How long a machine that has networks takes to bring one up.
constexpr guint NETWORK_SECONDS = 2;

// GUPnP listens for TCP connections at the port that the system gave it for UDP, where a
// connection of this machine may be; another try gets another port.
constexpr int PORT_ATTEMPTS = 20;
constexpr guint RETRY_SECONDS = 5;

// Requests under way end at once; an encrypted connection may take a while to close.
constexpr auto SHUTDOWN_TIMEOUT = std::chrono::seconds(3);
constexpr int ENOUGH_POLLS = 10;

// Malformed XML of servers is not reported on standard error.
void ignoreXmlError(void * /*context*/, const char * /*format*/, ...) {}

constexpr const char *LIBRARY_DOMAINS[] = {
    "gssdp-client",        "gssdp-net",           "gupnp-context",
    "gupnp-control-point", "gupnp-device-info",   "gupnp-resource-factory",
    "gupnp-service-info",  "gupnp-service-proxy", "gupnp-xml-doc"};

// Warnings of the libraries, mostly about misbehaving servers, go to the system log.
void logForLibrary(const char *domain, GLogLevelFlags /*level*/, const char *message, void * /*data*/) {
    MRB_LOG_WARNING("%s: %s", domain, message);
}

void takeLibraryLogs() {
    constexpr auto SERIOUS = static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL);
    for (const char *domain : LIBRARY_DOMAINS) {
        g_log_set_handler(domain, SERIOUS, logForLibrary, nullptr);
    }
}

// None: every port that it tried is taken, or the address has gone.
Object<GUPnPContext> contextAt(const std::string &ip) {
    const Object<GInetAddress> address(g_inet_address_new_from_string(ip.c_str()));
    for (int attempt = 0; attempt < PORT_ATTEMPTS; ++attempt) {
        Object<GUPnPContext> context(
            gupnp_context_new_for_address(address.get(), 0, GSSDP_UDA_VERSION_1_0, nullptr));
        if (context) {
            return context;
        }
    }
    MRB_LOG_WARNING("DLNA servers at %s are not found for now: none of %d ports is free.", ip.c_str(),
                    PORT_ATTEMPTS);
    return nullptr;
}

} // namespace

class GupnpNetwork::Watch {
  public:
    explicit Watch(NetworkObserver &observer) : observer_(observer), servers_(observer) {}

    void run();

    [[nodiscard]] const std::shared_ptr<GupnpContentClient> &contentClient() const { return contentClient_; }

    // From any thread.
    void quit() {
        // Not g_main_context_invoke: before the loop runs, that would quit at once, without effect.
        GSource *source = g_idle_source_new();
        g_source_set_callback(
            source,
            [](gpointer loop) -> gboolean {
                g_main_loop_quit(static_cast<GMainLoop *>(loop));
                return G_SOURCE_REMOVE;
            },
            loop_.get(), nullptr);
        g_source_attach(source, context_.get());
        g_source_unref(source);
    }

  private:
    void watchNetwork();
    void updatePoints();
    void retryLater();
    void letGo();

    // The search for servers through one address of this machine, which loads their descriptions.
    struct Point {
        Object<GUPnPControlPoint> control;
        std::unique_ptr<DescriptionFilter> guard; // of its context
        int idlePolls = 0;                        // while it leaves: checks in a row that found it idle
    };

    Point watchContext(GUPnPContext *context);
    void abandon(Point point);
    void leave(Point point);
    void removeIdle(int polls);

    static void onServer(GUPnPControlPoint *point, GUPnPDeviceProxy *device, Watch *watch);
    static void onServerGone(GUPnPControlPoint *point, GUPnPDeviceProxy *device, Watch *watch);
    static gboolean onNetworkAwaited(gpointer watch);
    static gboolean onRetry(gpointer watch);
    static gboolean onLeaving(gpointer watch);

    NetworkObserver &observer_;
    ServerTable servers_;
    const std::unique_ptr<GMainContext, Deleter<g_main_context_unref>> context_{g_main_context_new()};
    const std::unique_ptr<GMainLoop, Deleter<g_main_loop_unref>> loop_{
        g_main_loop_new(context_.get(), FALSE)};
    const std::shared_ptr<GupnpContentClient> contentClient_ =
        std::make_shared<GupnpContentClient>(context_.get());
    std::optional<AddressMonitor> monitor_;
    std::map<LocalAddress, Point> points_;
    Source retryTimer_;          // while an address has no point
    std::vector<Point> leaving_; // until their requests have ended
    Source leavingTimer_;
};

void GupnpNetwork::Watch::run() {
    g_main_context_push_thread_default(context_.get());
    xmlSetGenericErrorFunc(nullptr, ignoreXmlError); // for this thread
    watchNetwork();
    g_main_loop_run(loop_.get());
    letGo();
    g_main_context_pop_thread_default(context_.get());
}

void GupnpNetwork::Watch::watchNetwork() {
    monitor_.emplace(context_.get(), [this] { updatePoints(); });
    updatePoints();
    GSource *timer = g_timeout_source_new_seconds(NETWORK_SECONDS);
    g_source_set_callback(timer, cCallback<onNetworkAwaited>, this, nullptr);
    g_source_attach(timer, context_.get());
    g_source_unref(timer);
    contentClient_->open(servers_);
    observer_.networkStarted();
}

void GupnpNetwork::Watch::letGo() {
    monitor_.reset();
    retryTimer_.reset();
    contentClient_->close();
    servers_.clear();
    for (auto &[address, point] : points_) {
        leave(std::move(point));
    }
    points_.clear();
    runContext(
        [this] {
            return std::ranges::all_of(leaving_, [](const Point &point) { return point.guard->isIdle(); });
        },
        SHUTDOWN_TIMEOUT);
    removeIdle(0); // all results were delivered
    leavingTimer_.reset();
    leaving_.clear();
    // Operations that this destruction cancelled end here.
    runContext([] { return true; }, SHUTDOWN_TIMEOUT);
}

// A control point stays alive while it loads a description, or waits for a retry, and keeps
// its sockets open.
void GupnpNetwork::Watch::leave(Point point) {
    g_signal_handlers_disconnect_by_data(point.control.get(), this);
    gssdp_resource_browser_set_active(GSSDP_RESOURCE_BROWSER(point.control.get()), FALSE);
    point.guard->cancel();
    leaving_.push_back(std::move(point));
    if (!leavingTimer_) {
        leavingTimer_ = wakeUps(context_.get());
        g_source_set_callback(leavingTimer_.get(), cCallback<onLeaving, G_SOURCE_CONTINUE>, this, nullptr);
    }
}

// A request that has ended delivers its result a few turns of the main context later: requests
// found idle by that many checks, each in a turn of its own, have delivered theirs.
void GupnpNetwork::Watch::removeIdle(int polls) {
    std::erase_if(leaving_, [&](Point &point) {
        if (!point.guard->isIdle()) {
            point.idlePolls = 0;
            return false;
        }
        if (++point.idlePolls < polls) {
            return false;
        }
        // Only its pending retries still hold references, which this cancels.
        g_object_run_dispose(G_OBJECT(point.control.get()));
        return true;
    });
}

gboolean GupnpNetwork::Watch::onLeaving(gpointer data) {
    auto &watch = *static_cast<Watch *>(data);
    watch.removeIdle(ENOUGH_POLLS);
    if (watch.leaving_.empty()) {
        watch.leavingTimer_.reset();
    }
    return G_SOURCE_CONTINUE; // unless it was destroyed
}

void GupnpNetwork::Watch::updatePoints() {
    const std::optional<std::set<LocalAddress>> found = localAddresses();
    if (!found) {
        retryLater();
        return;
    }
    const std::set<LocalAddress> &addresses = *found;
    std::vector<Point> abandoned;
    for (auto point = points_.begin(); point != points_.end();) {
        if (addresses.contains(point->first)) {
            ++point;
        } else {
            abandoned.push_back(std::move(point->second));
            point = points_.erase(point);
        }
    }
    for (Point &point : abandoned) {
        abandon(std::move(point));
    }
    bool isComplete = true;
    for (const LocalAddress &address : addresses) {
        if (points_.contains(address)) {
            continue;
        }
        if (const Object<GUPnPContext> context = contextAt(address.ip)) {
            points_.emplace(address, watchContext(context.get()));
        } else {
            isComplete = false;
        }
    }
    if (isComplete) {
        retryTimer_.reset();
    } else {
        retryLater();
    }
}

void GupnpNetwork::Watch::retryLater() {
    if (!retryTimer_) {
        retryTimer_.reset(g_timeout_source_new_seconds(RETRY_SECONDS));
        g_source_set_callback(retryTimer_.get(), cCallback<onRetry, G_SOURCE_CONTINUE>, this, nullptr);
        g_source_attach(retryTimer_.get(), context_.get());
    }
}

GupnpNetwork::Watch::Point GupnpNetwork::Watch::watchContext(GUPnPContext *context) {
    Point point;
    point.guard = std::make_unique<DescriptionFilter>(gupnp_context_get_session(context));
    point.control.reset(gupnp_control_point_new(context, MEDIA_SERVER));
    GUPnPControlPoint *control = point.control.get();
    g_signal_connect(control, "device-proxy-available", G_CALLBACK(cCallback<onServer>), this);
    g_signal_connect(control, "device-proxy-unavailable", G_CALLBACK(cCallback<onServerGone>), this);
    gssdp_resource_browser_set_active(GSSDP_RESOURCE_BROWSER(control), TRUE);
    return point;
}

// Its servers cannot be reached through it any more, and will not announce that.
void GupnpNetwork::Watch::abandon(Point point) {
    for (const GList *each = gupnp_control_point_list_device_proxies(point.control.get()); each != nullptr;
         each = each->next) {
        servers_.remove(GUPNP_DEVICE_INFO(each->data));
    }
    leave(std::move(point));
    contentClient_->serversLeft();
}

void GupnpNetwork::Watch::onServer(GUPnPControlPoint * /*point*/, GUPnPDeviceProxy *device, Watch *watch) {
    watch->servers_.add(GUPNP_DEVICE_INFO(device));
}

void GupnpNetwork::Watch::onServerGone(GUPnPControlPoint * /*point*/, GUPnPDeviceProxy *device,
                                       Watch *watch) {
    watch->servers_.remove(GUPNP_DEVICE_INFO(device));
    watch->contentClient_->serversLeft();
}

gboolean GupnpNetwork::Watch::onNetworkAwaited(gpointer data) {
    const auto &points = static_cast<Watch *>(data)->points_;
    if (std::ranges::all_of(points, [](const auto &each) { return each.first.isLoopback(); })) {
        MRB_LOG_WARNING("No network: only DLNA servers of this machine are found until there is one.");
    }
    return G_SOURCE_REMOVE;
}

gboolean GupnpNetwork::Watch::onRetry(gpointer watch) {
    static_cast<Watch *>(watch)->updatePoints();
    return G_SOURCE_CONTINUE; // unless it was destroyed
}

GupnpNetwork::GupnpNetwork(NetworkObserver &observer)
    : watch_(std::make_unique<Watch>(observer)), thread_(startThread("mrb-dlna", [this] { watch_->run(); })) {
}

std::shared_ptr<ContentDirectoryClient> GupnpNetwork::contentClient() { return watch_->contentClient(); }

GupnpNetwork::~GupnpNetwork() {
    watch_->quit();
    thread_.join();
}

void mrb_prepare_network() {
    takeLibraryLogs();
    // GIO would load it for the first https server, outside of a turn.
    g_tls_backend_get_default();
}

Network *mrb_start_network(NetworkObserver &observer) { return new GupnpNetwork(observer); }

} // namespace mrb::dlna
