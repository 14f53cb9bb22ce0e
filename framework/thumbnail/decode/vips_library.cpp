#include "thumbnail/decode/vips_library.h"

#include <vips/vector.h>

#include <algorithm>
#include <mutex>

namespace mrb::thumbnail {
namespace {

void ignoreLogLine(const gchar * /*domain*/, GLogLevelFlags /*level*/, const gchar * /*text*/,
                   gpointer /*data*/) {}

// Before 8.15 libvips has its inner loops compiled by liborc, which up to 0.4.33 allocates the
// memory for code without a lock: two pictures started at the same moment crash the process or
// run each other's code. Without liborc, thumbnails take a few percent longer.
bool usesLiborc() {
    constexpr int MAJOR = 8;
    constexpr int FIRST_WITHOUT = 15;
    return vips_version(0) == MAJOR && vips_version(1) < FIRST_WITHOUT;
}

bool startVips() {
    // Errors of a picture are returned in its result, not printed to standard error.
    for (const char *domain : {"VIPS", "GLib-GObject"}) {
        const auto levels = domain[0] == 'V' ? G_LOG_LEVEL_MASK : G_LOG_LEVEL_INFO;
        g_log_set_handler(domain, static_cast<GLogLevelFlags>(levels), ignoreLogLine, nullptr);
    }
    if (vips_init("mrb") != 0) {
        return false;
    }
    if (usesLiborc()) {
        vips_vector_set_enabled(FALSE);
    }
    // Worker threads decode one picture each, and no picture is decoded twice.
    vips_concurrency_set(1);
    vips_cache_set_max(0);
    return true;
}

// libvips frees its data of a thread at the thread's end.
struct ThreadEnd {
    ~ThreadEnd() { vips_thread_shutdown(); }
};

void stopWhenAsked(VipsImage *image, VipsProgress * /*progress*/, gpointer data) {
    if (static_cast<const CancellationToken *>(data)->isCancelled()) {
        vips_image_set_kill(image, TRUE);
    }
}

// To sRGB: by the picture's own profile, or by the default of its colour space.
bool toScreenColours(VipsPicture &picture) {
    const bool profiled = vips_image_get_typeof(picture.get(), VIPS_META_ICC_NAME) != 0;
    const bool printed = vips_image_get_interpretation(picture.get()) == VIPS_INTERPRETATION_CMYK;
    VipsImage *converted = nullptr;
    if (profiled || printed) {
        if (vips_icc_transform(picture.get(), &converted, "srgb", "embedded", TRUE, "depth", 8, nullptr) ==
            0) {
            picture.reset(converted);
        } else {
            // A damaged profile does not make the picture unusable.
            vips_error_clear();
        }
    }
    if (vips_colourspace(picture.get(), &converted, VIPS_INTERPRETATION_sRGB, nullptr) != 0) {
        return false;
    }
    picture.reset(converted);
    if (vips_cast_uchar(picture.get(), &converted, nullptr) != 0) {
        return false;
    }
    picture.reset(converted);
    return true;
}

} // namespace

Status useVips() {
    static std::once_flag once;
    static bool started = false;
    std::call_once(once, [] { started = startVips(); });
    if (!started) {
        return Status::notInitialized("libvips cannot be started.");
    }
    // NOLINTNEXTLINE(clang-diagnostic-exit-time-destructors): destroyed with its thread, a worker
    static thread_local const ThreadEnd threadEnd;
    static_cast<void>(&threadEnd);
    vips_error_clear();
    return {};
}

Status vipsFailure() {
    std::string text = vips_error_buffer();
    vips_error_clear();
    std::ranges::replace(text, '\n', ' ');
    // The limits of libheif, whose messages have this part in all versions.
    if (text.find("ecurity limit") != std::string::npos) {
        return Status::outOfMemory("The picture exceeds a limit of its decoder: " + text);
    }
    return Status::corrupt("The picture is damaged: " + text);
}

Status render(VipsPicture picture, const CancellationToken &cancellation, Image &image) {
    if (!toScreenColours(picture)) {
        return vipsFailure();
    }
    vips_image_set_progress(picture.get(), TRUE);
    // The handler is removed with the picture, at the end of this function; the token is only read.
    g_signal_connect(picture.get(), "eval", G_CALLBACK(stopWhenAsked),
                     const_cast<CancellationToken *>(&cancellation));
    std::size_t size = 0;
    const std::unique_ptr<unsigned char, Deleter<g_free>> memory(
        static_cast<unsigned char *>(vips_image_write_to_memory(picture.get(), &size)));
    if (!memory) {
        const Status failure = vipsFailure();
        return cancellation.isCancelled() ? endOf(cancellation) : failure;
    }
    const int bands = vips_image_get_bands(picture.get());
    if (bands < 3) {
        return Status::notSupported("The picture's colours cannot be converted to sRGB.");
    }
    image = makeImage(vips_image_get_width(picture.get()), vips_image_get_height(picture.get()));
    const unsigned char *from = memory.get();
    unsigned char *to = image.pixels.get();
    for (std::size_t left = image.bytes() / 4; left > 0; --left, from += bands, to += 4) {
        to[0] = from[2];
        to[1] = from[1];
        to[2] = from[0];
        to[3] = bands > 3 ? from[3] : 0xFF;
    }
    return {};
}

} // namespace mrb::thumbnail
