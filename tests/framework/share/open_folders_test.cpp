// The way to a folder below an open one.

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "share/open_folders.h"
#include "support/folder.h"

using support::Folder;

TEST(FolderWay, PathsThatLeadElsewhereAreRefused) {
    const Folder folder;
    folder.folder("a/b");
    folder.link("/", "root");
    mrb::Place place;
    ASSERT_EQ(mrb::Place::open(folder.path(), O_RDONLY, place), 0);
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
