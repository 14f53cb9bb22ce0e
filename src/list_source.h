#pragma once
// The sources that a list can be opened on, and the framework's parameters that each
// of them sets. The framework has a table of the same names of its own: on a television
// it is another program's.

#include <string>

#include "MRBBridgeJson.h"
#include "mrb/agent.h"

namespace MRBBridge {

/// Reads a source's own keys of the request and sets its parameters.
using SetSourceParams = void (*)(mrb_general_param_h param, const CMRBBridgeJson &request);

/// The source of exactly that name; null when there is none.
SetSourceParams FindListSource(const std::string &name);

} // namespace MRBBridge
