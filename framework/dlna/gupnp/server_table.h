#pragma once

#include <libgupnp/gupnp.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "dlna/gupnp/gobject.h"
#include "dlna/network.h"

namespace mrb::dlna {

// The media servers on the network. A server found through several addresses of this
// machine is one server. Owned by the GupnpNetwork; the network's thread alone calls it.
class ServerTable {
  public:
    // Limits for a large network or hostile servers.
    static constexpr std::size_t MAX_SERVERS = 1000;
    static constexpr std::size_t MAX_BYTES = 512; // of a text

    explicit ServerTable(NetworkObserver &observer) : observer_(observer) {}

    void add(GUPnPDeviceInfo *device);
    void remove(GUPnPDeviceInfo *device);
    // The device of that id; null: unknown. Valid until it is removed.
    [[nodiscard]] GUPnPDeviceInfo *find(const std::string &id) const {
        const auto found = entries_.find(id);
        return found == entries_.end() ? nullptr : found->second.devices.front().get();
    }
    // The id of a server with that address; no value: no such server.
    [[nodiscard]] std::optional<std::string> at(const std::string &address) const;
    // Notifies the observer that every server left.
    void clear();

  private:
    struct Entry {
        Server server;
        std::vector<Object<GUPnPDeviceInfo>> devices; // one per address of this machine
    };

    NetworkObserver &observer_;
    std::map<std::string, Entry> entries_;
    bool full_ = false; // and that was logged
};

} // namespace mrb::dlna
