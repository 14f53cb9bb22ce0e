#include "sources/playlist/text_lines.h"

#include <glib.h>
#include <unicode/ucnv.h>

#include <algorithm>
#include <utility>

#include "sources/playlist/playlist_parser.h"

namespace mrb {
namespace {

constexpr bool isEnd(char letter) { return letter == '\n' || letter == '\r'; }
constexpr std::string_view BLANKS = " \t";
constexpr std::string_view BYTE_ORDER_MARK = "\xef\xbb\xbf";

std::string_view trimmed(std::string_view line) {
    const std::size_t first = line.find_first_not_of(BLANKS);
    if (first == std::string_view::npos) {
        return {};
    }
    return line.substr(first, line.find_last_not_of(BLANKS) - first + 1);
}

} // namespace

bool TextLines::cut(std::string_view text) {
    while (!text.empty()) {
        const auto length = static_cast<std::size_t>(std::ranges::find_if(text, isEnd) - text.begin());
        const std::string_view part = text.substr(0, length);
        if (begun_.size() + part.size() > PlaylistParser::MAX_TEXT_LENGTH) {
            isTooLong_ = true;
            begun_.clear();
        }
        if (length == text.size()) {
            begun_.append(isTooLong_ ? std::string_view() : part);
            return true;
        }
        if (!end(part)) {
            return false;
        }
        text.remove_prefix(length + 1);
    }
    return true;
}

bool TextLines::end(std::string_view rest) {
    std::string_view line = rest;
    if (!begun_.empty()) {
        line = begun_.append(isTooLong_ ? std::string_view() : rest);
    }
    const bool isWhole = !std::exchange(isTooLong_, false);
    if (std::exchange(isFirst_, false) && line.starts_with(BYTE_ORDER_MARK)) {
        line.remove_prefix(BYTE_ORDER_MARK.size());
    }
    line = trimmed(line);
    const bool isText = isWhole && !line.empty() && line.find('\0') == std::string_view::npos;
    const bool goesOn = !isText || take_(line);
    begun_.clear();
    return goesOn;
}

std::string utf8Of(std::string_view bytes) {
    if (g_utf8_validate(bytes.data(), static_cast<gssize>(bytes.size()), nullptr) != FALSE) {
        return std::string(bytes);
    }
    // UTF-8 needs at most three bytes for each.
    std::string text(bytes.size() * 3 + 1, '\0');
    UErrorCode error = U_ZERO_ERROR;
    const std::int32_t length =
        ucnv_convert("UTF-8", "windows-1252", text.data(), static_cast<std::int32_t>(text.size()),
                     bytes.data(), static_cast<std::int32_t>(bytes.size()), &error);
    text.resize(U_SUCCESS(error) ? static_cast<std::size_t>(length) : 0);
    return text;
}

} // namespace mrb
