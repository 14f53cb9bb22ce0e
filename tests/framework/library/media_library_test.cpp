// The library that keeps the metadata of files, and its cache on the disk.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "library/media_library.h"
#include "library/storage_key_map.h"
#include "support/client.h"
#include "support/fields.h"
#include "support/folder.h"
#include "support/sharing.h"

using mrb::MediaItem;
using mrb::MediaRecord;
using mrb::MetadataKey;
using support::Folder;

namespace {

void write(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// With the readers that this program is linked with, and the timeouts of a test.
class MediaLibrary : public mrb::MediaLibrary {
  public:
    explicit MediaLibrary(const std::string &folder)
        : mrb::MediaLibrary(folder, mrb::mrb_read_metadata, {support::LIMIT, std::chrono::milliseconds(0)}) {}
};

// One song and a cache, both in folders of their own.
class Cache : public testing::Test {
  protected:
    Cache() { makeSong("Zoë"); }

    void makeSong(const std::string &artist) const {
        support::shell(media_.path(),
                       "ffmpeg -nostdin -loglevel error -y -f lavfi -i sine=duration=0.1 -bitexact "
                       "-metadata artist='" +
                           artist + "' a.flac");
        media_.setModified("a.flac", 1'700'000'000);
    }

    [[nodiscard]] MediaItem item() const {
        struct stat metadata {};
        EXPECT_EQ(stat(media_.path("a.flac").c_str(), &metadata), 0);
        return {media_.path("a.flac"), "a.flac",
                mrb::StorageKeyMap(media_.path())
                    .keyOf(media_.path("a.flac"), metadata.st_size, metadata.st_mtim.tv_sec)};
    }

    // The view of another process, or of this one after a restart.
    [[nodiscard]] std::string artist() const {
        MediaLibrary library(cache_.path());
        return artistBy(library);
    }

    [[nodiscard]] std::string artistBy(MediaLibrary &library) const {
        std::shared_ptr<const MediaRecord> record;
        EXPECT_EQ(library.read(item(), record).code, MRB_ERR_NONE);
        return record->metadata.text(MetadataKey::ARTIST);
    }

    [[nodiscard]] std::string file() const { return cache_.path(mrb::MetadataCache::FILE_NAME); }

    Folder media_;
    Folder cache_;
};

} // namespace

TEST_F(Cache, AFileIsReadOnce) {
    EXPECT_EQ(artist(), "Zoë");
    const off_t size = item().key.size;
    // The same size and time, but no metadata any more.
    write(media_.path("a.flac"), std::string(static_cast<std::size_t>(size), '\0'));
    media_.setModified("a.flac", 1'700'000'000);
    EXPECT_EQ(artist(), "Zoë");
}

TEST_F(Cache, AnotherTimeOrSizeIsAnotherFile) {
    EXPECT_EQ(artist(), "Zoë");
    makeSong("Eva");
    media_.setModified("a.flac", 1'700'000'001);
    EXPECT_EQ(artist(), "Eva");
    makeSong("Another artist");
    media_.setModified("a.flac", 1'700'000'001);
    EXPECT_EQ(artist(), "Another artist");
}

TEST_F(Cache, AFileThatChangedAfterTheListIsReadAsItIs) {
    MediaLibrary library(cache_.path());
    const MediaItem before = item();
    makeSong("Another artist");
    std::shared_ptr<const MediaRecord> record;
    for (int time = 0; time < 2; ++time) {
        ASSERT_EQ(library.read(before, record).code, MRB_ERR_NONE);
        EXPECT_EQ(record->metadata.text(MetadataKey::ARTIST), "Another artist");
    }
    // Metadata are kept under the size of the file as read.
    EXPECT_FALSE(library.cachedRecord(before)->isRead);
    EXPECT_TRUE(library.cachedRecord(item())->isRead);
}

TEST_F(Cache, WrittenFieldsSurviveARestart) {
    ASSERT_EQ(
        MediaLibrary(cache_.path()).write(item(), {{"PLAYED_COUNT", std::int64_t{3}}, {"TITLE", "Ü"}}).code,
        MRB_ERR_NONE);
    MediaLibrary library(cache_.path());
    const auto record = library.cachedRecord(item());
    EXPECT_EQ(std::get<std::int64_t>(record->written.at("PLAYED_COUNT")), 3);
    EXPECT_EQ(std::get<std::string>(record->written.at("TITLE")), "Ü");
    // The fields of another file are gone.
    media_.setModified("a.flac", 1'700'000'009);
    EXPECT_TRUE(library.cachedRecord(item())->written.empty());
}

TEST_F(Cache, ADamagedFileIsSetAsideAndRecreated) {
    EXPECT_EQ(artist(), "Zoë");
    write(file(), "This is no database at all, whatever its name says. " + std::string(9000, 'x'));
    EXPECT_EQ(artist(), "Zoë");
    EXPECT_TRUE(support::bytesOf(file() + ".damaged").starts_with("This is no database"));
    EXPECT_TRUE(support::bytesOf(file()).starts_with("SQLite format 3"));
}

TEST_F(Cache, AFileThatIsDamagedInsideIsSetAsideToo) {
    EXPECT_EQ(artist(), "Zoë");
    std::string bytes = support::bytesOf(file());
    ASSERT_GT(bytes.size(), 8192U);
    std::fill(bytes.begin() + 4096, bytes.end(), '\xa5');
    write(file(), bytes);
    EXPECT_EQ(artist(), "Zoë");
    EXPECT_EQ(artist(), "Zoë");
    EXPECT_FALSE(support::bytesOf(file() + ".damaged").empty());
}

TEST_F(Cache, TablesOfAnotherShapeAreSetAside) {
    support::shell(cache_.path(), std::string("sqlite3 ") + mrb::MetadataCache::FILE_NAME +
                                      " 'CREATE TABLE facts_2 (a); CREATE VIEW written AS SELECT 1'");
    EXPECT_EQ(artist(), "Zoë");
    EXPECT_FALSE(support::bytesOf(file() + ".damaged").empty());
}

// An earlier table held "1/1" for an exposure of 0.8 s, and the like.
TEST_F(Cache, WhatEarlierReadersFoundIsReadAgainAndWhatWasWrittenStays) {
    ASSERT_EQ(MediaLibrary(cache_.path()).write(item(), {{"TITLE", "Mine"}}).code, MRB_ERR_NONE);
    EXPECT_EQ(artist(), "Zoë");
    support::shell(cache_.path(), std::string("sqlite3 ") + mrb::MetadataCache::FILE_NAME +
                                      " 'DROP TABLE IF EXISTS facts; CREATE TABLE facts AS SELECT * FROM "
                                      "facts_2; DELETE FROM facts_2;'\" UPDATE facts SET artist = "
                                      "'old'\"");
    {
        MediaLibrary library(cache_.path());
        EXPECT_FALSE(library.cachedRecord(item())->isRead);
        EXPECT_EQ(artistBy(library), "Zoë");
        EXPECT_EQ(std::get<std::string>(library.cachedRecord(item())->written.at("TITLE")), "Mine");
    }
    EXPECT_EQ(support::shell(cache_.path(), std::string("sqlite3 ") + mrb::MetadataCache::FILE_NAME +
                                                " \"SELECT count(*) FROM sqlite_master WHERE name = "
                                                "'facts'\""),
              "0\n");
}

TEST_F(Cache, AFolderThatCannotBeWrittenToLeavesTheMemory) {
    ASSERT_EQ(chmod(cache_.path().c_str(), 0555), 0);
    {
        const support::UnprivilegedFiles unprivileged;
        MediaLibrary library(cache_.path());
        EXPECT_EQ(artistBy(library), "Zoë");
        EXPECT_TRUE(library.cachedRecord(item())->isRead);
        EXPECT_EQ(library.write(item(), {{"TITLE", "a"}}).code, MRB_ERR_PERMISSION_DENIED);
    }
    ASSERT_EQ(chmod(cache_.path().c_str(), 0755), 0);
    MediaLibrary nowhere("");
    EXPECT_EQ(artistBy(nowhere), "Zoë");
}

TEST_F(Cache, OneProcessSeesWhatAnotherWrites) {
    MediaLibrary ours(cache_.path());
    MediaLibrary theirs(cache_.path());
    EXPECT_TRUE(ours.cachedRecord(item())->written.empty());
    ASSERT_EQ(theirs.write(item(), {{"TITLE", "a"}}).code, MRB_ERR_NONE);
    EXPECT_EQ(std::get<std::string>(ours.cachedRecord(item())->written.at("TITLE")), "a");
}

TEST_F(Cache, ManyWritersAtATimeLoseNothing) {
    constexpr int WRITERS = 4;
    constexpr int FIELDS = 50;
    std::vector<std::thread> writers;
    writers.reserve(WRITERS);
    const MediaItem song = item();
    for (int writer = 0; writer < WRITERS; ++writer) {
        writers.emplace_back([&, writer] {
            // A connection of its own, as another process has.
            MediaLibrary library(cache_.path());
            for (int field = 0; field < FIELDS; ++field) {
                const std::string name = std::to_string(writer) + '/' + std::to_string(field);
                EXPECT_EQ(library.write(song, {{name, std::int64_t{field}}}).code, MRB_ERR_NONE);
            }
        });
    }
    for (std::thread &writer : writers) {
        writer.join();
    }
    EXPECT_EQ(MediaLibrary(cache_.path()).cachedRecord(song)->written.size(), std::size_t{WRITERS} * FIELDS);
}

TEST_F(Cache, ReadingAllReturnsEachItemAndStopsOnCancellation) {
    MediaLibrary library(cache_.path());
    const MediaItem song = item();
    int taken = 0;
    const auto at = [&](std::int32_t index) { return index == 1 ? MediaItem{} : song; };
    const auto take = [&](std::int32_t index, const MediaRecord &record) {
        EXPECT_NE(index, 1);
        EXPECT_EQ(record.metadata.text(MetadataKey::ARTIST), "Zoë");
        ++taken;
    };
    EXPECT_TRUE(library.readAll(
        3, at, [] { return false; }, take));
    EXPECT_EQ(taken, 2);
    EXPECT_FALSE(library.readAll(
        3, at, [&] { return taken == 3; }, take));
    EXPECT_EQ(taken, 3);
    EXPECT_TRUE(library.cachedRecord(song)->isRead);
}

TEST_F(Cache, SourceMetadataFillTheGapsOfTheFiles) {
    MediaLibrary library(cache_.path());
    MediaItem song = item();
    song.sourceMetadata.emplace();
    song.sourceMetadata->setText(MetadataKey::ARTIST, "An artist");
    song.sourceMetadata->setText(MetadataKey::SYNOPSIS, "A song.");
    EXPECT_EQ(library.cachedRecord(song)->metadata.text(MetadataKey::ARTIST), "An artist");
    const auto expectBoth = [](const MediaRecord &record) {
        EXPECT_EQ(record.metadata.text(MetadataKey::ARTIST), "Zoë");
        EXPECT_EQ(record.metadata.text(MetadataKey::SYNOPSIS), "A song.");
    };
    // While the file is read, and afterwards.
    for (int times = 0; times < 2; ++times) {
        EXPECT_TRUE(library.readAll(
            1, [&](std::int32_t /*index*/) { return song; }, [] { return false; },
            [&](std::int32_t /*index*/, const MediaRecord &record) { expectBoth(record); }));
    }
    std::shared_ptr<const MediaRecord> record;
    EXPECT_EQ(library.read(song, record).code, MRB_ERR_NONE);
    expectBoth(*record);
    expectBoth(*library.cachedRecord(song));
    // And does not count as the file's own.
    EXPECT_FALSE(MediaLibrary(cache_.path()).cachedRecord(item())->metadata.has(MetadataKey::SYNOPSIS));
}

TEST_F(Cache, AnItemWithoutAFileHasTheSourceMetadataAlone) {
    const auto refuse = [](mrb::MediaFile & /*file*/, const std::string &name, mrb::Metadata & /*metadata*/,
                           mrb::Status & /*status*/) { ADD_FAILURE() << name; };
    mrb::MediaLibrary library(cache_.path(), *+refuse);
    MediaItem song;
    EXPECT_FALSE(song.isKnown());
    song.sourceMetadata.emplace();
    song.sourceMetadata->setText(MetadataKey::ARTIST, "An artist");
    EXPECT_TRUE(song.isKnown());
    std::shared_ptr<const MediaRecord> record;
    EXPECT_EQ(library.read(song, record).code, MRB_ERR_NONE);
    EXPECT_TRUE(record->isRead);
    EXPECT_EQ(record->metadata.text(MetadataKey::ARTIST), "An artist");
    int taken = 0;
    EXPECT_TRUE(library.readAll(
        1, [&](std::int32_t /*index*/) { return song; }, [] { return false; },
        [&](std::int32_t /*index*/, const MediaRecord &each) {
            taken += each.metadata.text(MetadataKey::ARTIST) == "An artist" ? 1 : 0;
        }));
    EXPECT_EQ(taken, 1);
    EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(Cache, AFileThatWasBeingReadWhenItWasStoppedIsNotKept) {
    MediaLibrary library(cache_.path());
    const MediaItem song = item();
    int checks = 0;
    EXPECT_FALSE(library.readAll(
        1, [&](std::int32_t /*index*/) { return song; }, [&] { return ++checks > 1; },
        [](std::int32_t /*index*/, const MediaRecord & /*record*/) { ADD_FAILURE(); }));
    EXPECT_GT(checks, 1);
    EXPECT_FALSE(library.cachedRecord(song)->isRead);
}

TEST(CacheFolder, IsTheOneThatTheEnvironmentNames) {
    const auto with = [](const char *own, const char *caches, const char *home) {
        const std::pair<const char *, const char *> variables[] = {
            {"MRB_CACHE_FOLDER", own}, {"XDG_CACHE_HOME", caches}, {"HOME", home}};
        std::vector<std::pair<const char *, std::string>> before;
        before.reserve(std::size(variables));
        for (const auto &[name, value] : variables) {
            const char *old = std::getenv(name);
            before.emplace_back(name, old == nullptr ? "" : old);
            setenv(name, value, 1);
        }
        std::string folder = mrb::MetadataCache::folderOfEnvironment();
        for (const auto &[name, value] : before) {
            setenv(name, value.c_str(), 1);
        }
        return folder;
    };
    EXPECT_EQ(with("/own", "/caches", "/home/me"), "/own");
    EXPECT_EQ(with("", "/caches", "/home/me"), "/caches/mrb");
    EXPECT_EQ(with("", "relative", "/home/me"), "/home/me/.cache/mrb");
    EXPECT_EQ(with("", "", ""), "");
}
