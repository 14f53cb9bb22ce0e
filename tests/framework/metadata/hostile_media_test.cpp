// Metadata of hostile files.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "metadata/media_file.h"
#include "metadata/read_metadata.h"
#include "support/fields.h"
#include "support/folder.h"
#include "support/media.h"
#include "support/sharing.h"

using mrb::MetadataKey;
using support::Folder;

namespace {

void write(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// The file's metadata; a test failure when it could not be read.
mrb::Metadata read(const std::string &path) {
    mrb::MediaFile file;
    mrb::Metadata metadata;
    EXPECT_EQ(file.open(path).code, MRB_ERR_NONE) << path;
    mrb::Status status = mrb::Status::ioError();
    mrb::mrb_read_metadata(file, path.substr(path.rfind('/') + 1), metadata, status);
    EXPECT_EQ(status.code, MRB_ERR_NONE) << path;
    return metadata;
}

class HostileMedia : public support::MediaTest {
  protected:
    static constexpr const char *NAMES[] = {
        "photo.jpg", "photo.webp", "photo.avif", "photo.heic", "plain.png", "plain.gif",
        "plain.bmp", "plain.tiff", "song.mp3",   "song.flac",  "song.ogg",  "song.m4a",
        "song.wav",  "film.mp4",   "film.mkv",   "film.ts",    "silent.avi"};

    Folder folder_;
};

TEST_F(HostileMedia, TruncatedFilesHaveLessMetadata) {
    for (const std::string name : NAMES) {
        const std::string whole = support::bytesOf(media_->path(name));
        for (const std::size_t size :
             {std::size_t{0}, std::size_t{1}, std::size_t{11}, std::size_t{40}, std::size_t{200},
              std::size_t{1000}, whole.size() / 2, whole.size() - 1}) {
            write(folder_.path(name), whole.substr(0, size));
            const mrb::Metadata metadata = read(folder_.path(name));
            if (size == 0) {
                EXPECT_FALSE(metadata.has(MetadataKey::MIME_TYPE)) << name;
            }
        }
    }
}

TEST_F(HostileMedia, DamagedFilesDoNoHarm) {
    std::mt19937 random(7);
    for (const std::string name : NAMES) {
        const std::string whole = support::bytesOf(media_->path(name));
        const std::string intact = read(media_->path(name)).text(MetadataKey::MIME_TYPE);
        EXPECT_NE(intact, "") << name;
        for (int round = 0; round < 60; ++round) {
            std::string bytes = whole.substr(0, 64 << 10);
            // Damage in the headers, and anywhere.
            for (int flip = 0; flip < 12; ++flip) {
                const std::size_t range =
                    flip % 2 == 0 ? std::min<std::size_t>(bytes.size(), 512) : bytes.size();
                bytes[random() % range] = static_cast<char>(flip % 3 == 0 ? 0xff : random());
            }
            write(folder_.path(name), bytes);
            const mrb::Metadata metadata = read(folder_.path(name));
            EXPECT_LE(metadata.text(MetadataKey::TITLE).size(), mrb::Metadata::MAX_TEXT_LENGTH);
            EXPECT_GE(metadata.number(MetadataKey::WIDTH), 0) << name;
            EXPECT_GE(metadata.number(MetadataKey::DURATION), 0) << name;
        }
        EXPECT_EQ(read(media_->path(name)).text(MetadataKey::MIME_TYPE), intact) << name;
    }
}

TEST_F(HostileMedia, AWrongExtensionIsFoundOut) {
    write(folder_.path("a.mp3"), support::bytesOf(media_->path("photo.jpg")));
    write(folder_.path("a.jpg"), support::bytesOf(media_->path("song.flac")));
    write(folder_.path("a.mp4"), support::bytesOf(media_->path("song.ogg")));
    const mrb::Metadata picture = read(folder_.path("a.mp3"));
    EXPECT_EQ(picture.text(MetadataKey::MIME_TYPE), "image/jpeg");
    EXPECT_EQ(picture.number(MetadataKey::WIDTH), 320);
    const mrb::Metadata music = read(folder_.path("a.jpg"));
    EXPECT_EQ(music.text(MetadataKey::MIME_TYPE), "audio/flac");
    EXPECT_EQ(music.text(MetadataKey::ARTIST), "東京トリオ");
    EXPECT_EQ(read(folder_.path("a.mp4")).text(MetadataKey::ARTIST), "東京トリオ");
}

TEST_F(HostileMedia, ExifThatPointsOutsideItselfIsLeftOut) {
    using namespace std::string_literals;
    // One directory of two entries: a model far outside, and an endless count of rationals.
    const std::string tiff = "II*\0\x08\0\0\0"s + "\x02\0"s + "\x10\x01\x02\0\xff\xff\0\0\0\0\0\x7f"s +
                             "\x9a\x82\x05\0\xff\xff\xff\xff\xf0\xff\xff\xff"s + "\xf0\xff\xff\xff"s;
    const std::string exif = "Exif\0\0"s + tiff;
    const std::string app1 = "\xff\xe1"s + '\0' + static_cast<char>(exif.size() + 2) + exif;
    const std::string jpeg = support::bytesOf(media_->path("plain.jpg"));
    write(folder_.path("a.jpg"), jpeg.substr(0, 2) + app1 + jpeg.substr(2));
    const mrb::Metadata metadata = read(folder_.path("a.jpg"));
    EXPECT_FALSE(metadata.has(MetadataKey::MODEL));
    EXPECT_FALSE(metadata.has(MetadataKey::EXPOSURE_TIME));
    EXPECT_EQ(metadata.number(MetadataKey::WIDTH), 320);
}

TEST_F(HostileMedia, ImpossibleExifValuesAreLeftOut) {
    const std::string name = "a.jpg";
    write(folder_.path(name), support::bytesOf(media_->path("plain.jpg")));
    support::shell(folder_.path(), "exiftool -q -q -overwrite_original -n -EXIF:Orientation=0 "
                                   "-EXIF:ExposureTime=0/0 -EXIF:FNumber=0/0 -EXIF:ISO=0 "
                                   "-EXIF:DateTimeOriginal='2024:13:45 99:00:00' -EXIF:GPSLatitude=0/0 "
                                   "-EXIF:GPSLongitude=0/0 -EXIF:Model='Lens\t\x01 ' a.jpg");
    const mrb::Metadata metadata = read(folder_.path(name));
    for (const MetadataKey key : {MetadataKey::ORIENTATION, MetadataKey::EXPOSURE_TIME, MetadataKey::F_NUMBER,
                                  MetadataKey::ISO, MetadataKey::DATE_TAKEN, MetadataKey::LATITUDE}) {
        EXPECT_FALSE(metadata.has(key)) << static_cast<int>(key);
    }
    EXPECT_EQ(metadata.text(MetadataKey::MODEL), "Lens");
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
    const std::string song = support::bytesOf(media_->path("song.mp3"));
    write(folder_.path("a.mp3"), "ID3\x04" + std::string(2, '\0') + sevens(frame.size()) + frame + song);
    EXPECT_EQ(read(folder_.path("a.mp3")).text(MetadataKey::TITLE),
              std::string(mrb::Metadata::MAX_TEXT_LENGTH, 'a'));
}

TEST_F(HostileMedia, APlaylistInAFilmsClothesOpensNoOtherFile) {
    write(folder_.path("a.ts"),
          "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + media_->path("film.ts") + "\n");
    write(folder_.path("b.mkv"), "ffconcat version 1.0\nfile '" + media_->path("film.mkv") + "'\n");
    EXPECT_FALSE(read(folder_.path("a.ts")).has(MetadataKey::WIDTH));
    EXPECT_FALSE(read(folder_.path("b.mkv")).has(MetadataKey::WIDTH));
}

} // namespace
