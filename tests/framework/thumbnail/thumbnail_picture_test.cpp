// Thumbnails of real pictures, compared with ImageMagick's.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "support/folder.h"
#include "support/programs.h"
#include "support/thumbnails.h"

using support::Bitmap;
using support::Folder;
using support::Thumbnail;
using support::ThumbnailOptions;
using support::Thumbnails;

namespace {

constexpr double GOOD = 35; // decibels

// Pictures of a test, and expectations on their thumbnails.
class Pictures : public testing::Test {
  protected:
    std::string make(const std::string &name, int width, int height,
                     const std::vector<std::string> &options = {}) {
        support::makePicture(folder_.path(name), width, height, options);
        return folder_.path(name);
    }
    Thumbnail get(const ThumbnailOptions &options) { return client_.get(options); }
    Thumbnail get(const std::string &path) { return client_.get(path); }

    // Expects one image of this size that looks like ImageMagick's.
    void expectGood(const Thumbnail &thumbnail, const std::string &reference, int width, int height) {
        ASSERT_EQ(thumbnail.code, MRB_ERR_NONE);
        ASSERT_EQ(thumbnail.images.size(), 1U);
        const Bitmap &image = thumbnail.images[0];
        EXPECT_EQ(image.width, width);
        EXPECT_EQ(image.height, height);
        EXPECT_GE(psnr(image, support::scaledByImageMagick(reference, image.width, image.height)), GOOD);
    }
    void expectGood(const std::string &path, int width, int height) {
        expectGood(get(path), path, width, height);
    }

    Folder folder_;
    Thumbnails client_;
};

} // namespace

TEST_F(Pictures, AJpegIsScaledIntoTheBoxAndKeepsItsProportions) {
    expectGood(make("a.jpg", 1600, 1200), 256, 192);
}

TEST_F(Pictures, AProgressiveJpeg) {
    expectGood(make("a.jpg", 1200, 1600, {"-interlace", "JPEG"}), 192, 256);
}

TEST_F(Pictures, AGreyscaleJpeg) { expectGood(make("a.jpg", 800, 600, {"-colorspace", "Gray"}), 256, 192); }

TEST_F(Pictures, ACmykJpeg) { expectGood(make("a.jpg", 800, 600, {"-colorspace", "CMYK"}), 256, 192); }

TEST_F(Pictures, AJpegWithAllItsColoursSampled) {
    expectGood(make("a.jpg", 900, 900, {"-sampling-factor", "1x1", "-quality", "95"}), 256, 256);
}

TEST_F(Pictures, AJpegWithBytesBetweenItsSegmentsThatMeanNothing) {
    const std::string path = make("a.jpg", 800, 600);
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    const std::string bytes = text.str();
    std::ofstream(folder_.path("b.jpg"), std::ios::binary)
        << bytes.substr(0, 20) << "junk" << bytes.substr(20);
    expectGood(get(folder_.path("b.jpg")), path, 256, 192);
}

// The library with which libvips compiles code does not support two pictures at once; it
// keeps such code in a file of this name.
TEST_F(Pictures, NoMachineCodeIsGeneratedForThem) {
    for (const char *name : {"a.png", "a.jpg", "a.tiff", "a.webp"}) {
        EXPECT_EQ(get(make(name, 800, 600)).code, MRB_ERR_NONE) << name;
    }
    std::ostringstream maps;
    maps << std::ifstream("/proc/self/maps").rdbuf();
    EXPECT_THAT(maps.str(), testing::HasSubstr("libvips"));
    EXPECT_THAT(maps.str(), testing::Not(testing::HasSubstr("/orcexec.")));
}

TEST_F(Pictures, APng) { expectGood(make("a.png", 800, 600), 256, 192); }

TEST_F(Pictures, AnInterlacedPng) { expectGood(make("a.png", 800, 600, {"-interlace", "PNG"}), 256, 192); }

TEST_F(Pictures, APngWithSixteenBits) { expectGood(make("a.png", 800, 600, {"-depth", "16"}), 256, 192); }

TEST_F(Pictures, APngWithAPalette) {
    expectGood(make("a.png", 400, 300, {"-colors", "200", "-type", "Palette"}), 256, 192);
}

