#include "dlna/gupnp/gupnp_network.h"

#include <libxml/xmlerror.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <utility>
#include <vector>

#include "base/log.h"
#include "base/threads.h"
#include "dlna/gupnp/description_guard.h"
#include "dlna/gupnp/main_context.h"

namespace mrb::dlna {
namespace {

constexpr const char *MEDIA_SERVER = "urn:schemas-upnp-org:device:MediaServer:1"; // and its later versions

// How long interfaces take to be enumerated on a machine that has any.
constexpr guint ENUMERATION_SECONDS = 2;

// What is under way ends at once; an encrypted connection may take a while to close.
constexpr auto LONGEST_LEAVE = std::chrono::seconds(3);
constexpr int ENOUGH_LOOKS = 10;

// Servers that write malformed XML are no business of standard error's.
void ignoreXmlError(void * /*context*/, const char * /*format*/, ...) {}

constexpr const char *LIBRARY_DOMAINS[] = {
    "gssdp-client",        "gssdp-net",         "gupnp-context",          "gupnp-context-manager",
    "gupnp-control-point", "gupnp-device-info", "gupnp-resource-factory", "gupnp-service-info",
    "gupnp-service-proxy", "gupnp-xml-doc"};

// What the libraries complain of, servers' misbehaviour mostly, belongs in the system log.
void logForLibrary(const char *domain, GLogLevelFlags /*level*/, const char *message, void * /*data*/) {
    MRB_LOG_WARNING("%s: %s", domain, message);
}

void takeLibraryLogs() {
    constexpr auto SERIOUS = static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL);
    for (const char *domain : LIBRARY_DOMAINS) {
        g_log_set_handler(domain, SERIOUS, logForLibrary, nullptr);
    }
}

struct FreeContext {
    void operator()(GMainContext *context) const { g_main_context_unref(context); }
};
struct FreeLoop {
    void operator()(GMainLoop *loop) const { g_main_loop_unref(loop); }
};

} // namespace

class GupnpNetwork::Watch {
  public:
    explicit Watch(ServerListener &listener) : listener_(listener), servers_(listener) {}

    void run();

    [[nodiscard]] const std::shared_ptr<GupnpDirectories> &directories() const { return directories_; }

