// The flash thumbnail cache: what it keeps, for how long, and its state after a crash.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "mrb/agent.h"
#include "support/client.h"
#include "support/folder.h"
#include "support/programs.h"
#include "support/thumbnails.h"
#include "thumbnail/data_root.h"
#include "thumbnail/flash_cache.h"
#include "thumbnail/flash_picture.h"

using mrb::thumbnail::Decoded;
using mrb::thumbnail::DecodeRequest;
using mrb::thumbnail::FlashCache;
using mrb::thumbnail::FlashEntry;
using mrb::thumbnail::FlashLine;
using support::Folder;

namespace fs = std::filesystem;

namespace {

constexpr int SIDE = 10;
const std::int64_t BYTES = mrb::thumbnail::flashPictureBytes(SIDE, SIDE, false);

std::string contentsOf(const std::string &path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

void write(const std::string &path, const std::string &text) {
    std::ofstream(path, std::ios::binary) << text;
}

// A cache below a folder of its own, and pictures named by numbers.
class Flash : public testing::Test {
  protected:
    Flash() {
        for (int number = 0; number < 20; ++number) {
            folder.file(std::to_string(number), 1);
        }
    }
    [[nodiscard]] std::string list() const { return folder.path("data/thumbs.txt"); }
    [[nodiscard]] FlashEntry entry(int number) const {
        FlashEntry entry;
        entry.key = {folder.path(std::to_string(number)), SIDE, SIDE, 0, 1, 0};
        entry.name = "/name of\n" + std::to_string(number);
        entry.width = entry.height = SIDE;
        return entry;
    }
    bool save(FlashCache &cache, int number, const char *preset = nullptr) const {
        const std::string pixels(4 * SIDE * SIDE, static_cast<char>(number));
        return cache.save(entry(number), reinterpret_cast<const unsigned char *>(pixels.data()), preset);
    }
    // The value of the picture's bytes; -1: the cache has none.
    int find(FlashCache &cache, int number) const {
        DecodeRequest request;
        request.path = folder.path(std::to_string(number));
        request.width = request.height = SIDE;
        Decoded decoded;
        return cache.find(request, decoded) ? decoded.images.at(0).pixels.get()[4 * SIDE * SIDE - 1] : -1;
    }
    [[nodiscard]] std::size_t pictures() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(list() + ".d"), {}));
    }

    Folder folder;
};

} // namespace

TEST_F(Flash, WhatIsSavedIsFound) {
    FlashCache cache;
    ASSERT_EQ(cache.open(list()).code, MRB_ERR_NONE);
    EXPECT_EQ(find(cache, 1), -1);
    EXPECT_TRUE(save(cache, 1));
    EXPECT_EQ(find(cache, 1), 1);
}

TEST_F(Flash, NothingIsKeptBeforeItIsOpen) {
    FlashCache cache;
    EXPECT_FALSE(save(cache, 1));
    EXPECT_EQ(find(cache, 1), -1);
}

TEST_F(Flash, EntriesSurviveARestart) {
    {
        FlashCache cache;
        EXPECT_TRUE(cache.open(list()).ok());
        save(cache, 1);
        save(cache, 2);
    }
    FlashCache cache;
    EXPECT_TRUE(cache.open(list()).ok());
    EXPECT_EQ(find(cache, 1), 1);
    EXPECT_EQ(find(cache, 2), 2);
}

TEST_F(Flash, ThePresetBufferComesBack) {
    FlashCache cache;
    EXPECT_TRUE(cache.open(list()).ok());
    std::string preset(MRB_THUMB_PRESET_BYTES, '\0');
    preset.replace(0, 4, "text");
    save(cache, 1, preset.data());
    DecodeRequest request;
    request.path = folder.path("1");
    request.width = request.height = SIDE;
    Decoded decoded;
    ASSERT_TRUE(cache.find(request, decoded));
    EXPECT_EQ(decoded.preset, preset);
}

TEST_F(Flash, AnotherSizeOrOrientationIsAnotherPicture) {
    FlashCache cache;
    EXPECT_TRUE(cache.open(list()).ok());
    save(cache, 1);
    Decoded decoded;
    DecodeRequest request;
    request.path = folder.path("1");
    request.width = SIDE + 1;
    request.height = SIDE;
    EXPECT_FALSE(cache.find(request, decoded));
    request.width = SIDE;
    request.orientation = 6;
    EXPECT_FALSE(cache.find(request, decoded));
}

TEST_F(Flash, AFileThatChangedIsNotAnsweredFromTheCache) {
    FlashCache cache;
    EXPECT_TRUE(cache.open(list()).ok());
    save(cache, 1);
    folder.setModified("1", 1000);
    EXPECT_EQ(find(cache, 1), -1);
    EXPECT_EQ(pictures(), 0U);
}

