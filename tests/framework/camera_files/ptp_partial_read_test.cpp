// Partial reads of files on a camera, and cameras that serve them badly.

#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>
#include <future>
#include <string>

#include "support/fields.h"
#include "support/own_process.h"
#include "support/programs.h"
#include "support/scripted_camera.h"
#include "support/sharing.h"

using mrb::Status;
using support::CameraRequest;
using support::Client;
using support::Folder;
using support::ScriptedFile;
using support::ShareEvent;
using support::Sharing;
using support::Surroundings;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr std::size_t LONG = 3'500'000; // several partial reads

class PtpPartialRead : public support::OwnProcess {
  protected:
    void open() {
        ASSERT_EQ(client.open(camera.place.listOptions()), MRB_ERR_NONE);
        EXPECT_EQ(client.waitForEnd(++opened_).event, MRB_EVENT_LIST_READY);
        camera.clearRequests();
    }
    // Copies all files of the camera.
    ShareEvent copy() {
        open();
        EXPECT_EQ(mrb_select_all_v2(client.handle), MRB_ERR_NONE);
        return sharing.copyAll(client, to.path());
    }

    // A file whose duration is at its end.
    void addFilm() {
        const std::string path = scratch.path("film.mp4");
        support::ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=640x360:rate=10:duration=2", "-c:v", "libx264",
                         "-preset", "ultrafast", "-b:v", "8M", path});
        camera.files["film.mp4"] = ScriptedFile::of(support::bytesOf(path));
        ASSERT_GT(camera.files["film.mp4"].bytes.size(), 150'000U);
    }
    // A file whose metadata are at its beginning.
    void addPicture() {
        const std::string path = scratch.path("photo.jpg");
        support::makePicture(path, 600, 400);
        support::run({"exiftool", "-q", "-overwrite_original", "-EXIF:Model=Tagged", path});
        camera.files["photo.jpg"] = ScriptedFile::of(support::bytesOf(path));
    }
    void addNoise(const std::string &name, std::size_t size) {
        support::writeNoise(scratch.path(name), size, 1);
        camera.files[name] = ScriptedFile::of(support::bytesOf(scratch.path(name)));
    }

    int codeOfDuration() {
        return support::fieldOf(client, 0, mrb_get_item_value_lint_v2, "DURATION", -1LL).first;
    }
    long long duration() { return support::longNumber(client, 0, "DURATION"); }

    const Folder scratch;
    const Folder to;
    support::ScriptedCamera camera;
    Client client;
    Sharing sharing;

  private:
    std::size_t opened_ = 0;
};

// Fails with that status at a partial read after the beginning.
auto failingLater(Status status) {
    return [status](const CameraRequest &request) {
        return request.kind == "piece" && request.offset > 0 ? status : Status();
    };
}

} // namespace

TEST_F(PtpPartialRead, FieldsAreReadFromPartialReads) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addFilm();
    open();
    EXPECT_EQ(duration(), 2000);
    EXPECT_THAT(camera.requests(), Contains("piece film.mp4").Times(testing::Ge(2U)));
    EXPECT_THAT(camera.requests(), Not(Contains("whole film.mp4")));
}

TEST_F(PtpPartialRead, FieldsAreReadFromShortReads) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addFilm();
    camera.longestPiece = 9999;
    open();
    EXPECT_EQ(duration(), 2000);
}

TEST_F(PtpPartialRead, FieldsReturnTheErrorOfAReadAndAreReadAgainLater) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addFilm();
    std::atomic<bool> fails = true;
    camera.onRequest = [&fails](const CameraRequest &request) {
        return fails && request.kind == "piece" && request.offset > 0 ? Status::ioError("The cable.")
                                                                      : Status();
    };
    open();
    EXPECT_EQ(codeOfDuration(), MRB_ERR_IO);
    fails = false;
    EXPECT_EQ(duration(), 2000);
}

TEST_F(PtpPartialRead, FieldsAreReadFromTheWholeFileWithoutPartialReads) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addFilm();
    camera.givesPieces = false;
    open();
    EXPECT_EQ(duration(), 2000);
    EXPECT_THAT(camera.requests(), Contains("whole film.mp4"));
}

