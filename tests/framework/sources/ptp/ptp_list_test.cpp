// Lists of files on a camera. The camera is libgphoto2's own that shows a folder.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/cameras.h"
#include "support/client.h"
#include "support/plugged_devices.h"

using support::Client;
using support::ListOptions;
using support::OfferedCamera;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

bool isRemoval(const support::Event &event) { return event.event == MRB_EVENT_DEVICE_REMOVED; }

std::size_t removals(Client &client) {
    const std::vector<support::Event> events = client.events();
    return static_cast<std::size_t>(std::ranges::count_if(events, isRemoval));
}

void waitForRemoval(Client &client) {
    client.waitFor(
        [](const std::vector<support::Event> &events) { return std::ranges::any_of(events, isRemoval); });
}

int playData(const Client &client) {
    char *text = nullptr;
    const int code = mrb_prepare_play_data_v2(client.handle, &text);
    std::free(text);
    return code;
}

class PtpList : public testing::Test {
  protected:
    static void TearDownTestSuite() { support::awaitCameraThreads(); }

    static std::vector<std::string> namesOf(const ListOptions &options) {
        Client client;
        client.list(options);
        return client.all("name");
    }
    // The code of opening a list with these options.
    static int codeOf(const ListOptions &options) {
        Client client;
        return client.open(options);
    }
    // The same for a request that names a camera.
    static int codeOf(const std::string &name, int bus, int device, const std::string &folderId = {}) {
        return codeOf({.source = "SOURCE_PTP", .more = [&](mrb_general_param_h param) {
                           mrb_param_set_general_mode_name(param, name.c_str());
                           mrb_param_set_general_bus_value(param, bus);
                           mrb_param_set_general_device_value(param, device);
                           mrb_param_set_general_folder_id(param, folderId.c_str());
                       }});
    }

    // Some pictures as cameras store them.
    void takePictures() const {
        camera.folder.file("DCIM/100CANON/IMG_10.JPG", 10);
        camera.folder.file("DCIM/100CANON/IMG_9.JPG", 20);
        camera.folder.file("DCIM/101CANON/MVI_1.MP4", 30);
        camera.folder.file("top.jpg", 5);
    }

    OfferedCamera camera;
};

} // namespace

TEST_F(PtpList, OfAnEmptyCameraIsReadyWithNoItems) {
    Client client;
    const support::Event last = client.list(camera.listOptions());
    EXPECT_EQ(last.event, MRB_EVENT_LIST_READY) << last.data["message"].asString();
    EXPECT_EQ(client.count(), 0);
}

TEST_F(PtpList, HoldsItsFilesAndThenEachFolderWithItsContents) {
    takePictures();
    Client client;
    client.list(camera.listOptions());
    EXPECT_THAT(client.all("name"), ElementsAre("top.jpg", "DCIM", "100CANON", "IMG_9.JPG", "IMG_10.JPG",
                                                "101CANON", "MVI_1.MP4"));
    EXPECT_THAT(client.all("type_name"),
                ElementsAre("image", "folder", "folder", "image", "image", "folder", "video"));
}