TEST_F(Flash, ASecondPictureWithTheSameKeyTakesThePlaceOfTheFirst) {
    FlashCache cache;
    EXPECT_TRUE(cache.open(list()).ok());
    save(cache, 1);
    save(cache, 1);
    EXPECT_EQ(pictures(), 1U);
    EXPECT_EQ(find(cache, 1), 1);
}

TEST_F(Flash, TheLeastRecentlyUsedMakesRoom) {
    FlashCache cache({BYTES * 3, 100});
    EXPECT_TRUE(cache.open(list()).ok());
    for (const int number : {1, 2, 3}) {
        save(cache, number);
    }
    find(cache, 1);
    save(cache, 4);
    EXPECT_EQ(find(cache, 2), -1);
    EXPECT_EQ(find(cache, 1), 1);
    EXPECT_EQ(find(cache, 3), 3);
    EXPECT_EQ(find(cache, 4), 4);
    EXPECT_EQ(pictures(), 3U);
}

TEST_F(Flash, TheNumberOfEntriesIsBounded) {
    FlashCache cache({BYTES * 100, 2});
    EXPECT_TRUE(cache.open(list()).ok());
    for (const int number : {1, 2, 3}) {
        save(cache, number);
    }
    EXPECT_EQ(pictures(), 2U);
    EXPECT_EQ(find(cache, 1), -1);
}

TEST_F(Flash, UseIsRememberedAcrossARestart) {
    {
        FlashCache cache({BYTES * 2, 100});
        EXPECT_TRUE(cache.open(list()).ok());
        save(cache, 1);
        save(cache, 2);
        find(cache, 1);
    }
    FlashCache cache({BYTES * 2, 100});
    EXPECT_TRUE(cache.open(list()).ok());
    save(cache, 3);
    EXPECT_EQ(find(cache, 2), -1);
    EXPECT_EQ(find(cache, 1), 1);
}

TEST_F(Flash, APictureLargerThanTheCacheIsNotKept) {
    FlashCache cache({BYTES - 1, 100});
    EXPECT_TRUE(cache.open(list()).ok());
    EXPECT_FALSE(save(cache, 1));
    EXPECT_EQ(pictures(), 0U);
}

TEST_F(Flash, TheListStaysShort) {
    FlashCache cache;
    EXPECT_TRUE(cache.open(list()).ok());
    save(cache, 1);
    save(cache, 2);
    for (int turn = 0; turn < 3000; ++turn) {
        find(cache, 1 + turn % 2);
    }
    EXPECT_LT(fs::file_size(list()), 20000U);
    EXPECT_EQ(find(cache, 1), 1);
}

TEST_F(Flash, TwoCachesOnOneListSeeEachOthersPictures) {
    FlashCache one;
    FlashCache other;
    EXPECT_TRUE(one.open(list()).ok());
    EXPECT_TRUE(other.open(list()).ok());
    save(one, 1);
    EXPECT_EQ(find(other, 1), 1);
    save(other, 2);
    EXPECT_EQ(find(one, 2), 2);
}

TEST_F(Flash, ThreadsMayUseItTogether) {
    FlashCache cache({BYTES * 5, 100});
    EXPECT_TRUE(cache.open(list()).ok());
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int turn = 0; turn < 50; ++turn) {
                save(cache, (thread + turn) % 10);
                const int found = find(cache, turn % 10);
                EXPECT_TRUE(found == -1 || found == turn % 10);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_LE(pictures(), 5U);
}

TEST_F(Flash, AListCutShortAnywhereKeepsTheEntriesBeforeTheCut) {
    {
        FlashCache cache;
        EXPECT_TRUE(cache.open(list()).ok());
        save(cache, 1);
        save(cache, 2);
    }
    const std::string whole = contentsOf(list());
    const std::size_t first = whole.find('\n') + 1;
    const fs::path kept = folder.path("kept");
    fs::copy(folder.path("data"), kept, fs::copy_options::recursive);
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        fs::remove_all(folder.path("data"));
        fs::copy(kept, folder.path("data"), fs::copy_options::recursive);
        write(list(), whole.substr(0, length));
        FlashCache cache;
        ASSERT_EQ(cache.open(list()).code, MRB_ERR_NONE);
        EXPECT_EQ(find(cache, 1), length >= first ? 1 : -1) << length;
        EXPECT_EQ(find(cache, 2), length == whole.size() ? 2 : -1) << length;
        // And it continues from there.
        EXPECT_TRUE(save(cache, 3));
        FlashCache again;
        EXPECT_TRUE(again.open(list()).ok());
        EXPECT_EQ(find(again, 3), 3) << length;
    }
}

