#pragma once
// Texts that the framework allocates and its caller frees.

#include <cstdlib>
#include <string>

namespace MRBBridge {

/// Copies a text of the framework's and frees it. Returns an empty text for null.
inline std::string TakeText(char *text) {
    if (text == nullptr) {
        return {};
    }
    std::string copy = text;
    std::free(text); // NOLINT(*-no-malloc): the framework allocates its texts with malloc
    return copy;
}

} // namespace MRBBridge