TEST_F(Pictures, APngInGrey) { expectGood(make("a.png", 800, 600, {"-colorspace", "Gray"}), 256, 192); }

TEST_F(Pictures, APngWithAlphaKeepsIt) {
    const std::string path =
        make("a.png", 800, 600, {"-alpha", "set", "-channel", "A", "-evaluate", "set", "50%"});
    const Thumbnail thumbnail = get(path);
    expectGood(thumbnail, path, 256, 192);
    EXPECT_NEAR(static_cast<unsigned char>(thumbnail.images.at(0).pixels.at(3)), 128, 1);
}

TEST_F(Pictures, ColoursOfTransparentPixelsDoNotBleed) {
    const std::string path = folder_.path("a.png");
    support::convert(
        {"-size", "400x400", "xc:rgba(255,0,0,0)", "-fill", "blue", "-draw", "circle 200,200 200,80", path});
    expectGood(path, 256, 256);
}

TEST_F(Pictures, AWebp) { expectGood(make("a.webp", 800, 600, {"-quality", "90"}), 256, 192); }

TEST_F(Pictures, ALosslessWebpWithAlpha) {
    expectGood(
        make("a.webp", 800, 600,
             {"-alpha", "set", "-channel", "A", "-evaluate", "set", "70%", "-define", "webp:lossless=true"}),
        256, 192);
}

TEST_F(Pictures, AWebpWithAlphaKeepsItAndItsColoursDoNotBleed) {
    const std::string path = folder_.path("a.webp");
    support::convert({"-size", "400x400", "xc:rgba(255,0,0,0)", "-fill", "blue", "-draw",
                      "circle 200,200 200,80", "-quality", "95", path});
    const Thumbnail thumbnail = get(path);
    expectGood(thumbnail, path, 256, 256);
    EXPECT_EQ(thumbnail.images.at(0).pixels.at(3), '\0');
}

TEST_F(Pictures, AWebpThatIsNotScaled) { expectGood(make("a.webp", 200, 150, {"-quality", "95"}), 200, 150); }

TEST_F(Pictures, AWebpThatLiesOnItsSide) {
    const std::string path = make("a.webp", 640, 400, {"-quality", "90"});
    const std::string turned = folder_.path("turned.png");
    support::convert({path, "-rotate", "90", turned});
    support::run({"exiftool", "-q", "-n", "-overwrite_original", "-Orientation=6", path});
    expectGood(get(path), turned, 160, 256);
}

TEST_F(Pictures, AHeicWithAlphaKeepsIt) {
    const std::string path =
        make("a.png", 800, 600, {"-alpha", "set", "-channel", "A", "-evaluate", "set", "50%"});
    support::run({"heif-enc", "-q", "95", "-o", folder_.path("a.heic"), path});
    const Thumbnail thumbnail = get(folder_.path("a.heic"));
    expectGood(thumbnail, path, 256, 192);
    EXPECT_NEAR(static_cast<unsigned char>(thumbnail.images.at(0).pixels.at(3)), 128, 2);
}

TEST_F(Pictures, AHeicWithMoreThanEightBits) {
    const std::string path = make("a.png", 800, 600, {"-depth", "16"});
    support::run({"heif-enc", "-q", "95", "-o", folder_.path("a.heic"), path});
    expectGood(get(folder_.path("a.heic")), path, 256, 192);
}

TEST_F(Pictures, AnAvif) { expectGood(make("a.avif", 800, 600, {"-quality", "90"}), 256, 192); }

TEST_F(Pictures, AHeic) { expectGood(make("a.heic", 800, 600, {"-quality", "90"}), 256, 192); }

TEST_F(Pictures, AHeicInGrey) { expectGood(make("a.heic", 800, 600, {"-colorspace", "Gray"}), 256, 192); }

TEST_F(Pictures, AHeicOfAnOddSize) { expectGood(make("a.heic", 803, 601), 256, 192); }

TEST_F(Pictures, AHeicThatIsNotScaled) { expectGood(make("a.heic", 200, 150, {"-quality", "90"}), 200, 150); }

