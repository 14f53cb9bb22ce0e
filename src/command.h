#pragma once
// How every command of an adapter ends: with its answer, which it logs. Macros, since a
// log line names the function and line it stands in.

#include <string>

#include "envelope.h"
#include "log.h"

/// The last log line of every command.
#define LOG_ANSWER(tag, command, result, answer)                                                             \
    MRB_LOG(tag, "strCmd[%s] eResult[%d] strReturnJson[%s].", command, result, (answer).c_str())

/// Ends a command without data, or one that failed: builds the answer from the result,
/// which is evaluated once, writes the last log line and returns the answer.
#define RETURN_RESULT(tag, command, result)                                                                  \
    do {                                                                                                     \
        const int return_ecode = result;                                                                     \
        std::string answer = ::MRBBridge::Answer(return_ecode);                                              \
        LOG_ANSWER(tag, command, return_ecode, answer);                                                      \
        return answer;                                                                                       \
    } while (false)

/// Ends a command with data, which the answer of a success holds: the result is evaluated
/// before them.
#define RETURN_ANSWER(tag, command, result, type, data)                                                      \
    do {                                                                                                     \
        const int return_ecode = result;                                                                     \
        std::string answer = ::MRBBridge::Answer(return_ecode, type, data);                                  \
        LOG_ANSWER(tag, command, return_ecode, answer);                                                      \
        return answer;                                                                                       \
    } while (false)
