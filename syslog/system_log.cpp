#include <system_log.h>

#include "choose_sink.h"
#include "colours.h"
#include "tag_filter.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

namespace {

systemlog::Sink *openSink() noexcept {
    try {
        // Leaked on purpose: the bridge and the framework still log from the destructors
        // of their static objects, after any of ours would be destroyed.
        return systemlog::chooseSink(getenv("QUILL_LOG")).release();
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

// Chosen when the library is loaded, which is before anything that is linked with
// it can call; so a line costs one test of a pointer when there is no sink.
systemlog::Sink *const sink = openSink();

const systemlog::TagFilter *openFilter() noexcept {
    try {
        return sink == nullptr ? nullptr
                               : new systemlog::TagFilter(getenv("QUILL_LOG_TAGS")); // leaked, as above
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

const systemlog::TagFilter *const filter = openFilter();

const char *printedTag(const char *tag) { return tag == nullptr ? "-" : tag; }

/// Formats the text into `shortText`, or into `longText` when it is longer, and
/// returns its length: negative when the text cannot be formatted.
__attribute__((format(printf, 3, 0))) int formatText(std::array<char, 1024> &shortText,
                                                     std::unique_ptr<char[]> &longText, const char *format,
                                                     va_list arguments) noexcept {
    va_list again;
    va_copy(again, arguments);
    // clang-tidy 14 forgets va_start when it checks several files in one run.
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
    int length = vsnprintf(shortText.data(), shortText.size(), format, arguments);
    if (length >= 0 && static_cast<size_t>(length) >= shortText.size()) {
        const size_t size = static_cast<size_t>(length) + 1;
        longText.reset(new (std::nothrow) char[size]);
        length = longText == nullptr ? -1 : vsnprintf(longText.get(), size, format, again);
        // Another thread may have changed an argument's text between the two.
        length = std::min(length, static_cast<int>(size - 1));
    }
    va_end(again);
    return length;
}

/// The slow half of system_log_print, kept out of it so that its quick return
/// saves no registers and needs no large frame.
__attribute__((noinline, format(printf, 3, 0))) int
formatAndWrite(int priority, const char *tag, const char *format, va_list arguments) noexcept {
    // A caller that logs a failure may read errno afterwards.
    const int savedErrno = errno;
    std::array<char, 1024> shortText; // NOLINT(cppcoreguidelines-pro-type-member-init): written by vsnprintf
    std::unique_ptr<char[]> longText;
    const int length = formatText(shortText, longText, format, arguments);
    if (length >= 0) {
        char *text = longText == nullptr ? shortText.data() : longText.get();
        auto shown = static_cast<size_t>(length);
        if (!sink->showsColours()) {
            shown = systemlog::removeColours(text, shown);
        }
        sink->write(std::clamp(priority, 0, 7), printedTag(tag), {text, shown});
    }
    errno = savedErrno;
    return length;
}

} // namespace

__attribute__((visibility("default"))) int system_log_print(int /*log_id*/, int priority, const char *tag,
                                                            const char *format, ...) {
    if (sink == nullptr) {
        return 0;
    }
    if (format == nullptr) {
        return -1;
    }
    if (filter != nullptr && !filter->admits(printedTag(tag))) {
        return 0;
    }
    va_list arguments;
    va_start(arguments, format);
    const int length = formatAndWrite(priority, tag, format, arguments);
    va_end(arguments);
    return length;
}
