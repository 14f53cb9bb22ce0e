// Media that are damaged, or made to do harm: a result with a code, soon, and
// without much memory.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "mrb/agent.h"
#include "support/folder.h"
#include "support/programs.h"
#include "support/thumbnails.h"

using support::Folder;
using support::ThumbnailOptions;
using support::Thumbnails;
using testing::AnyOf;

namespace {

class HostileThumbnails : public testing::Test {
  protected:
    int codeOf(const std::string &name, int mediaType = 0, int frames = 1) {
        return client_
            .get(ThumbnailOptions{.path = folder_.path(name), .mediaType = mediaType, .frames = frames})
            .code;
    }
    [[nodiscard]] std::string path(const std::string &name) const { return folder_.path(name); }
    [[nodiscard]] std::string read(const std::string &name) const {
        std::ostringstream text;
        text << std::ifstream(path(name), std::ios::binary).rdbuf();
        return text.str();
    }
    void write(const std::string &name, const std::string &bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
    }
    std::string picture(const std::string &name) {
        support::makePicture(path(name), 300, 200);
        return read(name);
    }
    void video(const std::string &name, const std::vector<std::string> &options) {
        std::vector<std::string> words = {"-f", "lavfi", "-i", "testsrc=s=320x240:r=10:d=4"};
        words.insert(words.end(), options.begin(), options.end());
        words.push_back(path(name));
        support::ffmpeg(words);
    }

    Folder folder_;
    Thumbnails client_;
};

// The peak memory of this process, in MiB.
long mostMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

// Writes a number of that many bytes.
void put(std::string &bytes, std::size_t at, unsigned number, int width, bool bigEndian) {
    for (int index = 0; index < width; ++index) {
        const int shift = 8 * (bigEndian ? width - 1 - index : index);
        bytes[at + static_cast<std::size_t>(index)] = static_cast<char>(number >> shift);
    }
}

constexpr const char *PICTURES[] = {"a.jpg", "a.png", "a.webp", "a.heic", "a.tif", "a.gif", "a.bmp"};
const std::vector<std::string> H264 = {"-c:v", "libx264", "-preset", "ultrafast", "-g", "10"};

} // namespace

TEST_F(HostileThumbnails, AFileThatIsNotThere) { EXPECT_EQ(codeOf("none.jpg"), MRB_ERR_NOT_FOUND); }

TEST_F(HostileThumbnails, AFolderAndAPipeAreNotPictures) {
    folder_.folder("folder.jpg");
    ASSERT_EQ(mkfifo(path("pipe.jpg").c_str(), 0644), 0);
    EXPECT_EQ(codeOf("folder.jpg"), MRB_ERR_NOT_SUPPORTED);
    EXPECT_EQ(codeOf("pipe.jpg"), MRB_ERR_NOT_SUPPORTED);
    EXPECT_EQ(codeOf("folder.jpg", MRB_ITEM_TYPE_FOLDER), MRB_ERR_NOT_SUPPORTED);
}

TEST_F(HostileThumbnails, AnItemTypeWithoutAPicture) {
    picture("a.jpg");
    EXPECT_EQ(codeOf("a.jpg", MRB_ITEM_TYPE_M3U), MRB_ERR_NOT_SUPPORTED);
    EXPECT_EQ(codeOf("a.jpg", 12345), MRB_ERR_NOT_SUPPORTED);
}

TEST_F(HostileThumbnails, EmptyFilesAndTexts) {
    for (const char *name : {"a.jpg", "a.png", "a.mp4", "a.mp3", "a.unknown"}) {
        folder_.file(name, 0);
        EXPECT_THAT(codeOf(name), AnyOf(MRB_ERR_NOT_SUPPORTED, MRB_ERR_CORRUPT, MRB_ERR_NOT_FOUND)) << name;
        write(name, "This is a text and neither a picture nor a film.\n");
        EXPECT_THAT(codeOf(name), AnyOf(MRB_ERR_NOT_SUPPORTED, MRB_ERR_CORRUPT, MRB_ERR_NOT_FOUND)) << name;
    }
}

