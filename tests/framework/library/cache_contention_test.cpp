// How clients' calls use the metadata cache while another process, or another thread, holds
// its database.

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <atomic>
#include <fstream>
#include <future>
#include <string>

#include "base/descriptor.h"
#include "library/media_library.h"
#include "support/client.h"
#include "support/folder.h"

using mrb::MediaItem;
using mrb::MediaRecord;
using mrb::MetadataKey;
using support::Folder;

namespace {

void readSong(mrb::MediaFile & /*file*/, const std::string &name, mrb::Metadata &metadata,
              mrb::Status & /*status*/) {
    metadata.setText(MetadataKey::ARTIST, "The artist of " + name);
}

// Another program that uses the cache, as SQLite sees it.
class OtherProgram {
  public:
    explicit OtherProgram(const std::string &file) {
        EXPECT_EQ(sqlite3_open_v2(file.c_str(), &handle_, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
        sqlite3_busy_timeout(handle_, 60'000);
    }
    ~OtherProgram() { sqlite3_close(handle_); }
    OtherProgram(const OtherProgram &) = delete;
    OtherProgram &operator=(const OtherProgram &) = delete;

    void run(const char *sql) const {
        EXPECT_EQ(sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(handle_);
    }

  private:
    sqlite3 *handle_ = nullptr;
};

class CacheContention : public testing::Test {
  protected:
    [[nodiscard]] MediaItem item(const std::string &name) const {
        std::ofstream(media_.path(name)) << "some bytes";
        return {.path = media_.path(name), .name = name, .key = {"volume", "/" + name, 10, modified(name)}};
    }
    [[nodiscard]] std::string artist(const std::string &name) const {
        mrb::MediaLibrary library(cache_.path(), readSong);
        return library.cachedRecord(item(name))->metadata.text(MetadataKey::ARTIST);
    }
    [[nodiscard]] std::string file() const { return cache_.path(mrb::MetadataCache::FILE_NAME); }

    Folder media_;
    Folder cache_;

  private:
    [[nodiscard]] std::int64_t modified(const std::string &name) const {
        media_.setModified(name, 1'700'000'000);
        return 1'700'000'000;
    }
};

std::string title(const MediaRecord &record) {
    const auto found = record.written.find("TITLE");
    return found == record.written.end() ? "" : std::get<std::string>(found->second);
}

} // namespace

TEST_F(CacheContention, AFieldIsReadWhileAThreadWaitsForAnotherProgramToWrite) {
    constexpr int CALLS = 20'000;
    const MediaItem song = item("a.flac");
    const MediaItem other = item("b.flac");
    mrb::MediaLibrary library(cache_.path(), readSong);
    library.cachedRecord(song);
    const OtherProgram program(file());
    program.run("BEGIN EXCLUSIVE");
    std::promise<void> taken;
    std::atomic<bool> hasEnded = false;
    const auto reading = std::async(std::launch::async, [&] {
        library.readAll(
            1, [&](std::int32_t /*index*/) { return song; }, [] { return false; },
            [&](std::int32_t /*index*/, const MediaRecord & /*record*/) { taken.set_value(); });
        hasEnded = true;
    });
    taken.get_future().wait();
    // The thread gives up in time, so one of these calls would wait until then.
    for (int call = 0; call < CALLS; ++call) {
        library.cachedRecord(other);
    }
    EXPECT_FALSE(hasEnded);
    program.run("COMMIT");
    reading.wait();
    EXPECT_EQ(artist("a.flac"), "The artist of a.flac");
}

TEST_F(CacheContention, AFieldIsWrittenWhileAnotherProgramHoldsTheDatabaseAndKeptAfterwards) {
    const MediaItem song = item("a.flac");
    {
        mrb::MediaLibrary library(cache_.path(), readSong);
        library.cachedRecord(song);
        const OtherProgram program(file());
        program.run("BEGIN EXCLUSIVE");
        EXPECT_EQ(library.write(song, {{"TITLE", "Mine"}}).code, MRB_ERR_NONE);
        EXPECT_EQ(title(*library.cachedRecord(song)), "Mine");
        EXPECT_EQ(library.write(song, {{"TITLE", "Mine, again"}}).code, MRB_ERR_NONE);
        EXPECT_EQ(title(*library.cachedRecord(song)), "Mine, again");
        program.run("COMMIT");
    }
    EXPECT_EQ(title(*mrb::MediaLibrary(cache_.path(), readSong).cachedRecord(song)), "Mine, again");
}

TEST_F(CacheContention, ADatabaseThatCannotBeReadIsReadLater) {
    const MediaItem song = item("a.flac");
    EXPECT_TRUE(mrb::MediaLibrary(cache_.path(), readSong).write(song, {{"TITLE", "Mine"}}).ok());
    mrb::MediaLibrary library(cache_.path(), readSong);
    {
        const OtherProgram program(file());
        program.run("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; CREATE TABLE other (a); COMMIT");
        EXPECT_TRUE(library.cachedRecord(song)->isLate);
        // The file still has its own artist.
        std::shared_ptr<const MediaRecord> record;
        EXPECT_EQ(library.read(song, record).code, MRB_ERR_NONE);
        EXPECT_EQ(record->metadata.text(MetadataKey::ARTIST), "The artist of a.flac");
    }
    std::shared_ptr<const MediaRecord> record;
    const auto end = std::chrono::steady_clock::now() + support::LIMIT;
    do {
        record = library.cachedRecord(song);
    } while (record->isLate && std::chrono::steady_clock::now() < end);
    EXPECT_EQ(title(*record), "Mine");
}

// As after a program that was stopped while it created the file.
TEST_F(CacheContention, NoCallWaitsForAProgramThatKeepsItsTurn) {
    const mrb::Descriptor turn(open(cache_.path("lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(flock(turn.fd(), LOCK_EX), 0);
    const MediaItem song = item("a.flac");
    mrb::MediaLibrary library(cache_.path(), readSong);
    std::promise<void> freed;
    auto calls = std::async(std::launch::async, [&] {
        library.cachedRecord(song);
        EXPECT_EQ(library.write(song, {{"TITLE", "Mine"}}).code, MRB_ERR_NONE);
        EXPECT_EQ(title(*library.cachedRecord(song)), "Mine");
    });
    EXPECT_EQ(calls.wait_for(support::LIMIT / 4), std::future_status::ready);
    flock(turn.fd(), LOCK_UN);
}
