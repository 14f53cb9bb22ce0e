#include "sources/playlist/reference.h"

#include <glib.h>

#include <algorithm>
#include <memory>

#include "media/media_types.h"

namespace mrb {
namespace {

constexpr std::string_view FILE_SCHEME = "file:";
constexpr std::string_view THIS_MACHINE = "localhost";

constexpr bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

constexpr bool isOfScheme(char c) {
    return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

struct Release {
    void operator()(char *text) const { g_free(text); }
};

} // namespace

bool isUrl(std::string_view text) {
    const std::size_t colon = text.find("://");
    // One letter is a drive.
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

std::optional<std::string> percentDecoded(std::string_view text, const char *illegal) {
    if (text.find('%') == std::string_view::npos) {
        return std::nullopt;
    }
    const std::unique_ptr<char, Release> decoded(
        g_uri_unescape_segment(text.data(), text.data() + text.size(), illegal));
    return decoded ? std::optional<std::string>(decoded.get()) : std::nullopt;
}

} // namespace mrb
