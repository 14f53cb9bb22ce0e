// What ThreadSanitizer is not to report in these tests: libvips' threads wait for one
// another with GLib's locks, which are made of bare futexes. It does not see those, and
// takes whatever one thread hands to the next, in libvips and the libraries that it
// calls, for a race. The framework's own code is not among these.

#if defined(__SANITIZE_THREAD__)

extern "C" const char *__tsan_default_suppressions(); // NOLINT(bugprone-reserved-identifier): its name

// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" const char *__tsan_default_suppressions() {
    return "race:libvips.so\n"
           "race:vips-heif.so\n"
           "race:vips-jxl.so\n"
           "race:libglib-2.0.so\n"
           "race:libgobject-2.0.so\n"
           "race:libpng16.so\n"
           "race:libz.so\n"
           "race:libwebp\n"
           "race:libtiff.so\n"
           "race:libheif.so\n"
           "race:libde265.so\n"
           "race:liblcms2.so\n";
}

#endif
