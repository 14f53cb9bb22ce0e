#pragma once

#include "system_log.h"

namespace mrb {

// The framework's tag in the system log.
inline constexpr const char *LOG_TAG = "MRB";

} // namespace mrb

// For problems that a user should know of although the work goes on.
// A macro, so that the compiler checks the format against its arguments.
#define MRB_LOG_WARNING(...) system_log_print(SYSTEM_LOG_MAIN, SYSTEM_LOG_WARNING, mrb::LOG_TAG, __VA_ARGS__)

// For problems that ended an operation.
#define MRB_LOG_ERROR(...) system_log_print(SYSTEM_LOG_MAIN, SYSTEM_LOG_ERROR, mrb::LOG_TAG, __VA_ARGS__)
