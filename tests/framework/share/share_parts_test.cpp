// The classes of a share, on file systems that few machines have, and with many cases.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "share/copy_plan.h"
#include "share/file_copy.h"
#include "share/file_names.h"
#include "share/lock_job.h"
#include "share/new_file.h"
#include "share/open_folders.h"
#include "support/client.h"
#include "support/folder.h"
#include "support/sharing.h"

using mrb::NameCandidates;
using mrb::NewFile;
using mrb::numberedName;
using mrb::portableName;
using support::Folder;
using support::tree;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::size_t ANY_LENGTH = std::string::npos;

mrb::Place open(const std::string &path) {
    mrb::Place place;
    EXPECT_EQ(mrb::Place::open(path, O_RDONLY, place), 0);
    return place;
}

class NewFiles : public testing::TestWithParam<NewFile::Kind> {
  protected:
    NewFile make() {
        NewFile file;
        EXPECT_EQ(NewFile::make(place.folder(), 0666, file, GetParam()), 0);
        EXPECT_EQ(write(file.number(), "whole", 5), 5);
        return file;
    }

    const Folder folder;
    const mrb::Place place = open(folder.path());
};

class Renames : public testing::TestWithParam<int (*)(int, const std::string &, const std::string &)> {};

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

TEST(FileNames, CandidatesFollowWhatTheFileSystemSays) {
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
    EXPECT_EQ(count, NameCandidates::MOST_NUMBERS);
}

TEST(FolderWay, PathsThatLeadElsewhereAreRefused) {
    const Folder folder;
    folder.folder("a/b");
    folder.link("/", "root");
    const mrb::Place place = open(folder.path());
    for (const mrb::SubfolderOpener opener : {mrb::openSubfolder, mrb::makeSubfolder}) {
        mrb::FolderWay way(place.folder(), opener);
        mrb::OpenFolderPtr found;
        EXPECT_EQ(way.go("a/b", found), 0);
        EXPECT_EQ(way.go("", found), 0);
        EXPECT_EQ(found, place.folder());
        for (const char *path : {"..", "a/..", "a/../..", "/", "a//b", "./a", "a/."}) {
            EXPECT_EQ(way.go(path, found), EINVAL) << path;
        }
    }
    mrb::FolderWay way(place.folder(), mrb::openSubfolder);
    mrb::OpenFolderPtr found;
    EXPECT_EQ(way.go("root/etc", found), ENOTDIR);
    EXPECT_EQ(way.go("missing", found), ENOENT);
}

TEST(CommonFolder, IsMadeOfWholeNames) {
    EXPECT_EQ(mrb::commonFolder("a/b", "a/b"), "a/b");
    EXPECT_EQ(mrb::commonFolder("a/b", "a/bc"), "a");
    EXPECT_EQ(mrb::commonFolder("a/b/c", "a/b"), "a/b");
    EXPECT_EQ(mrb::commonFolder("a", "b"), "");
    EXPECT_EQ(mrb::commonFolder("", "b"), "");
}

TEST_P(NewFiles, HaveNoVisibleNameUntilTheyGetOne) {
    NewFile file = make();
    for (const std::string &path : tree(folder.path())) {
        EXPECT_EQ(path.front(), '.');
    }
    EXPECT_EQ(file.giveName("name.jpg"), 0);
    EXPECT_THAT(tree(folder.path()), ElementsAre("name.jpg"));
    EXPECT_EQ(support::contents(folder.path())["name.jpg"], "whole");
}

TEST_P(NewFiles, AreGoneWithoutAName) {
    {
        NewFile file = make();
        NewFile moved = std::move(file);
    }
    EXPECT_THAT(tree(folder.path()), IsEmpty());
}

TEST_P(NewFiles, ReplaceNothing) {
    folder.file("taken.jpg", 3);
    folder.folder("folder.jpg");
    folder.link("nowhere", "link.jpg");
    for (const char *name : {"taken.jpg", "folder.jpg", "link.jpg"}) {
        NewFile file = make();
        EXPECT_EQ(file.giveName(name), EEXIST) << name;
        EXPECT_EQ(file.giveNameLike(name), 0) << name;
    }
    EXPECT_THAT(tree(folder.path()), ElementsAre("folder (1).jpg", "folder.jpg", "link (1).jpg", "link.jpg",
                                                 "taken (1).jpg", "taken.jpg"));
    EXPECT_EQ(support::contents(folder.path())["taken.jpg"], "xxx");
}

TEST_P(NewFiles, GetAShorterNameWhereTheirsIsTooLong) {
    NewFile file = make();
    EXPECT_EQ(file.giveNameLike(std::string(600, 'a') + ".jpg"), 0);
    EXPECT_THAT(tree(folder.path()), ElementsAre(std::string(251, 'a') + ".jpg"));
}