TEST_F(PtpPartialRead, FieldsOfAFileThatIsLongerThanReportedAreThoseOfItsBeginning) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addPicture();
    camera.files["photo.jpg"].fileStatus.size = 4000;
    std::atomic<std::uint64_t> furthest = 0;
    camera.onRequest = [&furthest](const CameraRequest &request) {
        furthest = std::max<std::uint64_t>(furthest, request.offset);
        return Status();
    };
    open();
    EXPECT_EQ(support::text(client, 0, "MODEL"), "Tagged");
    EXPECT_LT(furthest, 4000U);
}

TEST_F(PtpPartialRead, FieldsOfAFileThatIsShorterThanReportedAreReadNevertheless) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addFilm();
    camera.files["film.mp4"].fileStatus.size = 10'000'000'000;
    open();
    EXPECT_EQ(duration(), 2000);
}

TEST_F(PtpPartialRead, FieldsOfAFileOfUnknownSizeAreThoseOfItsBeginning) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addPicture();
    camera.files["photo.jpg"].fileStatus.size = mrb::CameraFileStatus::UNSAID;
    open();
    EXPECT_EQ(support::text(client, 0, "MODEL"), "Tagged");
    EXPECT_THAT(camera.requests(), Contains("piece photo.jpg").Times(1));
}

TEST_F(PtpPartialRead, FieldsOfAWholeFileOfUnknownSizeAreReadToo) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addFilm();
    camera.files["film.mp4"].fileStatus.size = mrb::CameraFileStatus::UNSAID;
    camera.givesPieces = false;
    open();
    EXPECT_EQ(duration(), 2000);
}

// The EXIF data that a driver returns may be less than the file's: a stub, nothing, an error.
TEST_F(PtpPartialRead, FieldsOfAPhotographAreReadFromItsBeginningWhereItsExifDataAreUseless) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    const std::string path = scratch.path("photo.jpg");
    support::makePicture(path, 600, 400);
    support::run({"exiftool", "-q", "-n", "-overwrite_original", "-EXIF:Model=Tagged", "-EXIF:ISO=200",
                  "-EXIF:FNumber=2.8", "-EXIF:ExposureTime=0.008", "-EXIF:Orientation=6",
                  "-EXIF:DateTimeOriginal=2024:07:14 09:30:00", path});
    ScriptedFile photo = ScriptedFile::of(support::bytesOf(path) + std::string(3'000'000, '\0'));
    photo.fileStatus.width = 600;
    photo.fileStatus.height = 400;
    camera.givesPieces = false;
    std::atomic<std::uint64_t> furthest = 0;
    camera.onRequest = [&furthest](const CameraRequest &request) {
        furthest = std::max<std::uint64_t>(furthest, request.offset);
        return request.kind == "exif" && request.name == "failing.jpg" ? Status::protocolError("What?")
                                                                       : Status();
    };
    camera.files["failing.jpg"] = photo;
    camera.files["nothing.jpg"] = photo;
    photo.exif = std::string("Exif\0\0II*\0\x08\0\0\0\0\0\0\0\0\0", 20);
    camera.files["stub.jpg"] = photo;
    open();
    for (int index = 0; index < 3; ++index) {
        SCOPED_TRACE(client.item(index)["name"].asString());
        EXPECT_EQ(support::text(client, index, "MODEL"), "Tagged");
        EXPECT_EQ(support::text(client, index, "DATE_TAKEN"), "2024-07-14T09:30:00");
        EXPECT_EQ(support::text(client, index, "EXPOSURE_TIME"), "1/125");
        EXPECT_EQ(support::text(client, index, "FNUMBER"), "2.8");
        EXPECT_EQ(support::text(client, index, "ISO"), "200");
        EXPECT_EQ(support::number(client, index, "ORIENTATION"), 6);
    }
    EXPECT_LE(furthest, 256U << 10);
}

TEST_F(PtpPartialRead, FieldsOfAPhotographAreThoseOfItsExifDataWhateverIsInFrontOfThem) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addPicture();
    ScriptedFile &photo = camera.files["photo.jpg"];
    photo.fileStatus.width = 600;
    photo.fileStatus.height = 400;
    const std::size_t segment = photo.bytes.find("\xff\xe1");
    ASSERT_NE(segment, std::string::npos);
    photo.exif = photo.bytes.substr(segment, 2000);
    camera.givesPieces = false;
    open();
    EXPECT_EQ(support::text(client, 0, "MODEL"), "Tagged");
    EXPECT_THAT(camera.requests(), Not(Contains("whole photo.jpg")));
}

