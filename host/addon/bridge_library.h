#pragma once
// Opening a bridge's shared library.

#include <string>
#include <vector>

#include "quill/script_bridge.h"

/// The bridges of a library, or why it could not be opened.
struct BridgeLibrary {
    std::vector<Bridge::ScriptBridge *> bridges;
    std::string error; ///< empty on success
};

/// Opens the library at `path` and calls its loadBridges. It stays open to the end of
/// the program. Main thread only.
BridgeLibrary openBridgeLibrary(const std::string &path);
