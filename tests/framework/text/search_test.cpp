// The search for a key word in names.

#include <gtest/gtest.h>

#include "text/search.h"

TEST(NameSearch, FindsNamesInEveryScriptWhateverTheCaseAndTheAccents) {
    const struct {
        const char *wanted;
        const char *name;
    } table[] = {
        {"resume", "My Résumé.jpg"},    {"RÉSUMÉ", "resume.jpg"},
        {"strasse", "Hauptstraße.jpg"}, {"smorre", "Smørrebrød.jpg"},
        {"zolw", "Żółw.jpg"},           {"istanbul", "İSTANBUL.jpg"},
        {"ΘΑΛΑΣΣΑ", "η θάλασσα.jpg"},   {"ежик", "Ёжик в тумане.mp4"},
        {"がく", "ガク.jpg"},           {"ｔｏｋｙｏ", "Tokyo.jpg"},
        {"한국", "나의 한국.jpg"},      {"東京", "旅行・東京.jpg"},
        {"محمد", "مُحَمَّد.jpg"},           {"שלום", "שָׁלוֹם.jpg"},
        {"e\u0301te", "Été.jpg"},       {"x.j", "x.jpg"},
    };
    for (const auto &[wanted, name] : table) {
        mrb::NameSearch search(wanted);
        EXPECT_TRUE(search.isIn(name)) << wanted << " in " << name;
    }
}

TEST(NameSearch, DoesNotFindOtherLetters) {
    mrb::NameSearch search("sea");
    for (const char *name : {"", "se a", "see", "морe", "es a"}) {
        EXPECT_FALSE(search.isIn(name)) << name;
    }
}

TEST(NameSearch, BytesThatAreNotUtf8AreSearchedAroundThem) {
    mrb::NameSearch search("na");
    EXPECT_TRUE(search.isIn("\xff\xfena\xc3"));
    EXPECT_FALSE(search.isIn("\xff\xfe"));
}

TEST(NameSearch, AnAccentAloneMeansNothing) {
    EXPECT_FALSE(mrb::NameSearch("\u0301").isMeaningful());
    EXPECT_TRUE(mrb::NameSearch("!").isMeaningful());
}
