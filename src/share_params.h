#pragma once
// The framework's parameters that each type of share sets.

#include "MRBBridgeJson.h"
#include "mrb/share.h"

namespace MRBBridge {

/// Reads the keys of a share type in a request, and sets its parameters. For any other
/// type nothing is set, and the framework accepts or refuses it.
void SetShareParams(mrb_share_param_h param, int share_type, const CMRBBridgeJson &request);

} // namespace MRBBridge
