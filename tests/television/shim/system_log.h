#pragma once
// The television's log under the name by which the bridge calls it.

#include <tvlog/tv_log.h>

enum { SYSTEM_LOG_MAIN = 0 };
enum { SYSTEM_LOG_NOTICE = 'N' };

// A macro, since a function cannot pass on arguments of any number.
#define system_log_print(log_id, priority, tag, ...)                                                         \
    do {                                                                                                     \
        static_cast<void>(log_id);                                                                           \
        const tv_log_site site = {tag, priority};                                                            \
        tv_log_write(&site, __VA_ARGS__);                                                                    \
    } while (false)
