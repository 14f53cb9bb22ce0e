// The watch of a single file.

#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "base/descriptor.h"
#include "support/accept_all.h"
#include "support/folder.h"
#include "support/playlists.h"
#include "watch/file_watch.h"

using support::Folder;
using support::writeText;

namespace fs = std::filesystem;

TEST(FileWatch, AReplacementBetweenOpeningAndWatchingIsAChange) {
    const Folder folder;
    writeText(folder, "p.m3u", "a.mp3\n");
    writeText(folder, "q.m3u", "a.mp3\n");
    const mrb::Descriptor file(open(folder.path("p.m3u").c_str(), O_RDONLY | O_CLOEXEC));
    fs::rename(folder.path("q.m3u"), folder.path("p.m3u"));
    mrb::FileWatch watch(folder.path("p.m3u"));
    watch.aboutToRead(mrb::ROOT_FOLDER, file.fd());
    EXPECT_EQ(watch.read(support::AcceptAll()), mrb::Change::CHANGED);
}

TEST(FileWatch, NothingIsWatchedOnceAChangeWasReported) {
    const Folder folder;
    writeText(folder, "p.m3u", "a.mp3\n");
    const mrb::Descriptor file(open(folder.path("p.m3u").c_str(), O_RDONLY | O_CLOEXEC));
    mrb::FileWatch watch(folder.path("p.m3u"));
    watch.aboutToRead(mrb::ROOT_FOLDER, file.fd());
    EXPECT_EQ(watch.read(support::AcceptAll()), mrb::Change::NONE);
    EXPECT_GE(watch.fd(), 0);
    watch.awaitRemoval();
    EXPECT_LT(watch.fd(), 0);
    EXPECT_TRUE(watch.sourceIsThere());
}