TEST_F(HostileThumbnails, DocumentsThatNameOtherFilesAreNotPictures) {
    write("a.svg",
          "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'><image href='/etc/passwd'/></svg>");
    write("a.m3u8", "#EXTM3U\n#EXTINF:1,\n/etc/passwd\n");
    write("a.ffconcat", "ffconcat version 1.0\nfile /etc/passwd\n");
    EXPECT_EQ(codeOf("a.svg", MRB_ITEM_TYPE_IMAGE), MRB_ERR_NOT_SUPPORTED);
    EXPECT_THAT(codeOf("a.m3u8", MRB_ITEM_TYPE_VIDEO), AnyOf(MRB_ERR_NOT_SUPPORTED, MRB_ERR_CORRUPT));
    EXPECT_THAT(codeOf("a.ffconcat", MRB_ITEM_TYPE_VIDEO), AnyOf(MRB_ERR_NOT_SUPPORTED, MRB_ERR_CORRUPT));
}

TEST_F(HostileThumbnails, ATruncatedPictureIsDamaged) {
    for (const char *name : PICTURES) {
        const std::string whole = picture(name);
        ASSERT_EQ(codeOf(name), MRB_ERR_NONE) << name;
        write(name, whole.substr(0, whole.size() / 2));
        EXPECT_EQ(codeOf(name), MRB_ERR_CORRUPT) << name;
    }
}

TEST_F(HostileThumbnails, AnyBeginningOfAPictureIsAnswered) {
    for (const char *name : PICTURES) {
        const std::string whole = picture(name);
        for (std::size_t length = 1; length < 400 && length < whole.size(); length += 9) {
            write(name, whole.substr(0, length));
            EXPECT_LT(codeOf(name), 0) << name << " of " << length;
        }
    }
}

TEST_F(HostileThumbnails, RandomDamageIsAnswered) {
    std::mt19937 random(3);
    for (const char *name : PICTURES) {
        const std::string whole = picture(name);
        for (int turn = 0; turn < 40; ++turn) {
            std::string damaged = whole;
            for (int byte = 0; byte < 8; ++byte) {
                // Near the beginning, where the sizes are.
                const std::size_t checkAvailable =
                    turn % 2 == 0 ? std::min<std::size_t>(200, whole.size()) : whole.size();
                damaged[random() % checkAvailable] = static_cast<char>(random());
            }
            write(name, damaged);
            EXPECT_LE(codeOf(name), 0) << name << " in turn " << turn;
        }
    }
}

TEST_F(HostileThumbnails, APictureThatClaimsSixtyThousandPixelsEachWayIsRefused) {
    std::string jpeg = picture("a.jpg");
    const std::size_t frame = jpeg.find("\xFF\xC0");
    ASSERT_NE(frame, std::string::npos);
    put(jpeg, frame + 5, 60000, 2, true);
    put(jpeg, frame + 7, 60000, 2, true);
    write("a.jpg", jpeg);

    std::string gif = picture("a.gif");
    put(gif, 6, 60000, 2, false);
    put(gif, 8, 60000, 2, false);
    write("a.gif", gif);

    std::string bmp = picture("a.bmp");
    put(bmp, 18, 60000, 4, false);
    put(bmp, 22, 60000, 4, false);
    write("a.bmp", bmp);

    std::string webp(30, '\0');
    webp.replace(0, 16, std::string("RIFF\x16\0\0\0WEBPVP8X", 16));
    webp[16] = 10;
    put(webp, 24, 59999, 3, false);
    put(webp, 27, 59999, 3, false);
    write("a.webp", webp);

    std::string png = picture("a.png");
    put(png, 16, 60000, 4, true);
    put(png, 20, 60000, 4, true);
    // With its checksum, as an attacker would write it.
    std::uint32_t sum = 0xFFFFFFFF;
    for (std::size_t at = 12; at < 29; ++at) {
        sum ^= static_cast<unsigned char>(png[at]);
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0xEDB88320U : 0);
        }
    }
    put(png, 29, ~sum, 4, true);
    write("a.png", png);

    std::string tiff = picture("a.tif");
    for (const char tag : {'\0', '\1'}) { // ImageWidth and ImageLength, one value of 16 bits each
        const std::size_t entry = tiff.find(std::string({tag, '\1', '\3', '\0', '\1', '\0', '\0', '\0'}));
        ASSERT_NE(entry, std::string::npos);
        put(tiff, entry + 8, 60000, 2, false);
    }
    write("a.tif", tiff);

    codeOf("none.jpg");
    const long before = mostMemory();
    for (const char *name : {"a.jpg", "a.png", "a.tif", "a.webp"}) {
        EXPECT_EQ(codeOf(name), MRB_ERR_OUT_OF_MEMORY) << name;
    }
    // Its decoder detects that first.
    EXPECT_THAT(codeOf("a.bmp"), AnyOf(MRB_ERR_OUT_OF_MEMORY, MRB_ERR_CORRUPT));
    // The picture itself has another size than the screen that it claims, which is ignored.
    EXPECT_LE(codeOf("a.gif"), 0);
    EXPECT_LT(mostMemory() - before, 300);
}

