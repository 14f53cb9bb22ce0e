// The way to a folder below an open one.

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "share/open_folders.h"
#include "support/folder.h"

using support::Folder;

TEST(DirectoryResolver, PathsThatLeadElsewhereAreRefused) {
    const Folder folder;
    folder.folder("a/b");
    folder.link("/", "root");
    mrb::RootFolder root;
    ASSERT_EQ(mrb::RootFolder::open(folder.path(), O_RDONLY, root), 0);
    for (const mrb::SubfolderOpener opener : {mrb::openSubfolder, mrb::makeSubfolder}) {
        mrb::DirectoryResolver resolver(root.folder(), opener);
        mrb::OpenFolderPtr found;
        EXPECT_EQ(resolver.resolve("a/b", found), 0);
        EXPECT_EQ(resolver.resolve("", found), 0);
        EXPECT_EQ(found, root.folder());
        for (const char *path : {"..", "a/..", "a/../..", "/", "a//b", "./a", "a/."}) {
            EXPECT_EQ(resolver.resolve(path, found), EINVAL) << path;
        }
    }
    mrb::DirectoryResolver resolver(root.folder(), mrb::openSubfolder);
    mrb::OpenFolderPtr found;
    EXPECT_EQ(resolver.resolve("root/etc", found), ENOTDIR);
    EXPECT_EQ(resolver.resolve("missing", found), ENOENT);
}
