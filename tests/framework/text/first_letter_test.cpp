// The letter under which an index lists a name.

#include <gtest/gtest.h>

#include "text/first_letter.h"

TEST(FirstLetter, IsTheLetterOfAnIndexInEveryScript) {
    const struct {
        const char *name;
        const char *letter;
    } table[] = {
        {"apple", "A"},  {"Zoo", "Z"},    {"Äpfel", "A"}, {"élan", "E"},     {"3 days", "#"},
        {"", "#"},       {"(live)", "#"}, {"\xff", "#"},  {"😀", "#"},        {"θάλασσα", "Θ"},
        {"Άνοιξη", "Α"}, {"ёжик", "Е"},   {"шар", "Ш"},   {"ｆｕｌｌ", "F"}, {"ガラス", "か"},
        {"ぱん", "は"},  {"ゃ", "や"},    {"ん", "わ"},   {"ア", "あ"},      {"ｱ", "あ"},
        {"漢字", "漢"},  {"𠮷野", "漢"},  {"東京", "漢"}, {"한국", "ㅎ"},    {"까치", "ㄲ"},
        {"שלום", "ש"},   {"مرحبا", "م"},  {"हिन्दी", "ह"}, {"ไทย", "ไ"},      {"٣", "#"},
        {"ßtein", "S"},  {"ẞTEIN", "S"},  {"ﬁsch", "F"},  {"ſonne", "S"},    {"ıssız", "I"},
    };
    for (const auto &[name, letter] : table) {
        EXPECT_EQ(mrb::letterText(mrb::firstLetter(name)), letter) << name;
    }
}
