// Cameras that leave during a request, and whose removal the system reports late: here, never.
// Each driver has its own error for a camera that left.

#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <string>

#include "support/fields.h"
#include "support/own_process.h"
#include "support/programs.h"
#include "support/scripted_camera.h"
#include "support/sharing.h"
#include "support/thumbnails.h"

using mrb::Status;
using support::CameraRequest;
using support::Client;
using support::Event;
using support::Folder;
using support::ScriptedFile;
using support::ShareEvent;
using support::Sharing;
using support::Surroundings;

namespace {

// The codes and messages that a transfer to a missing camera ends with.
constexpr int WORDS[] = {MRB_ERR_DEVICE_REMOVED, MRB_ERR_IO, MRB_ERR_PROTOCOL, MRB_ERR_NOT_FOUND,
                         MRB_ERR_NONE};

class PtpLoss : public support::OwnProcess {
  protected:
    // A camera of its own for each of the errors.
    struct Trial {
        support::ScriptedCamera camera;
        Client client;

        // Pulls it out at such a request.
        void pullOutAt(const std::string &about, const std::string &name, int answer) {
            camera.onRequest = [this, about, name, answer](const CameraRequest &request) {
                if (request.kind == about && request.name == name) {
                    camera.pullOut({answer, "The cable."});
                }
                return Status();
            };
        }
        Event list() { return client.list(camera.place.listOptions()); }
        void expectLoss() {
            const Event last = list();
            EXPECT_EQ(last.event, MRB_EVENT_LIST_FAILED);
            EXPECT_EQ(last.data["error"], "MRB_ERR_DEVICE_REMOVED") << last.data["message"].asString();
        }
    };

    // Tries each of WORDS on a camera of its own.
    void forEachAnswer(const std::function<void(Trial &trial, int words)> &work) {
        if (!inside(Surroundings::SCRIPTED_CAMERA)) {
            return;
        }
        for (const int words : WORDS) {
            SCOPED_TRACE(words);
            Trial trial;
            work(trial, words);
        }
    }

    static void addPictures(Trial &trial, const std::string &folder, int number) {
        for (int index = 0; index < number; ++index) {
            trial.camera.files[folder + std::to_string(1000 + index) + ".jpg"] = ScriptedFile::of("a");
        }
    }
    void addNoise(Trial &trial, const std::string &name, std::size_t size) const {
        support::writeNoise(scratch.path(name), size, 1);
        trial.camera.files[name] = ScriptedFile::of(support::bytesOf(scratch.path(name)));
    }
    void addPicture(Trial &trial) const {
        support::makePicture(scratch.path("photo.jpg"), 600, 400);
        trial.camera.files["photo.jpg"] = ScriptedFile::of(support::bytesOf(scratch.path("photo.jpg")));
    }

    const Folder scratch;
};

} // namespace

TEST_F(PtpLoss, AListReportsItBeforeTheFirstRequest) {
    forEachAnswer([&](Trial &trial, int words) {
        addPictures(trial, "", 3);
        trial.camera.pullOut({words, "The cable."});
        trial.expectLoss();
        EXPECT_EQ(trial.client.count(), 0);
    });
}

TEST_F(PtpLoss, AListReportsItWhenTheFirstTransferFails) {
    forEachAnswer([&](Trial &trial, int words) {
        addPictures(trial, "", 3);
        trial.pullOutAt("list", "/", words);
        trial.expectLoss();
    });
}

TEST_F(PtpLoss, AListReportsItBetweenItsFiles) {
    forEachAnswer([&](Trial &trial, int words) {
        addPictures(trial, "", 200);
        trial.pullOutAt("status", "1100.jpg", words);
        trial.expectLoss();
        EXPECT_GT(trial.client.count(), 0) << "what is there stays readable";
    });
}

// A failed request about one file is mostly the file's own fault.
TEST_F(PtpLoss, AListReportsItAtItsLastFile) {
    forEachAnswer([&](Trial &trial, int words) {
        addPictures(trial, "", 5);
        trial.pullOutAt("status", "1004.jpg", words);
        trial.expectLoss();
    });
}

TEST_F(PtpLoss, AListReportsItBetweenTwoFolders) {
    forEachAnswer([&](Trial &trial, int words) {
        addPictures(trial, "100CANON/", 3);
        addPictures(trial, "101CANON/", 3);
        trial.pullOutAt("list", "/101CANON", words);
        trial.expectLoss();
        EXPECT_GE(trial.client.count(), 4);
    });
}

TEST_F(PtpLoss, AListThatMissesAFileOfACameraThatIsThereIsReady) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    for (const int words : {MRB_ERR_NOT_FOUND, MRB_ERR_IO, MRB_ERR_PROTOCOL, MRB_ERR_TIMEOUT}) {
        SCOPED_TRACE(words);
        Trial trial;
        addPictures(trial, "", 5);
        trial.camera.onRequest = [words](const CameraRequest &request) {
            return request.kind == "status" && request.name == "1002.jpg" ? Status{words, "Not this one."}
                                                                          : Status();
        };
        EXPECT_EQ(trial.list().event, MRB_EVENT_LIST_READY);
        EXPECT_EQ(trial.client.count(), words == MRB_ERR_NOT_FOUND ? 4 : 5);
    }
}

