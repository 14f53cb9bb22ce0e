// The JSON document, without a script engine.

#include "MRBBridgeJson.h"

#include <climits>
#include <clocale>
#include <cmath>
#include <limits>
#include <locale>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bridge_log.h"

namespace {

using MRBBridge::CMRBBridgeJson;
using MRBBridge::ConvertNumberToString;
using Lines = std::vector<std::string>;
using Texts = std::vector<std::string>;
using Ints = std::vector<int>;

class Json : public testing::Test {
  protected:
    Json() { recording::clearLogLines(); }
};

// ---- validity ---------------------------------------------------------------

TEST_F(Json, DefaultConstructedWritesNullAndALineFeed) { EXPECT_EQ(CMRBBridgeJson().ToString(), "null\n"); }

TEST_F(Json, OneSetMakesItAnObjectOnOneLine) {
    CMRBBridgeJson json;
    EXPECT_TRUE(json.Set("a", 1));
    EXPECT_EQ(json.ToString(), "{\"a\":1}\n");
}

TEST_F(Json, EmptyTextIsInvalidWithoutAParseMessage) {
    const CMRBBridgeJson json{std::string()};
    EXPECT_EQ(takeLog(), Lines{});
    EXPECT_EQ(json.ToString(), "");
    EXPECT_EQ(takeLog(), Lines{JSON + "ToString: ToString fail. jsonvalue is invalid type[0]."});
}

TEST_F(Json, EveryGetOnAnEmptyTextLogsTypeNull) {
    const CMRBBridgeJson json{std::string()};
    bool flag = true;
    int number = 7;
    unsigned int natural = 7;
    long long wide = 7;
    unsigned long long wide_natural = 7;
    double real = 7;
    std::string text = "kept";
    Texts texts = {"kept"};
    Ints ints = {7};
    EXPECT_FALSE(json.Get("k", flag));
    EXPECT_FALSE(json.Get("k", number));
    EXPECT_FALSE(json.Get("k", natural));
    EXPECT_FALSE(json.Get("k", wide));
    EXPECT_FALSE(json.Get("k", wide_natural));
    EXPECT_FALSE(json.Get("k", real));
    EXPECT_FALSE(json.Get("k", text));
    EXPECT_FALSE(json.Get("k", texts));
    EXPECT_FALSE(json.Get("k", ints));
    EXPECT_EQ(takeLog(), Lines(9, JSON + "Get: Get fail. jsonvalue is invalid type[0]."));
}

TEST_F(Json, ArrayTextParsesWithoutMessageButIsInvalid) {
    const CMRBBridgeJson json("[1,2]");
    EXPECT_EQ(takeLog(), Lines{});
    int out = 5;
    EXPECT_FALSE(json.Get("a", out));
    EXPECT_EQ(out, 5);
    EXPECT_EQ(takeLog(), Lines{JSON + "Get: Get fail. jsonvalue is invalid type[6]."});
}

/// A text that is not a JSON object, the root's type code, and whether it parses.
struct Invalid {
    const char *text;
    int type;
    bool parses;
};

class JsonInvalid : public Json, public testing::WithParamInterface<Invalid> {};

TEST_P(JsonInvalid, EveryOperationLogsTheRootsTypeAndChangesNothing) {
    const auto [text, type, parses] = GetParam();
    CMRBBridgeJson json(text);
    EXPECT_EQ(takeLog(), parses ? Lines{}
                                : Lines{JSON + "CMRBBridgeJson: Json::Reader parse string[" +
                                        std::string(text) + "] faild."});

    const std::string end = " fail. jsonvalue is invalid type[" + std::to_string(type) + "].";
    EXPECT_EQ(json.ToString(), "");
    EXPECT_FALSE(json.Set("k", 1));
    EXPECT_FALSE(json.Set("k", Texts{"a"}));
    EXPECT_FALSE(json.Set("k", Texts{}));
    int out = 3;
    EXPECT_FALSE(json.Get("k", out));
    Texts keys;
    EXPECT_FALSE(json.GetKeys(keys));
    json.Remove("k");
    json.Clear();
    EXPECT_EQ(takeLog(),
              (Lines{JSON + "ToString: ToString" + end, JSON + "Set: Set" + end, JSON + "Set: Set" + end,
                     JSON + "Set: Set" + end, JSON + "Get: Get" + end, JSON + "GetKeys: GetKeys" + end,
                     JSON + "Remove: GetKeys" + end, JSON + "Clear: Clear" + end}));
    EXPECT_EQ(out, 3);
    EXPECT_FALSE(json.Has("k"));
    EXPECT_FALSE(json.IsInt("k"));
    EXPECT_FALSE(json.IsString("k"));
    EXPECT_EQ(takeLog(), Lines{});
}

INSTANTIATE_TEST_SUITE_P(Texts, JsonInvalid,
                         testing::Values(Invalid{"null", 0, true}, Invalid{"1", 1, true},
                                         Invalid{"-1", 1, true}, Invalid{"3000000000", 2, true},
                                         Invalid{"1.5", 3, true}, Invalid{"\"a\"", 4, true},
                                         Invalid{"true", 5, true}, Invalid{"[]", 6, true},
                                         Invalid{"[{}]", 6, true}, Invalid{"nonsense", 0, false},
                                         Invalid{" ", 0, false}, Invalid{"[1,", 6, false},
                                         Invalid{"%s%n", 0, false}));

TEST_F(Json, ObjectThatBrokeOffIsLoggedButValidWithWhatItHolds) {
    const CMRBBridgeJson json("{\"a\":1,");
    EXPECT_EQ(takeLog(), Lines{JSON + "CMRBBridgeJson: Json::Reader parse string[{\"a\":1,] faild."});
    int out = 0;
    EXPECT_TRUE(json.Get("a", out));
    EXPECT_EQ(out, 1);
}

TEST_F(Json, NestingDeeperThanTheReaderGoesIsAFailedParse) {
    const std::string text = std::string(100000, '[');
    const CMRBBridgeJson json(text);
    EXPECT_EQ(takeLog(), Lines{JSON + "CMRBBridgeJson: Json::Reader parse string[" + text + "] faild."});
    EXPECT_FALSE(json.Has("a"));
}

TEST_F(Json, NestedObjectsDeeperThanTheReaderGoesDoNotThrow) {
    std::string text;
    for (int level = 0; level < 2000; ++level) {
        text += "{\"a\":";
    }
    int out = 9;
    EXPECT_NO_THROW(EXPECT_FALSE(CMRBBridgeJson(text).Get("b", out)));
    EXPECT_EQ(out, 9);
}

/// Texts on which some of the library's calls throw; no exception may leave the wrapper.
class JsonHostile : public Json, public testing::WithParamInterface<const char *> {};

TEST_P(JsonHostile, NothingThrows) {
    EXPECT_NO_THROW({
        CMRBBridgeJson json(GetParam());
        bool flag = false;
        int number = 0;
        unsigned int natural = 0;
        long long wide = 0;
        unsigned long long wide_natural = 0;
        double real = 0;
        std::string text;
        Texts texts;
        Ints ints;
        json.Get("k", flag);
        json.Get("k", number);
        json.Get("k", natural);
        json.Get("k", wide);
        json.Get("k", wide_natural);
        json.Get("k", real);
        json.Get("k", text);
        json.Get("k", texts);
        json.Get("k", ints);
        json.Has("k");
        json.IsInt("k");
        json.IsString("k");
        json.Set("k", Texts{"a"});
        json.Set("k", 1);
        json.GetKeys(texts);
        json.Remove("k");
        json.Clear();
        json.ToString();
    });
}

INSTANTIATE_TEST_SUITE_P(Texts, JsonHostile,
                         testing::Values("", "null", "1", "1.5", "\"text\"", "true", "[]", "[1,\"a\",{}]",
                                         "{\"k\":[[]]}", "{\"k\":[{}]}", "{\"k\":{}}", "{\"k\":null}",
                                         "{\"k\":[99999999999]}", "{\"k\":99999999999999999999}",
                                         "{\"k\":1e400}", "{\"k\":-1e400}", "{\"k\":1e300}",
                                         "{\"k\":[1e300]}", "{\"k\":\"\\ud800\"}", "{\"k\":\"\xff\xfe\"}",
                                         "{\"k\":1}{\"k\":2}", "{\"k\":1,\"k\":[]}", "{k:1}", "{\"k\"", "{",
                                         "}", "/* */ {\"k\":1} // x", "{\"k\":\"\\u0000\"}",
                                         "\xef\xbb\xbf{\"k\":1}"));

// ---- reading, by type -------------------------------------------------------

/// A member, and which reads of it succeed with what.
template <typename T>
struct Read {
    const char *member;
    bool succeeds;
    T value;
};

template <typename T>
void expectRead(const Read<T> &read, int type_on_failure) {
    SCOPED_TRACE(read.member);
    const CMRBBridgeJson json(std::string("{\"k\":") + read.member + "}");
    recording::clearLogLines();
    T out{};
    EXPECT_EQ(json.Get("k", out), read.succeeds);
    EXPECT_EQ(out, read.value);
    EXPECT_EQ(takeLog(), read.succeeds
                             ? Lines{}
                             : Lines{JSON + "Get: value.type[" + std::to_string(type_on_failure) + "]."});
}

TEST_F(Json, BoolsAreReadFromBooleansOnly) {
    expectRead<bool>({"true", true, true}, 0);
    expectRead<bool>({"1", false, false}, 1);
    expectRead<bool>({"\"true\"", false, false}, 4);
    expectRead<bool>({"null", false, false}, 0);
}

TEST_F(Json, IntsAreReadFromWhatFitsAnInt) {
    expectRead<int>({"-2147483648", true, INT_MIN}, 0);
    expectRead<int>({"2147483647", true, INT_MAX}, 0);
    expectRead<int>({"7.0", true, 7}, 0);
    expectRead<int>({"2147483648", false, 0}, 2);
    expectRead<int>({"7.5", false, 0}, 3);
    expectRead<int>({"true", false, 0}, 5);
    expectRead<int>({"[7]", false, 0}, 6);
    expectRead<int>({"{}", false, 0}, 7);
}

TEST_F(Json, IntFromAStringLogsTypeStringAndLeavesTheIntAlone) {
    const CMRBBridgeJson json(R"({"a":"12"})");
    int out = 42;
    EXPECT_FALSE(json.Get("a", out));
    EXPECT_EQ(out, 42);
    EXPECT_EQ(takeLog(), Lines{JSON + "Get: value.type[4]."});
}

TEST_F(Json, UnsignedIntsAreReadFromWhatFits) {
    expectRead<unsigned int>({"0", true, 0}, 0);
    expectRead<unsigned int>({"4294967295", true, UINT_MAX}, 0);
    expectRead<unsigned int>({"4294967296", false, 0}, 2);
    expectRead<unsigned int>({"-1", false, 0}, 1);
}

TEST_F(Json, LongLongsAreReadFromAnyNumberTowardZero) {
    expectRead<long long>({"5000000000", true, 5000000000LL}, 0);
    expectRead<long long>({"-1.9", true, -1}, 0);
    expectRead<long long>({"1.9", true, 1}, 0);
    expectRead<long long>({"9007199254740993", true, 9007199254740992LL}, 0);
    expectRead<long long>({"\"1\"", false, 0}, 4);
    expectRead<long long>({"true", false, 0}, 5);
}

TEST_F(Json, LongLongsBeyondTheRangeAreClamped) {
    expectRead<long long>({"1e30", true, LLONG_MAX}, 0);
    expectRead<long long>({"-1e30", true, LLONG_MIN}, 0);
    expectRead<long long>({"9223372036854775807", true, LLONG_MAX}, 0);
    expectRead<long long>({"-9223372036854775808", true, LLONG_MIN}, 0);
}

TEST_F(Json, UnsignedLongLongsAreReadFromWhatFits32Bits) {
    expectRead<unsigned long long>({"4294967295", true, 4294967295ULL}, 0);
    expectRead<unsigned long long>({"4294967296", false, 0}, 2);
    expectRead<unsigned long long>({"-1", false, 0}, 1);
    expectRead<unsigned long long>({"1.5", false, 0}, 3);
}

TEST_F(Json, DoublesAreReadFromAnyNumber) {
    expectRead<double>({"0.1", true, 0.1}, 0);
    expectRead<double>({"3", true, 3.0}, 0);
    expectRead<double>({"\"3\"", false, 0}, 4);
}

TEST_F(Json, TextsAreReadFromStringsOnly) {
    expectRead<std::string>({"\"a\\u00e9\"", true, "a\xc3\xa9"}, 0);
    expectRead<std::string>({"\"\"", true, ""}, 0);
    expectRead<std::string>({"1", false, ""}, 1);
    expectRead<std::string>({"null", false, ""}, 0);
}

TEST_F(Json, MissingKeyIsLoggedAndLeavesTheVariableAlone) {
    const CMRBBridgeJson json(R"({"a":1})");
    std::string out = "kept";
    EXPECT_FALSE(json.Get("b%s", out));
    EXPECT_EQ(out, "kept");
    EXPECT_EQ(takeLog(), Lines{JSON + "Get: NO strKey[b%s] in josn."});
}

TEST_F(Json, MissingKeyOfADefaultConstructedDocumentIsLogged) {
    int out = 1;
    EXPECT_FALSE(CMRBBridgeJson().Get("a", out));
    EXPECT_EQ(takeLog(), Lines{JSON + "Get: NO strKey[a] in josn."});
}

TEST_F(Json, LastOfTwoEqualKeysWins) {
    int out = 0;
    EXPECT_TRUE(CMRBBridgeJson(R"({"a":1,"a":2})").Get("a", out));
    EXPECT_EQ(out, 2);
}

TEST_F(Json, VectorReadsAppendAllElements) {
    const CMRBBridgeJson json(R"({"t":["a","b"],"i":[3,4.0,true,null]})");
    Texts texts = {"before"};
    EXPECT_TRUE(json.Get("t", texts));
    EXPECT_EQ(texts, (Texts{"before", "a", "b"}));
    Ints ints = {1};
    EXPECT_TRUE(json.Get("i", ints));
    EXPECT_EQ(ints, (Ints{1, 3, 4, 1, 0}));
}

TEST_F(Json, VectorReadOfAnEmptyArraySucceedsAndAppendsNothing) {
    const CMRBBridgeJson json(R"({"a":[]})");
    Texts texts;
    EXPECT_TRUE(json.Get("a", texts));
    EXPECT_EQ(texts, Texts{});
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(Json, VectorReadWithOneUnfitElementFailsAsAWhole) {
    const CMRBBridgeJson json(R"({"t":["a",{}],"i":[1,"x"],"w":[1,9999999999]})");
    Texts texts = {"kept"};
    EXPECT_FALSE(json.Get("t", texts));
    EXPECT_EQ(texts, Texts{"kept"});
    Ints ints = {7};
    EXPECT_FALSE(json.Get("i", ints));
    EXPECT_FALSE(json.Get("w", ints));
    EXPECT_EQ(ints, Ints{7});
    EXPECT_EQ(takeLog(), Lines(3, JSON + "Get: value.type[6]."));
}

TEST_F(Json, VectorReadOfAScalarFails) {
    const CMRBBridgeJson json(R"({"a":"x"})");
    Texts texts;
    EXPECT_FALSE(json.Get("a", texts));
    EXPECT_EQ(takeLog(), Lines{JSON + "Get: value.type[4]."});
}

// ---- writing, by type -------------------------------------------------------

template <typename T>
std::string written(T value) {
    CMRBBridgeJson json;
    EXPECT_TRUE(json.Set("k", value));
    return json.ToString();
}

TEST_F(Json, BoolsAreWrittenAsBooleans) {
    EXPECT_EQ(written(true), "{\"k\":true}\n");
    EXPECT_EQ(written(false), "{\"k\":false}\n");
}

TEST_F(Json, IntsAreWrittenAsIntegers) {
    EXPECT_EQ(written(INT_MIN), "{\"k\":-2147483648}\n");
    EXPECT_EQ(written(UINT_MAX), "{\"k\":4294967295}\n");
}

TEST_F(Json, WideIntegersAreWrittenInFloatingForm) {
    EXPECT_EQ(written(5000000000LL), "{\"k\":5000000000.0}\n");
    EXPECT_EQ(written(5000000000ULL), "{\"k\":5000000000.0}\n");
    EXPECT_EQ(written(-1LL), "{\"k\":-1.0}\n");
}

TEST_F(Json, LongLongBeyond53BitsLosesItsLowBits) {
    EXPECT_EQ(written((1LL << 53) + 1), "{\"k\":9007199254740992.0}\n");
}

TEST_F(Json, DoublesAreWrittenExactly) {
    EXPECT_EQ(written(0.1), "{\"k\":0.10000000000000001}\n");
    EXPECT_EQ(written(2.0), "{\"k\":2.0}\n");
    EXPECT_EQ(written(std::numeric_limits<double>::quiet_NaN()), "{\"k\":null}\n");
}

TEST_F(Json, TextsAreWrittenEscaped) {
    EXPECT_EQ(written(std::string("a\"\\\n\xc3\xa9")), "{\"k\":\"a\\\"\\\\\\n\\u00e9\"}\n");
    EXPECT_EQ(written("c"), "{\"k\":\"c\"}\n");
}

TEST_F(Json, NullCharacterPointerIsWrittenAsTheEmptyString) {
    EXPECT_EQ(written(static_cast<const char *>(nullptr)), "{\"k\":\"\"}\n");
}

TEST_F(Json, BytesThatAreNotUtf8AreWrittenAsReplacementCharacters) {
    EXPECT_EQ(written("a\xff"), "{\"k\":\"a\\ufffd\"}\n");
}

TEST_F(Json, EmptyVectorLeavesTheKeyAbsent) {
    CMRBBridgeJson json;
    EXPECT_TRUE(json.Set("k", Texts{}));
    EXPECT_FALSE(json.Has("k"));
    EXPECT_EQ(json.ToString(), "null\n");
}

TEST_F(Json, EmptyVectorKeepsWhatTheKeyHad) {
    CMRBBridgeJson json;
    json.Set("k", 1);
    EXPECT_TRUE(json.Set("k", Texts{}));
    EXPECT_EQ(json.ToString(), "{\"k\":1}\n");
}

TEST_F(Json, TwoVectorsUnderOneKeyMakeOneArray) {
    CMRBBridgeJson json;
    EXPECT_TRUE(json.Set("k", Texts{"a", "b"}));
    EXPECT_TRUE(json.Set("k", Texts{"c"}));
    EXPECT_EQ(json.ToString(), "{\"k\":[\"a\",\"b\",\"c\"]}\n");
}

TEST_F(Json, VectorReplacesAMemberThatIsNotAnArray) {
    CMRBBridgeJson json;
    json.Set("k", 1);
    EXPECT_TRUE(json.Set("k", Texts{"a"}));
    EXPECT_EQ(json.ToString(), "{\"k\":[\"a\"]}\n");
}

TEST_F(Json, SetOverwrites) {
    CMRBBridgeJson json;
    json.Set("k", 1);
    json.Set("k", "two");
    EXPECT_EQ(json.ToString(), "{\"k\":\"two\"}\n");
}

TEST_F(Json, UnsignedWideIntegerWrittenAndReadBackIsRefusedBeyond32Bits) {
    CMRBBridgeJson json;
    json.Set("k", 1ULL << 40);
    unsigned long long out = 1;
    EXPECT_FALSE(json.Get("k", out));
    EXPECT_EQ(out, 1U);
}

// ---- the other operations ---------------------------------------------------

TEST_F(Json, HasIsIntAndIsStringLogNothing) {
    const CMRBBridgeJson json(R"({"i":1,"s":"x","n":null})");
    recording::clearLogLines();
    EXPECT_TRUE(json.Has("i"));
    EXPECT_TRUE(json.Has("n"));
    EXPECT_FALSE(json.Has("z"));
    EXPECT_TRUE(json.IsInt("i"));
    EXPECT_FALSE(json.IsInt("s"));
    EXPECT_FALSE(json.IsInt("z"));
    EXPECT_TRUE(json.IsString("s"));
    EXPECT_FALSE(json.IsString("i"));
    EXPECT_FALSE(json.IsString("z"));
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(Json, RemoveRemovesAMember) {
    CMRBBridgeJson json(R"({"a":1,"b":2})");
    json.Remove("a");
    EXPECT_EQ(json.ToString(), "{\"b\":2}\n");
}

TEST_F(Json, RemoveOfAMissingKeyDoesAndLogsNothing) {
    CMRBBridgeJson json(R"({"a":1})");
    json.Remove("z");
    CMRBBridgeJson().Remove("z");
    EXPECT_EQ(json.ToString(), "{\"a\":1}\n");
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(Json, ClearRemovesAllMembers) {
    CMRBBridgeJson json(R"({"a":1,"b":2})");
    json.Clear();
    EXPECT_EQ(json.ToString(), "{}\n");
}

TEST_F(Json, GetKeysAppendsTheNamesInTheLibrarysOrder) {
    const CMRBBridgeJson json(R"({"b":1,"a":2})");
    Texts keys = {"before"};
    EXPECT_TRUE(json.GetKeys(keys));
    EXPECT_EQ(keys, (Texts{"before", "a", "b"}));
    EXPECT_TRUE(CMRBBridgeJson().GetKeys(keys));
    EXPECT_EQ(keys.size(), 3U);
}

// ---- layout -----------------------------------------------------------------

TEST_F(Json, TreeIsStoredBeforeTheFlag) {
    const CMRBBridgeJson valid(R"({"a":1})");
    const CMRBBridgeJson invalid("[1,2]");
    const auto tree = [](const CMRBBridgeJson &json) {
        return *reinterpret_cast<const ::Json::Value *>(&json);
    };
    const auto flag = [](const CMRBBridgeJson &json) {
        return reinterpret_cast<const unsigned char *>(&json)[sizeof(::Json::Value)];
    };
    EXPECT_EQ(tree(valid)["a"].asInt(), 1);
    EXPECT_EQ(tree(invalid).size(), 2U);
    EXPECT_EQ(flag(valid), 1);
    EXPECT_EQ(flag(invalid), 0);
}

// ---- numbers as texts -------------------------------------------------------

TEST(ConvertNumberToString, WritesPlainSignedDecimal) {
    EXPECT_EQ(ConvertNumberToString(0LL), "0");
    EXPECT_EQ(ConvertNumberToString(-1LL), "-1");
    EXPECT_EQ(ConvertNumberToString(LLONG_MAX), "9223372036854775807");
    EXPECT_EQ(ConvertNumberToString(LLONG_MIN), "-9223372036854775808");
}

TEST(ConvertNumberToString, GroupsNoDigitsInALocaleThatWould) {
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    EXPECT_EQ(ConvertNumberToString(1234567LL), "1234567");
    std::locale::global(before);
}

} // namespace
