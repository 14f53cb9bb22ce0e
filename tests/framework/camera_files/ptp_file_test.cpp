// Fields and thumbnails of files on a camera. The camera is libgphoto2's own that
// shows a folder.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/descriptor.h"
#include "support/cameras.h"
#include "support/fields.h"
#include "support/media.h"
#include "support/plugged_devices.h"
#include "support/programs.h"
#include "support/thumbnails.h"

namespace fs = std::filesystem;

using support::Client;
using support::indexOf;
using support::OfferedCamera;
using support::Thumbnail;
using support::ThumbnailOptions;
using support::Thumbnails;

namespace {

class PtpFile : public testing::Test {
  protected:
    static void TearDownTestSuite() { support::awaitCameraThreads(); }

    // A list of all files on the camera.
    void open() { EXPECT_EQ(client.list(camera.listOptions()).event, MRB_EVENT_LIST_READY); }
    [[nodiscard]] std::string urlOf(const std::string &name) const {
        return client.item(indexOf(client, name))["url"].asString();
    }

    // A picture with an embedded thumbnail of another colour in its EXIF data.
    void makePicture(const std::string &name, int width, int height, int smallWidth, int smallHeight) const {
        const std::string path = camera.folder.path(name);
        const std::string small = camera.folder.path("small.jpg");
        support::run({"convert-im6.q16", "-size", sizeText(width, height), "xc:blue", path});
        support::run({"convert-im6.q16", "-size", sizeText(smallWidth, smallHeight), "xc:red", small});
        support::run({"exiftool", "-q", "-overwrite_original", "-ThumbnailImage<=" + small, path});
        fs::remove(small);
    }
    static std::string sizeText(int width, int height) {
        return std::to_string(width) + 'x' + std::to_string(height);
    }
    // Bytes a pixel: blue, green, red, alpha.
    static bool isRed(const Thumbnail &thumbnail) {
        return static_cast<unsigned char>(thumbnail.images.at(0).pixels.at(2)) > 200;
    }

    OfferedCamera camera;
    Client client;
};

} // namespace

TEST_F(PtpFile, ItsFieldsAreThoseOfTheSameFileInAFolder) {
    support::makeMedia(camera.folder);
    open();
    Client folder;
    folder.list(camera.folder.path());
    int compared = 0;
    for (int index = 0; index < client.count(); ++index) {
        const std::string name = client.item(index)["name"].asString();
        const int same = indexOf(folder, name);
        for (const char *field : {"TITLE", "ARTIST", "ALBUM", "MIME_TYPE", "FORMAT", "DATE_TAKEN", "MODEL",
                                  "EXPOSURE_TIME", "LOCATION_TAG", "VIDEO_CODEC", "RESOLUTION_DLNA"}) {
            EXPECT_EQ(support::text(client, index, field), support::text(folder, same, field))
                << name << ' ' << field;
            ++compared;
        }
        EXPECT_EQ(support::number(client, index, "ORIENTATION"), support::number(folder, same, "ORIENTATION"))
            << name;
        EXPECT_EQ(support::longNumber(client, index, "DURATION"),
                  support::longNumber(folder, same, "DURATION"))
            << name;
    }
    EXPECT_GT(compared, 50);
    EXPECT_EQ(support::text(client, indexOf(client, "photo.jpg"), "MODEL"), "Desk Camera 1");
}

TEST_F(PtpFile, AListIsSortedByTheFilesMetadata) {
    support::makeMedia(camera.folder);
    support::ListOptions options = camera.listOptions();
    options.contentType = "IMAGE";
    options.sortCategory = "DATE_TAKEN";
    client.list(options);
    EXPECT_EQ(client.item(0)["name"], "photo.jpg");
}

TEST_F(PtpFile, AFieldThatIsWrittenIsKept) {
    camera.folder.file("a.jpg", 11);
    open();
    EXPECT_EQ(mrb_move_to_index_v2(client.handle, 0), MRB_ERR_NONE);
    EXPECT_EQ(mrb_set_item_value_char_v2(client.handle, "TITLE", "Mine"), MRB_ERR_NONE);
    Client again;
    again.list(camera.listOptions());
    EXPECT_EQ(support::text(again, 0, "TITLE"), "Mine");
}

TEST_F(PtpFile, FieldsOfOneThatWasPulledOutReturnTheReason) {
    camera.folder.file("a.jpg", 10);
    open();
    camera.unplug();
    EXPECT_EQ(support::textField(client, 0, "MODEL").first, MRB_ERR_DEVICE_REMOVED);
    EXPECT_EQ(support::text(client, 0, "TITLE"), "a");
    camera.plug();
}

TEST_F(PtpFile, ItsThumbnailPathIsItsUrl) {
    makePicture("a.jpg", 1600, 1200, 160, 120);
    open();
    EXPECT_EQ(support::text(client, 0, "THUMBNAIL_PATH"), urlOf("a.jpg"));
    EXPECT_EQ(support::text(client, 0, "FILE_PATH"), "");
}

