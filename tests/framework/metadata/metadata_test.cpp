// Metadata of hostile files, and the cache that keeps metadata.

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <thread>

#include "library/media_library.h"
#include "library/media_paths.h"
#include "support/client.h"
#include "support/fields.h"
#include "support/media.h"

using mrb::Fact;
using mrb::MediaItem;
using mrb::MediaRecord;
using support::Folder;

namespace {

std::string contents(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void write(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// The file's metadata; a test failure when it could not be read.
mrb::Metadata read(const std::string &path) {
    mrb::MediaFile file;
    mrb::Metadata facts;
    EXPECT_EQ(file.open(path).code, MRB_ERR_NONE) << path;
    mrb::Outcome outcome{MRB_ERR_IO, {}};
    mrb::mrb_read_metadata(file, path.substr(path.rfind('/') + 1), facts, outcome);
    EXPECT_EQ(outcome.code, MRB_ERR_NONE) << path;
    return facts;
}

// With the readers that this program is linked with, and the timeouts of a test.
class MediaLibrary : public mrb::MediaLibrary {
  public:
    explicit MediaLibrary(const std::string &folder)
        : mrb::MediaLibrary(folder, mrb::mrb_read_metadata, {support::LIMIT, std::chrono::milliseconds(0)}) {}
};

// Real media of all kinds, made once.
class HostileMedia : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        media_ = new Folder;
        support::makeMedia(*media_);
    }
    static void TearDownTestSuite() {
        delete media_;
        media_ = nullptr;
    }
    static constexpr const char *NAMES[] = {
        "photo.jpg", "photo.webp", "photo.avif", "photo.heic", "plain.png", "plain.gif",
        "plain.bmp", "plain.tiff", "song.mp3",   "song.flac",  "song.ogg",  "song.m4a",
        "song.wav",  "film.mp4",   "film.mkv",   "film.ts",    "silent.avi"};

    static Folder *media_;
    Folder folder_;
};

Folder *HostileMedia::media_ = nullptr;

TEST_F(HostileMedia, TruncatedFilesHaveLessMetadata) {
    for (const std::string name : NAMES) {
        const std::string whole = contents(media_->path(name));
        for (const std::size_t size :
             {std::size_t{0}, std::size_t{1}, std::size_t{11}, std::size_t{40}, std::size_t{200},
              std::size_t{1000}, whole.size() / 2, whole.size() - 1}) {
            write(folder_.path(name), whole.substr(0, size));
            const mrb::Metadata facts = read(folder_.path(name));
            if (size == 0) {
                EXPECT_FALSE(facts.has(Fact::MIME_TYPE)) << name;
            }
        }
    }
}

TEST_F(HostileMedia, DamagedFilesDoNoHarm) {
    std::mt19937 random(7);
    for (const std::string name : NAMES) {
        const std::string whole = contents(media_->path(name));
        for (int round = 0; round < 60; ++round) {
            std::string bytes = whole.substr(0, 64 << 10);
            // Damage in the headers, and anywhere.
            for (int flip = 0; flip < 12; ++flip) {
                const std::size_t range =
                    flip % 2 == 0 ? std::min<std::size_t>(bytes.size(), 512) : bytes.size();
                bytes[random() % range] = static_cast<char>(flip % 3 == 0 ? 0xff : random());
            }
            write(folder_.path(name), bytes);
            read(folder_.path(name));
        }
    }
}

TEST_F(HostileMedia, AWrongExtensionIsFoundOut) {
    write(folder_.path("a.mp3"), contents(media_->path("photo.jpg")));
    write(folder_.path("a.jpg"), contents(media_->path("song.flac")));
    write(folder_.path("a.mp4"), contents(media_->path("song.ogg")));
    const mrb::Metadata picture = read(folder_.path("a.mp3"));
    EXPECT_EQ(picture.text(Fact::MIME_TYPE), "image/jpeg");
    EXPECT_EQ(picture.number(Fact::WIDTH), 320);
    const mrb::Metadata music = read(folder_.path("a.jpg"));
    EXPECT_EQ(music.text(Fact::MIME_TYPE), "audio/flac");
    EXPECT_EQ(music.text(Fact::ARTIST), "東京トリオ");
    EXPECT_EQ(read(folder_.path("a.mp4")).text(Fact::ARTIST), "東京トリオ");
}

TEST_F(HostileMedia, ExifThatPointsOutsideItselfIsLeftOut) {
    using namespace std::string_literals;
    // One directory of two entries: a model far outside, and an endless count of rationals.
    const std::string tiff = "II*\0\x08\0\0\0"s + "\x02\0"s + "\x10\x01\x02\0\xff\xff\0\0\0\0\0\x7f"s +
                             "\x9a\x82\x05\0\xff\xff\xff\xff\xf0\xff\xff\xff"s + "\xf0\xff\xff\xff"s;
    const std::string exif = "Exif\0\0"s + tiff;
    const std::string app1 = "\xff\xe1"s + '\0' + static_cast<char>(exif.size() + 2) + exif;
    const std::string jpeg = contents(media_->path("plain.jpg"));
    write(folder_.path("a.jpg"), jpeg.substr(0, 2) + app1 + jpeg.substr(2));
    const mrb::Metadata facts = read(folder_.path("a.jpg"));
    EXPECT_FALSE(facts.has(Fact::MODEL));
    EXPECT_FALSE(facts.has(Fact::EXPOSURE_TIME));
    EXPECT_EQ(facts.number(Fact::WIDTH), 320);
}

TEST_F(HostileMedia, ImpossibleExifValuesAreLeftOut) {
    const std::string name = "a.jpg";
    write(folder_.path(name), contents(media_->path("plain.jpg")));
    support::shell(folder_.path(), "exiftool -q -q -overwrite_original -n -EXIF:Orientation=0 "
                                   "-EXIF:ExposureTime=0/0 -EXIF:FNumber=0/0 -EXIF:ISO=0 "
                                   "-EXIF:DateTimeOriginal='2024:13:45 99:00:00' -EXIF:GPSLatitude=0/0 "
                                   "-EXIF:GPSLongitude=0/0 -EXIF:Model='Lens\t\x01 ' a.jpg");
    const mrb::Metadata facts = read(folder_.path(name));
    for (const Fact fact : {Fact::ORIENTATION, Fact::EXPOSURE_TIME, Fact::F_NUMBER, Fact::ISO,
                            Fact::DATE_TAKEN, Fact::LATITUDE}) {
        EXPECT_FALSE(facts.has(fact)) << static_cast<int>(fact);
    }
    EXPECT_EQ(facts.text(Fact::MODEL), "Lens");
}

TEST_F(HostileMedia, TagsOfMegabytesAreCut) {
    // A title of 8 MB: 'TIT2', sizes with seven bits a byte.
    const auto sevens = [](std::size_t size) {
        std::string bytes;
        for (const unsigned shift : {21U, 14U, 7U, 0U}) {
            bytes += static_cast<char>(size >> shift & 0x7fU);
        }
        return bytes;
    };
    constexpr std::size_t SIZE = 8U << 20;
    const std::string frame =
        "TIT2" + sevens(SIZE) + std::string(2, '\0') + '\x03' + std::string(SIZE - 1, 'a');
    const std::string song = contents(media_->path("song.mp3"));
    write(folder_.path("a.mp3"), "ID3\x04" + std::string(2, '\0') + sevens(frame.size()) + frame + song);
    EXPECT_EQ(read(folder_.path("a.mp3")).text(Fact::TITLE), std::string(mrb::Metadata::LONGEST_TEXT, 'a'));
}

TEST_F(HostileMedia, APlaylistInAFilmsClothesOpensNoOtherFile) {
    write(folder_.path("a.ts"),
          "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + media_->path("film.ts") + "\n");
    write(folder_.path("b.mkv"), "ffconcat version 1.0\nfile '" + media_->path("film.mkv") + "'\n");
    EXPECT_FALSE(read(folder_.path("a.ts")).has(Fact::WIDTH));
    EXPECT_FALSE(read(folder_.path("b.mkv")).has(Fact::WIDTH));
}

TEST(CleanText, IsUtf8OnOneLineOfBoundedLength) {
    EXPECT_EQ(mrb::cleanText("  a\tb\n "), "a b");
    EXPECT_EQ(mrb::cleanText(std::string_view("a\0b", 3)), "a");
    EXPECT_EQ(mrb::cleanText("\xff"), "\uFFFD");
    EXPECT_EQ(mrb::cleanText(" \n"), "");
    std::string wide;
    while (wide.size() < 3 * mrb::Metadata::LONGEST_TEXT) {
        wide += "山";
    }
    const std::string cut = mrb::cleanText(wide);
    EXPECT_LE(cut.size(), mrb::Metadata::LONGEST_TEXT);
    EXPECT_GT(cut.size(), mrb::Metadata::LONGEST_TEXT - 12);
    EXPECT_EQ(cut, wide.substr(0, cut.size()));
    EXPECT_EQ(cut.size() % 3, 0U);
}

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
        struct stat facts {};
        EXPECT_EQ(stat(media_.path("a.flac").c_str(), &facts), 0);
        return {
            media_.path("a.flac"), "a.flac",
            mrb::MediaPaths(media_.path()).keyOf(media_.path("a.flac"), facts.st_size, facts.st_mtim.tv_sec)};
    }