TEST_F(PtpList, AnItemHasItsSizeTimeAndPlace) {
    takePictures();
    camera.folder.setModified("DCIM/100CANON/IMG_9.JPG", 1'700'000'000);
    Client client;
    client.list(camera.listOptions());
    const Json::Value item = client.item(3);
    EXPECT_EQ(item["size"], 20);
    EXPECT_EQ(item["modified"], "2023-11-14T22:13:20Z");
    EXPECT_TRUE(item["created"].isNull());
    EXPECT_EQ(item["mime_type"], "image/jpeg");
    EXPECT_EQ(item["path"], "");
    const std::string url = item["url"].asString();
    EXPECT_TRUE(url.starts_with("ptp://folder%3A%2F") || url.starts_with("ptp://folder:%2F")) << url;
    EXPECT_TRUE(url.ends_with("-camera-1/DCIM/100CANON/IMG_9.JPG")) << url;
    EXPECT_EQ(item["media_id"].asString(), "ptp:" + url.substr(6));
}

TEST_F(PtpList, IsWalkedFolderByFolder) {
    takePictures();
    Client client;
    client.list(camera.listOptions());
    ASSERT_EQ(mrb_set_navigation_v2(client.handle, MRB_NAVIGATION_FOLDER), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("DCIM", "top.jpg"));
    ASSERT_EQ(mrb_set_navigation_v2(client.handle, MRB_NAVIGATION_ENTER), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("..", "100CANON", "101CANON"));
}

TEST_F(PtpList, IsFilteredAndSortedAsOthersAre) {
    takePictures();
    ListOptions options = camera.listOptions();
    options.contentType = "IMAGE";
    options.sortCategory = "SIZE DESC";
    EXPECT_THAT(namesOf(options), ElementsAre("IMG_9.JPG", "IMG_10.JPG", "top.jpg"));
    options.keyWord = "img";
    options.sortCategory = "NAME";
    EXPECT_THAT(namesOf(options), ElementsAre("IMG_9.JPG", "IMG_10.JPG"));
    ListOptions films = camera.listOptions();
    films.extension = "mp4";
    EXPECT_THAT(namesOf(films), ElementsAre("MVI_1.MP4"));
}

TEST_F(PtpList, OfAFolderIsOpenedByItsPathUrlOrMediaId) {
    takePictures();
    Client whole;
    whole.list(camera.listOptions());
    const Json::Value folder = whole.item(2);
    for (const std::string &id : {std::string("/DCIM/100CANON"), std::string("/DCIM/100CANON/"),
                                  folder["url"].asString(), folder["media_id"].asString()}) {
        Client client;
        client.list(camera.listOptions(id));
        EXPECT_THAT(client.all("name"), ElementsAre("IMG_9.JPG", "IMG_10.JPG")) << id;
        EXPECT_EQ(client.item(0)["url"], whole.item(3)["url"]);
    }
}

TEST_F(PtpList, AMediaIdNamesItsItemInEveryList) {
    takePictures();
    Client whole;
    whole.list(camera.listOptions());
    const std::string id = whole.item(4)["media_id"].asString();
    Client part;
    part.list(camera.listOptions("/DCIM"));
    int page = -1;
    EXPECT_EQ(mrb_get_page_index_v2(part.handle, id.c_str(), &page), MRB_ERR_NONE);
    EXPECT_EQ(part.item(page)["name"], "IMG_10.JPG");
    const std::string outside = whole.item(0)["media_id"].asString();
    EXPECT_EQ(mrb_get_page_index_v2(part.handle, outside.c_str(), &page), MRB_ERR_NOT_FOUND);
}

TEST_F(PtpList, ACameraIsNamedByItsPlaceOrItsName) {
    const OfferedCamera other(2);
    EXPECT_EQ(codeOf("", 0, 2), MRB_ERR_NONE);
    EXPECT_EQ(codeOf("whatever", 0, 2), MRB_ERR_NONE);
    EXPECT_EQ(codeOf(other.name(), 0, 0), MRB_ERR_NONE);
    EXPECT_EQ(codeOf("", 0, 0), MRB_ERR_NONE);
    EXPECT_EQ(codeOf("", 7, 7), MRB_ERR_NOT_FOUND);
    EXPECT_EQ(codeOf("No such camera", 0, 0), MRB_ERR_NOT_FOUND);
}

TEST_F(PtpList, AFolderOfAnotherOrMissingCameraIsRefused) {
    const OfferedCamera other(2);
    EXPECT_EQ(codeOf("", 0, 1, "DCIM"), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(codeOf("", 0, 1, "ptp:" + other.id() + "/DCIM"), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(codeOf("", 0, 1, "http://x/y"), MRB_ERR_INVALID_PARAMETER);
}

TEST_F(PtpList, OfAFolderThatIsNotThereFails) {
    Client client;
    const support::Event last = client.list(camera.listOptions("/nowhere"));
    EXPECT_EQ(last.event, MRB_EVENT_LIST_FAILED);
    EXPECT_EQ(last.data["error"], "MRB_ERR_NOT_FOUND") << last.data["message"].asString();
}

TEST_F(PtpList, HoldsMediaOnlyAndNoHiddenFiles) {
    camera.folder.files({".a.jpg", "a.txt", ".trash/b.jpg", "$RECYCLE.BIN/c.jpg", "notes"}, 1);
    Client client;
    client.list(camera.listOptions());
    EXPECT_THAT(client.all("name"), IsEmpty());
}

TEST_F(PtpList, NamesMayHoldAnyBytes) {
    const std::vector<std::string> names = {"a\nb.jpg", "\xff\xfe.jpg", "100%25.jpg", "q?&#;.jpg",
                                            "\xe6\x9d\xb1.jpg"};
    for (const std::string &name : names) {
        camera.folder.file("new\nfolder/" + name, name.size());
    }
    Client client;
    client.list(camera.listOptions());
    ASSERT_EQ(client.count(), 6);
    for (int index = 1; index < 6; ++index) {
        const std::string id = client.item(index)["media_id"].asString();
        EXPECT_TRUE(std::ranges::all_of(id, [](char byte) { return byte > ' ' && byte < '\x7f'; })) << id;
        int page = -1;
        EXPECT_EQ(mrb_get_page_index_v2(client.handle, id.c_str(), &page), MRB_ERR_NONE) << id;
        EXPECT_EQ(page, index);
        EXPECT_GT(client.item(index)["size"].asInt(), 0);
    }
}

TEST_F(PtpList, FoldersAreReadToAHundredLevels) {
    camera.folder.chain("d", 103);
    Client client;
    const support::Event last = client.list(camera.listOptions());
    EXPECT_EQ(last.event, MRB_EVENT_LIST_READY);
    EXPECT_EQ(client.count(), 101);
    EXPECT_EQ(last.data["too_deep"], 1);
}

TEST_F(PtpList, HoldsFiveThousandFilesInOrder) {
    camera.folder.pictures(1, 5000);
    Client client;
    const support::Event last = client.list(camera.listOptions());
    EXPECT_EQ(last.event, MRB_EVENT_LIST_READY);
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_IMAGE), 5000);
    EXPECT_EQ(client.item(1)["name"], "1.jpg");
    EXPECT_EQ(client.item(2)["name"], "2.jpg");
    EXPECT_EQ(client.item(5000)["name"], "5000.jpg");
}

TEST_F(PtpList, ACancelEndsIt) {
    camera.folder.pictures(50, 200);
    Client client;
    ASSERT_EQ(client.open(camera.listOptions()), MRB_ERR_NONE);
    ASSERT_EQ(mrb_cancel_request_list_v2(client.handle), MRB_ERR_NONE);
    EXPECT_EQ(client.waitForEnd().event, MRB_EVENT_LIST_CANCELLED);
}

TEST_F(PtpList, MayBeClosedWhileItIsRead) {
    camera.folder.pictures(20, 200);
    for (int round = 0; round < 10; ++round) {
        Client client;
        ASSERT_EQ(client.open(camera.listOptions()), MRB_ERR_NONE);
    }
}

TEST_F(PtpList, FailsWhenTheCameraIsPulledOut) {
    camera.folder.pictures(200, 100);
    // On a fast machine the list may be complete before its first growth event arrives.
    support::Event last;
    const auto limit = std::chrono::steady_clock::now() + support::LIMIT;
    while (last.event != MRB_EVENT_LIST_FAILED && std::chrono::steady_clock::now() < limit) {
        std::atomic<bool> isPulled = false;
        Client client;
        client.onEvent = [&](const support::Event &event) {
            if (event.event == MRB_EVENT_LIST_GROWN && !isPulled.exchange(true)) {
                camera.unplug();
            }
        };
        last = client.list(camera.listOptions());
        EXPECT_GT(client.count(), 0) << "what is there stays readable";
        if (isPulled) {
            camera.plug();
        }
    }
    EXPECT_EQ(last.data["error"], "MRB_ERR_DEVICE_REMOVED");
}

TEST_F(PtpList, ThatIsReopenedShowsNewFiles) {
    camera.folder.file("a.jpg", 1);
    Client client;
    client.list(camera.listOptions());
    EXPECT_EQ(client.count(), 1);
    camera.folder.file("b.jpg", 1);
    client.open(camera.listOptions());
    client.waitForEnd(2);
    EXPECT_THAT(client.all("name"), ElementsAre("a.jpg", "b.jpg"));
}

TEST_F(PtpList, PlayDataAreReturnedAsLongAsTheCameraIsThere) {
    camera.folder.file("a.jpg", 7);
    Client client;
    client.list(camera.listOptions());
    char *text = nullptr;
    ASSERT_EQ(mrb_prepare_play_data_v2(client.handle, &text), MRB_ERR_NONE);
    const Json::Value data = support::parse(text);
    std::free(text);
    EXPECT_EQ(data["url"], client.item(0)["url"]);
    EXPECT_EQ(data["size"], 7);
    camera.unplug();
    text = nullptr;
    EXPECT_EQ(mrb_prepare_play_data_v2(client.handle, &text), MRB_ERR_DEVICE_REMOVED);
    camera.plug();
}

TEST_F(PtpList, SeveralOfOneCameraAreReadAtATime) {
    camera.folder.pictures(5, 100);
    Client clients[4];
    for (Client &client : clients) {
        ASSERT_EQ(client.open(camera.listOptions()), MRB_ERR_NONE);
    }
    for (Client &client : clients) {
        EXPECT_EQ(client.waitForEnd().event, MRB_EVENT_LIST_READY);
        EXPECT_EQ(client.count(MRB_ITEM_TYPE_IMAGE), 500);
    }
}

TEST_F(PtpList, IsNotifiedThatItsCameraLeftAndKeepsItsItems) {
    camera.folder.file("a.jpg", 7);
    Client client;
    client.list(camera.listOptions());
    camera.unplug();
    waitForRemoval(client);
    EXPECT_EQ(client.events().back().data["item_count"], 1);
    EXPECT_EQ(client.item(0)["name"], "a.jpg");
    EXPECT_EQ(playData(client), MRB_ERR_DEVICE_REMOVED);
    // The camera is found by its id.
    camera.plug();
    EXPECT_EQ(playData(client), MRB_ERR_NONE);
}

// Observers are notified in the order in which they were added.
TEST_F(PtpList, IsNotifiedOnceAndOfItsOwnCameraOnly) {
    OfferedCamera other(2);
    Client client;
    client.list(camera.listOptions());
    const auto leave = [](OfferedCamera &leaving) {
        Client witness;
        witness.list(leaving.listOptions());
        leaving.unplug();
        waitForRemoval(witness);
        leaving.plug();
    };
    leave(other);
    EXPECT_EQ(removals(client), 0U);
    leave(camera);
    EXPECT_EQ(removals(client), 1U);
    leave(camera);
    EXPECT_EQ(removals(client), 1U);
    EXPECT_TRUE(isRemoval(client.events().back()));
}

TEST_F(PtpList, ThatIsReopenedIsNotifiedAgain) {
    Client client;
    client.list(camera.listOptions());
    camera.unplug();
    waitForRemoval(client);
    camera.plug();
    client.open(camera.listOptions());
    client.waitForEnd(2);
    camera.unplug();
    client.waitFor([](const std::vector<support::Event> &events) {
        return std::ranges::count_if(events, isRemoval) == 2;
    });
    EXPECT_EQ(removals(client), 2U);
    camera.plug();
}

TEST_F(PtpList, MayBeClosedWhenItIsNotifiedThatItsCameraLeft) {
    std::promise<int> closed;
    Client client;
    client.onEvent = [&closed](const support::Event &event) {
        if (isRemoval(event)) {
            closed.set_value(mrb_disconnect_v2(event.agent));
        }
    };
    client.list(camera.listOptions());
    camera.unplug();
    EXPECT_EQ(closed.get_future().get(), MRB_ERR_NONE);
    client.handle = 0;
    camera.plug();
}

TEST_F(PtpList, MayBeClosedWhileItsCameraLeaves) {
    std::vector<std::unique_ptr<Client>> closed; // they would receive late events
    std::vector<std::size_t> counts;
    for (int round = 0; round < 20; ++round) {
        Client &client = *closed.emplace_back(std::make_unique<Client>());
        client.list(camera.listOptions());
        camera.unplug();
        EXPECT_EQ(mrb_disconnect_v2(std::exchange(client.handle, 0)), MRB_ERR_NONE);
        counts.push_back(client.events().size());
        camera.plug();
    }
    // A later event passes the same thread.
    Client witness;
    witness.list(camera.listOptions());
    camera.unplug();
    waitForRemoval(witness);
    camera.plug();
    for (std::size_t index = 0; index < closed.size(); ++index) {
        EXPECT_EQ(closed[index]->events().size(), counts[index]) << index;
    }
}

TEST_F(PtpList, ThatFailedIsNotNotified) {
    Client failed;
    EXPECT_EQ(failed.list(camera.listOptions("/nowhere")).event, MRB_EVENT_LIST_FAILED);
    Client witness;
    witness.list(camera.listOptions());
    camera.unplug();
    waitForRemoval(witness);
    EXPECT_EQ(removals(failed), 0U);
    camera.plug();
}
