#pragma once
// The answer of every command: a JSON object with "return_ecode" and, on success, the
// command's data.

#include <string>

#include "MRBBridgeJson.h"

namespace MRBBridge {

/// "return_ecode" of an answer with which the bridge itself refuses a call; every
/// other value is the framework's (or, for thumbnails, the adapter's).
inline constexpr int RETURN_ECODE_REFUSED = 2;

/// "return_type": how a script reads "return_data".
enum ReturnType : int {
    RETURN_TYPE_INTEGER = 1,
    RETURN_TYPE_TEXT = 4,
    RETURN_TYPE_BOOL = 5,
    RETURN_TYPE_DOUBLE = 6,
};

/// The answer of a command without data, or of one that failed.
std::string Answer(int result);

/// The answer of a command with data, which it holds on success (0) only. `T` is a
/// type that CMRBBridgeJson writes.
template <typename T>
std::string Answer(int result, ReturnType type, const T &data) {
    if (result != 0) {
        return Answer(result);
    }
    CMRBBridgeJson answer;
    answer.Set("return_ecode", result);
    answer.Set("return_type", static_cast<int>(type));
    answer.Set("return_data", data);
    return answer.ToString();
}

} // namespace MRBBridge