TEST_F(HostileThumbnails, AHeicOrAvifThatClaimsTooManyPixelsTakesNoMemory) {
    codeOf("none.jpg");
    const long before = mostMemory();
    for (const char *name : {"a.heic", "a.avif"}) {
        const std::string whole = picture(name);
        // A size that libheif accepts, and one that it refuses by itself.
        for (const unsigned length : {12000U, 20000U, 60000U}) {
            std::string claim = whole;
            std::size_t claims = 0;
            // The boxes with the size of the picture, and of each of its tiles.
            for (std::size_t at = claim.find("ispe"); at != std::string::npos;
                 at = claim.find("ispe", at + 1)) {
                put(claim, at + 8, length, 4, true);
                put(claim, at + 12, length, 4, true);
                ++claims;
            }
            ASSERT_GT(claims, 0U) << name;
            write(name, claim);
            EXPECT_EQ(codeOf(name), MRB_ERR_OUT_OF_MEMORY) << name << ' ' << length;
        }
    }
    EXPECT_LT(mostMemory() - before, 100);
}

// The largest size of the format, in each of its encodings: a gigabyte of pixels.
TEST_F(HostileThumbnails, AWebpThatClaimsAsMuchAsItCanTakesNoMemory) {
    const std::string lossy = picture("a.webp");
    const std::size_t frame = lossy.find("\x9D\x01\x2A");
    ASSERT_EQ(frame, 23U);
    std::string claim = lossy;
    claim.replace(frame + 3, 4, "\xFF\x3F\xFF\x3F");
    support::makePicture(path("b.webp"), 300, 200, {"-define", "webp:lossless=true"});
    std::string lossless = read("b.webp");
    ASSERT_EQ(lossless.compare(12, 4, "VP8L"), 0);
    lossless.replace(21, 4, "\xFF\xFF\xFF\x0F");
    codeOf("none.jpg");
    const long before = mostMemory();
    write("a.webp", claim);
    EXPECT_EQ(codeOf("a.webp"), MRB_ERR_OUT_OF_MEMORY);
    write("b.webp", lossless);
    EXPECT_EQ(codeOf("b.webp"), MRB_ERR_OUT_OF_MEMORY);
    EXPECT_LT(mostMemory() - before, 100);
}

TEST_F(HostileThumbnails, AFileLargerThanPicturesAreIsNotRead) {
    picture("a.png");
    std::filesystem::resize_file(path("a.png"), std::uintmax_t{3} << 30);
    const long before = mostMemory();
    EXPECT_EQ(codeOf("a.png"), MRB_ERR_OUT_OF_MEMORY);
    EXPECT_LT(mostMemory() - before, 100);
}

TEST_F(HostileThumbnails, AVideoWithoutAKeyFrameIsDamaged) {
    video("whole.mp4", H264);
    for (const char *name : {"a.mkv", "a.mp4"}) {
        support::ffmpeg(
            {"-i", path("whole.mp4"), "-c", "copy", "-bsf:v", "noise=drop=key", "-copyinkf", path(name)});
        EXPECT_EQ(codeOf(name, 0, 5), MRB_ERR_CORRUPT) << name;
    }
}

