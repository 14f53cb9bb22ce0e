#pragma once

#include <glib.h>

#include <memory>

#include "base/deleter.h"
#include "base/result.h"

namespace mrb::dlna {

using Error = std::unique_ptr<GError, Deleter<g_error_free>>;

// The status of a request to a server whose connection failed with this error.
Status statusOfError(const GError &error);

} // namespace mrb::dlna