    // The view of another process, or of this one after a restart.
    [[nodiscard]] std::string artist() const {
        MediaLibrary library(cache_.path());
        return artistBy(library);
    }

    [[nodiscard]] std::string artistBy(MediaLibrary &library) const {
        std::shared_ptr<const MediaRecord> record;
        EXPECT_EQ(library.read(item(), record).code, MRB_ERR_NONE);
        return record->facts.text(Fact::ARTIST);
    }

    [[nodiscard]] std::string file() const { return cache_.path(mrb::MetadataCache::FILE_NAME); }

    Folder media_;
    Folder cache_;
};

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
        EXPECT_EQ(record->facts.text(Fact::ARTIST), "Another artist");
    }
    // Metadata are kept under the size of the file as read.
    EXPECT_FALSE(library.known(before)->isRead);
    EXPECT_TRUE(library.known(item())->isRead);
}

TEST_F(Cache, WrittenFieldsSurviveARestart) {
    ASSERT_EQ(
        MediaLibrary(cache_.path()).write(item(), {{"PLAYED_COUNT", std::int64_t{3}}, {"TITLE", "Ü"}}).code,
        MRB_ERR_NONE);
    MediaLibrary library(cache_.path());
    const auto record = library.known(item());
    EXPECT_EQ(std::get<std::int64_t>(record->written.at("PLAYED_COUNT")), 3);
    EXPECT_EQ(std::get<std::string>(record->written.at("TITLE")), "Ü");
    // The fields of another file are gone.
    media_.setModified("a.flac", 1'700'000'009);
    EXPECT_TRUE(library.known(item())->written.empty());
}

TEST_F(Cache, ADamagedFileIsSetAsideAndRecreated) {
    EXPECT_EQ(artist(), "Zoë");
    write(file(), "This is no database at all, whatever its name says. " + std::string(9000, 'x'));
    EXPECT_EQ(artist(), "Zoë");
    EXPECT_TRUE(contents(file() + ".damaged").starts_with("This is no database"));
    EXPECT_TRUE(contents(file()).starts_with("SQLite format 3"));
}

TEST_F(Cache, AFileThatIsDamagedInsideIsSetAsideToo) {
    EXPECT_EQ(artist(), "Zoë");
    std::string bytes = contents(file());
    ASSERT_GT(bytes.size(), 8192U);
    std::fill(bytes.begin() + 4096, bytes.end(), '\xa5');
    write(file(), bytes);
    EXPECT_EQ(artist(), "Zoë");
    EXPECT_EQ(artist(), "Zoë");
    EXPECT_FALSE(contents(file() + ".damaged").empty());
}

TEST_F(Cache, TablesOfAnotherShapeAreSetAside) {
    support::shell(cache_.path(), std::string("sqlite3 ") + mrb::MetadataCache::FILE_NAME +
                                      " 'CREATE TABLE facts_2 (a); CREATE VIEW written AS SELECT 1'");
    EXPECT_EQ(artist(), "Zoë");
    EXPECT_FALSE(contents(file() + ".damaged").empty());
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
        EXPECT_FALSE(library.known(item())->isRead);
        EXPECT_EQ(artistBy(library), "Zoë");
        EXPECT_EQ(std::get<std::string>(library.known(item())->written.at("TITLE")), "Mine");
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
        EXPECT_TRUE(library.known(item())->isRead);
        EXPECT_EQ(library.write(item(), {{"TITLE", "a"}}).code, MRB_ERR_PERMISSION_DENIED);
    }
    ASSERT_EQ(chmod(cache_.path().c_str(), 0755), 0);
    MediaLibrary nowhere("");
    EXPECT_EQ(artistBy(nowhere), "Zoë");
}