TEST_F(PtpFile, AThumbnailIsThePreviewWhereThatIsLargeEnough) {
    makePicture("a.jpg", 1600, 1200, 160, 120);
    open();
    Thumbnails thumbnails;
    const Thumbnail small = thumbnails.get(
        ThumbnailOptions{.path = urlOf("a.jpg"), .sourceType = 2, .width = 160, .height = 160});
    ASSERT_EQ(small.code, MRB_ERR_NONE);
    EXPECT_EQ(small.images[0].width, 160);
    EXPECT_EQ(small.images[0].height, 120);
    EXPECT_TRUE(isRed(small));
}

TEST_F(PtpFile, AThumbnailIsMadeOfTheWholeFileWhereThePreviewIsTooSmall) {
    makePicture("a.jpg", 1600, 1200, 160, 120);
    open();
    Thumbnails thumbnails;
    const Thumbnail large = thumbnails.get(urlOf("a.jpg"));
    ASSERT_EQ(large.code, MRB_ERR_NONE);
    EXPECT_EQ(large.images[0].width, 256);
    EXPECT_EQ(large.images[0].height, 192);
    EXPECT_FALSE(isRed(large));
}

TEST_F(PtpFile, AThumbnailIsThePreviewWhereTheRestIsDamaged) {
    makePicture("a.jpg", 1600, 1200, 160, 120);
    const std::string path = camera.folder.path("a.jpg");
    // The file ends after the EXIF data.
    std::string bytes(static_cast<std::size_t>(fs::file_size(path)), '\0');
    std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    const std::size_t exif = bytes.find("\xff\xe1");
    ASSERT_NE(exif, std::string::npos);
    const auto byte = [&bytes](std::size_t at) { return static_cast<unsigned char>(bytes[at]); };
    fs::resize_file(path, exif + 2 + 256UL * byte(exif + 2) + byte(exif + 3));
    open();
    Thumbnails thumbnails;
    const Thumbnail small = thumbnails.get(urlOf("a.jpg"));
    ASSERT_EQ(small.code, MRB_ERR_NONE);
    EXPECT_EQ(small.images[0].width, 160);
    EXPECT_TRUE(isRed(small));
}

TEST_F(PtpFile, APreviewIsTurnedUpright) {
    makePicture("a.jpg", 1600, 1200, 160, 120);
    support::run(
        {"exiftool", "-q", "-n", "-overwrite_original", "-Orientation=6", camera.folder.path("a.jpg")});
    open();
    Thumbnails thumbnails;
    const Thumbnail small =
        thumbnails.get(ThumbnailOptions{.path = urlOf("a.jpg"), .width = 160, .height = 160});
    ASSERT_EQ(small.code, MRB_ERR_NONE);
    EXPECT_EQ(small.images[0].width, 120);
    EXPECT_EQ(small.images[0].height, 160);
    EXPECT_TRUE(isRed(small));
}

TEST_F(PtpFile, VideosAndMusicHaveThumbnailsToo) {
    support::makeMedia(camera.folder);
    open();
    Thumbnails thumbnails;
    EXPECT_EQ(thumbnails.get(urlOf("film.mp4")).code, MRB_ERR_NONE);
    EXPECT_EQ(thumbnails.get(ThumbnailOptions{.path = urlOf("film.mp4"), .frames = 3}).images.size(), 3U);
    EXPECT_EQ(thumbnails.get(urlOf("covered.mp3")).code, MRB_ERR_NONE);
    EXPECT_EQ(thumbnails.get(urlOf("song.mp3")).code, MRB_ERR_NOT_FOUND);
}

TEST_F(PtpFile, AThumbnailOfAMissingFileReturnsTheReason) {
    camera.folder.file("a.jpg", 10);
    open();
    const std::string url = urlOf("a.jpg");
    Thumbnails thumbnails;
    EXPECT_EQ(thumbnails.get("ptp://missing/a.jpg").code, MRB_ERR_DEVICE_REMOVED);
    EXPECT_EQ(thumbnails.get("ptp://").code, MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(thumbnails.get("ptp://a%zz/a.jpg").code, MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(thumbnails.get("ptp://a/%00.jpg").code, MRB_ERR_INVALID_PARAMETER);
    EXPECT_NE(thumbnails.get(url).code, MRB_ERR_NONE);
    camera.unplug();
    EXPECT_EQ(thumbnails.get(url).code, MRB_ERR_DEVICE_REMOVED);
    camera.plug();
}

// A pipe blocks the thread that opens it, as a camera that hangs does.
TEST_F(PtpFile, TheSyncReturnsAlsoWhenTheCameraHangs) {
    ASSERT_EQ(mkfifo(camera.folder.path("a.jpg").c_str(), 0600), 0);
    open();
    Thumbnails thumbnails;
    const std::size_t request = thumbnails.request(ThumbnailOptions{.path = urlOf("a.jpg")});
    EXPECT_EQ(thumbnail_stop_ptp_decode_sync(), MRB_ERR_NONE);
    ASSERT_TRUE(thumbnails.waitForAll());
    EXPECT_EQ(thumbnails.resultOf(request).code, MRB_ERR_CANCELLED);
    // A field is not waited for either.
    EXPECT_EQ(support::textField(client, 0, "MODEL").first, MRB_ERR_TIMEOUT);
    // The thread that waits for a writer finds one, then the end of the file, and continues.
    const mrb::Descriptor writer(
        ::open(camera.folder.path("a.jpg").c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    fs::remove(camera.folder.path("a.jpg"));
}
