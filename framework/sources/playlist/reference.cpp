#include "sources/playlist/reference.h"

#include <glib.h>

#include <algorithm>
#include <memory>

#include "base/deleter.h"
#include "media/media_types.h"

namespace mrb {
namespace {

constexpr std::string_view FILE_SCHEME = "file:";
constexpr std::string_view THIS_MACHINE = "localhost";

constexpr bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

constexpr bool isOfScheme(char c) {
    return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

bool isSeparator(char letter) { return letter == '/' || letter == '\\'; }

// The offset of the path in a path or file URL.
std::size_t startOfPath(std::string_view text) {
    if (!isFileUrl(text)) {
        return hasDrive(text) ? std::size_t{2} : std::size_t{0};
    }
    const std::size_t start = FILE_SCHEME.size();
    return text.substr(start).starts_with("//") ? std::min(text.find('/', start + 2), text.size()) : start;
}

std::string resolvedUrl(const std::string &base, const std::string &reference) {
    constexpr auto FLAGS = static_cast<GUriFlags>(G_URI_FLAGS_PARSE_RELAXED | G_URI_FLAGS_ENCODED);
    const std::unique_ptr<char, Deleter<g_free>> url(
        g_uri_resolve_relative(base.c_str(), reference.c_str(), FLAGS, nullptr));
    return url ? url.get() : "";
}

} // namespace

bool isUrl(std::string_view text) {
    const std::size_t colon = text.find("://");
    // A scheme of one letter is a drive.
    return colon != std::string_view::npos && colon > 1 && isLetter(text.front()) &&
           std::ranges::all_of(text.substr(0, colon), isOfScheme);
}

bool isFileUrl(std::string_view text) { return lowerCase(text.substr(0, FILE_SCHEME.size())) == FILE_SCHEME; }

bool hasDrive(std::string_view path) {
    return path.size() > 2 && isLetter(path[0]) && path[1] == ':' && (path[2] == '\\' || path[2] == '/');
}

// "file:///a/b", "file://localhost/a/b", "file:/a/b", "file:b", "file:///E:/a", "file://E:/a"
std::optional<std::string_view> pathOfFileUrl(std::string_view url) {
    url.remove_prefix(FILE_SCHEME.size());
    if (!url.starts_with("//")) {
        return url;
    }
    url.remove_prefix(2);
    if (hasDrive(url)) {
        return url;
    }
    const std::size_t slash = std::min(url.find('/'), url.size());
    const std::string host = lowerCase(url.substr(0, slash));
    if (!host.empty() && host != THIS_MACHINE) {
        return std::nullopt;
    }
    url.remove_prefix(slash);
    return hasDrive(url.substr(std::min<std::size_t>(1, url.size()))) ? url.substr(1) : url;
}

std::string resolved(std::string_view base, std::string_view reference) {
    if (base.empty() || isUrl(reference) || isFileUrl(reference) || hasDrive(reference)) {
        return std::string(reference);
    }
    if (reference.empty()) {
        return std::string(base);
    }
    if (isUrl(base) && !isFileUrl(base)) {
        return resolvedUrl(std::string(base), std::string(reference));
    }
    std::size_t kept = startOfPath(base);
    if (!isSeparator(reference.front())) {
        while (base.size() > kept && !isSeparator(base.back())) {
            base.remove_suffix(1);
        }
        kept = base.size();
    }
    return std::string(base.substr(0, kept)).append(reference);
}

std::optional<std::string> percentDecoded(std::string_view text, const char *illegal) {
    if (text.find('%') == std::string_view::npos) {
        return std::nullopt;
    }
    const std::unique_ptr<char, Deleter<g_free>> decoded(
        g_uri_unescape_segment(text.data(), text.data() + text.size(), illegal));
    return decoded ? std::optional<std::string>(decoded.get()) : std::nullopt;
}

} // namespace mrb
