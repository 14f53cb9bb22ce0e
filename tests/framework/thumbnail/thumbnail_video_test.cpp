// Thumbnails of real videos and of music.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "support/folder.h"
#include "support/programs.h"
#include "support/thumbnails.h"

using support::Bitmap;
using support::Folder;
using support::Thumbnail;
using support::ThumbnailOptions;
using support::Thumbnails;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

constexpr double GOOD = 35; // decibels

class Videos : public testing::Test {
  protected:
    // Ten seconds whose picture brightens from black to white, and a mark that distinguishes
    // the corners.
    std::string make(const std::string &name, const std::string &size,
                     const std::vector<std::string> &options) {
        std::vector<std::string> arguments = {
            "-f", "lavfi", "-i",
            "color=c=0x304060:s=" + size +
                ":r=10:d=10,drawbox=0:0:iw/2:ih/2:red:fill,drawbox=iw/2:ih/2:iw/4:ih/4:green:fill"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.push_back(folder_.path(name));
        support::ffmpeg(arguments);
        return folder_.path(name);
    }
    Thumbnail get(const ThumbnailOptions &options) { return client_.get(options); }

    // ffmpeg's frame at a moment, in seconds.
    std::string frameOf(const std::string &path, const std::string &moment) {
        const std::string frame = folder_.path("frame.png");
        support::ffmpeg({"-ss", moment, "-i", path, "-frames:v", "1", frame});
        return frame;
    }
    void expectLike(const Bitmap &image, const std::string &reference, int width, int height) {
        EXPECT_EQ(image.width, width);
        EXPECT_EQ(image.height, height);
        EXPECT_GE(psnr(image, support::scaledByImageMagick(reference, image.width, image.height)), GOOD);
    }
    static std::vector<long long> moments(const Thumbnail &thumbnail) {
        std::vector<long long> moments;
        for (const Bitmap &image : thumbnail.images) {
            moments.push_back(image.timeStamp);
        }
        return moments;
    }

    Folder folder_;
    Thumbnails client_;
};

const std::vector<std::string> H264 = {"-c:v", "libx264", "-preset", "ultrafast", "-crf",
                                       "12",   "-g",      "10",      "-pix_fmt",  "yuv420p"};

std::vector<std::string> with(std::vector<std::string> options, const std::vector<std::string> &more) {
    options.insert(options.end(), more.begin(), more.end());
    return options;
}

} // namespace

TEST_F(Videos, OneFrameIsTheKeyFrameATenthIn) {
    const std::string path = make("a.mp4", "640x360", H264);
    const Thumbnail thumbnail = get(ThumbnailOptions{.path = path});
    ASSERT_EQ(thumbnail.code, MRB_ERR_NONE);
    EXPECT_THAT(moments(thumbnail), ElementsAre(1000));
    expectLike(thumbnail.images[0], frameOf(path, "1"), 256, 144);
}

TEST_F(Videos, FiveFramesAreSpreadOverTheRunningTime) {
    const std::string path = make("a.mkv", "640x360", H264);
    const Thumbnail thumbnail = get(ThumbnailOptions{.path = path, .usedCache = 1, .frames = 5});
    ASSERT_EQ(thumbnail.code, MRB_ERR_NONE);
    EXPECT_THAT(moments(thumbnail), ElementsAre(1000, 3000, 5000, 7000, 9000));
    EXPECT_THAT(thumbnail.preset, HasSubstr(R"("duration":10000)"));
}

TEST_F(Videos, EachFrameShowsItsOwnMoment) {
    const std::string path = make("a.mp4", "320x180", with({"-vf", "fade=in:0:100"}, H264));
    const Thumbnail thumbnail = get(ThumbnailOptions{.path = path, .frames = 3});
    ASSERT_THAT(thumbnail.images, SizeIs(3));
    const char *const at[] = {"1", "5", "9"};
    for (std::size_t index = 0; index < 3; ++index) {
        SCOPED_TRACE(index);
        expectLike(thumbnail.images[index], frameOf(path, at[index]), 256, 144);
    }
}

TEST_F(Videos, WhereThereIsOneKeyFrameOthersAreDecodedFromIt) {
    const std::string path =
        make("a.mp4", "320x180", with({"-vf", "fade=in:0:100"}, with(H264, {"-g", "1000", "-bf", "0"})));
    const Thumbnail thumbnail = get(ThumbnailOptions{.path = path, .frames = 5});
    EXPECT_THAT(moments(thumbnail), ElementsAre(0, 3000, 5000, 7000, 9000));
    expectLike(thumbnail.images.at(4), frameOf(path, "9"), 256, 144);
}

TEST_F(Videos, AVideoOfOneFrameHasOneImage) {
    const std::string path = make("a.mp4", "320x180", with(H264, {"-frames:v", "1"}));
    EXPECT_THAT(get(ThumbnailOptions{.path = path, .frames = 5}).images, SizeIs(1));
}