TEST_F(HostileThumbnails, ATruncatedVideoIsAnswered) {
    for (const char *name : {"a.mp4", "a.mkv", "a.avi", "a.ts"}) {
        video(name, H264);
        const std::string whole = read(name);
        for (const std::size_t part : {10, 3, 2}) {
            write(name, whole.substr(0, whole.size() / part));
            EXPECT_LE(codeOf(name, 0, 5), 0) << name;
        }
    }
}

TEST_F(HostileThumbnails, AnMp4WithoutItsIndexIsDamaged) {
    video("a.mp4", H264);
    const std::string whole = read("a.mp4");
    write("a.mp4", whole.substr(0, whole.find("moov") - 4));
    EXPECT_EQ(codeOf("a.mp4"), MRB_ERR_CORRUPT);
}

TEST_F(HostileThumbnails, ADamagedVideoIsAnswered) {
    std::mt19937 random(9);
    for (const char *name : {"a.mp4", "a.mkv", "a.ts"}) {
        video(name, H264);
        const std::string whole = read(name);
        for (int turn = 0; turn < 15; ++turn) {
            std::string damaged = whole;
            for (int byte = 0; byte < 50; ++byte) {
                damaged[random() % damaged.size()] = static_cast<char>(random());
            }
            write(name, damaged);
            EXPECT_LE(codeOf(name, 0, 3), 0) << name << " in turn " << turn;
        }
    }
}

TEST_F(HostileThumbnails, AFilmThatClaimsSixtyThousandPixelsIsRefused) {
    video("a.mkv", {"-c:v", "mjpeg", "-frames:v", "1"});
    std::string film = read("a.mkv");
    // PixelWidth and PixelHeight.
    const std::size_t width = film.find(std::string("\xB0\x82\x01\x40", 4));
    const std::size_t height = film.find(std::string("\xBA\x81\xF0", 3));
    ASSERT_NE(width, std::string::npos);
    ASSERT_NE(height, std::string::npos);
    film.replace(width + 2, 2, "\xEA\x60");
    film.replace(height, 3, "\xBA\x82\xEA");
    write("a.mkv", film);
    EXPECT_LT(codeOf("a.mkv"), 0);
}

TEST_F(HostileThumbnails, MusicWithADamagedCoverIsDamaged) {
    support::makePicture(path("cover.jpg"), 100, 100);
    support::ffmpeg({"-f", "lavfi", "-i", "sine=d=1", "-i", path("cover.jpg"), "-map", "0", "-map", "1",
                     "-disposition:v", "attached_pic", "-c:v", "copy", path("a.flac")});
    std::string music = read("a.flac");
    const std::size_t pixels = music.find("\xFF\xDA");
    ASSERT_NE(pixels, std::string::npos);
    music.replace(pixels - 200, 200, std::string(200, '\0'));
    write("a.flac", music);
    EXPECT_EQ(codeOf("a.flac"), MRB_ERR_CORRUPT);
}

TEST_F(HostileThumbnails, OfAThousandRequestsWithCancelsEachOtherIsAnsweredOnce) {
    picture("a.jpg");
    picture("b.png");
    picture("c.webp");
    video("d.mp4", H264);
    support::ffmpeg({"-f", "lavfi", "-i", "sine=d=1", path("e.mp3")});
    std::mt19937 random(11);
    const char *const names[] = {"a.jpg", "b.png", "c.webp", "d.mp4", "e.mp3", "none.jpg"};
    for (int index = 0; index < 1000; ++index) {
        const int side = 32 + static_cast<int>(random() % 20);
        const std::string name = names[random() % 6];
        // A size of its own, so that a cancel means this request and no other.
        client_.request(ThumbnailOptions{
            .path = path(name), .width = side, .height = 40 + index, .frames = 1 + index % 3});
        if (random() % 3 == 0) {
            client_.cancel(random() % static_cast<unsigned>(index + 1));
        }
    }
    ASSERT_TRUE(client_.waitForAll());
    thumbnail_request_cancel_all();
    for (std::size_t index = 0; index < 1000; ++index) {
        EXPECT_EQ(client_.resultCount(index), client_.wasCancelled(index) ? 0 : 1) << index;
    }
}
