#pragma once
// Reading a request's members into presets: a missing or mistyped one leaves 0,
// false, an empty text or no elements.

#include <string>
#include <vector>

#include "MRBBridgeJson.h"

namespace MRBBridge {

inline std::string Text(const CMRBBridgeJson &request, const char *key) {
    std::string value;
    request.Get(key, value);
    return value;
}

/// The same for an optional member, whose absence is not logged.
inline std::string OptionalText(const CMRBBridgeJson &request, const char *key) {
    return request.Has(key) ? Text(request, key) : std::string();
}

inline int Int(const CMRBBridgeJson &request, const char *key) {
    int value = 0;
    request.Get(key, value);
    return value;
}

inline bool Bool(const CMRBBridgeJson &request, const char *key) {
    bool value = false;
    request.Get(key, value);
    return value;
}

inline std::vector<int> Ints(const CMRBBridgeJson &request, const char *key) {
    std::vector<int> values;
    request.Get(key, values);
    return values;
}

} // namespace MRBBridge
