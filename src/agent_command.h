#pragma once
// What the agent's command files share: the first and the last log line of every
// command, and texts that come from the framework.

#include <cstdlib>
#include <string>

#include "log.h"

/// The first and the last log line of every command.
#define LOG_REQUEST(command, request)                                                                        \
    MRB_LOG(LogTag::Agent, "ReqCmd[%s], ReqParam[%s].", command, (request).c_str())
#define LOG_ANSWER(command, result, answer)                                                                  \
    MRB_LOG(LogTag::Agent, "strCmd[%s] eResult[%d] strReturnJson[%s].", command, result, (answer).c_str())

namespace MRBBridge {

// Commands that open what the registry records, by the name it is recorded under.
inline constexpr const char *REQUEST_LIST = "mrb_request_list_v2";
inline constexpr const char *BATCH_PROCESS = "mrb_batch_process_v2";

/// Copies a text of the framework's and releases it. Null gives an empty text.
inline std::string TakeText(char *text) {
    if (text == nullptr) {
        return {};
    }
    std::string copy = text;
    std::free(text); // NOLINT(*-no-malloc): the framework allocates its texts with malloc
    return copy;
}

} // namespace MRBBridge
