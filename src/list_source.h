#pragma once
// The sources that a list can be opened on, and what each of them adds to the
// framework's parameters.

#include <string>

#include "MRBBridgeJson.h"
#include "mrb/agent.h"

namespace MRBBridge {

/// Reads a source's own keys of the request and sets its parameters.
using SetSourceParams = void (*)(mrb_general_param_h param, const CMRBBridgeJson &request);

/// The source of exactly that name; null when there is none.
SetSourceParams FindListSource(const std::string &name);

} // namespace MRBBridge
