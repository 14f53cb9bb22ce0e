// Orders by the files' metadata.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "support/fields.h"
#include "support/folder.h"

using support::Client;
using support::Folder;
using testing::ElementsAre;

namespace {

// Songs whose names are in another order than their metadata, and one without metadata.
void makeSongs(const Folder &folder) {
    support::shell(folder.path(), R"(
song() { ffmpeg -nostdin -loglevel error -y -f lavfi -i sine=duration=0.1 -bitexact -metadata title="$2" \
    -metadata artist="$3" -metadata album="$4" -metadata genre="$5" -metadata track="$6" "$1"; } &&
song 1.flac 'Title 10' 'Žofie' 'Album 2' Jazz 2 &&
song 2.flac 'Title 2' 'Ada' 'Album 10' Ambient 1 &&
song 3.flac 'title 1' 'Zoë' 'Album 2' Rock 1 &&
ffmpeg -nostdin -loglevel error -y -f lavfi -i sine=duration=0.1 -bitexact 0.flac)");
    folder.folder("sub");
}

std::vector<std::string> sorted(const Folder &folder, const std::string &category) {
    Client client;
    client.list({.path = folder.path(), .sortCategory = category});
    return client.all("name");
}

} // namespace

TEST(FileOrder, GoesByTheFieldAndEndsWithThoseThatHaveNone) {
    const Folder folder;
    makeSongs(folder);
    EXPECT_THAT(sorted(folder, "ARTIST"), ElementsAre("sub", "2.flac", "3.flac", "1.flac", "0.flac"));
    EXPECT_THAT(sorted(folder, "ARTIST DESC"), ElementsAre("sub", "1.flac", "3.flac", "2.flac", "0.flac"));
    EXPECT_THAT(sorted(folder, "ALBUM"), ElementsAre("sub", "3.flac", "1.flac", "2.flac", "0.flac"));
    EXPECT_THAT(sorted(folder, "GENRE-"), ElementsAre("sub", "3.flac", "1.flac", "2.flac", "0.flac"));
    // The title of a file without one is its name.
    EXPECT_THAT(sorted(folder, "TITLE"), ElementsAre("sub", "0.flac", "3.flac", "2.flac", "1.flac"));
}

TEST(FileOrder, GoesByTheDateTaken) {
    const Folder folder;
    support::shell(folder.path(), R"(
ffmpeg -nostdin -loglevel error -y -f lavfi -i testsrc2=size=32x32 -frames:v 1 a.jpg && cp a.jpg b.jpg && cp a.jpg c.jpg &&
exiftool -q -q -overwrite_original -EXIF:DateTimeOriginal='2024:07:14 09:30:00' a.jpg &&
exiftool -q -q -overwrite_original -EXIF:DateTimeOriginal='1999:12:31 23:59:59' c.jpg)");
    EXPECT_THAT(sorted(folder, "DATE_TAKEN"), ElementsAre("c.jpg", "a.jpg", "b.jpg"));
    EXPECT_THAT(sorted(folder, "DATE_TAKEN DESC"), ElementsAre("a.jpg", "c.jpg", "b.jpg"));
}

TEST(FileOrder, ASecondRequestTouchesNoFile) {
    const Folder folder;
    makeSongs(folder);
    const std::vector<std::string> first = sorted(folder, "ARTIST");
    for (const char *name : {"0.flac", "1.flac", "2.flac", "3.flac"}) {
        ASSERT_EQ(chmod(folder.path(name).c_str(), 0), 0);
    }
    const support::UnprivilegedFiles unprivileged;
    EXPECT_EQ(sorted(folder, "ARTIST"), first);
    EXPECT_THAT(sorted(folder, "GENRE"), ElementsAre("sub", "2.flac", "1.flac", "3.flac", "0.flac"));
}

TEST(FileOrder, AFileThatCannotBeReadComesLast) {
    const Folder folder;
    makeSongs(folder);
    ASSERT_EQ(chmod(folder.path("2.flac").c_str(), 0), 0);
    const support::UnprivilegedFiles unprivileged;
    EXPECT_THAT(sorted(folder, "ARTIST"), ElementsAre("sub", "3.flac", "1.flac", "0.flac", "2.flac"));
}

TEST(FileOrder, GoesByWhatAClientWrote) {
    const Folder folder;
    makeSongs(folder);
    {
        Client client;
        client.list(folder.path());
        ASSERT_EQ(mrb_move_to_index_v2(client.handle, support::indexOf(client, "0.flac")), MRB_ERR_NONE);
        ASSERT_EQ(mrb_set_item_value_char_v2(client.handle, "ARTIST", "Bea"), MRB_ERR_NONE);
    }
    EXPECT_THAT(sorted(folder, "ARTIST"), ElementsAre("sub", "2.flac", "0.flac", "3.flac", "1.flac"));
}