// A list that is sorted by metadata reads them while it is filled.
TEST_F(PtpPartialRead, FieldsAreReadNoFurtherWhenAListIsCancelledBetweenTwoReads) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addFilm();
    camera.longestPiece = 1000;
    std::promise<mrb_agent_handler_h> opened;
    std::atomic<int> pieces = 0;
    camera.onRequest = [&](const CameraRequest &request) {
        if (request.kind == "piece" && ++pieces == 2) {
            EXPECT_EQ(mrb_cancel_request_list_v2(opened.get_future().get()), MRB_ERR_NONE);
        }
        return Status();
    };
    support::ListOptions options = camera.place.listOptions();
    options.sortCategory = "TITLE";
    ASSERT_EQ(client.open(options), MRB_ERR_NONE);
    opened.set_value(client.handle);
    EXPECT_EQ(client.waitForEnd().event, MRB_EVENT_LIST_CANCELLED);
    EXPECT_EQ(pieces, 2);
}

TEST_F(PtpPartialRead, ACopyIsMadeOfPartialReads) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addNoise("a.jpg", LONG);
    addNoise("empty.jpg", 0);
    addNoise("round.jpg", 2UL << 20);
    EXPECT_EQ(copy().event, MRB_EVENT_SHARE_DONE);
    EXPECT_EQ(support::contents(to.path()), support::contents(scratch.path()));
    // No read after an end of file.
    EXPECT_THAT(camera.requests(), Contains("piece a.jpg").Times(4));
    EXPECT_THAT(camera.requests(), Contains("piece round.jpg").Times(2));
    EXPECT_THAT(camera.requests(), Not(Contains("piece empty.jpg")));
    EXPECT_THAT(camera.requests(), Each(Not(testing::StartsWith("whole"))));
}

TEST_F(PtpPartialRead, ACopyIsMadeOfShortReads) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addNoise("a.jpg", LONG);
    camera.longestPiece = 99'999;
    EXPECT_EQ(copy().event, MRB_EVENT_SHARE_DONE);
    EXPECT_EQ(support::contents(to.path()), support::contents(scratch.path()));
}

TEST_F(PtpPartialRead, ACopyOfAFileOfUnknownSizeGoesToItsEnd) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addNoise("a.jpg", LONG);
    camera.files["a.jpg"].fileStatus.size = mrb::CameraFileStatus::UNSAID;
    EXPECT_EQ(copy().event, MRB_EVENT_SHARE_DONE);
    EXPECT_EQ(support::contents(to.path()), support::contents(scratch.path()));
}

TEST_F(PtpPartialRead, ACopyIsMadeOfTheWholeFileWithoutPartialReads) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addNoise("a.jpg", LONG);
    addNoise("empty.jpg", 0);
    camera.givesPieces = false;
    EXPECT_EQ(copy().event, MRB_EVENT_SHARE_DONE);
    EXPECT_EQ(support::contents(to.path()), support::contents(scratch.path()));
    EXPECT_THAT(camera.requests(), Contains("whole a.jpg").Times(1));
}

// The next file is copied: one failure does not end the camera's copies.
TEST_F(PtpPartialRead, ACopyLeavesAFileOutThatFailsBetweenReads) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    for (const int code : {MRB_ERR_IO, MRB_ERR_NOT_SUPPORTED, MRB_ERR_PROTOCOL}) {
        SCOPED_TRACE(code);
        const Folder place;
        addNoise("a.jpg", LONG);
        addNoise("b.jpg", 1000);
        camera.onRequest = failingLater({code, "Amidst."});
        open();
        ASSERT_EQ(mrb_select_all_v2(client.handle), MRB_ERR_NONE);
        const ShareEvent last = sharing.copyAll(client, place.path());
        EXPECT_EQ(last.event, MRB_EVENT_SHARE_FAILED);
        EXPECT_EQ(last.name(), "a.jpg");
        EXPECT_EQ(last.status.done_file_count, 1U);
        EXPECT_THAT(support::tree(place.path()), ElementsAre("b.jpg"));
    }
}

