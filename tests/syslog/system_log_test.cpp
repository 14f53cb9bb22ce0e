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

TEST(SystemLog, writesToStandardErrorWhenSelected) {
    const ChildResult result = runLoggingChild("stderr", {"say", "hello"});
    EXPECT_EQ(result.error, "TEST: hello\n");
}

TEST(SystemLog, returnsTheLengthOfTheText) {
    EXPECT_EQ(runLoggingChild("stderr", {"say", "hello"}).out, "5\n");
}

TEST(SystemLog, writesNothingWhenSwitchedOff) {
    const ChildResult result = runLoggingChild("off", {"say", "hello"});
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.out, "0\n");
}

TEST(SystemLog, formatsNothingWithoutASink) {
    EXPECT_EQ(runLoggingChild("off", {"written"}).out, "-77\n");
    EXPECT_EQ(runLoggingChild("stderr", {"written"}).out, "4\n");
}

TEST(SystemLog, namesAnUnknownChoiceOnce) {
    const ChildResult result = runLoggingChild("loud", {"last words"});
    EXPECT_EQ(result.error, "quill: QUILL_LOG is \"loud\"; expected \"system\", \"stderr\" or \"off\". "
                            "Using \"system\".\n");
    EXPECT_EQ(result.status, 0);
}

TEST(SystemLog, reportsNothingForTheDefault) {
    EXPECT_EQ(runLoggingChild(nullptr, {"say", "hello"}).error, "");
    EXPECT_EQ(runLoggingChild("", {"say", "hello"}).error, "");
    EXPECT_EQ(runLoggingChild("system", {"say", "hello"}).error, "");
}

TEST(SystemLog, deliversTenMegabytesWhole) {
    constexpr size_t size = 10'000'000;
    const ChildResult result = runLoggingChild("stderr", {"long", std::to_string(size)});
    EXPECT_EQ(result.out, "10000000\n");
    EXPECT_TRUE(result.error == "TEST: " + pattern(size) + "\n");
}

TEST(SystemLog, deliversTextsAroundItsBuffersSize) {
    for (const size_t size : {1022U, 1023U, 1024U, 1025U}) {
        EXPECT_EQ(runLoggingChild("stderr", {"long", std::to_string(size)}).error,
                  "TEST: " + pattern(size) + "\n");
    }
}

TEST(SystemLog, refusesATextThatCannotBeFormatted) {
    const ChildResult result = runLoggingChild("stderr", {"unprintable"});
    EXPECT_EQ(result.out, "-1\n");
    EXPECT_EQ(result.error, "");
}

TEST(SystemLog, acceptsALineWithoutATag) {
    EXPECT_EQ(runLoggingChild("stderr", {"no tag"}).error, "-: text\n");
}

TEST(SystemLog, writesOnlyTheSelectedTags) {
    const ChildResult result = runLoggingChild("stderr", {"as", "MRB-BRIDGE-AGENT", "text"}, "common,agent");
    EXPECT_EQ(result.error, "MRB-BRIDGE-AGENT: text\n");
    EXPECT_EQ(result.out, "4\n");
    EXPECT_EQ(runLoggingChild("stderr", {"as", "MRB-BRIDGE-THUMBNAIL", "text"}, "common,agent").error, "");
    EXPECT_EQ(runLoggingChild("stderr", {"no tag"}, "common,agent").error, "");
}

TEST(SystemLog, formatsNothingForATagThatIsNotSelected) {
    EXPECT_EQ(runLoggingChild("stderr", {"written"}, "agent").out, "-77\n");
    EXPECT_EQ(runLoggingChild("stderr", {"as", "OTHER", "text"}, "agent").out, "0\n");
}

TEST(SystemLog, removesColoursWhenTheOutputIsNotATerminal) {
    const ChildResult result = runLoggingChild("stderr", {"say", "f(1) > \033[31mred\033[0m"});
    EXPECT_EQ(result.error, "TEST: f(1) > red\n");
    EXPECT_EQ(result.out, "19\n"); // of the text as it was given
}

TEST(SystemLog, keepsErrno) { EXPECT_EQ(runLoggingChild("stderr", {"errno"}).out, "1\n"); }

TEST(SystemLog, linesOfThreadsNeverMixAndKeepTheirOrder) {
    const ChildResult result = runLoggingChild("stderr", {"chorus", "500"});
    std::map<int, int> next;
    for (const std::string &line : linesOf(result.error)) {
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
    EXPECT_EQ(runLoggingChild("stderr", {"last words"}).error, "TEST: last words\n");
}

TEST(SystemLog, aChildForkedInTheMiddleOfALineStillLogs) {
    const ChildResult result = runLoggingChild("stderr", {"fork", "100"});
    EXPECT_EQ(result.out, "0\n");
    size_t children = 0;
    for (const std::string &line : linesOf(result.error)) {
        children += line == "TEST: child" ? 1 : 0;
    }
    EXPECT_EQ(children, 100U);
}

} // namespace