TEST_F(Cache, OneProcessSeesWhatAnotherWrites) {
    MediaLibrary ours(cache_.path());
    MediaLibrary theirs(cache_.path());
    EXPECT_TRUE(ours.known(item())->written.empty());
    ASSERT_EQ(theirs.write(item(), {{"TITLE", "a"}}).code, MRB_ERR_NONE);
    EXPECT_EQ(std::get<std::string>(ours.known(item())->written.at("TITLE")), "a");
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
    EXPECT_EQ(MediaLibrary(cache_.path()).known(song)->written.size(), std::size_t{WRITERS} * FIELDS);
}

TEST_F(Cache, ReadingAllReturnsEachItemAndStopsOnCancellation) {
    MediaLibrary library(cache_.path());
    const MediaItem song = item();
    int taken = 0;
    const auto at = [&](std::int32_t index) { return index == 1 ? MediaItem{} : song; };
    const auto take = [&](std::int32_t index, const MediaRecord &record) {
        EXPECT_NE(index, 1);
        EXPECT_EQ(record.facts.text(Fact::ARTIST), "Zoë");
        ++taken;
    };
    EXPECT_TRUE(library.readAll(
        3, at, [] { return false; }, take));
    EXPECT_EQ(taken, 2);
    EXPECT_FALSE(library.readAll(
        3, at, [&] { return taken == 3; }, take));
    EXPECT_EQ(taken, 3);
    EXPECT_TRUE(library.known(song)->isRead);
}