TEST_F(PtpPartialRead, ACopyLeavesAFileOutThatFailsWithinTheWholeFile) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addNoise("a.jpg", LONG);
    camera.givesPieces = false;
    camera.onRequest = [](const CameraRequest &request) {
        return request.kind == "whole" && request.offset > 1'000'000 ? Status::ioError("Amidst.") : Status();
    };
    EXPECT_EQ(copy().event, MRB_EVENT_SHARE_FAILED);
    EXPECT_THAT(support::tree(to.path()), IsEmpty());
}

// Partial reads are requested only within the reported size.
TEST_F(PtpPartialRead, ACopyHasNoMoreBytesThanReported) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addNoise("a.jpg", LONG);
    camera.files["a.jpg"].fileStatus.size = 1'500'000;
    EXPECT_EQ(copy().event, MRB_EVENT_SHARE_DONE);
    EXPECT_EQ(support::bytesOf(to.path("a.jpg")), camera.files["a.jpg"].bytes.substr(0, 1'500'000));
}

TEST_F(PtpPartialRead, ACopyLeavesAFileOutThatIsShorterThanReported) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addNoise("a.jpg", LONG);
    struct Way {
        bool givesPieces;
        std::int64_t said;
    };
    for (const Way &way : {Way{true, LONG + 1}, Way{false, LONG + 1}, Way{false, LONG - 1}}) {
        SCOPED_TRACE(way.said);
        camera.givesPieces = way.givesPieces;
        camera.files["a.jpg"].fileStatus.size = way.said;
        const ShareEvent last = copy();
        EXPECT_EQ(last.event, MRB_EVENT_SHARE_FAILED);
        EXPECT_EQ(last.name(), "a.jpg");
        EXPECT_THAT(support::tree(to.path()), IsEmpty());
    }
}

TEST_F(PtpPartialRead, ACopyThatIsStoppedBetweenTwoReadsRequestsNoOther) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addNoise("a.jpg", LONG);
    for (const bool givesPieces : {true, false}) {
        SCOPED_TRACE(givesPieces);
        camera.givesPieces = givesPieces;
        std::promise<mrb_share_handler_h> started;
        std::atomic<int> later = 0;
        sharing.whenStarted([&started](const ShareEvent &event) { started.set_value(event.share); });
        camera.onRequest = [&](const CameraRequest &request) {
            if (request.offset >= 1'000'000 && ++later == 1) {
                EXPECT_EQ(mrb_stop_batch_process_v2(started.get_future().get()), MRB_ERR_NONE);
            }
            return Status();
        };
        EXPECT_EQ(copy().event, MRB_EVENT_SHARE_STOPPED);
        // Some parts of a whole file are in transfer already.
        EXPECT_LE(later, givesPieces ? 1 : 40);
        EXPECT_THAT(support::tree(to.path()), IsEmpty());
    }
}

// A camera that loses its files one by one is still there when the first of them is missed.
TEST_F(PtpPartialRead, ACopyThatMissesAFileReportsThatTheCameraLeft) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addNoise("a.jpg", 1000);
    addNoise("b.jpg", 1000);
    camera.onRequest = [this](const CameraRequest &request) {
        if (request.kind == "piece" && request.name == "b.jpg") {
            camera.place.unplug();
        }
        return request.kind == "piece" && request.name == "a.jpg" ? Status::ioError("The cable.") : Status();
    };
    const ShareEvent last = copy();
    EXPECT_EQ(last.event, MRB_EVENT_DEVICE_REMOVED);
    EXPECT_EQ(last.status.done_file_count, 1U);
    EXPECT_THAT(support::tree(to.path()), ElementsAre("b.jpg"));
}

TEST_F(PtpPartialRead, ACopyThatHasEverythingIsDoneWhereverTheCameraIs) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    addNoise("a.jpg", 1000);
    camera.onRequest = [this](const CameraRequest &request) {
        if (request.kind == "piece") {
            camera.place.unplug();
        }
        return Status();
    };
    EXPECT_EQ(copy().event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(support::tree(to.path()), ElementsAre("a.jpg"));
}