TEST_F(PtpLoss, ACopyReportsIt) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    for (const int words : WORDS) {
        for (const std::string about : {"status", "piece"}) {
            for (const std::string name : {"a.jpg", "b.jpg"}) {
                SCOPED_TRACE(about + ' ' + name + ' ' + std::to_string(words));
                if (words == MRB_ERR_NONE && about == "status") {
                    continue; // A file whose size may be anything has the reported one: none.
                }
                Trial trial;
                addNoise(trial, "a.jpg", 1000);
                addNoise(trial, "b.jpg", 1000);
                EXPECT_EQ(trial.list().event, MRB_EVENT_LIST_READY);
                ASSERT_EQ(mrb_select_all_v2(trial.client.handle), MRB_ERR_NONE);
                trial.pullOutAt(about, name, words);
                const Folder to;
                Sharing sharing;
                const ShareEvent last = sharing.copyAll(trial.client, to.path());
                EXPECT_EQ(last.event, MRB_EVENT_DEVICE_REMOVED);
                EXPECT_LE(support::tree(to.path()).size(), 1U);
            }
        }
    }
}

TEST_F(PtpLoss, ACopyOfWholeFilesReportsIt) {
    forEachAnswer([&](Trial &trial, int words) {
        addNoise(trial, "a.jpg", 1'000'000);
        trial.camera.givesPieces = false;
        EXPECT_EQ(trial.list().event, MRB_EVENT_LIST_READY);
        ASSERT_EQ(mrb_select_all_v2(trial.client.handle), MRB_ERR_NONE);
        trial.camera.onRequest = [&trial, words](const CameraRequest &request) {
            if (request.kind == "whole" && request.offset > 500'000) {
                trial.camera.pullOut({words, "The cable."});
            }
            return Status();
        };
        const Folder to;
        Sharing sharing;
        EXPECT_EQ(sharing.copyAll(trial.client, to.path()).event, MRB_EVENT_DEVICE_REMOVED);
        EXPECT_EQ(support::tree(to.path()).size(), 0U);
    });
}

TEST_F(PtpLoss, AThumbnailReportsIt) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    for (const int words : {MRB_ERR_DEVICE_REMOVED, MRB_ERR_IO, MRB_ERR_PROTOCOL, MRB_ERR_NOT_FOUND}) {
        for (const std::string about : {"status", "exif", "piece", "preview", "whole"}) {
            SCOPED_TRACE(about + ' ' + std::to_string(words));
            Trial trial;
            addPicture(trial);
            EXPECT_EQ(trial.list().event, MRB_EVENT_LIST_READY);
            trial.pullOutAt(about, "photo.jpg", words);
            support::Thumbnails thumbnails;
            EXPECT_EQ(thumbnails.get(trial.client.item(0)["url"].asString()).code, MRB_ERR_DEVICE_REMOVED);
        }
    }
}

TEST_F(PtpLoss, AFieldReportsIt) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    for (const int words : {MRB_ERR_DEVICE_REMOVED, MRB_ERR_IO, MRB_ERR_PROTOCOL, MRB_ERR_NOT_FOUND}) {
        for (const std::string about : {"status", "piece"}) {
            SCOPED_TRACE(about + ' ' + std::to_string(words));
            Trial trial;
            addPicture(trial);
            EXPECT_EQ(trial.list().event, MRB_EVENT_LIST_READY);
            trial.pullOutAt(about, "photo.jpg", words);
            EXPECT_EQ(support::textField(trial.client, 0, "MODEL").first, MRB_ERR_DEVICE_REMOVED);
        }
    }
}

TEST_F(PtpLoss, AFieldReportsItWithinTheFile) {
    if (!inside(Surroundings::SCRIPTED_CAMERA)) {
        return;
    }
    const std::string path = scratch.path("film.mp4");
    support::ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=640x360:rate=10:duration=2", "-c:v", "libx264",
                     "-preset", "ultrafast", "-b:v", "8M", path});
    Trial trial;
    trial.camera.files["film.mp4"] = ScriptedFile::of(support::bytesOf(path));
    EXPECT_EQ(trial.list().event, MRB_EVENT_LIST_READY);
    trial.camera.onRequest = [&trial](const CameraRequest &request) {
        if (request.kind == "piece" && request.offset > 0) { // where its duration is
            trial.camera.pullOut(Status::ioError("The cable."));
        }
        return Status();
    };
    EXPECT_EQ(support::fieldOf(trial.client, 0, mrb_get_item_value_lint_v2, "DURATION", -1LL).first,
              MRB_ERR_DEVICE_REMOVED);
}