TEST_F(Pictures, ATiff) { expectGood(make("a.tif", 800, 600, {"-compress", "lzw"}), 256, 192); }

TEST_F(Pictures, ATiffWithSixteenBits) { expectGood(make("a.tiff", 800, 600, {"-depth", "16"}), 256, 192); }

TEST_F(Pictures, AGif) { expectGood(make("a.gif", 400, 300), 256, 192); }

TEST_F(Pictures, OfAnAnimationTheFirstPicture) {
    const std::string first = make("first.png", 300, 300);
    support::convert({first, "(", first, "-negate", ")", "-loop", "0", folder_.path("a.gif")});
    expectGood(folder_.path("a.gif"), 256, 256);
}

TEST_F(Pictures, OfAnAnimatedWebpTheFirstPicture) {
    support::ffmpeg({"-f", "lavfi", "-i", "testsrc=s=300x300:r=2:d=2", "-c:v", "libwebp_anim", "-lossless",
                     "1", folder_.path("a.webp")});
    support::ffmpeg(
        {"-f", "lavfi", "-i", "testsrc=s=300x300:r=2:d=2", "-frames:v", "1", folder_.path("frame.png")});
    expectGood(get(folder_.path("a.webp")), folder_.path("frame.png"), 256, 256);
}

TEST_F(Pictures, ABmp) { expectGood(make("a.bmp", 800, 600, {"-alpha", "off"}), 256, 192); }

TEST_F(Pictures, WhatAPictureIsShowsInItsBytesNotInItsName) {
    const std::string path = make("a.png", 800, 600);
    support::run({"cp", path, folder_.path("b.jpg")});
    expectGood(get(folder_.path("b.jpg")), path, 256, 192);
}

TEST_F(Pictures, ASmallPictureIsNotEnlargedAndCountsAsTheOriginal) {
    const std::string path = make("a.png", 60, 40);
    const Thumbnail thumbnail = get(path);
    expectGood(thumbnail, path, 60, 40);
    EXPECT_EQ(thumbnail.whole, 1);
    EXPECT_EQ(get(make("b.png", 600, 400)).whole, 0);
}

TEST_F(Pictures, ALongPictureKeepsOnePixel) {
    const Thumbnail thumbnail = get(make("a.png", 2000, 2));
    ASSERT_EQ(thumbnail.images.size(), 1U);
    EXPECT_EQ(thumbnail.images[0].width, 256);
    EXPECT_EQ(thumbnail.images[0].height, 1);
}

TEST_F(Pictures, TheResultHasSizesDepthAndOrigin) {
    const std::string path = make("a.jpg", 1600, 1200);
    const Thumbnail thumbnail =
        get(ThumbnailOptions{.path = path, .width = 160, .height = 160, .usedCache = 1});
    EXPECT_EQ(thumbnail.origin, path);
    EXPECT_EQ(thumbnail.depth, 32);
    EXPECT_EQ(thumbnail.bufferSize, 160 * 120 * 4);
    EXPECT_EQ(thumbnail.preset,
              R"({"width":1600,"height":1200,"orientation":1,"embedded":false,"duration":null})");
}

TEST_F(Pictures, WithoutTheCacheThereIsNoPresetBuffer) {
    const Thumbnail thumbnail = get(make("a.jpg", 160, 120));
    EXPECT_EQ(thumbnail.code, MRB_ERR_NONE);
    EXPECT_FALSE(thumbnail.hadPreset);
}

TEST_F(Pictures, BytesAreBlueGreenRedAlphaFromTheTop) {
    const std::string path = folder_.path("a.png");
    support::convert(
        {"-size", "2x1", "xc:rgb(10,20,30)", "-size", "2x1", "xc:rgb(40,50,60)", "-append", path});
    const Thumbnail thumbnail = get(path);
    ASSERT_EQ(thumbnail.images.size(), 1U);
    EXPECT_EQ(thumbnail.images[0].pixels,
              std::string("\x1E\x14\x0A\xFF\x1E\x14\x0A\xFF\x3C\x32\x28\xFF\x3C\x32\x28\xFF"));
}

