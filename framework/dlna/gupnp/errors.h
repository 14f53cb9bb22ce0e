#pragma once

#include <glib.h>

#include <memory>

#include "base/result.h"

namespace mrb::dlna {

struct FreeError {
    void operator()(GError *error) const { g_error_free(error); }
};
using Error = std::unique_ptr<GError, FreeError>;

// What an error of a connection means for whom it leads to.
Status outcomeOfError(const GError &error);

} // namespace mrb::dlna
