#pragma once

#include <string>
#include <string_view>

namespace mrb {

// The index entry of names that begin with a digit, a sign or nothing.
inline constexpr char32_t NO_LETTER = U'#';

// Above every letter that an index can have.
inline constexpr char32_t LETTER_LIMIT = 0x20000;

// The letter under which an index of names lists `name`: the first letter without
// its accents and in upper case; of Hangul the leading consonant, of kana the first
// of its row in hiragana, and one sign for all Han characters, of which there are
// too many for an index. `name` may hold any bytes.
char32_t firstLetter(std::string_view name);

// A letter as UTF-8.
std::string letterText(char32_t letter);

} // namespace mrb
