// Which frames of a video are shown: as many as requested, in order, and none after its moment.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <numeric>
#include <span>
#include <string>
#include <vector>

#include "support/client.h"
#include "support/folder.h"
#include "support/programs.h"
#include "support/resources.h"
#include "support/thumbnails.h"

using support::Bitmap;
using support::Folder;
using support::Thumbnail;
using support::ThumbnailOptions;
using support::Thumbnails;
using testing::SizeIs;

namespace {

using Options = std::vector<std::string>;

struct Kind {
    std::string name; // of the file
    Options options;
};

const Options H264 = {"-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-bf", "2"};

Options with(Options options, const Options &more) {
    options.insert(options.end(), more.begin(), more.end());
    return options;
}

const Kind KINDS[] = {
    {"h264.mp4", H264},
    {"h264.mov", H264},
    {"mjpeg.mov", {"-c:v", "mjpeg", "-pix_fmt", "yuvj420p"}},
    {"h264.mkv", H264},
    {"vp8.webm", {"-c:v", "libvpx", "-deadline", "realtime", "-auto-alt-ref", "0"}},
    {"vp9.webm", {"-c:v", "libvpx-vp9", "-deadline", "realtime", "-cpu-used", "8"}},
    {"mpeg4.avi", {"-c:v", "mpeg4"}},
    {"h264.avi", with(H264, {"-bf", "0"})},
    {"h264.ts", with(H264, {"-f", "mpegts"})},
    {"mpeg2.ts", {"-c:v", "mpeg2video", "-bf", "2", "-f", "mpegts"}},
    {"h264.m2ts", with(H264, {"-f", "mpegts", "-mpegts_m2ts_mode", "1"})},
    {"mpeg2.mpg", {"-c:v", "mpeg2video", "-bf", "2"}},
    {"mpeg1.mpg", {"-c:v", "mpeg1video"}},
    {"wmv2.wmv", {"-c:v", "wmv2"}},
    {"msmpeg4.asf", {"-c:v", "msmpeg4"}},
    {"h264.flv", H264},
    {"flv.flv", {"-c:v", "flv"}},
    {"mpeg4.3gp", {"-c:v", "mpeg4"}},
    {"theora.ogv", {"-c:v", "libtheora", "-q:v", "7"}},
};

class Moments : public testing::Test {
  protected:
    static constexpr int RATE = 25; // frames a second

    // A video that brightens evenly from black to white, with sound as most videos have it.
    [[nodiscard]] std::string make(const Kind &kind, int frames, int keyInterval,
                                   const Options &more = {}) const {
        const std::string count = std::to_string(frames);
        const std::string seconds = std::to_string(static_cast<double>(frames) / RATE);
        Options arguments = {"-f",
                             "lavfi",
                             "-i",
                             "color=white:s=64x48:r=" + std::to_string(RATE) + ":d=" + seconds +
                                 ",format=yuv420p,fade=in:0:" + count,
                             "-f",
                             "lavfi",
                             "-i",
                             "sine=d=" + seconds,
                             "-frames:v",
                             count,
                             "-ar",
                             kind.name.ends_with(".flv") ? "44100" : "48000",
                             "-q:v",
                             "2"};
        const std::string path = folder_.path(kind.name);
        for (const Options &options :
             {kind.options, Options{"-g", std::to_string(keyInterval)}, more, Options{path}}) {
            arguments.insert(arguments.end(), options.begin(), options.end());
        }
        if (kind.name.ends_with(".3gp")) {
            arguments.insert(arguments.end() - 1, "-an");
        }
        support::ffmpeg(arguments);
        return path;
    }

    static double brightness(const Bitmap &image) {
        const auto sum =
            std::accumulate(image.pixels.begin(), image.pixels.end(), 0.0,
                            [](double all, char byte) { return all + static_cast<unsigned char>(byte); });
        // One byte in four is the alpha, which is full.
        const double pixels = static_cast<double>(image.pixels.size()) / 4;
        return (sum / pixels - 255) / 3;
    }

    Thumbnail request(const std::string &path, int count) {
        return client_.get(ThumbnailOptions{.path = path, .usedCache = 1, .frames = count});
    }