TEST_F(Cache, SourceMetadataFillTheGapsOfTheFiles) {
    MediaLibrary library(cache_.path());
    MediaItem song = item();
    song.told.emplace();
    song.told->setText(Fact::ARTIST, "An artist");
    song.told->setText(Fact::SYNOPSIS, "A song.");
    EXPECT_EQ(library.known(song)->facts.text(Fact::ARTIST), "An artist");
    const auto expectBoth = [](const MediaRecord &record) {
        EXPECT_EQ(record.facts.text(Fact::ARTIST), "Zoë");
        EXPECT_EQ(record.facts.text(Fact::SYNOPSIS), "A song.");
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
    expectBoth(*library.known(song));
    // And does not count as the file's own.
    EXPECT_FALSE(MediaLibrary(cache_.path()).known(item())->facts.has(Fact::SYNOPSIS));
}

TEST_F(Cache, AnItemWithoutAFileHasTheSourceMetadataAlone) {
    const auto refuse = [](mrb::MediaFile & /*file*/, const std::string &name, mrb::Metadata & /*facts*/,
                           mrb::Outcome & /*outcome*/) { ADD_FAILURE() << name; };
    mrb::MediaLibrary library(cache_.path(), *+refuse);
    MediaItem song;
    EXPECT_FALSE(song.isKnown());
    song.told.emplace();
    song.told->setText(Fact::ARTIST, "An artist");
    EXPECT_TRUE(song.isKnown());
    std::shared_ptr<const MediaRecord> record;
    EXPECT_EQ(library.read(song, record).code, MRB_ERR_NONE);
    EXPECT_TRUE(record->isRead);
    EXPECT_EQ(record->facts.text(Fact::ARTIST), "An artist");
    int taken = 0;
    EXPECT_TRUE(library.readAll(
        1, [&](std::int32_t /*index*/) { return song; }, [] { return false; },
        [&](std::int32_t /*index*/, const MediaRecord &each) {
            taken += each.facts.text(Fact::ARTIST) == "An artist" ? 1 : 0;
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
    EXPECT_FALSE(library.known(song)->isRead);
}

TEST(MediaPaths, NameAFileByItsStorageAndThePathOnIt) {
    const Folder folder;
    folder.folder("real");
    folder.link(folder.path("real"), "link");
    const auto key = mrb::MediaPaths(folder.path("real")).keyOf(folder.path("real/a.jpg"), 1, 2);
    EXPECT_EQ(mrb::MediaPaths(folder.path("link")).keyOf(folder.path("link/a.jpg"), 1, 2), key);
    EXPECT_EQ(mrb::MediaPaths("/").keyOf(folder.path("real/a.jpg"), 1, 2), key);
    EXPECT_FALSE(key.volume.empty());
    EXPECT_TRUE(folder.path("real/a.jpg").ends_with(key.path));
    const auto other = mrb::MediaPaths("/proc").keyOf("/proc/a.jpg", 1, 2);
    EXPECT_EQ(other.path, "/a.jpg");
    EXPECT_NE(other.volume, key.volume);
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

} // namespace
