// New files without a visible name until they are complete, in both of their ways.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>

#include "share/new_file.h"
#include "share/open_folders.h"
#include "support/folder.h"
#include "support/sharing.h"

using mrb::NewFile;
using support::Folder;
using support::tree;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

mrb::RootFolder open(const std::string &path) {
    mrb::RootFolder root;
    EXPECT_EQ(mrb::RootFolder::open(path, O_RDONLY, root), 0);
    return root;
}

class NewFiles : public testing::TestWithParam<NewFile::Kind> {
  protected:
    NewFile make() {
        NewFile file;
        EXPECT_EQ(NewFile::make(root.folder(), 0666, file, GetParam()), 0);
        EXPECT_EQ(write(file.fd(), "whole", 5), 5);
        return file;
    }

    const Folder folder;
    const mrb::RootFolder root = open(folder.path());
};

class Renames : public testing::TestWithParam<int (*)(int, const std::string &, const std::string &)> {};

} // namespace

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
    const mrb::RootFolder root = open(folder.path());
    const int at = root.folder()->descriptor.fd();
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