TEST_F(Videos, TheRotationIsHonoured) {
    const std::string flat = make("flat.mp4", "640x360", H264);
    for (const std::string turn : {"90", "180", "270"}) {
        const std::string path = folder_.path("turned" + turn + ".mp4");
        support::ffmpeg({"-i", flat, "-c", "copy", "-metadata:s:v:0", "rotate=" + turn, path});
        SCOPED_TRACE(turn);
        const Thumbnail thumbnail = get(ThumbnailOptions{.path = path});
        ASSERT_THAT(thumbnail.images, SizeIs(1));
        const bool upright = turn == "180";
        expectLike(thumbnail.images[0], frameOf(path, "1"), upright ? 256 : 144, upright ? 144 : 256);
    }
}

TEST_F(Videos, PixelsThatAreNotSquareAreShownSquare) {
    const Thumbnail thumbnail =
        get(ThumbnailOptions{.path = make("a.mp4", "360x288", with({"-vf", "setsar=2/1"}, H264))});
    ASSERT_THAT(thumbnail.images, SizeIs(1));
    EXPECT_EQ(thumbnail.images[0].width, 256);
    EXPECT_EQ(thumbnail.images[0].height, 102);
}

TEST_F(Videos, OtherContainersAndCodecs) {
    const struct {
        const char *name;
        std::vector<std::string> options;
    } kinds[] = {
        {"a.webm", {"-c:v", "libvpx", "-b:v", "2M", "-g", "10"}},
        {"a.avi", {"-c:v", "mpeg4", "-q:v", "2", "-g", "10"}},
        {"a.mpg", {"-c:v", "mpeg2video", "-q:v", "2", "-r", "25", "-g", "10"}},
        {"a.ts", with(H264, {"-f", "mpegts"})},
        {"a.flv", {"-c:v", "flv", "-q:v", "2", "-g", "10"}},
        {"a.wmv", {"-c:v", "wmv2", "-q:v", "2", "-g", "10"}},
        {"a.mov", {"-c:v", "mjpeg", "-q:v", "2", "-pix_fmt", "yuvj420p"}},
        {"a.ogv", {"-c:v", "libtheora", "-q:v", "9", "-g", "10"}},
        {"hevc.mp4",
         {"-c:v", "libx265", "-preset", "ultrafast", "-x265-params", "log-level=none:keyint=10", "-pix_fmt",
          "yuv420p"}},
    };
    for (const auto &kind : kinds) {
        SCOPED_TRACE(kind.name);
        const std::string path = make(kind.name, "320x240", kind.options);
        const Thumbnail thumbnail = get(ThumbnailOptions{.path = path, .frames = 2});
        EXPECT_EQ(thumbnail.code, MRB_ERR_NONE);
        ASSERT_THAT(thumbnail.images, SizeIs(2));
        EXPECT_LT(thumbnail.images[0].timeStamp, 2000);
        EXPECT_NEAR(static_cast<double>(thumbnail.images[1].timeStamp), 9000, 1500);
        EXPECT_GE(psnr(thumbnail.images[0], support::scaledByImageMagick(frameOf(path, "1"), 256, 192)), 28);
    }
}

TEST_F(Videos, MusicInAVideosContainerHasNoFrame) {
    support::ffmpeg({"-f", "lavfi", "-i", "sine=d=1", folder_.path("a.mkv")});
    EXPECT_EQ(get(ThumbnailOptions{.path = folder_.path("a.mkv")}).code, MRB_ERR_NOT_FOUND);
}

TEST_F(Videos, MusicHasItsCover) {
    const std::string cover = folder_.path("cover.jpg");
    support::makePicture(cover, 500, 500);
    const std::vector<std::string> sound = {
        "-f", "lavfi", "-i", "sine=d=1",       "-i",           cover,  "-map",
        "0",  "-map",  "1",  "-disposition:v", "attached_pic", "-c:v", "copy"};
    for (const std::string name : {"a.mp3", "a.m4a", "a.flac"}) {
        SCOPED_TRACE(name);
        support::ffmpeg(with(sound, {folder_.path(name)}));
        const Thumbnail thumbnail = get(ThumbnailOptions{.path = folder_.path(name)});
        EXPECT_EQ(thumbnail.code, MRB_ERR_NONE);
        ASSERT_THAT(thumbnail.images, SizeIs(1));
        expectLike(thumbnail.images[0], cover, 256, 256);
    }
}

TEST_F(Videos, MusicThatTagLibDoesNotReadHasItsCoverToo) {
    const std::string cover = folder_.path("cover.jpg");
    support::makePicture(cover, 500, 500);
    support::ffmpeg({"-f", "lavfi", "-i", "sine=d=1", "-c:a", "flac", "-attach", cover, "-metadata:s:t",
                     "mimetype=image/jpeg", folder_.path("a.mka")});
    const Thumbnail thumbnail = get(ThumbnailOptions{.path = folder_.path("a.mka")});
    ASSERT_THAT(thumbnail.images, SizeIs(1));
    expectLike(thumbnail.images[0], cover, 256, 256);
}

TEST_F(Videos, MusicWithoutACoverReturnsNotFound) {
    for (const std::string name : {"a.mp3", "a.ogg", "a.wav"}) {
        support::ffmpeg({"-f", "lavfi", "-i", "sine=d=1", folder_.path(name)});
        EXPECT_EQ(get(ThumbnailOptions{.path = folder_.path(name)}).code, MRB_ERR_NOT_FOUND) << name;
    }
}