TEST_F(Flash, DamagedLinesAreSkipped) {
    {
        FlashCache cache;
        EXPECT_TRUE(cache.open(list()).ok());
        save(cache, 1);
        save(cache, 2);
    }
    std::string text = contentsOf(list());
    text[20] ^= 1;
    write(list(), "nonsense\n\n" + std::string(100000, 'x') + "\n" + text);
    FlashCache cache;
    ASSERT_EQ(cache.open(list()).code, MRB_ERR_NONE);
    EXPECT_EQ(find(cache, 1), -1);
    EXPECT_EQ(find(cache, 2), 2);
}

TEST_F(Flash, FilesThatNoLineNamesGoAndLinesWithoutTheirFileToo) {
    {
        FlashCache cache;
        EXPECT_TRUE(cache.open(list()).ok());
        save(cache, 1);
        save(cache, 2);
    }
    write(list() + ".d/99.bmp.new", "half");
    write(list() + ".d/98.bmp", "stranger");
    fs::resize_file(list() + ".d/1.bmp", 60);
    FlashCache cache;
    EXPECT_TRUE(cache.open(list()).ok());
    cache.dropStrangers();
    EXPECT_EQ(pictures(), 1U);
    EXPECT_EQ(find(cache, 1), -1);
    EXPECT_EQ(find(cache, 2), 2);
}

TEST_F(Flash, AProcessKilledWhileItWritesLeavesAWholeCache) {
    for (int turn = 0; turn < 20; ++turn) {
        int ends[2] = {-1, -1};
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        const pid_t child = fork();
        if (child == 0) {
            FlashCache cache({BYTES * 6, 100});
            if (!cache.open(list()).ok()) {
                _exit(1);
            }
            for (int number = 0;; number = (number + 1) % 20) {
                if (!save(cache, number) || ::write(ends[1], "", 1) != 1) {
                    _exit(1);
                }
            }
        }
        // After a while, at a different moment each time.
        char saved = 0;
        for (int count = 0; count < 3 + turn; ++count) {
            ASSERT_EQ(read(ends[0], &saved, 1), 1);
        }
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        close(ends[0]);
        close(ends[1]);
        FlashCache cache({BYTES * 6, 100});
        ASSERT_EQ(cache.open(list()).code, MRB_ERR_NONE);
        cache.dropStrangers();
        std::size_t found = 0;
        for (int number = 0; number < 20; ++number) {
            const int value = find(cache, number);
            EXPECT_TRUE(value == -1 || value == number);
            found += value == -1 ? 0 : 1;
        }
        EXPECT_GE(found, 1U);
        EXPECT_EQ(pictures(), found);
    }
}

TEST_F(Flash, AListThatCannotBeWrittenIsLogged) {
    folder.file("data", 1);
    FlashCache cache;
    EXPECT_EQ(cache.open(list()).code, MRB_ERR_NOT_A_FOLDER);
    EXPECT_FALSE(save(cache, 1));
}

TEST(FlashLineText, IsReadBackAsItWasWritten) {
    FlashEntry entry;
    entry.id = 77;
    entry.key = {"/a b/%\n\t\xC3\xA4\xFF", 300, 200, 6, 5, 4};
    entry.name = "";
    entry.width = 30;
    entry.height = 20;
    entry.whole = true;
    entry.source = {123456789012, -5};
    const std::string text = mrb::thumbnail::textOf({FlashLine::Kind::ADDED, entry});
    const auto line = mrb::thumbnail::readLine(text.substr(0, text.size() - 1));
    ASSERT_TRUE(line.has_value());
    EXPECT_EQ(line->entry.id, 77U);
    EXPECT_EQ(line->entry.key, entry.key);
    EXPECT_EQ(line->entry.name, "");
    EXPECT_EQ(line->entry.source, entry.source);
    EXPECT_TRUE(line->entry.whole);
    EXPECT_FALSE(mrb::thumbnail::readLine(text.substr(0, text.size() - 2)).has_value());
}

