// The made-up television's log, which records its lines as the recording log does.

#include "tv_log.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <string_view>

#include "system_log.h"

extern "C" void tv_log_write(const tv_log_site *site, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    char *text = nullptr;
    const int length = vasprintf(&text, format, arguments);
    va_end(arguments);
    if (length < 0) {
        return;
    }
    // The recording log knows the numbers of syslog(3): E is 3.
    const auto priority = SYSTEM_LOG_ERROR + static_cast<int>(std::string_view("EWNID").find(site->level));
    system_log_print(SYSTEM_LOG_MAIN, priority, site->module, "%s", text);
    free(text); // NOLINT(*-no-malloc): vasprintf allocated it
}
