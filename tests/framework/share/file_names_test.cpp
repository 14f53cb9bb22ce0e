// Names of files on the way to another file system.

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "share/file_names.h"

using mrb::NameCandidates;
using mrb::numberedName;
using mrb::portableName;

namespace {

constexpr std::size_t ANY_LENGTH = std::string::npos;

} // namespace

TEST(FileNames, PathsThatLeadElsewhereAreNotNames) {
    using namespace std::string_view_literals;
    for (const std::string_view name : {""sv, "."sv, ".."sv, "/"sv, "a/b"sv, "../a"sv, "a\0b"sv, "\0"sv}) {
        EXPECT_FALSE(mrb::isPlainName(name)) << name;
    }
    for (const std::string_view name : {"a"sv, "..."sv, ".a"sv, "a..b"sv, "\xFF"sv, "\n"sv, "-"sv}) {
        EXPECT_TRUE(mrb::isPlainName(name)) << name;
    }
}

TEST(FileNames, NumbersStandBeforeTheExtension) {
    EXPECT_EQ(numberedName("a.jpg", 0, false, ANY_LENGTH), "a.jpg");
    EXPECT_EQ(numberedName("a.jpg", 1, false, ANY_LENGTH), "a (1).jpg");
    EXPECT_EQ(numberedName("a.tar.gz", 12, false, ANY_LENGTH), "a.tar (12).gz");
    EXPECT_EQ(numberedName("a", 1, false, ANY_LENGTH), "a (1)");
    EXPECT_EQ(numberedName(".hidden", 1, false, ANY_LENGTH), ".hidden (1)");
    EXPECT_EQ(numberedName("v1.2", 1, true, ANY_LENGTH), "v1.2 (1)");
    EXPECT_EQ(numberedName("No. 1 of the best pieces", 1, false, ANY_LENGTH), "No. 1 of the best pieces (1)");
}

TEST(FileNames, LongNamesAreCutBetweenCharactersBeforeTheExtension) {
    std::string name;
    for (int count = 0; count < 100; ++count) {
        name += "\xE3\x81\x8B";
    }
    const std::string cut = numberedName(name + ".jpg", 1, false, 255);
    EXPECT_EQ(cut, name.substr(0, 246) + " (1).jpg");
    EXPECT_EQ(numberedName(name + ".jpg", 0, false, 255), name.substr(0, 249) + ".jpg");
    EXPECT_EQ(numberedName("abc", 0, true, 2), "ab");
}

TEST(FileNames, WhatWindowsRefusesIsReplaced) {
    EXPECT_EQ(portableName("a\\b:c*d?e\"f<g>h|i.jpg"), "a_b_c_d_e_f_g_h_i.jpg");
    EXPECT_EQ(portableName("new\nline\x7F.jpg"), "new_line_.jpg");
    EXPECT_EQ(portableName("\xFF\xFE.jpg"), "__.jpg");
    EXPECT_EQ(portableName("caf\xC3\xA9 (1).jpg"), "caf\xC3\xA9 (1).jpg");
    EXPECT_EQ(portableName("end. "), "end._");
}

TEST(FileNames, CandidatesFollowTheErrorsOfTheFileSystem) {
    NameCandidates names("what?.jpg", false);
    EXPECT_EQ(names.current(), "what?.jpg");
    EXPECT_TRUE(names.next(EINVAL));
    EXPECT_EQ(names.current(), "what_.jpg");
    EXPECT_TRUE(names.next(EEXIST));
    EXPECT_EQ(names.current(), "what_ (1).jpg");
    EXPECT_FALSE(names.next(EILSEQ));
    EXPECT_FALSE(names.next(EACCES));
    NameCandidates longName(std::string(300, 'a') + ".jpg", false);
    EXPECT_TRUE(longName.next(ENAMETOOLONG));
    EXPECT_EQ(longName.current().size(), 255U);
    EXPECT_TRUE(longName.next(EEXIST));
    EXPECT_EQ(longName.current().size(), 255U);
    EXPECT_TRUE(longName.next(ENAMETOOLONG));
    EXPECT_EQ(longName.current().size(), 143U);
    EXPECT_FALSE(longName.next(ENAMETOOLONG));
}

TEST(FileNames, CandidatesEnd) {
    NameCandidates names("a.jpg", false);
    unsigned count = 1;
    while (names.next(EEXIST)) {
        ++count;
    }
    EXPECT_EQ(count, NameCandidates::MAX_NUMBERS);
}
