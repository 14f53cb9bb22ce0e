// The requests to a camera for a thumbnail: each takes time, during which the camera serves no
// other.

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <string>

#include "support/own_process.h"
#include "support/programs.h"
#include "support/scripted_camera.h"
#include "support/sharing.h"
#include "support/thumbnails.h"

using mrb::CameraFileStatus;
using mrb::Status;
using support::CameraRequest;
using support::Client;
using support::Folder;
using support::ScriptedFile;
using support::Surroundings;
using support::Thumbnail;
using support::ThumbnailOptions;
using support::Thumbnails;
using testing::ElementsAre;

namespace {

class PtpRequests : public support::OwnProcess {
  protected:
    struct Picture {
        int width = 1600;
        int height = 1200;
        int smallWidth = 160;
        int smallHeight = 120;
        int orientation = 1;
        bool exifSaysSize = true;
        bool exifHasSmall = true;
    };

    // "a.jpg": a blue picture, with a red embedded EXIF thumbnail and a red preview of the
    // camera. The camera reports its size.
    ScriptedFile &add(const Picture &picture) {
        const std::string path = scratch.path("a.jpg");
        const std::string small = scratch.path("small.jpg");
        support::run({"convert-im6.q16", "-size", sizeText(picture.width, picture.height), "xc:blue", path});
        support::run(
            {"convert-im6.q16", "-size", sizeText(picture.smallWidth, picture.smallHeight), "xc:red", small});
        std::vector<std::string> command = {"exiftool", "-q", "-n", "-overwrite_original",
                                            "-Orientation=" + std::to_string(picture.orientation)};
        if (picture.exifHasSmall) {
            command.push_back("-ThumbnailImage<=" + small);
        }
        if (picture.exifSaysSize) {
            command.push_back("-ExifImageWidth=" + std::to_string(picture.width));
            command.push_back("-ExifImageHeight=" + std::to_string(picture.height));
        }
        command.push_back(path);
        support::run(command);
        ScriptedFile file = ScriptedFile::of(support::bytesOf(path));
        file.exif = exifOf(file.bytes);
        file.preview = support::bytesOf(small);
        file.fileStatus.width = picture.width;
        file.fileStatus.height = picture.height;
        return camera.files["a.jpg"] = std::move(file);
    }
    static std::string sizeText(int width, int height) {
        return std::to_string(width) + 'x' + std::to_string(height);
    }
    // The contents of its first APP1 segment.
    static std::string exifOf(const std::string &jpeg) {
        const std::size_t at = jpeg.find("\xff\xe1");
        const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(jpeg.at(index)); };
        return jpeg.substr(at + 4, byte(at + 2) * 256UL + byte(at + 3) - 2);
    }

    // The same as PTP drivers return it: with the header of its segment, and two bytes too few.
    static std::string segmentOf(const std::string &exif) {
        const std::size_t length = exif.size() + 2;
        return std::string("\xff\xe1") + static_cast<char>(length / 256) + static_cast<char>(length % 256) +
               exif.substr(0, exif.size() - 2);
    }
    // What a driver returns for a file without EXIF data: a directory without entries.
    static std::string stub() { return {"Exif\0\0II*\0\x08\0\0\0\0\0\0\0\0\0", 20}; }

    Thumbnail thumbnail(int box = 160, const std::string &name = "a.jpg") {
        Client client;
        client.list(camera.place.listOptions());
        camera.clearRequests();
        const std::string url = client.item(0)["url"].asString();
        EXPECT_TRUE(url.ends_with(name)) << url;
        return thumbnails.get(ThumbnailOptions{.path = url, .sourceType = 2, .width = box, .height = box});
    }

