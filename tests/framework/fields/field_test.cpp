// The fields of real media, through the framework's C functions.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <ctime>
#include <fstream>
#include <memory>

#include "fields/field_table.h"
#include "support/fields.h"
#include "support/media.h"

using support::Client;
using support::fieldOf;
using support::flag;
using support::Folder;
using support::longNumber;
using support::number;
using support::real;
using support::shell;
using support::text;
using support::textField;

namespace {

class Fields : public support::MediaTest {
  protected:
    void SetUp() override { client_.list(media_->path()); }

    [[nodiscard]] int at(const std::string &name) const { return support::indexOf(client_, name); }
    [[nodiscard]] static std::string path(const std::string &name) { return media_->path(name); }

    // What another program reads: exiftool's tag, and ffprobe's entry.
    static std::string exif(const std::string &name, const std::string &tag) {
        return trimmed(shell(media_->path(), "exiftool -s3 -n -" + tag + " '" + name + "'"));
    }
    static std::string probe(const std::string &name, const std::string &streams, const std::string &entry) {
        const std::string select = streams.empty() ? "" : "-select_streams " + streams + " ";
        const std::string all =
            trimmed(shell(media_->path(), "ffprobe -v error " + select + "-show_entries " + entry +
                                              " -of csv=p=0 '" + name + "'"));
        return trimmed(all.substr(0, all.find('\n')));
    }

    Client client_;

