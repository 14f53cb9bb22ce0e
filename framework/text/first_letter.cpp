#include "text/first_letter.h"

#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/uscript.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace mrb {
namespace {

constexpr char32_t HAN = U'漢';

// The first letter of each row of the kana table; small letters precede their large ones.
constexpr char32_t KANA_ROWS[] = {U'ぁ', U'か', U'さ', U'た', U'な', U'は', U'ま', U'ゃ', U'ら', U'ゎ'};
constexpr char32_t KANA_NAMES[] = {U'あ', U'か', U'さ', U'た', U'な', U'は', U'ま', U'や', U'ら', U'わ'};
constexpr char32_t LAST_KANA = U'ゖ';
constexpr char32_t FIRST_KATAKANA = U'ァ';
constexpr char32_t LAST_KATAKANA = U'ヶ';

// The leading consonants in the order of the conjoining letters, which begin here.
constexpr char32_t FIRST_LEADING_CONSONANT = 0x1100;
constexpr char32_t HANGUL_CONSONANTS[] = {U'ㄱ', U'ㄲ', U'ㄴ', U'ㄷ', U'ㄸ', U'ㄹ', U'ㅁ',
                                          U'ㅂ', U'ㅃ', U'ㅅ', U'ㅆ', U'ㅇ', U'ㅈ', U'ㅉ',
                                          U'ㅊ', U'ㅋ', U'ㅌ', U'ㅍ', U'ㅎ'};

// The letter without accents, width and ligatures; the letter itself where it has none.
char32_t baseLetter(char32_t letter) {
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2 *normalizer = unorm2_getNFKDInstance(&status);
    if (U_FAILURE(status)) {
        return letter;
    }
    std::array<char16_t, 32> units{};
    const std::int32_t length =
        unorm2_getDecomposition(normalizer, static_cast<UChar32>(letter), units.data(),
                                static_cast<std::int32_t>(units.size()), &status);
    if (U_FAILURE(status) || length <= 0) {
        return letter;
    }
    UChar32 base = 0;
    U16_GET(units.data(), 0, 0, length, base);
    return static_cast<char32_t>(base);
}

// The first letter of the case folding: ß and ẞ fold to "ss".
char32_t foldedLetter(char32_t letter) {
    std::array<char16_t, 2> units{};
    std::int32_t length = 0;
    U16_APPEND_UNSAFE(units.data(), length, letter);
    std::array<char16_t, 8> folded{};
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t size = u_strFoldCase(folded.data(), static_cast<std::int32_t>(folded.size()),
                                            units.data(), length, U_FOLD_CASE_DEFAULT, &status);
    if (U_FAILURE(status) || size <= 0) {
        return letter;
    }
    UChar32 first = 0;
    U16_GET(folded.data(), 0, 0, size, first);
    return static_cast<char32_t>(first);
}

char32_t kanaRow(char32_t letter) {
    if (letter >= FIRST_KATAKANA && letter <= LAST_KATAKANA) {
        letter -= FIRST_KATAKANA - KANA_ROWS[0];
    }
    if (letter < KANA_ROWS[0] || letter > LAST_KANA) {
        return letter;
    }
    if (letter > U'ん') { // small か and け, which stand apart
        return U'か';
    }
    const auto *row = std::prev(std::ranges::upper_bound(KANA_ROWS, letter));
    return KANA_NAMES[row - std::begin(KANA_ROWS)];
}

} // namespace

char32_t firstLetter(std::string_view name) {
    if (name.empty()) {
        return NO_LETTER;
    }
    std::int32_t at = 0;
    UChar32 first = 0;
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(name.data());
    U8_NEXT(bytes, at, static_cast<std::int32_t>(name.size()), first);
    if (first < 0) {
        return NO_LETTER;
    }
    if (first < 0x80) {
        const int upper = first >= 'a' && first <= 'z' ? first - 'a' + 'A' : first;
        return upper >= 'A' && upper <= 'Z' ? static_cast<char32_t>(upper) : NO_LETTER;
    }
    const char32_t letter = baseLetter(static_cast<char32_t>(first));
    if (letter >= FIRST_LEADING_CONSONANT &&
        letter < FIRST_LEADING_CONSONANT + std::size(HANGUL_CONSONANTS)) {
        return HANGUL_CONSONANTS[letter - FIRST_LEADING_CONSONANT];
    }
    const auto point = static_cast<UChar32>(letter);
    if (u_isalpha(point) == 0) {
        return NO_LETTER;
    }
    // All letters above this are Han characters.
    if (letter >= LETTER_LIMIT) {
        return HAN;
    }
    UErrorCode status = U_ZERO_ERROR;
    switch (uscript_getScript(point, &status)) {
    case USCRIPT_HAN:
        return HAN;
    case USCRIPT_HIRAGANA:
    case USCRIPT_KATAKANA:
        return kanaRow(letter);
    default:
        return static_cast<char32_t>(u_toupper(static_cast<UChar32>(foldedLetter(letter))));
    }
}

std::string letterText(char32_t letter) {
    std::array<char, U8_MAX_LENGTH> bytes{};
    std::size_t length = 0;
    U8_APPEND_UNSAFE(bytes.data(), length, letter);
    return {bytes.data(), length};
}

} // namespace mrb
