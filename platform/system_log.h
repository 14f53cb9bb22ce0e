#pragma once
/*
 * The platform's system log.
 *
 * Threads. May be called from any thread at any time; lines never mix.
 *
 * Errors. A line that cannot be delivered is dropped without a report.
 */

#ifdef __cplusplus
extern "C" {
#endif

/* Log ids: which of the platform's logs a line goes to. */
enum { SYSTEM_LOG_MAIN = 0 };

/* Priorities, most urgent first; the numbers are those of syslog(3). */
enum {
    SYSTEM_LOG_ERROR = 3,
    SYSTEM_LOG_WARNING = 4,
    SYSTEM_LOG_NOTICE = 5,
    SYSTEM_LOG_INFO = 6,
    SYSTEM_LOG_DEBUG = 7
};

/*
 * Writes one line: `format` and what follows are those of printf. `tag` names
 * the part of the program that logs. A line of any length is delivered whole.
 * Formats nothing and returns at once when no sink takes the log, or this tag.
 * Returns the length of the text in bytes, 0 when no sink takes it, -1 when it
 * cannot be formatted.
 */
int system_log_print(int log_id, int priority, const char *tag, const char *format, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
} /* extern "C" */
#endif
