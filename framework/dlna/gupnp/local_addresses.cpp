#include "dlna/gupnp/local_addresses.h"

#include <arpa/inet.h>
#include <glib-unix.h>
#include <ifaddrs.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

#include "base/c_callback.h"
#include "base/deleter.h"
#include "base/log.h"

namespace mrb::dlna {
namespace {

bool reachesServers(const ifaddrs &entry, const in_addr &address) {
    if ((entry.ifa_flags & IFF_UP) == 0) {
        return false;
    }
    if ((entry.ifa_flags & IFF_LOOPBACK) != 0) {
        return address.s_addr == htonl(INADDR_LOOPBACK);
    }
    return (entry.ifa_flags & IFF_MULTICAST) != 0 && (entry.ifa_flags & IFF_POINTOPOINT) == 0;
}

} // namespace

std::optional<std::set<LocalAddress>> localAddresses() {
    ifaddrs *first = nullptr;
    if (getifaddrs(&first) != 0) {
        MRB_LOG_WARNING("The addresses of this machine cannot be read: %s.", std::strerror(errno));
        return std::nullopt;
    }
    const std::unique_ptr<ifaddrs, Deleter<freeifaddrs>> all(first);
    std::set<LocalAddress> addresses;
    for (const ifaddrs *entry = first; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) {
            continue;
        }
        const in_addr &address = reinterpret_cast<const sockaddr_in *>(entry->ifa_addr)->sin_addr;
        std::array<char, INET_ADDRSTRLEN> text = {};
        const unsigned interface = if_nametoindex(entry->ifa_name);
        if (interface != 0 && reachesServers(*entry, address) &&
            inet_ntop(AF_INET, &address, text.data(), text.size()) != nullptr) {
            addresses.insert({text.data(), interface});
        }
    }
    return addresses;
}

AddressMonitor::AddressMonitor(GMainContext *context, std::function<void()> onChange)
    : onChange_(std::move(onChange)),
      socket_(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE)) {
    sockaddr_nl name = {};
    name.nl_family = AF_NETLINK;
    name.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR;
    if (!socket_ || bind(socket_.fd(), reinterpret_cast<const sockaddr *>(&name), sizeof name) != 0) {
        MRB_LOG_WARNING("Added and removed networks will not be noticed: %s.", std::strerror(errno));
        return;
    }
    source_.reset(g_unix_fd_source_new(socket_.fd(), G_IO_IN));
    // GLib calls it with the arguments of a GUnixFDSourceFunc.
    g_source_set_callback(source_.get(), G_SOURCE_FUNC((cCallback<onMessages, G_SOURCE_CONTINUE>)), this,
                          nullptr);
    g_source_attach(source_.get(), context);
}

// Drains the messages; the system is queried afterwards, since some may be lost (ENOBUFS).
gboolean AddressMonitor::onMessages(gint fd, GIOCondition /*condition*/, gpointer self) {
    std::array<char, 8192> messages = {};
    while (recv(fd, messages.data(), messages.size(), 0) > 0 || errno == ENOBUFS || errno == EINTR) {
    }
    static_cast<AddressMonitor *>(self)->onChange_();
    return G_SOURCE_CONTINUE;
}

} // namespace mrb::dlna
