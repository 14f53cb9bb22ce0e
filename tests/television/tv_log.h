#pragma once
/* The made-up television's log: its call has another name and takes other arguments. */

#ifdef __cplusplus
extern "C" {
#endif

/* Who writes: the module's name, and 'E', 'W', 'N', 'I' or 'D'. */
struct tv_log_site {
    const char *module;
    char level;
};

void tv_log_write(const struct tv_log_site *site, const char *format, ...)
    __attribute__((format(printf, 2, 3)));

#ifdef __cplusplus
} /* extern "C" */
#endif