    // Bytes a pixel: blue, green, red, alpha.
    static bool isRed(const Thumbnail &thumbnail) {
        return static_cast<unsigned char>(thumbnail.images.at(0).pixels.at(2)) > 200;
    }
    // Expects a thumbnail of that size from one of the red pictures, after these requests.
    void expectRed(const std::string &size, const std::vector<std::string> &requests) {
        const Thumbnail made = thumbnail();
        EXPECT_EQ(sizeOf(made), size);
        EXPECT_TRUE(isRed(made));
        EXPECT_EQ(camera.requests(), requests);
    }
    static std::string sizeOf(const Thumbnail &thumbnail) {
        return thumbnail.images.empty() ? "code " + std::to_string(thumbnail.code)
                                        : sizeText(thumbnail.images[0].width, thumbnail.images[0].height);
    }

    const Folder scratch;
    support::ScriptedCamera camera;
    Thumbnails thumbnails;
};

} // namespace

TEST_F(PtpRequests, AThumbnailIsMadeOfTheExifDataAlone) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    add({});
    expectRed("160x120", {"status a.jpg", "exif a.jpg"});
}

TEST_F(PtpRequests, TheExifDataStateItsOrientation) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    add({.orientation = 6});
    expectRed("120x160", {"status a.jpg", "exif a.jpg"});
}

// Several forms of the same EXIF data.
TEST_F(PtpRequests, TheExifDataMayBeginWithTheirSegmentHeader) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    const std::string exif = *add({.orientation = 6}).exif;
    for (const std::string &form :
         {segmentOf(exif), "\xff\xd8" + segmentOf(exif), exif.substr(std::string_view("Exif__").size())}) {
        for (const bool cameraSaysSize : {true, false}) {
            ScriptedFile &file = add({.orientation = 6});
            file.exif = form;
            file.fileStatus.width = cameraSaysSize ? file.fileStatus.width : CameraFileStatus::UNSAID;
            expectRed("120x160", {"status a.jpg", "exif a.jpg"});
        }
    }
}

TEST_F(PtpRequests, WhereTheExifDataAreAStubTheFileItselfIsRead) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    for (const bool cameraSaysSize : {true, false}) {
        ScriptedFile &file = add({.orientation = 6});
        file.exif = stub();
        file.fileStatus.width = cameraSaysSize ? file.fileStatus.width : CameraFileStatus::UNSAID;
        expectRed("120x160", {"status a.jpg", "exif a.jpg", "piece a.jpg"});
    }
}

TEST_F(PtpRequests, ACameraWithoutPartialReadsSendsTheBeginningOfTheFile) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    ScriptedFile &file = add({.orientation = 6});
    file.exif = stub();
    file.bytes += std::string(3'000'000, '\0');
    file.fileStatus.size = static_cast<std::int64_t>(file.bytes.size());
    camera.givesPieces = false;
    std::atomic<std::uint64_t> furthest = 0;
    camera.onRequest = [&furthest](const CameraRequest &request) {
        furthest = std::max<std::uint64_t>(furthest, request.offset);
        return Status();
    };
    expectRed("120x160", {"status a.jpg", "exif a.jpg", "piece a.jpg", "whole a.jpg"});
    EXPECT_LE(furthest, 256U << 10);
}

// The camera's preview has no orientation of its own.
TEST_F(PtpRequests, TheCamerasPreviewIsTurnedAsTheFileStates) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    for (const bool hasStub : {true, false}) {
        ScriptedFile &file = add({.orientation = 6, .exifHasSmall = false});
        file.exif = hasStub ? std::optional(stub()) : std::nullopt;
        expectRed("120x160", {"status a.jpg", "exif a.jpg", "piece a.jpg", "preview a.jpg"});
    }
}

TEST_F(PtpRequests, TheExifDataStateItsSizeWhereTheCameraDoesNot) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    add({}).fileStatus.width = CameraFileStatus::UNSAID;
    expectRed("160x120", {"status a.jpg", "exif a.jpg"});
}

TEST_F(PtpRequests, WithoutAnEmbeddedThumbnailTheCamerasPreviewIsRequested) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    add({.orientation = 6, .exifHasSmall = false});
    expectRed("120x160", {"status a.jpg", "exif a.jpg", "preview a.jpg"});
}