    // From any thread.
    void quit() {
        // Not invoked: as long as the loop does not run, that would be done at once and in vain.
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
    void watchThisMachine();
    void letGo();

    // Looks for servers through one address of this machine, and loads their descriptions.
    struct Point {
        Object<GUPnPControlPoint> control;
        std::unique_ptr<DescriptionGuard> guard; // of its context
        int idleLooks = 0;                       // while it leaves: looks in a row that found it idle
    };

    Point watchContext(GUPnPContext *context);
    void leave(Point point);
    void forgetLeft(int looks);

    static void onContext(GUPnPContextManager *manager, GUPnPContext *context, Watch *watch);
    static void onContextGone(GUPnPContextManager *manager, GUPnPContext *context, Watch *watch);
    static void onServer(GUPnPControlPoint *point, GUPnPDeviceProxy *device, Watch *watch);
    static void onServerGone(GUPnPControlPoint *point, GUPnPDeviceProxy *device, Watch *watch);
    static gboolean onEnumerated(gpointer watch);
    static gboolean onLeaving(gpointer watch);

    ServerListener &listener_;
    ServerTable servers_;
    const std::unique_ptr<GMainContext, FreeContext> context_{g_main_context_new()};
    const std::unique_ptr<GMainLoop, FreeLoop> loop_{g_main_loop_new(context_.get(), FALSE)};
    const std::shared_ptr<GupnpDirectories> directories_ = std::make_shared<GupnpDirectories>(context_.get());
    Object<GUPnPContextManager> manager_;
    Point ownPoint_; // on the loopback interface
    std::map<GUPnPContext *, Point> points_;
    std::vector<Point> leaving_; // until what they have under way has ended
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
    // IPv4, as the guidelines of DLNA have it.
    manager_.reset(gupnp_context_manager_create_full(GSSDP_UDA_VERSION_1_0, G_SOCKET_FAMILY_IPV4, 0));
    g_signal_connect(manager_.get(), "context-available", G_CALLBACK(onContext), this);
    g_signal_connect(manager_.get(), "context-unavailable", G_CALLBACK(onContextGone), this);
    watchThisMachine();
    GSource *timer = g_timeout_source_new_seconds(ENUMERATION_SECONDS);
    g_source_set_callback(timer, onEnumerated, this, nullptr);
    g_source_attach(timer, context_.get());
    g_source_unref(timer);
    directories_->open(servers_);
    listener_.networkStarted();
}

void GupnpNetwork::Watch::letGo() {
    g_signal_handlers_disconnect_by_data(manager_.get(), this);
    directories_->close();
    servers_.clear();
    if (ownPoint_.control) {
        leave(std::move(ownPoint_));
    }
    for (auto &[context, point] : points_) {
        leave(std::move(point));
    }
    points_.clear();
    runContext(
        [this] {
            return std::ranges::all_of(leaving_, [](const Point &point) { return point.guard->isIdle(); });
        },
        LONGEST_LEAVE);
    forgetLeft(0); // all results were given
    leavingTimer_.reset();
    leaving_.clear();
    manager_.reset();
    // What was begun and is cancelled by that ends here.
    runContext([] { return true; }, LONGEST_LEAVE);
}

// A control point lives on while it loads a description, or waits to try that again, and with
// it its sockets.
void GupnpNetwork::Watch::leave(Point point) {
    g_signal_handlers_disconnect_by_data(point.control.get(), this);
    gssdp_resource_browser_set_active(GSSDP_RESOURCE_BROWSER(point.control.get()), FALSE);
    point.guard->cancel();
    leaving_.push_back(std::move(point));
    if (!leavingTimer_) {
        leavingTimer_ = wakeUps(context_.get());
        g_source_set_callback(leavingTimer_.get(), onLeaving, this, nullptr);
    }
}

// A request that has ended gives its result a few turns of the main context later: those that
// so many looks, each in a turn of its own, found idle have given theirs.
void GupnpNetwork::Watch::forgetLeft(int looks) {
    std::erase_if(leaving_, [&](Point &point) {
        if (!point.guard->isIdle()) {
            point.idleLooks = 0;
            return false;
        }
        if (++point.idleLooks < looks) {
            return false;
        }
        // Now only those attempts hold it that it would make again later.
        g_object_run_dispose(G_OBJECT(point.control.get()));
        return true;
    });
}

gboolean GupnpNetwork::Watch::onLeaving(gpointer data) {
    auto &watch = *static_cast<Watch *>(data);
    watch.forgetLeft(ENOUGH_LOOKS);
    if (watch.leaving_.empty()) {
        watch.leavingTimer_.reset();
    }
    return G_SOURCE_CONTINUE; // unless it was destroyed
}

// The manager leaves the loopback interface out, where a server on this machine may be.
void GupnpNetwork::Watch::watchThisMachine() {
    const Object<GInetAddress> address(g_inet_address_new_loopback(G_SOCKET_FAMILY_IPV4));
    const Object<GUPnPContext> context(
        gupnp_context_new_for_address(address.get(), 0, GSSDP_UDA_VERSION_1_0, nullptr));
    if (context) {
        ownPoint_ = watchContext(context.get());
    }
}

GupnpNetwork::Watch::Point GupnpNetwork::Watch::watchContext(GUPnPContext *context) {
    Point point;
    point.guard = std::make_unique<DescriptionGuard>(gupnp_context_get_session(context));
    point.control.reset(gupnp_control_point_new(context, MEDIA_SERVER));
    GUPnPControlPoint *control = point.control.get();
    g_signal_connect(control, "device-proxy-available", G_CALLBACK(onServer), this);
    g_signal_connect(control, "device-proxy-unavailable", G_CALLBACK(onServerGone), this);
    gssdp_resource_browser_set_active(GSSDP_RESOURCE_BROWSER(control), TRUE);
    return point;
}

void GupnpNetwork::Watch::onContext(GUPnPContextManager *manager, GUPnPContext *context, Watch *watch) {
    Point point = watch->watchContext(context);
    gupnp_context_manager_manage_control_point(manager, point.control.get());
    watch->points_[context] = std::move(point);
}

void GupnpNetwork::Watch::onContextGone(GUPnPContextManager * /*manager*/, GUPnPContext *context,
                                        Watch *watch) {
    const auto found = watch->points_.find(context);
    if (found == watch->points_.end()) {
        return;
    }
    Point point = std::move(found->second);
    watch->points_.erase(found);
    // They cannot be reached through it any more, and do not say so themselves.
    for (const GList *each = gupnp_control_point_list_device_proxies(point.control.get()); each != nullptr;
         each = each->next) {
        watch->servers_.remove(GUPNP_DEVICE_INFO(each->data));
    }
    watch->leave(std::move(point));
    watch->directories_->serversLeft();
}

void GupnpNetwork::Watch::onServer(GUPnPControlPoint * /*point*/, GUPnPDeviceProxy *device, Watch *watch) {
    watch->servers_.add(GUPNP_DEVICE_INFO(device));
}

void GupnpNetwork::Watch::onServerGone(GUPnPControlPoint * /*point*/, GUPnPDeviceProxy *device,
                                       Watch *watch) {
    watch->servers_.remove(GUPNP_DEVICE_INFO(device));
    watch->directories_->serversLeft();
}

gboolean GupnpNetwork::Watch::onEnumerated(gpointer watch) {
    if (static_cast<Watch *>(watch)->points_.empty()) {
        MRB_LOG_WARNING("No network: only DLNA servers of this machine are found until there is one.");
    }
    return G_SOURCE_REMOVE;
}

GupnpNetwork::GupnpNetwork(ServerListener &listener)
    : watch_(std::make_unique<Watch>(listener)), thread_(startThread("mrb-dlna", [this] { watch_->run(); })) {
}

std::shared_ptr<Directories> GupnpNetwork::directories() { return watch_->directories(); }

GupnpNetwork::~GupnpNetwork() {
    watch_->quit();
    thread_.join();
}

void mrb_prepare_network() {
    takeLibraryLogs();
    // GIO loads that for the first server by https, without a turn.
    g_tls_backend_get_default();
}

Network *mrb_start_network(ServerListener &listener) { return new GupnpNetwork(listener); }

} // namespace mrb::dlna
