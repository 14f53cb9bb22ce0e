#pragma once
// What the agent's command files share: how every command begins and ends, and texts
// that come from the framework.

#include <cstdlib>
#include <string>

#include "envelope.h"
#include "log.h"

/// The first and the last log line of every command.
#define LOG_REQUEST(command, request)                                                                        \
    MRB_LOG(LogTag::Agent, "ReqCmd[%s], ReqParam[%s].", command, (request).c_str())
#define LOG_ANSWER(command, result, answer)                                                                  \
    MRB_LOG(LogTag::Agent, "strCmd[%s] eResult[%d] strReturnJson[%s].", command, result, (answer).c_str())

/// Ends a command: makes the answer of the result, and of the type and the data that a
/// success has, writes the last log line and returns the answer. A macro, since the
/// line names the command's own function.
#define RETURN_ANSWER(command, result, ...)                                                                  \
    do {                                                                                                     \
        std::string answer = Answer(result __VA_OPT__(, ) __VA_ARGS__);                                      \
        LOG_ANSWER(command, result, answer);                                                                 \
        return answer;                                                                                       \
    } while (false)

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
