#pragma once
// How every command of an adapter ends: with its answer, which it logs. Macros, since a
// log line names the function and line it stands in.

#include <string>

#include "envelope.h"
#include "log.h"

/// The last log line of every command.
#define LOG_ANSWER(tag, command, result, answer)                                                             \
    MRB_LOG(tag, "strCmd[%s] eResult[%d] strReturnJson[%s].", command, result, (answer).c_str())

/// Ends a command: builds the answer from the result and, for a success, the type and the
/// data, writes the last log line and returns the answer. `result` is evaluated once, and
/// before the data.
#define RETURN_ANSWER(tag, command, result, ...)                                                             \
    do {                                                                                                     \
        const int return_ecode = result;                                                                     \
        std::string answer = ::MRBBridge::Answer(return_ecode __VA_OPT__(, ) __VA_ARGS__);                   \
        LOG_ANSWER(tag, command, return_ecode, answer);                                                      \
        return answer;                                                                                       \
    } while (false)