INSTANTIATE_TEST_SUITE_P(Share, NewFiles, testing::Values(NewFile::Kind::UNNAMED, NewFile::Kind::TEMPORARY),
                         [](const auto &kind) {
                             return kind.param == NewFile::Kind::UNNAMED ? "Unnamed" : "Temporary";
                         });

TEST_P(Renames, MoveAFileAndReplaceNothing) {
    const Folder folder;
    const mrb::Place place = open(folder.path());
    const int at = place.folder()->descriptor.number();
    folder.file("from", 5);
    folder.file("taken", 3);
    folder.link("nowhere", "link");
    EXPECT_EQ(GetParam()(at, "from", "taken"), EEXIST);
    EXPECT_EQ(GetParam()(at, "from", "link"), EEXIST);
    EXPECT_EQ(GetParam()(at, "from", "to"), 0);
    EXPECT_NE(GetParam()(at, "from", "other"), 0);
    EXPECT_THAT(tree(folder.path()), ElementsAre("link", "taken", "to"));
    EXPECT_EQ(support::contents(folder.path())["to"].size(), 5U);
}

INSTANTIATE_TEST_SUITE_P(Share, Renames,
                         testing::Values(mrb::renameByFlag, mrb::renameByLink, mrb::renameByReservation),
                         [](const auto &way) { return "Way" + std::to_string(way.index); });

TEST(FileCopier, EveryWayCopiesTheSameBytes) {
    const Folder folder;
    for (const std::size_t size : {0UL, 1UL, 4096UL, (1UL << 20) - 1, (1UL << 20) + 1, 40'000'000UL}) {
        support::writeNoise(folder.path("from"), size, static_cast<unsigned>(size));
        for (const auto way : {mrb::FileCopier::RANGE, mrb::FileCopier::SEND, mrb::FileCopier::READ_WRITE}) {
            const mrb::Descriptor from(::open(folder.path("from").c_str(), O_RDONLY | O_CLOEXEC));
            const mrb::Descriptor to(
                ::open(folder.path("to").c_str(), O_CREAT | O_TRUNC | O_RDWR | O_CLOEXEC, 0600));
            mrb::FileCopier copier;
            copier.beginWith(way);
            std::uint64_t last = 0;
            const mrb::CopyEnd end = copier.copy(from.number(), to.number(), size, [&](std::uint64_t bytes) {
                EXPECT_GT(bytes, last);
                last = bytes;
                return true;
            });
            EXPECT_EQ(end.sourceError, 0);
            EXPECT_EQ(end.destinationError, 0);
            EXPECT_EQ(last, size);
            EXPECT_TRUE(support::areEqual(folder.path("from"), folder.path("to"))) << way << " " << size;
        }
    }
}

TEST(FileCopier, ReturnsTheSideThatFailed) {
    const Folder folder;
    folder.file("from", 1000);
    for (const auto way : {mrb::FileCopier::RANGE, mrb::FileCopier::SEND, mrb::FileCopier::READ_WRITE}) {
        const auto copy = [&](int from, int to, std::uint64_t size) {
            mrb::FileCopier copier;
            copier.beginWith(way);
            return copier.copy(from, to, size, [](std::uint64_t /*bytes*/) { return true; });
        };
        const mrb::Descriptor from(::open(folder.path("from").c_str(), O_RDONLY | O_CLOEXEC));
        const mrb::Descriptor to(
            ::open(folder.path("to").c_str(), O_CREAT | O_TRUNC | O_RDWR | O_CLOEXEC, 0600));
        const mrb::Descriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
        EXPECT_EQ(copy(from.number(), to.number(), 1001).sourceError, ENODATA);
        lseek(from.number(), 0, SEEK_SET);
        EXPECT_EQ(copy(from.number(), full.number(), 1000).destinationError, ENOSPC);
        const mrb::Descriptor directory(::open(folder.path().c_str(), O_RDONLY | O_CLOEXEC));
        EXPECT_EQ(copy(directory.number(), to.number(), 1000).sourceError, EISDIR);
    }
}

TEST(FileCopier, StopsOnCancellation) {
    const Folder folder;
    support::writeNoise(folder.path("from"), 5UL << 20, 1);
    const mrb::Descriptor from(::open(folder.path("from").c_str(), O_RDONLY | O_CLOEXEC));
    const mrb::Descriptor to(::open(folder.path("to").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600));
    const mrb::CopyEnd end = mrb::FileCopier().copy(from.number(), to.number(), 5UL << 20,
                                                    [](std::uint64_t bytes) { return bytes < 2UL << 20; });
    EXPECT_TRUE(end.stopped);
    EXPECT_EQ(std::filesystem::file_size(folder.path("to")), 2UL << 20);
}
