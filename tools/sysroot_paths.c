/*
 * Preloaded into programs of an i386 sysroot, which run on this machine without its root being
 * theirs: Debian's Node.js reads parts of its library below /usr/share/nodejs, and finds them
 * in the sysroot, the folder of this library. Compiled by tools/sysroot.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <limits.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

static const char moved[] = "/usr/share/nodejs/";

int open64(const char *path, int flags, ...) {
    static int (*next)(const char *, int, ...);
    if (next == NULL) {
        next = (int (*)(const char *, int, ...))dlsym(RTLD_NEXT, "open64");
    }
    mode_t mode = 0;
    if ((flags & (O_CREAT | __O_TMPFILE)) != 0) {
        va_list more;
        va_start(more, flags);
        mode = va_arg(more, mode_t);
        va_end(more);
    }
    char there[PATH_MAX];
    Dl_info here;
    const char *end = NULL;
    if (strncmp(path, moved, sizeof moved - 1) == 0 && dladdr(moved, &here) != 0) {
        end = strrchr(here.dli_fname, '/');
    }
    if (end != NULL) {
        const int folder = (int)(end - here.dli_fname);
        const int length = snprintf(there, sizeof there, "%.*s%s", folder, here.dli_fname, path);
        if (length > 0 && (size_t)length < sizeof there) {
            path = there;
        }
    }
    return next(path, flags, mode);
}
