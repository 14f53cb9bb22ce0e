#pragma once
// Opening a bridge's shared library.

#include <string>
#include <vector>

#include "quill/script_bridge.h"

/// What a library brought, or why it brought nothing.
struct BridgeLibrary {
    std::vector<Bridge::ScriptBridge *> bridges;
    std::string error; ///< empty on success
};

/// Opens the library at `path` and asks it for its bridges. It stays open to the
/// end of the program. Main thread only.
BridgeLibrary openBridgeLibrary(const std::string &path);