    // Expects `count` frames in order, none after its moment, each as bright as its time stamp demands.
    void expectFrames(const std::string &path, int count, double milliseconds) {
        SCOPED_TRACE(count);
        const Thumbnail thumbnail = request(path, count);
        ASSERT_EQ(thumbnail.code, MRB_ERR_NONE);
        ASSERT_THAT(thumbnail.images, SizeIs(static_cast<std::size_t>(count)));
        const auto duration = support::parse(thumbnail.preset.c_str())["duration"].asDouble();
        long long before = -1;
        for (int index = 0; index < count; ++index) {
            const Bitmap &image = thumbnail.images[static_cast<std::size_t>(index)];
            const double part = count == 1 ? 0.1 : 0.1 + 0.8 * index / (count - 1);
            EXPECT_GT(image.timeStamp, before) << index;
            EXPECT_LE(static_cast<double>(image.timeStamp), duration * part + 1) << index;
            EXPECT_NEAR(brightness(image), 255 * static_cast<double>(image.timeStamp) / milliseconds, 14)
                << index << " at " << image.timeStamp;
            before = image.timeStamp;
        }
    }

    void expectAllFrames(const std::string &path, int frames) {
        for (const int count : {1, 2, 3, 5}) {
            expectFrames(path, count, 1000.0 * frames / RATE);
        }
    }

    Folder folder_;
    Thumbnails client_;
};

} // namespace

TEST_F(Moments, OfEveryContainerAreAsManyAsRequestedInOrderAndNotLate) {
    struct Length {
        int seconds;
        int keyInterval;
    };
    constexpr Length LENGTHS[] = {{2, 12}, {20, 250}, {1, 250}, {20, 12}};
    const auto lengths = std::span(LENGTHS).first(static_cast<std::size_t>(support::repetitions(2, 4)));
    for (const Kind &kind : KINDS) {
        for (const auto &[seconds, keyInterval] : lengths) {
            SCOPED_TRACE(kind.name + " of " + std::to_string(seconds) + " s with a key frame in " +
                         std::to_string(keyInterval));
            const int frames = seconds * RATE;
            expectAllFrames(make(kind, frames, keyInterval), frames);
        }
    }
}

TEST_F(Moments, OfAVideoThatDoesNotBeginAtZeroAreThoseFromItsBeginning) {
    for (const char *name :
         {"h264.mp4", "h264.mov", "h264.mkv", "vp8.webm", "h264.ts", "mpeg2.mpg", "h264.flv"}) {
        SCOPED_TRACE(name);
        const Kind &kind = *std::ranges::find(KINDS, name, &Kind::name);
        const int frames = 4 * RATE;
        expectAllFrames(make(kind, frames, 250, {"-output_ts_offset", "10"}), frames);
    }
}

TEST_F(Moments, OfAVideoWithAsManyFramesAreAllOfThem) {
    for (const Kind &kind : KINDS) {
        SCOPED_TRACE(kind.name);
        const std::string path = make(kind, 5, 250, {"-an"});
        const Thumbnail thumbnail = request(path, 5);
        EXPECT_THAT(thumbnail.images, SizeIs(5));
        EXPECT_TRUE(std::ranges::is_sorted(thumbnail.images, std::less_equal(), &Bitmap::timeStamp));
    }
}

TEST_F(Moments, OfAVideoThatIsShorterThanStatedAreSpreadOverItsFrames) {
    const std::string path = make({"a.mkv", H264}, 20 * RATE, 25);
    const std::uintmax_t size = std::filesystem::file_size(path);
    std::filesystem::resize_file(path, size * 3 / 10);
    const Thumbnail thumbnail = request(path, 5);
    ASSERT_THAT(thumbnail.images, SizeIs(5));
    EXPECT_TRUE(std::ranges::is_sorted(thumbnail.images, std::less_equal(), &Bitmap::timeStamp));
}

TEST_F(Moments, OfPicturesAtUnevenTimesAreThosePictures) {
    const std::string path = folder_.path("a.mkv");
    support::ffmpeg({"-f", "lavfi", "-i", "testsrc=s=64x48:r=10:d=10", "-vf",
                     "select='eq(n,0)+eq(n,90)+eq(n,95)'", "-vsync", "vfr", "-c:v", "libx264", "-pix_fmt",
                     "yuv420p", path});
    const Thumbnail thumbnail = request(path, 3);
    ASSERT_THAT(thumbnail.images, SizeIs(3));
    EXPECT_EQ(thumbnail.images[0].timeStamp, 0);
    EXPECT_EQ(thumbnail.images[1].timeStamp, 9000);
    EXPECT_EQ(thumbnail.images[2].timeStamp, 9500);
}
