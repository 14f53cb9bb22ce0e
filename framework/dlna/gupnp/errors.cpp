#include "dlna/gupnp/errors.h"

#include <gio/gio.h>
#include <libsoup/soup.h>

#include <string>

namespace mrb::dlna {
namespace {

int codeOf(const GError &error) {
    if (error.domain == SOUP_SESSION_ERROR) {
        return MRB_ERR_PROTOCOL;
    }
    if (error.domain != G_IO_ERROR) {
        return MRB_ERR_IO;
    }
    switch (error.code) {
    case G_IO_ERROR_TIMED_OUT:
        return MRB_ERR_TIMEOUT;
    case G_IO_ERROR_CONNECTION_REFUSED:
    case G_IO_ERROR_CONNECTION_CLOSED: // also of a broken pipe
    case G_IO_ERROR_HOST_UNREACHABLE:
    case G_IO_ERROR_NETWORK_UNREACHABLE:
    case G_IO_ERROR_NOT_CONNECTED:
    case G_IO_ERROR_PARTIAL_INPUT:
        return MRB_ERR_DEVICE_REMOVED;
    case G_IO_ERROR_INVALID_DATA:
        return MRB_ERR_PROTOCOL;
    default:
        return MRB_ERR_IO;
    }
}

} // namespace

Status statusOfError(const GError &error) {
    return {codeOf(error), std::string("The request to the server failed: ") + error.message};
}

} // namespace mrb::dlna
