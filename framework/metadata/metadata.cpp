#include "metadata/metadata.h"

#include <cmath>

#include "base/on_demand.h"
#include "text/text.h"

namespace mrb {
namespace {

constexpr bool isControl(char letter) { return static_cast<unsigned char>(letter) < ' ' || letter == '\x7f'; }

constexpr bool isContinuation(char letter) { return (static_cast<unsigned char>(letter) & 0xc0U) == 0x80U; }

} // namespace

std::string cleanText(std::string_view bytes) {
    // A fixed-size field is padded with zeros, and what follows a zero is not part of the text.
    bytes = bytes.substr(0, bytes.find('\0'));
    std::string text = displayText(std::string(bytes.substr(0, Metadata::MAX_TEXT_LENGTH)));
    if (text.size() > Metadata::MAX_TEXT_LENGTH || bytes.size() > Metadata::MAX_TEXT_LENGTH) {
        std::size_t end = std::min(text.size(), Metadata::MAX_TEXT_LENGTH);
        // The cut may have split a character, which then became U+FFFD's three bytes.
        const std::size_t broken = text.find("\uFFFD", end < 12 ? 0 : end - 12);
        end = std::min(end, broken);
        while (end > 0 && end < text.size() && isContinuation(text[end])) {
            --end;
        }
        text.resize(end);
    }
    for (char &letter : text) {
        letter = isControl(letter) ? ' ' : letter;
    }
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

void Metadata::setText(MetadataKey key, std::string_view bytes) {
    std::string text = cleanText(bytes);
    if (!text.empty()) {
        at(key) = std::move(text);
    }
}

void Metadata::fillGaps(const Metadata &other) {
    for (std::size_t number = 0; number < METADATA_KEYS; ++number) {
        const auto key = static_cast<MetadataKey>(number);
        if (!has(key)) {
            at(key) = other[key];
        }
    }
}

void Metadata::setReal(MetadataKey key, double number) {
    if (std::isfinite(number)) {
        at(key) = number;
    }
}

const std::string &Metadata::text(MetadataKey key) const {
    static OnDemand<std::string> nothing;
    const auto *text = std::get_if<std::string>(&(*this)[key]);
    return text != nullptr ? *text : nothing.get();
}

std::int64_t Metadata::number(MetadataKey key) const {
    const auto *number = std::get_if<std::int64_t>(&(*this)[key]);
    return number != nullptr ? *number : 0;
}

} // namespace mrb
