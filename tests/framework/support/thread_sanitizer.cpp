// What ThreadSanitizer is not to report in these tests: libvips' threads wait for one
// another with GLib's locks, which are made of bare futexes. It does not see those, and
// takes what one thread hands over to the next, in libvips and the libraries that it
// calls, for a race. The testbed for devices is built on the same locks, and it and
// libudev keep what they make once in places that it does not see guarded. The
// framework's own code is not among these.

#if defined(__SANITIZE_THREAD__)

#include <dlfcn.h>

// It ends the process when a library that is named below is unloaded, as libgphoto2 does
// with the drivers that it has queried. This is a dependency of those.
[[gnu::constructor]] static void keepLibraries() { dlopen("libgd.so.3", RTLD_LAZY | RTLD_NODELETE); }

extern "C" const char *__tsan_default_suppressions(); // NOLINT(bugprone-reserved-identifier): its name

// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" [[gnu::visibility("default")]] const char *__tsan_default_suppressions() {
    return "called_from_lib:libvips.so\n"
           "called_from_lib:vips-heif.so\n"
           "called_from_lib:vips-jxl.so\n"
           "called_from_lib:libglib-2.0.so\n"
           "called_from_lib:libgio-2.0.so\n"
           "called_from_lib:libgssdp-1.6.so\n"
           "called_from_lib:libgupnp-1.6.so\n"
           "called_from_lib:libsoup-3.0.so\n"
           "called_from_lib:libudev.so\n"
           "called_from_lib:libumockdev.so\n"
           "called_from_lib:libumockdev-preload.so\n"
           "called_from_lib:libgobject-2.0.so\n"
           "called_from_lib:liborc-0.4.so\n"
           "called_from_lib:libpng16.so\n"
           "called_from_lib:libz.so\n"
           "called_from_lib:libwebp.so\n"
           "called_from_lib:libwebpdemux.so\n"
           "called_from_lib:libtiff.so\n"
           "called_from_lib:libheif.so\n"
           "called_from_lib:libde265.so\n"
           "called_from_lib:liblcms2.so\n";
}

#endif
