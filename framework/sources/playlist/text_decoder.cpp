#include "sources/playlist/text_decoder.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <array>
#include <utility>

namespace mrb {
namespace {

constexpr std::string_view LITTLE_ENDIAN_MARK = "\xff\xfe";
constexpr std::string_view BIG_ENDIAN_MARK = "\xfe\xff";
constexpr char32_t REPLACEMENT = U'\uFFFD'; // for half of a surrogate pair

void appendUtf8(std::string &text, char32_t letter) {
    std::array<char, U8_MAX_LENGTH> bytes{};
    std::size_t length = 0;
    U8_APPEND_UNSAFE(bytes.data(), length, letter);
    text.append(bytes.data(), length);
}

} // namespace

TextDecoder::Encoding TextDecoder::encodingOf(std::string_view beginning) {
    if (beginning.starts_with(LITTLE_ENDIAN_MARK)) {
        return Encoding::LITTLE_ENDIAN_UTF16;
    }
    return beginning.starts_with(BIG_ENDIAN_MARK) ? Encoding::BIG_ENDIAN_UTF16 : Encoding::AS_IT_IS;
}

std::string_view TextDecoder::decode(std::string_view bytes) {
    if (encoding_ == Encoding::NOT_KNOWN_YET) {
        beginning_.append(bytes);
        if (beginning_.size() < LITTLE_ENDIAN_MARK.size()) {
            return {};
        }
        bytes = beginning_;
        encoding_ = encodingOf(bytes);
        bytes.remove_prefix(encoding_ == Encoding::AS_IT_IS ? 0 : LITTLE_ENDIAN_MARK.size());
    }
    if (encoding_ == Encoding::AS_IT_IS) {
        return bytes;
    }
    text_.clear();
    for (const char byte : bytes) {
        if (!half_) {
            half_ = byte;
            continue;
        }
        const auto first = static_cast<unsigned char>(*std::exchange(half_, std::nullopt));
        const auto second = static_cast<unsigned char>(byte);
        const bool isLittle = encoding_ == Encoding::LITTLE_ENDIAN_UTF16;
        append(static_cast<char16_t>(isLittle ? second * 256 + first : first * 256 + second));
    }
    return text_;
}

std::string_view TextDecoder::finish() {
    text_.clear();
    if (std::exchange(lead_, 0) != 0) {
        appendUtf8(text_, REPLACEMENT);
    }
    return encoding_ == Encoding::NOT_KNOWN_YET ? beginning_ : text_;
}

void TextDecoder::append(char16_t unit) {
    const char16_t lead = std::exchange(lead_, 0);
    if (lead != 0 && U16_IS_TRAIL(unit)) {
        appendUtf8(text_, static_cast<char32_t>(U16_GET_SUPPLEMENTARY(lead, unit)));
        return;
    }
    if (lead != 0) {
        appendUtf8(text_, REPLACEMENT);
    }
    if (U16_IS_LEAD(unit)) {
        lead_ = unit;
    } else {
        appendUtf8(text_, U16_IS_TRAIL(unit) ? REPLACEMENT : char32_t{unit});
    }
}

} // namespace mrb
