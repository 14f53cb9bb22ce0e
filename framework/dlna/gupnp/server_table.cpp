#include "dlna/gupnp/server_table.h"

#include <algorithm>
#include <utility>

#include "base/log.h"
#include "dlna/gupnp/uri.h"

namespace mrb::dlna {
namespace {

// At most MAX_BYTES of whole characters.
std::string bounded(const char *text) {
    if (text == nullptr) {
        return {};
    }
    const Text valid(g_utf8_make_valid(text, -1));
    std::string all = g_strstrip(valid.get());
    if (all.size() > ServerTable::MAX_BYTES) {
        const char *end = g_utf8_find_prev_char(all.c_str(), all.c_str() + ServerTable::MAX_BYTES + 1);
        all.resize(end != nullptr ? end - all.c_str() : 0);
    }
    return all;
}

Server describe(GUPnPDeviceInfo *device) {
    Server server;
    server.id = bounded(gupnp_device_info_get_udn(device));
    server.address = bounded(hostOf(gupnp_device_info_get_location(device)).c_str());
    const Text name(gupnp_device_info_get_friendly_name(device));
    server.name = bounded(name.get());
    if (server.name.empty()) {
        server.name = server.address.empty() ? server.id : server.address;
    }
    return server;
}

} // namespace

void ServerTable::add(GUPnPDeviceInfo *device) {
    const Server server = describe(device);
    if (server.id.empty()) {
        return; // it could not be identified again
    }
    const auto found = entries_.find(server.id);
    if (found != entries_.end()) {
        found->second.devices.push_back(share(device));
        return;
    }
    if (entries_.size() >= MAX_SERVERS) {
        if (!std::exchange(full_, true)) {
            MRB_LOG_WARNING("Further DLNA servers are ignored: %zu are known.", entries_.size());
        }
        return;
    }
    Entry &entry = entries_[server.id];
    entry.server = server;
    entry.devices.push_back(share(device));
    observer_.serverArrived(server);
}

void ServerTable::remove(GUPnPDeviceInfo *device) {
    const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const auto &each) {
        const auto &devices = each.second.devices;
        return std::any_of(devices.begin(), devices.end(),
                           [&](const auto &known) { return known.get() == device; });
    });
    if (found == entries_.end()) {
        return;
    }
    auto &devices = found->second.devices;
    devices.erase(std::find_if(devices.begin(), devices.end(),
                               [&](const auto &known) { return known.get() == device; }));
    if (devices.empty()) {
        const Server server = std::move(found->second.server);
        entries_.erase(found);
        observer_.serverLeft(server);
    }
}

std::optional<std::string> ServerTable::at(const std::string &address) const {
    for (const auto &[id, entry] : entries_) {
        if (!address.empty() && entry.server.address == address) {
            return id;
        }
    }
    return std::nullopt;
}

void ServerTable::clear() {
    const auto entries = std::exchange(entries_, {});
    for (const auto &[id, entry] : entries) {
        observer_.serverLeft(entry.server);
    }
}

} // namespace mrb::dlna
