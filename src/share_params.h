#pragma once
// What each type of share adds to the framework's parameters.

#include "MRBBridgeJson.h"
#include "mrb/share.h"

namespace MRBBridge {

/// Reads the keys that a share type has in a request, and sets its parameters. A type
/// without any is the framework's to judge.
void SetShareParams(mrb_share_param_h param, int share_type, const CMRBBridgeJson &request);

} // namespace MRBBridge
