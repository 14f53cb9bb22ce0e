// What LeakSanitizer is not to report in these tests: the list of USB devices that
// libgphoto2's USB port driver leaks for each camera that it cannot open, and what libsrt,
// a dependency of libav, allocates as it is loaded and loses where the process ends during
// that.

#if defined(__SANITIZE_ADDRESS__)

#include <dlfcn.h>

// A leak can only be matched by the library's name while that is loaded.
[[gnu::constructor]] static void keepLibraries() { dlopen("libusb-1.0.so.0", RTLD_LAZY | RTLD_NODELETE); }

extern "C" const char *__lsan_default_suppressions(); // NOLINT(bugprone-reserved-identifier): its name

// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" [[gnu::visibility("default")]] const char *__lsan_default_suppressions() {
    return "leak:libusb_get_device_list\nleak:libsrt\n";
}

#endif