  private:
    static std::string trimmed(const std::string &text) {
        const std::size_t end = text.find_last_not_of(" \n\r,");
        return end == std::string::npos ? "" : text.substr(0, end + 1);
    }
};

TEST_F(Fields, OfTheFileSystemAreThoseOfTheFile) {
    struct stat metadata {};
    ASSERT_EQ(stat(path("song.mp3").c_str(), &metadata), 0);
    const int song = at("song.mp3");
    EXPECT_EQ(longNumber(client_, song, "SIZE"), metadata.st_size);
    EXPECT_EQ(number(client_, song, "MEDIA_TYPE"), MRB_ITEM_TYPE_MUSIC);
    const auto [code, modified] = fieldOf(client_, song, mrb_get_item_value_time_v2, "MODIFIED_TIME", 0);
    EXPECT_EQ(code, MRB_ERR_NONE);
    EXPECT_EQ(modified, metadata.st_mtim.tv_sec);
    const int added = fieldOf(client_, song, mrb_get_item_value_time_v2, "ADDED_TIME", 0).second;
    EXPECT_LE(std::abs(added - modified), 60);
    EXPECT_EQ(text(client_, song, "FILE_PATH"), path("song.mp3"));
    EXPECT_EQ(text(client_, song, "URL"), "file://" + path("song.mp3"));
    EXPECT_EQ(text(client_, song, "ID_MRB"), "msc:" + path("song.mp3"));
    EXPECT_EQ(text(client_, song, "DISPLAY_NAME"), "song.mp3");
    EXPECT_THAT(text(client_, song, "MODIFIED_MONTH"), testing::MatchesRegex("[0-9]{4}-[0-9]{2}"));
}

TEST_F(Fields, OfPicturesAreWhatWasWrittenAndWhatExiftoolReads) {
    for (const std::string name : {"photo.jpg", "photo.webp", "photo.avif", "photo.heic"}) {
        SCOPED_TRACE(name);
        const int photo = at(name);
        EXPECT_EQ(text(client_, photo, "MODEL"), "Desk Camera 1");
        EXPECT_EQ(text(client_, photo, "DATE_TAKEN"), "2024-07-14T09:30:00");
        EXPECT_EQ(text(client_, photo, "EXPOSURE_TIME"), "1/125");
        EXPECT_EQ(text(client_, photo, "FNUMBER"), exif(name, "FNumber"));
        EXPECT_EQ(text(client_, photo, "ISO"), exif(name, "ISO"));
        EXPECT_EQ(number(client_, photo, "ORIENTATION"), 6);
        EXPECT_EQ(std::to_string(number(client_, photo, "WIDTH")), exif(name, "ImageWidth"));
        EXPECT_EQ(std::to_string(number(client_, photo, "HEIGHT")), exif(name, "ImageHeight"));
        EXPECT_NEAR(real(client_, photo, "LATITUDE"), -33.8568, 1e-6);
        EXPECT_NEAR(real(client_, photo, "LONGITUDE"), 151.2153, 1e-6);
        EXPECT_NEAR(real(client_, photo, "LATITUDE"), std::stod(exif(name, "Composite:GPSLatitude")), 1e-6);
        EXPECT_NEAR(real(client_, photo, "ALTITUDE"), 12.5, 1e-3);
        EXPECT_EQ(text(client_, photo, "LOCATION_TAG"), "-33.8568,151.2153");
        EXPECT_EQ(text(client_, photo, "MIME_TYPE"), exif(name, "MIMEType"));
        EXPECT_EQ(text(client_, photo, "TITLE"), "photo");
    }
    EXPECT_EQ(number(client_, at("photo.jpg"), "ASPECTRATIO"), 563); // upright: 180 by 320
    EXPECT_EQ(text(client_, at("photo.jpg"), "FORMAT"), "jpeg");
}

TEST_F(Fields, OfEveryPictureFormatHoldItsSize) {
    for (const std::string name : {"plain.jpg", "plain.png", "plain.gif", "plain.bmp", "plain.tiff"}) {
        SCOPED_TRACE(name);
        const int picture = at(name);
        EXPECT_EQ(number(client_, picture, "WIDTH"), 320);
        EXPECT_EQ(number(client_, picture, "HEIGHT"), 180);
        EXPECT_EQ(number(client_, picture, "ASPECTRATIO"), 1778);
        EXPECT_EQ(number(client_, picture, "RESOLUTION"), 320 * 180);
        EXPECT_EQ(text(client_, picture, "RESOLUTION_DLNA"), "320x180");
        EXPECT_EQ(text(client_, picture, "MIME_TYPE"), exif(name, "MIMEType"));
        EXPECT_EQ(text(client_, picture, "VIDEO_CODEC"), name == "plain.tiff" ? "tiff" : "");
        EXPECT_EQ(longNumber(client_, picture, "DURATION"), 0);
        EXPECT_EQ(text(client_, picture, "DATE_TAKEN"), "");
    }
}

TEST_F(Fields, OfMusicAreWhatWasWrittenAndWhatFfprobeReads) {
    for (const std::string name : {"song.mp3", "song.flac", "song.ogg", "song.m4a", "song.wav"}) {
        SCOPED_TRACE(name);
        const int song = at(name);
        EXPECT_EQ(text(client_, song, "TITLE"), "Élégie");
        EXPECT_EQ(text(client_, song, "ARTIST"), "東京トリオ");
        EXPECT_EQ(text(client_, song, "ALBUM"), "Été");
        EXPECT_EQ(text(client_, song, "GENRE"), "Jazz");
        EXPECT_EQ(text(client_, song, "YEAR"), "2015");
        EXPECT_EQ(std::to_string(number(client_, song, "SAMPLERATE")),
                  probe(name, "a", "stream=sample_rate"));
        EXPECT_NEAR(static_cast<double>(longNumber(client_, song, "DURATION")),
                    1000 * std::stod(probe(name, "", "format=duration")), 60);
        EXPECT_TRUE(flag(client_, song, "HAS_AUDIO_ONLY"));
        EXPECT_EQ(number(client_, song, "WIDTH"), 0);
        if (name != "song.wav") {
            EXPECT_EQ(text(client_, song, "AUDIO_CODEC"), probe(name, "a", "stream=codec_name"));
        }
        const double rate = std::stod(probe(name, "", "format=bit_rate"));
        EXPECT_NEAR(static_cast<double>(number(client_, song, "BITRATE")), rate, rate * 0.5);
    }
    EXPECT_EQ(number(client_, at("song.mp3"), "SONGS_COUNT"), 12);
    EXPECT_EQ(number(client_, at("song.m4a"), "SONGS_COUNT"), 12);
    EXPECT_EQ(number(client_, at("song.flac"), "BIT_RESOLUTION"), 16);
    EXPECT_EQ(number(client_, at("song.wav"), "BIT_RESOLUTION"), 16);
}

TEST_F(Fields, StateWhetherThereIsACover) {
    for (const std::string name : {"song.m4a", "covered.mp3", "covered.flac", "photo.jpg", "film.mp4"}) {
        EXPECT_FALSE(probe(name, "v", "stream=codec_name").empty()) << name;
        EXPECT_EQ(text(client_, at(name), "THUMBNAIL_PATH"), path(name));
    }
    for (const std::string name : {"song.mp3", "song.flac", "song.ogg", "song.wav"}) {
        EXPECT_TRUE(probe(name, "v", "stream=codec_name").empty()) << name;
        EXPECT_EQ(text(client_, at(name), "THUMBNAIL_PATH"), "") << name;
    }
}

TEST_F(Fields, OfFilmsAreWhatWasWrittenAndWhatFfprobeReads) {
    for (const std::string name : {"film.mp4", "film.mkv", "film.ts", "silent.avi"}) {
        SCOPED_TRACE(name);
        const int film = at(name);
        EXPECT_EQ(text(client_, film, "VIDEO_CODEC"), probe(name, "v", "stream=codec_name"));
        EXPECT_EQ(text(client_, film, "AUDIO_CODEC"), probe(name, "a", "stream=codec_name"));
        EXPECT_EQ(std::to_string(number(client_, film, "WIDTH")), probe(name, "v", "stream=width"));
        EXPECT_EQ(std::to_string(number(client_, film, "HEIGHT")), probe(name, "v", "stream=height"));
        EXPECT_NEAR(static_cast<double>(longNumber(client_, film, "DURATION")),
                    1000 * std::stod(probe(name, "", "format=duration")), 2);
        EXPECT_FALSE(flag(client_, film, "HAS_AUDIO_ONLY"));
        EXPECT_FALSE(flag(client_, film, "IS_DRM"));
        EXPECT_EQ(number(client_, film, "MEDIA_TYPE"), MRB_ITEM_TYPE_VIDEO);
    }
    const int film = at("film.mkv");
    EXPECT_EQ(number(client_, film, "ASPECTRATIO"), 1778); // 320 by 240 pixels that are wider than high
    EXPECT_EQ(text(client_, film, "LANGUAGE"), "eng,deu");
    EXPECT_TRUE(flag(client_, film, "SUBTITLE"));
    EXPECT_EQ(number(client_, film, "HD"), 0);
    const int clip = at("film.mp4");
    EXPECT_FALSE(flag(client_, clip, "SUBTITLE"));
    EXPECT_EQ(text(client_, clip, "TITLE"), "The clip");
    EXPECT_EQ(text(client_, clip, "SYNOPSIS"), "What happens");
    EXPECT_EQ(text(client_, clip, "DATE_TAKEN"), "2023-05-06T07:08:09Z");
    EXPECT_NEAR(real(client_, clip, "LATITUDE"), 48.8584, 1e-3);
    EXPECT_NEAR(real(client_, clip, "LONGITUDE"), 2.2945, 1e-3);
    EXPECT_EQ(number(client_, clip, "HD"), 1);
}

TEST_F(Fields, AllOfThemAnswerInTheirType) {
    const mrb_agent_handler_h list = client_.handle;
    for (const std::string name : {"photo.jpg", "song.mp3", "film.mkv"}) {
        ASSERT_EQ(mrb_move_to_index_v2(list, at(name)), MRB_ERR_NONE);
        for (const mrb::Field &field : mrb::fields()) {
            SCOPED_TRACE(name + ' ' + std::string(field.name));
            const char *fieldName = field.name.data();
            long long large = 0;
            double fraction = 0;
            int whole = 0;
            bool truth = false;
            char *words = nullptr;
            const std::pair<mrb::FieldType, int> answers[] = {
                {mrb::FieldType::LINT, mrb_get_item_value_lint_v2(list, fieldName, &large)},
                {mrb::FieldType::DOUBLE, mrb_get_item_value_double_v2(list, fieldName, &fraction)},
                {mrb::FieldType::TIME, mrb_get_item_value_time_v2(list, fieldName, &whole)},
                {mrb::FieldType::INT, mrb_get_item_value_int_v2(list, fieldName, &whole)},
                {mrb::FieldType::BOOL, mrb_get_item_value_bool_v2(list, fieldName, &truth)},
                {mrb::FieldType::CHAR, mrb_get_item_value_char_v2(list, fieldName, &words)}};
            std::free(words);
            for (const auto &[type, code] : answers) {
                const int expected = field.isRequired ? MRB_ERR_NOT_FOUND : MRB_ERR_NONE;
                const bool isPlaced = name == "photo.jpg" && field.type == mrb::FieldType::DOUBLE;
                EXPECT_EQ(code, type != field.type ? MRB_ERR_INVALID_PARAMETER : isPlaced ? 0 : expected);
            }
        }
    }
}

TEST_F(Fields, ThatDoNotExistAreInvalid) {
    for (const char *name : {"", "title", "TITLE ", "COLOUR"}) {
        EXPECT_EQ(textField(client_, 0, name).first, MRB_ERR_INVALID_PARAMETER) << name;
    }
}

TEST(FieldsOf, AFolderAndAHeadingAreThoseOfTheList) {
    const Folder folder;
    folder.file("sub/a.jpg");
    Client client;
    client.list(folder.path());
    EXPECT_EQ(text(client, 0, "TITLE"), "sub");
    EXPECT_EQ(text(client, 0, "MIME_TYPE"), "inode/directory");
    EXPECT_EQ(number(client, 0, "WIDTH"), 0);
    EXPECT_EQ(fieldOf(client, 0, mrb_get_item_value_double_v2, "LATITUDE", 0.0).first, MRB_ERR_NOT_FOUND);
    mrb_page_param_h page = nullptr;
    ASSERT_EQ(mrb_create_page_param(&page), MRB_ERR_NONE);
    mrb_param_set_page_style_mask(page, MRB_PAGE_STYLE_GROUP_TYPE);
    mrb_param_set_page_style_group_index(page, MRB_GROUP_HEADINGS);
    ASSERT_EQ(mrb_set_page_style_v2(client.handle, page), MRB_ERR_NONE);
    mrb_destroy_page_param(page);
    EXPECT_EQ(number(client, 1, "MEDIA_TYPE"), MRB_ITEM_TYPE_GROUP);
    EXPECT_EQ(number(client, 1, "GROUP_ITEM_COUNT"), 1);
    EXPECT_EQ(text(client, 1, "TITLE"), "image");
    EXPECT_EQ(mrb_set_item_value_char_v2(client.handle, "TITLE", "t"), MRB_ERR_NOT_SUPPORTED);
}

TEST(FieldsOf, AnEmptyListAreNotFound) {
    const Folder folder;
    Client client;
    client.list(folder.path());
    int value = 0;
    EXPECT_EQ(mrb_get_item_value_int_v2(client.handle, "WIDTH", &value), MRB_ERR_NOT_FOUND);
    EXPECT_EQ(mrb_set_item_value_int_v2(client.handle, "PLAYED_COUNT", 1), MRB_ERR_NOT_FOUND);
}

TEST(FieldsOf, AFileThatCannotBeReadReturnTheReason) {
    const Folder folder;
    folder.file("gone.mp3");
    folder.file("closed.mp3");
    ASSERT_EQ(chmod(folder.path("closed.mp3").c_str(), 0), 0);
    Client client;
    client.list(folder.path());
    ASSERT_EQ(unlink(folder.path("gone.mp3").c_str()), 0);
    EXPECT_EQ(textField(client, 1, "ARTIST").first, MRB_ERR_NOT_FOUND);
    const support::UnprivilegedFiles unprivileged;
    EXPECT_EQ(textField(client, 0, "ARTIST").first, MRB_ERR_PERMISSION_DENIED);
    // What the name determines needs no reading.
    EXPECT_EQ(text(client, 0, "TITLE"), "closed");
    EXPECT_EQ(text(client, 0, "MIME_TYPE"), "audio/mpeg");
}

TEST(WrittenFields, AreReadBackAndChangeNoFile) {
    const Folder folder;
    folder.file("a.mp3", 10);
    Client client;
    client.list(folder.path());
    ASSERT_EQ(mrb_set_item_value_char_v2(client.handle, "TITLE", "Мой титул"), MRB_ERR_NONE);
    EXPECT_EQ(text(client, 0, "TITLE"), "Мой титул");
    ASSERT_EQ(mrb_set_item_value_char_v2(client.handle, "TITLE", ""), MRB_ERR_NONE);
    EXPECT_EQ(text(client, 0, "TITLE"), "a");
    EXPECT_EQ(number(client, 0, "PLAYED_COUNT"), 0);
    EXPECT_FALSE(flag(client, 0, "CONTENT_WATCH"));
    EXPECT_EQ(fieldOf(client, 0, mrb_get_item_value_time_v2, "PLAYED_TIME", -1), std::pair(0, 0));
    const int before = static_cast<int>(std::time(nullptr));
    ASSERT_EQ(mrb_set_item_value_int_v2(client.handle, "PLAYED_COUNT", 3), MRB_ERR_NONE);
    EXPECT_EQ(number(client, 0, "PLAYED_COUNT"), 3);
    EXPECT_TRUE(flag(client, 0, "CONTENT_WATCH"));
    EXPECT_GE(fieldOf(client, 0, mrb_get_item_value_time_v2, "PLAYED_TIME", -1).second, before);
    EXPECT_EQ(shell(folder.path(), "cat a.mp3"), "xxxxxxxxxx");
}

TEST(WrittenFields, ThePlayedPositionIsWhereAPlayerGoesOn) {
    const Folder folder;
    folder.file("a.mp3");
    Client client;
    client.list(folder.path());
    ASSERT_EQ(mrb_set_item_value_int_v2(client.handle, "PLAYED_POSITION", 95), MRB_ERR_NONE);
    char *data = nullptr;
    ASSERT_EQ(mrb_prepare_play_data_v2(client.handle, &data), MRB_ERR_NONE);
    EXPECT_EQ(support::parse(data)["resume_position"], 95);
    std::free(data);
}

TEST(WrittenFields, RefuseWhatTheyCannotBe) {
    const Folder folder;
    folder.file("a.mp3");
    Client client;
    client.list(folder.path());
    const mrb_agent_handler_h list = client.handle;
    EXPECT_EQ(mrb_set_item_value_int_v2(list, "PLAYED_COUNT", -1), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_set_item_value_int_v2(list, "ORIENTATION", 9), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_set_item_value_int_v2(list, "TITLE", 1), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_set_item_value_char_v2(list, "PLAYED_COUNT", "1"), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_set_item_value_char_v2(list, "NOTHING", "1"), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_set_item_value_char_v2(list, "TITLE", "\xff"), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_set_item_value_char_v2(list, "TITLE", std::string(5000, 'a').c_str()),
              MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_set_item_value_int_v2(list, "WIDTH", 1), MRB_ERR_NOT_SUPPORTED);
    EXPECT_EQ(mrb_set_item_value_char_v2(list, "FILE_PATH", "/"), MRB_ERR_NOT_SUPPORTED);
}

} // namespace
