#include "dlna/gupnp/uri.h"

#include <glib.h>

#include <memory>
#include <string_view>

#include "base/deleter.h"

namespace mrb::dlna {

std::string hostOf(const char *address) {
    const std::unique_ptr<GUri, Deleter<g_uri_unref>> uri(
        address != nullptr ? g_uri_parse(address, G_URI_FLAGS_NONE, nullptr) : nullptr);
    const char *host = uri ? g_uri_get_host(uri.get()) : nullptr;
    return host != nullptr ? host : "";
}

bool isWebAddress(const std::string &address) {
    const auto begins = [&](std::string_view scheme) {
        return address.size() > scheme.size() &&
               g_ascii_strncasecmp(address.c_str(), scheme.data(), scheme.size()) == 0;
    };
    return begins("http://") || begins("https://");
}

} // namespace mrb::dlna
