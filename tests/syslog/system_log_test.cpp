// libsystemlog.so.1 from the outside, in child processes.

#include "support.h"

#include <array>
#include <cstdio>
#include <gtest/gtest.h>
#include <map>

namespace {

TEST(SystemLog, exportsOnlyThePrintCall) {
    FILE *symbols = popen("nm -D --defined-only '" LIBRARY "'", "r");
    ASSERT_NE(symbols, nullptr);
    const std::string text = readAll(fileno(symbols));
    ASSERT_EQ(pclose(symbols), 0);
    ASSERT_EQ(linesOf(text).size(), 1U) << text;
    EXPECT_NE(text.find(" T system_log_print\n"), std::string::npos) << text;
}

TEST(SystemLog, writesToStandardErrorWhenAskedTo) {
    const Outcome outcome = speak("stderr", {"say", "hello"});
    EXPECT_EQ(outcome.error, "TEST: hello\n");
}

TEST(SystemLog, answersTheLengthOfTheText) { EXPECT_EQ(speak("stderr", {"say", "hello"}).out, "5\n"); }

TEST(SystemLog, writesNothingWhenSwitchedOff) {
    const Outcome outcome = speak("off", {"say", "hello"});
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.out, "0\n");
}

TEST(SystemLog, formatsNothingWhenNobodyListens) {
    EXPECT_EQ(speak("off", {"written"}).out, "-77\n");
    EXPECT_EQ(speak("stderr", {"written"}).out, "4\n");
}

TEST(SystemLog, namesAnUnknownChoiceOnce) {
    const Outcome outcome = speak("loud", {"last words"});
    EXPECT_EQ(outcome.error,
              "quill: QUILL_LOG is \"loud\"; expected \"system\", \"stderr\" or \"off\". "
              "Using \"system\".\n");
    EXPECT_EQ(outcome.status, 0);
}

TEST(SystemLog, saysNothingOfTheDefault) {
    EXPECT_EQ(speak(nullptr, {"say", "hello"}).error, "");
    EXPECT_EQ(speak("", {"say", "hello"}).error, "");
    EXPECT_EQ(speak("system", {"say", "hello"}).error, "");
}

TEST(SystemLog, deliversTenMegabytesWhole) {
    constexpr size_t size = 10'000'000;
    const Outcome outcome = speak("stderr", {"long", std::to_string(size)});
    EXPECT_EQ(outcome.out, "10000000\n");
    EXPECT_TRUE(outcome.error == "TEST: " + pattern(size) + "\n");
}

TEST(SystemLog, deliversTextsAroundItsBuffersSize) {
    for (const size_t size : {1022U, 1023U, 1024U, 1025U}) {
        EXPECT_EQ(speak("stderr", {"long", std::to_string(size)}).error, "TEST: " + pattern(size) + "\n");
    }
}

TEST(SystemLog, refusesATextThatCannotBeFormatted) {
    const Outcome outcome = speak("stderr", {"unprintable"});
    EXPECT_EQ(outcome.out, "-1\n");
    EXPECT_EQ(outcome.error, "");
}

TEST(SystemLog, takesALineWithoutATag) { EXPECT_EQ(speak("stderr", {"no tag"}).error, "-: text\n"); }

TEST(SystemLog, writesOnlyTheTagsThatAreAskedFor) {
    const Outcome outcome = speak("stderr", {"as", "MRB-BRIDGE-AGENT", "text"}, "common,agent");
    EXPECT_EQ(outcome.error, "MRB-BRIDGE-AGENT: text\n");
    EXPECT_EQ(outcome.out, "4\n");
    EXPECT_EQ(speak("stderr", {"as", "MRB-BRIDGE-THUMBNAIL", "text"}, "common,agent").error, "");
    EXPECT_EQ(speak("stderr", {"no tag"}, "common,agent").error, "");
}

TEST(SystemLog, formatsNothingForATagThatIsNotAskedFor) {
    EXPECT_EQ(speak("stderr", {"written"}, "agent").out, "-77\n");
    EXPECT_EQ(speak("stderr", {"as", "OTHER", "text"}, "agent").out, "0\n");
}

TEST(SystemLog, takesColoursOutWhereTheOutputIsNoTerminal) {
    const Outcome outcome = speak("stderr", {"say", "f(1) > \033[31mred\033[0m"});
    EXPECT_EQ(outcome.error, "TEST: f(1) > red\n");
    EXPECT_EQ(outcome.out, "19\n"); // of the text as it was given
}

TEST(SystemLog, keepsErrno) { EXPECT_EQ(speak("stderr", {"errno"}).out, "1\n"); }

TEST(SystemLog, linesOfThreadsNeverMixAndKeepTheirOrder) {
    const Outcome outcome = speak("stderr", {"chorus", "500"});
    std::map<int, int> next;
    for (const std::string &line : linesOf(outcome.error)) {
        int thread = -1;
        int number = -1;
        ASSERT_EQ(sscanf(line.c_str(), "TEST: %d %d ", &thread, &number), 2) << line;
        ASSERT_EQ(number, next[thread]++);
        const std::string filler(static_cast<size_t>(100 + 2000 * thread), static_cast<char>('a' + thread));
        ASSERT_EQ(line, "TEST: " + std::to_string(thread) + " " + std::to_string(number) + " " + filler);
    }
    EXPECT_EQ(next, (std::map<int, int>{{0, 500}, {1, 500}, {2, 500}, {3, 500}}));
}

TEST(SystemLog, isUsableFromStaticDestructors) {
    EXPECT_EQ(speak("stderr", {"last words"}).error, "TEST: last words\n");
}

TEST(SystemLog, aChildForkedInTheMiddleOfALineStillLogs) {
    const Outcome outcome = speak("stderr", {"fork", "100"});
    EXPECT_EQ(outcome.out, "0\n");
    size_t children = 0;
    for (const std::string &line : linesOf(outcome.error)) {
        children += line == "TEST: child" ? 1 : 0;
    }
    EXPECT_EQ(children, 100U);
}

} // namespace