namespace {

// The path of the cache in the environment, for as long as a test runs.
class Root {
  public:
    explicit Root(const std::string &folder) { setenv("MRB_ROOT", folder.c_str(), 1); }
    ~Root() { unsetenv("MRB_ROOT"); }
    Root(const Root &) = delete;
    Root &operator=(const Root &) = delete;
};

constexpr const char *LIST = "/opt/data/thumbCache.txt";

// On a machine that is slow it is not open at once.
int openFlashCache() {
    int code = MRB_ERR_TIMEOUT;
    const auto end = std::chrono::steady_clock::now() + support::LIMIT;
    while (code == MRB_ERR_TIMEOUT && std::chrono::steady_clock::now() < end) {
        code = mrb_thumbnail_flash_cache_init(LIST);
    }
    return code;
}

int keep(const char *name, const char *url, int width, int height, const unsigned char *image,
         const char *preset) {
    mrb_thumbnail_flash_cache_param_h param = nullptr;
    EXPECT_NE(mrb_create_thumbnail_flash_cache_param(&param), 0);
    mrb_set_thumbnail_flash_cache_filename(param, name);
    mrb_set_thumbnail_flash_cache_url(param, url);
    mrb_set_thumbnail_flash_cache_xsize(param, width);
    mrb_set_thumbnail_flash_cache_ysize(param, height);
    const int saved = mrb_thumbnail_flash_cache_save_file(param, image, preset);
    mrb_destroy_thumbnail_flash_cache_param(param);
    return saved;
}

} // namespace

TEST(FlashCacheOfTheService, TheListLiesBelowTheRoot) {
    const Folder folder;
    const Root root(folder.path());
    EXPECT_EQ(mrb::thumbnail::pathOnThisMachine("/opt/a.txt"), folder.path("opt/a.txt"));
    EXPECT_EQ(mrb::thumbnail::pathOnThisMachine("/../../opt/a.txt"), folder.path("opt/a.txt"));
    EXPECT_EQ(mrb::thumbnail::pathOnThisMachine("opt/a.txt"), "");
    ASSERT_EQ(openFlashCache(), MRB_ERR_NONE);
    EXPECT_TRUE(fs::exists(folder.path("opt/data/thumbCache.txt")));
}

TEST(FlashCacheOfTheService, AnImageKeptInItsCallbackAnswersLaterRequests) {
    const Folder folder;
    const Root root(folder.path());
    ASSERT_EQ(openFlashCache(), MRB_ERR_NONE);
    const std::string path = folder.path("a.jpg");
    support::makePicture(path, 400, 300);
    support::Thumbnails client;
    // As clients do that pass the width twice; the picture is less high.
    client.onResult = [&](std::size_t, thumb_result_s &result) {
        EXPECT_EQ(keep("/a.bmp", path.c_str(), result.image_width, result.image_width, result.image_buffer[0],
                       result.preset_buffer),
                  1);
    };
    const support::Thumbnail first = client.get(support::ThumbnailOptions{.path = path, .usedCache = 1});
    client.onResult = nullptr;
    // A file of the same size and time, which cannot be decoded.
    const auto modified = fs::last_write_time(path);
    write(path, std::string(static_cast<std::size_t>(fs::file_size(path)), 'x'));
    fs::last_write_time(path, modified);
    const support::Thumbnail second = client.get(support::ThumbnailOptions{.path = path, .usedCache = 1});
    EXPECT_EQ(second.code, MRB_ERR_NONE);
    ASSERT_EQ(second.images.size(), 1U);
    EXPECT_EQ(second.images[0].width, 256);
    EXPECT_EQ(second.images[0].height, 192);
    EXPECT_EQ(second.images[0].pixels, first.images.at(0).pixels);
    EXPECT_EQ(second.preset, first.preset);
    EXPECT_NE(client.get(path).code, MRB_ERR_NONE) << "the cache was not requested";
    // The cache keeps a picture that others open.
    std::string kept;
    for (const auto &file : fs::directory_iterator(folder.path("opt/data/thumbCache.txt.d"))) {
        kept = file.path();
    }
    EXPECT_EQ(support::outputOf({"identify-im6.q16", "-format", "%m %w %h", kept}), "BMP3 256 192");
}

TEST(FlashCacheOfTheService, AnImageOfTheClientsOwnHasTheSizeThatItStates) {
    const Folder folder;
    const Root root(folder.path());
    ASSERT_EQ(openFlashCache(), MRB_ERR_NONE);
    folder.file("a.jpg", 5);
    const std::string pixels(4 * 3 * 2, 'p');
    const auto *image = reinterpret_cast<const unsigned char *>(pixels.data());
    EXPECT_EQ(keep("n", folder.path("a.jpg").c_str(), 3, 2, image, nullptr), 1);
    EXPECT_EQ(keep("n", folder.path("a.jpg").c_str(), 0, 2, image, nullptr), 0);
    EXPECT_EQ(keep("n", "", 3, 2, image, nullptr), 0);
    EXPECT_EQ(keep("n", "/a", 3, 2, nullptr, nullptr), 0);
    support::Thumbnails client;
    const support::Thumbnail found = client.get(
        support::ThumbnailOptions{.path = folder.path("a.jpg"), .width = 3, .height = 2, .usedCache = 1});
    EXPECT_EQ(found.code, MRB_ERR_NONE);
    EXPECT_EQ(found.images.at(0).pixels, pixels);
}
