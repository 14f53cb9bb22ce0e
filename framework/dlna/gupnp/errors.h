#pragma once

#include <glib.h>

#include <memory>

#include "base/deleter.h"
#include "base/result.h"

namespace mrb::dlna {

using Error = std::unique_ptr<GError, Deleter<g_error_free>>;

// What an error of a connection means for whom it leads to.
Status outcomeOfError(const GError &error);

} // namespace mrb::dlna
