// The texts of JSON values are those that the library's own writer produces.

#include "json_text.h"

#include <cstdint>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/writer.h>

#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace {

using MRBBridge::JsonText;

std::string writtenByTheLibrary(const Json::Value &value) { return Json::FastWriter().write(value); }

struct Case {
    const char *name;
    const char *text;
};

class JsonTextOf : public testing::TestWithParam<Case> {};

constexpr Case CASES[] = {
    {"Null", "null"},
    {"True", "true"},
    {"False", "false"},
    {"Zero", "0"},
    {"NegativeZero", "-0.0"},
    {"LargestInteger", "9223372036854775807"},
    {"SmallestInteger", "-9223372036854775808"},
    {"LargestNatural", "18446744073709551615"},
    {"Fraction", "0.1"},
    {"WholeReal", "9007199254740992.0"},
    {"TinyReal", "5e-324"},
    {"HugeReal", "1.7976931348623157e308"},
    {"EmptyText", "\"\""},
    {"Escapes", R"("\"\\\/\b\f\n\r\t")"},
    {"Controls", R"("\u0000\u0001\u001f\u007f")"},
    {"Accents", "\"caf\u00e9 \u5bcc\u58eb\u5c71 \\ud83d\\ude00\""},
    {"EmptyArray", "[]"},
    {"EmptyObject", "{}"},
    {"Array", R"([1,"a",[],{},[[null]],true])"},
    {"Object", R"({"b":1,"a":{"":2,"\n":[3]},"\u00e9":4})"},
    {"ElementsThatWereLeftOut", "[1,,2]"},
};

TEST_P(JsonTextOf, IsTheLibrarysText) {
    Json::Value value;
    Json::Reader reader(Json::Features::all());
    reader.parse(GetParam().text, value);
    EXPECT_EQ(JsonText(value), writtenByTheLibrary(value));
}

INSTANTIATE_TEST_SUITE_P(Json, JsonTextOf, testing::ValuesIn(CASES),
                         [](const auto &entry) { return std::string(entry.param.name); });

TEST(JsonText, EveryPairOfBytesIsWrittenAsTheLibraryDoes) {
    std::string text(2, 0);
    for (unsigned pair = 0; pair < 65536; ++pair) {
        text[0] = static_cast<char>(pair >> 8U);
        text[1] = static_cast<char>(pair & 0xFFU);
        ASSERT_EQ(JsonText(text), writtenByTheLibrary(text)) << pair;
    }
}

TEST(JsonText, RandomBytesAreWrittenAsTheLibraryDoes) {
    std::mt19937 random(1);
    for (int round = 0; round < 20'000; ++round) {
        std::string text(random() % 40, 0);
        for (char &byte : text) {
            byte = static_cast<char>(random() % 3 == 0 ? random() : 'a' + random() % 26);
        }
        Json::Value value;
        value[text] = text;
        ASSERT_EQ(JsonText(value), writtenByTheLibrary(value)) << "round " << round;
    }
}

TEST(JsonText, NanAndInfinityAreWrittenAsTheLibraryDoes) {
    using Limits = std::numeric_limits<double>;
    for (const double number : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity()}) {
        EXPECT_EQ(JsonText(number), writtenByTheLibrary(number));
    }
}

} // namespace