TEST_F(PtpRequests, WithoutExifDataTheCamerasPreviewIsRequested) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    ScriptedFile &file = add({});
    file.exif.reset();
    file.bytes.erase(2, file.bytes.find("\xff\xdb") - 2); // to the quantization tables
    file.fileStatus.size = static_cast<std::int64_t>(file.bytes.size());
    expectRed("160x120", {"status a.jpg", "exif a.jpg", "piece a.jpg", "preview a.jpg"});
}

TEST_F(PtpRequests, DamagedExifDataCountAsMissing) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    for (const std::size_t length : {0UL, 6UL, 20UL, 400UL}) {
        ScriptedFile &file = add({});
        file.exif->resize(length);
        const Thumbnail small = thumbnail();
        EXPECT_EQ(sizeOf(small), "160x120") << length;
        EXPECT_TRUE(isRed(small));
    }
}

TEST_F(PtpRequests, AnEmptyPreviewIsIgnored) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    ScriptedFile &file = add({});
    file.exif = "";
    file.preview = "";
    EXPECT_EQ(sizeOf(thumbnail(400)), "400x300");
    EXPECT_THAT(camera.requests(),
                ElementsAre("status a.jpg", "exif a.jpg", "piece a.jpg", "preview a.jpg", "whole a.jpg"));
}

// The camera may have a larger one.
TEST_F(PtpRequests, WithTooSmallAnEmbeddedThumbnailTheCamerasPreviewIsRequested) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    ScriptedFile &file = add({});
    const std::string large = scratch.path("large.jpg");
    support::run({"convert-im6.q16", "-size", "640x480", "xc:red", large});
    file.preview = support::bytesOf(large);
    const Thumbnail made = thumbnail(400);
    EXPECT_EQ(sizeOf(made), "400x300");
    EXPECT_TRUE(isRed(made));
    EXPECT_THAT(camera.requests(), ElementsAre("status a.jpg", "exif a.jpg", "preview a.jpg"));
}

TEST_F(PtpRequests, TheWholeFileIsRequestedLast) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    add({});
    const Thumbnail large = thumbnail(400);
    EXPECT_EQ(sizeOf(large), "400x300");
    EXPECT_FALSE(isRed(large));
    EXPECT_THAT(camera.requests(), ElementsAre("status a.jpg", "exif a.jpg", "preview a.jpg", "whole a.jpg"));
}

TEST_F(PtpRequests, AnEmbeddedThumbnailWithBarsIsCroppedWhateverStatesTheSize) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    for (const bool cameraSaysSize : {true, false}) {
        ScriptedFile &file = add({.width = 1600, .height = 900});
        file.fileStatus.width = cameraSaysSize ? file.fileStatus.width : CameraFileStatus::UNSAID;
        const Thumbnail made = thumbnail();
        EXPECT_EQ(sizeOf(made), "160x90") << cameraSaysSize;
        EXPECT_FALSE(isRed(made)) << cameraSaysSize;
    }
}

TEST_F(PtpRequests, WithoutASizeItHasTheShapeOfTheEmbeddedThumbnail) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    add({.smallHeight = 90, .orientation = 8, .exifSaysSize = false}).fileStatus.width =
        CameraFileStatus::UNSAID;
    expectRed("90x160", {"status a.jpg", "exif a.jpg"});
    const Thumbnail large = thumbnail(400);
    EXPECT_EQ(sizeOf(large), "300x400");
    EXPECT_FALSE(isRed(large));
}

TEST_F(PtpRequests, WithoutASizeItHasTheShapeOfTheCamerasPreview) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    add({.smallHeight = 90, .exifSaysSize = false, .exifHasSmall = false}).fileStatus.width =
        CameraFileStatus::UNSAID;
    expectRed("160x90", {"status a.jpg", "exif a.jpg", "preview a.jpg"});
}

TEST_F(PtpRequests, ExifDataOfAVideoAreNotRequested) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    camera.files["film.mp4"] = add({});
    camera.files.erase("a.jpg");
    const Thumbnail small = thumbnail(160, "film.mp4");
    EXPECT_TRUE(isRed(small));
    EXPECT_THAT(camera.requests(), ElementsAre("status film.mp4", "preview film.mp4"));
}

