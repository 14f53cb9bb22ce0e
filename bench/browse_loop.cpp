// Browses a container of a media server with the least that GUPnP needs: page after page,
// each parsed. For dlna.mjs, in a network whose one server is on the loopback interface.
//
//   browse_loop CONTAINER   waits for a server; then reads a line for each round and prints
//                           its time in milliseconds and the number of objects

#include <libgupnp-av/gupnp-av.h>
#include <libgupnp/gupnp.h>

#include <chrono>
#include <iostream>
#include <string>

namespace {

constexpr unsigned PAGE_LENGTH = 500;
constexpr const char *CONTENT_DIRECTORY = "urn:schemas-upnp-org:service:ContentDirectory:1";

struct Found {
    GMainLoop *loop;
    GUPnPServiceInfo *service;
};

void onServer(GUPnPControlPoint * /*point*/, GUPnPDeviceProxy *device, Found *found) {
    found->service = gupnp_device_info_get_service(GUPNP_DEVICE_INFO(device), CONTENT_DIRECTORY);
    g_main_loop_quit(found->loop);
}

void count(GUPnPDIDLLiteParser * /*parser*/, GUPnPDIDLLiteObject * /*object*/, unsigned *objects) {
    ++*objects;
}

// Reads one page; false: no response.
bool browse(GUPnPServiceProxy *service, const char *container, unsigned start, unsigned &objects,
            unsigned &total) {
    GUPnPServiceProxyAction *action = gupnp_service_proxy_action_new(
        "Browse", "ObjectID", G_TYPE_STRING, container, "BrowseFlag", G_TYPE_STRING, "BrowseDirectChildren",
        "Filter", G_TYPE_STRING, "*", "StartingIndex", G_TYPE_UINT, start, "RequestedCount", G_TYPE_UINT,
        PAGE_LENGTH, "SortCriteria", G_TYPE_STRING, "", nullptr);
    GError *error = nullptr;
    char *didl = nullptr;
    const bool isDone =
        gupnp_service_proxy_call_action(service, action, nullptr, &error) != nullptr &&
        gupnp_service_proxy_action_get_result(action, &error, "Result", G_TYPE_STRING, &didl, "TotalMatches",
                                              G_TYPE_UINT, &total, nullptr) != FALSE;
    gupnp_service_proxy_action_unref(action);
    if (!isDone) {
        std::cerr << "browse_loop: " << error->message << '\n';
        g_error_free(error);
        return false;
    }
    GUPnPDIDLLiteParser *parser = gupnp_didl_lite_parser_new();
    g_signal_connect(parser, "object-available", G_CALLBACK(count), &objects);
    gupnp_didl_lite_parser_parse_didl(parser, didl, nullptr);
    g_object_unref(parser);
    g_free(didl);
    return true;
}

} // namespace

int main(int argumentCount, char **arguments) {
    if (argumentCount != 2) {
        std::cerr << "usage: browse_loop CONTAINER\n";
        return 2;
    }
    GInetAddress *address = g_inet_address_new_loopback(G_SOCKET_FAMILY_IPV4);
    GError *error = nullptr;
    GUPnPContext *context = gupnp_context_new_for_address(address, 0, GSSDP_UDA_VERSION_1_0, &error);
    if (context == nullptr) {
        std::cerr << "browse_loop: " << error->message << '\n';
        return 1;
    }
    GUPnPControlPoint *point = gupnp_control_point_new(context, "urn:schemas-upnp-org:device:MediaServer:1");
    Found found{g_main_loop_new(nullptr, FALSE), nullptr};
    g_signal_connect(point, "device-proxy-available", G_CALLBACK(onServer), &found);
    gssdp_resource_browser_set_active(GSSDP_RESOURCE_BROWSER(point), TRUE);
    g_main_loop_run(found.loop);
    for (std::string line; std::getline(std::cin, line);) {
        using std::chrono::steady_clock;
        const auto began = steady_clock::now();
        unsigned objects = 0;
        unsigned total = 0;
        unsigned before = 0;
        do {
            before = objects;
            if (!browse(GUPNP_SERVICE_PROXY(found.service), arguments[1], objects, objects, total)) {
                return 1;
            }
        } while (objects > before && objects < total);
        const std::chrono::duration<double, std::milli> took = steady_clock::now() - began;
        std::cout << took.count() << ' ' << objects << std::endl;
    }
    return 0;
}