TEST_F(Pictures, EveryOrientationIsTurnedUpright) {
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const std::string path = make(std::to_string(orientation) + ".jpg", 640, 400);
        support::run({"exiftool", "-q", "-n", "-overwrite_original",
                      "-Orientation=" + std::to_string(orientation), path});
        const bool upright = orientation < 5;
        SCOPED_TRACE(orientation);
        expectGood(path, upright ? 256 : 160, upright ? 160 : 256);
    }
}

TEST_F(Pictures, TheOrientationOfATiffIsApplied) {
    const std::string path = make("a.tif", 640, 400, {"-orient", "RightTop"});
    expectGood(path, 160, 256);
}

TEST_F(Pictures, ARequestsOrientationComesBeforeTheFiles) {
    const std::string path = make("a.jpg", 640, 400);
    const std::string turned = folder_.path("turned.png");
    support::convert({path, "-rotate", "90", turned});
    support::run({"exiftool", "-q", "-n", "-overwrite_original", "-Orientation=3", path});
    expectGood(get(ThumbnailOptions{.path = path, .orientation = 6}), turned, 160, 256);
}

TEST_F(Pictures, ATurnedWebpFitsIntoABoxThatIsNotSquare) {
    const std::string path = make("a.webp", 800, 600, {"-quality", "90"});
    const std::string turned = folder_.path("turned.png");
    support::convert({path, "-rotate", "90", turned});
    expectGood(get(ThumbnailOptions{.path = path, .orientation = 6, .width = 300, .height = 100}), turned, 75,
               100);
    expectGood(get(ThumbnailOptions{.path = path, .orientation = 6, .width = 100, .height = 300}), turned,
               100, 133);
}

TEST_F(Pictures, TheOrientationOfAWebpIsApplied) {
    const std::string path = make("a.webp", 640, 400, {"-quality", "90"});
    const std::string turned = folder_.path("turned.png");
    support::convert({path, "-rotate", "90", turned});
    support::run({"exiftool", "-q", "-n", "-overwrite_original", "-Orientation=6", path});
    expectGood(get(path), turned, 160, 256);
}

TEST_F(Pictures, AWebpOfItsOwnSize) { expectGood(make("a.webp", 200, 150, {"-quality", "90"}), 200, 150); }

TEST_F(Pictures, TheEmbeddedThumbnailIsUsedWhenItIsLargeEnough) {
    const std::string path = make("a.jpg", 1600, 1200);
    const std::string small = folder_.path("small.jpg");
    support::convert({path, "-negate", "-resize", "160x120!", small});
    support::run({"exiftool", "-q", "-overwrite_original", "-ThumbnailImage<=" + small, path});
    // Its colours are inverted, which distinguishes it from the picture.
    expectGood(get(ThumbnailOptions{.path = path, .width = 128, .height = 128}), small, 128, 96);
    expectGood(get(ThumbnailOptions{.path = path, .width = 256, .height = 256}), path, 256, 192);
}

TEST_F(Pictures, AnEmbeddedThumbnailOfOtherProportionsIsNotUsed) {
    const std::string path = make("a.jpg", 1500, 1000);
    const std::string small = folder_.path("small.jpg");
    support::convert({path, "-negate", "-resize", "160x120!", small});
    support::run({"exiftool", "-q", "-overwrite_original", "-ThumbnailImage<=" + small, path});
    expectGood(get(ThumbnailOptions{.path = path, .width = 96, .height = 96}), path, 96, 64);
}

TEST_F(Pictures, AnEmbeddedThumbnailIsTurnedLikeThePicture) {
    const std::string path = make("a.jpg", 1600, 1200);
    const std::string small = folder_.path("small.jpg");
    support::convert({path, "-resize", "160x120!", small});
    support::run(
        {"exiftool", "-q", "-n", "-overwrite_original", "-ThumbnailImage<=" + small, "-Orientation=8", path});
    const Thumbnail thumbnail =
        get(ThumbnailOptions{.path = path, .width = 90, .height = 100, .usedCache = 1});
    expectGood(thumbnail, path, 75, 100);
    EXPECT_THAT(thumbnail.preset, testing::HasSubstr(R"("embedded":true)"));
}
