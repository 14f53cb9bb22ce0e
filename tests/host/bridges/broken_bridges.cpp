// Libraries that are not a working bridge, one for each value of BROKEN.

#include <stdexcept>
#include <vector>

#include "quill/script_bridge.h"

#if BROKEN == 1 // no entry
extern "C" __attribute__((visibility("default"))) int loadBridge();
int loadBridge() { return 0; }
#else
extern "C" __attribute__((visibility("default"))) std::vector<Bridge::ScriptBridge *> loadBridges();
std::vector<Bridge::ScriptBridge *> loadBridges() {
#if BROKEN == 2
    throw std::runtime_error("no media today");
#else
    return {};
#endif
}
#endif
