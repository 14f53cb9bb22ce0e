#pragma once

#include <glib.h>

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <tuple>

#include "base/descriptor.h"
#include "dlna/gupnp/main_context.h"

namespace mrb::dlna {

// An address of this machine through which servers can be found.
struct LocalAddress {
    std::string ip;         // IPv4, as specified by the DLNA guidelines
    unsigned interface = 0; // the kernel's index: a recreated interface has another one

    [[nodiscard]] bool isLoopback() const { return ip == "127.0.0.1"; }
    bool operator<(const LocalAddress &other) const {
        return std::tie(ip, interface) < std::tie(other.ip, other.interface);
    }
};

// 127.0.0.1, where a server on this machine may be, and the addresses of all interfaces that are
// up, support multicast and are not point-to-point. No value: the system refused to list them.
// From any thread.
std::optional<std::set<LocalAddress>> localAddresses();

// Calls `onChange` in a main context when an interface or an address of this machine may have been
// added or removed. Owned and used by the thread that runs the context.
class AddressMonitor {
  public:
    AddressMonitor(GMainContext *context, std::function<void()> onChange);

  private:
    static gboolean onMessages(gint fd, GIOCondition condition, gpointer self);

    const std::function<void()> onChange_;
    Descriptor socket_; // of rtnetlink(7); none when the system has refused it
    Source source_;
};

} // namespace mrb::dlna
