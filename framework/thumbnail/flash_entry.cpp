#include "thumbnail/flash_entry.h"

#include <charconv>
#include <cstdio>

#include "mrb/thumbnail.h"
#include "thumbnail/flash_picture.h"

namespace mrb::thumbnail {
namespace {

constexpr std::size_t CHECKSUM_DIGITS = 8;

// FNV-1a (32 bits): detects accidents, not attacks.
std::uint32_t checksum(std::string_view text) {
    std::uint32_t sum = 2166136261U;
    for (const char letter : text) {
        sum = (sum ^ static_cast<unsigned char>(letter)) * 16777619U;
    }
    return sum;
}

std::string hexadecimal(std::uint32_t number) {
    char digits[CHECKSUM_DIGITS + 1];
    std::snprintf(digits, sizeof digits, "%08x", number);
    return digits;
}

// Encodes spaces, control characters and line feeds, which paths may have; never empty.
std::string wordOf(std::string_view text) {
    std::string word = "@";
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (byte <= ' ' || byte == '%' || byte == 0x7F) {
            char escaped[4];
            std::snprintf(escaped, sizeof escaped, "%%%02x", byte);
            word += escaped;
        } else {
            word += letter;
        }
    }
    return word;
}

// Reads the words of a line in order; after an invalid one all are invalid.
class Words {
  public:
    explicit Words(std::string_view text) : rest_(text) {}

    template <typename Number>
    Number number() {
        const std::string_view word = next();
        Number number{};
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
        good_ = good_ && error == std::errc() && end == word.data() + word.size();
        return number;
    }

    std::string text() {
        const std::string_view word = next();
        good_ = good_ && word.starts_with('@');
        std::string text;
        for (std::size_t at = 1; good_ && at < word.size(); ++at) {
            unsigned byte = static_cast<unsigned char>(word[at]);
            if (word[at] == '%') {
                const char *digits = word.data() + at + 1;
                good_ =
                    at + 2 < word.size() && std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2;
                at += 2;
            }
            text += static_cast<char>(byte);
        }
        return text;
    }

    [[nodiscard]] bool areGood() const { return good_ && rest_.empty(); }

  private:
    std::string_view next() {
        const std::string_view word = rest_.substr(0, rest_.find(' '));
        rest_.remove_prefix(std::min(rest_.size(), word.size() + 1));
        good_ = good_ && !word.empty();
        return word;
    }

    std::string_view rest_;
    bool good_ = true;
};

bool isPossible(const FlashEntry &entry) {
    return entry.width >= 1 && entry.width <= MRB_THUMB_MAX_PIXELS && entry.height >= 1 &&
           entry.height <= MRB_THUMB_MAX_PIXELS;
}

} // namespace

std::int64_t FlashEntry::bytes() const { return flashPictureBytes(width, height, preset); }

std::string textOf(const FlashLine &line) {
    std::string text = std::string(1, static_cast<char>(line.kind)) + ' ' + std::to_string(line.entry.id);
    if (line.kind == FlashLine::Kind::ADDED) {
        const FlashEntry &entry = line.entry;
        const FlashKey &key = entry.key;
        for (const std::int64_t number :
             {std::int64_t{entry.width}, std::int64_t{entry.height}, std::int64_t{entry.whole ? 1 : 0},
              std::int64_t{entry.preset ? 1 : 0}, std::int64_t{key.boxWidth}, std::int64_t{key.boxHeight},
              std::int64_t{key.orientation}, std::int64_t{key.frames}, std::int64_t{key.index},
              entry.source.size, entry.source.modified}) {
            text += ' ' + std::to_string(number);
        }
        text += ' ' + wordOf(entry.name) + ' ' + wordOf(key.path);
    }
    return hexadecimal(checksum(text)) + ' ' + text + '\n';
}

std::optional<FlashLine> readLine(std::string_view text) {
    if (text.size() < CHECKSUM_DIGITS + 4 || text[CHECKSUM_DIGITS] != ' ' ||
        text[CHECKSUM_DIGITS + 2] != ' ') {
        return std::nullopt;
    }
    const std::string_view contents = text.substr(CHECKSUM_DIGITS + 1);
    if (text.substr(0, CHECKSUM_DIGITS) != hexadecimal(checksum(contents))) {
        return std::nullopt;
    }
    FlashLine line;
    line.kind = static_cast<FlashLine::Kind>(contents[0]);
    Words words(contents.substr(2));
    FlashEntry &entry = line.entry;
    entry.id = words.number<std::uint64_t>();
    switch (line.kind) {
    case FlashLine::Kind::USED:
    case FlashLine::Kind::REMOVED:
        return words.areGood() ? std::optional(line) : std::nullopt;
    case FlashLine::Kind::ADDED:
        break;
    default:
        return std::nullopt;
    }
    entry.width = words.number<int>();
    entry.height = words.number<int>();
    entry.whole = words.number<int>() != 0;
    entry.preset = words.number<int>() != 0;
    entry.key.boxWidth = words.number<int>();
    entry.key.boxHeight = words.number<int>();
    entry.key.orientation = words.number<int>();
    entry.key.frames = words.number<int>();
    entry.key.index = words.number<int>();
    entry.source.size = words.number<std::int64_t>();
    entry.source.modified = words.number<std::int64_t>();
    entry.name = words.text();
    entry.key.path = words.text();
    return words.areGood() && isPossible(entry) ? std::optional(line) : std::nullopt;
}

} // namespace mrb::thumbnail