TEST_F(PtpRequests, ABusyCameraGetsNoFurtherRequests) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    add({});
    for (const int code : {MRB_ERR_BUSY, MRB_ERR_TIMEOUT}) {
        camera.onRequest = [code](const CameraRequest &request) {
            return request.kind == "exif" ? Status{code, "Later."} : Status();
        };
        EXPECT_EQ(thumbnail().code, code);
        EXPECT_THAT(camera.requests(), ElementsAre("status a.jpg", "exif a.jpg"));
    }
}

TEST_F(PtpRequests, AFailedRequestDoesNotEndTheOthers) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    add({});
    camera.onRequest = [](const CameraRequest &request) {
        const bool fails = request.kind == "exif" || request.kind == "preview";
        return fails ? Status::protocolError("What?") : Status();
    };
    const Thumbnail made = thumbnail(400);
    EXPECT_EQ(sizeOf(made), "400x300");
    EXPECT_FALSE(isRed(made));
}

TEST_F(PtpRequests, AnErrorInTheWholeFileLeavesTheEmbeddedThumbnail) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    add({}).bytes += std::string(1'000'000, '\0');
    camera.onRequest = [](const CameraRequest &request) {
        return request.kind == "whole" && request.offset > 500'000 ? Status::ioError("Amidst.") : Status();
    };
    const Thumbnail made = thumbnail(400);
    EXPECT_EQ(sizeOf(made), "160x120");
    EXPECT_TRUE(isRed(made));
}

TEST_F(PtpRequests, WithoutAnythingElseATooSmallThumbnailIsUsed) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    add({}).preview.reset();
    camera.onRequest = [](const CameraRequest &request) {
        return request.kind == "whole" ? Status::protocolError("What?") : Status();
    };
    const Thumbnail made = thumbnail(400);
    EXPECT_EQ(sizeOf(made), "160x120");
    EXPECT_TRUE(isRed(made));
}

TEST_F(PtpRequests, TheWholeFileIsWhatTheCameraSendsWhateverSizeItReports) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    for (const std::int64_t said : {std::int64_t{10}, std::int64_t{60} << 20, CameraFileStatus::UNSAID}) {
        add({}).fileStatus.size = said;
        const Thumbnail made = thumbnail(400);
        EXPECT_EQ(sizeOf(made), "400x300") << said;
        EXPECT_FALSE(isRed(made)) << said;
    }
}

TEST_F(PtpRequests, AFileThatIsTooLongIsNotFetched) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    add({}).fileStatus.size = (std::int64_t{64} << 20) + 1;
    const Thumbnail made = thumbnail(400);
    EXPECT_EQ(sizeOf(made), "160x120");
    EXPECT_TRUE(isRed(made));
    EXPECT_THAT(camera.requests(), ElementsAre("status a.jpg", "exif a.jpg", "preview a.jpg"));
}

TEST_F(PtpRequests, ASyncBetweenTwoPartsOfTheWholeFileEndsIt) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    add({}).bytes += std::string(3'000'000, '\0');
    std::atomic<int> later = 0;
    std::promise<void> reached;
    std::promise<void> ended;
    camera.onRequest = [&](const CameraRequest &request) {
        if (request.kind == "whole" && request.offset > 1'000'000 && ++later == 1) {
            reached.set_value();
            ended.get_future().wait();
        }
        return Status();
    };
    Client client;
    client.list(camera.place.listOptions());
    const std::size_t request =
        thumbnails.request(ThumbnailOptions{.path = client.item(0)["url"].asString(), .sourceType = 2});
    reached.get_future().wait();
    EXPECT_EQ(thumbnail_stop_ptp_decode_sync(), MRB_ERR_NONE);
    ended.set_value();
    ASSERT_TRUE(thumbnails.waitForAll());
    EXPECT_EQ(thumbnails.resultOf(request).code, MRB_ERR_CANCELLED);
    // The next request finds the camera free, and no further part was sent.
    EXPECT_EQ(sizeOf(thumbnail()), "160x120");
    EXPECT_EQ(later, 1);
}
