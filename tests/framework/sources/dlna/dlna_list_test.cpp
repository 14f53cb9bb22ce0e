// Lists of real servers through the C functions.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <string>

#include "mrb/storage.h"
#include "support/client.h"
#include "support/dlna_client.h"
#include "support/fields.h"
#include "support/folder.h"
#include "support/groups.h"
#include "support/media.h"
#include "support/media_server.h"
#include "support/own_process.h"
#include "support/scripted_server.h"
#include "support/thumbnails.h"

using support::Client;
using support::Connection;
using support::DlnaClient;
using support::Event;
using support::ListOptions;
using support::MediaServer;
using support::Request;
using support::ScriptedServer;
using support::Surroundings;
using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

void ignoreState(int /*state*/, void * /*self*/) {}

class DlnaList : public support::DlnaTest {};

// A server of real media, and a client of the service that finds it.
struct Shelf {
    explicit Shelf(std::initializer_list<const char *> names = {}) : media(names) {}

    const support::MediaFolder media;
    DlnaClient service;
    const MediaServer server{MediaServer::Kind::MINIDLNA, "Shelf", media.path()};
};

} // namespace

TEST_F(DlnaList, NeedsTheService) {
    if (!inside(Surroundings::PLAIN)) {
        return;
    }
    Client client;
    EXPECT_EQ(client.open(ListOptions{.path = "uuid:1", .source = "SOURCE_DLNA"}), MRB_ERR_NOT_INITIALIZED);
}

TEST_F(DlnaList, OfAServerThatIsNotThereIsRefused) {
    if (!insideNetwork()) {
        return;
    }
    ASSERT_EQ(mrb_Init_dlna_service(ignoreState, nullptr), MRB_ERR_NONE);
    Client client;
    EXPECT_EQ(client.open(ListOptions{.path = "uuid:1", .source = "SOURCE_DLNA"}), MRB_ERR_NOT_FOUND);
    EXPECT_EQ(client.open(ListOptions{.path = "", .source = "SOURCE_DLNA"}), MRB_ERR_NOT_FOUND);
    EXPECT_EQ(mrb_finalize_dlna_service(ignoreState, nullptr), MRB_ERR_NONE);
}

TEST_F(DlnaList, HoldsTheFilesMetadata) {
    if (!insideNetwork()) {
        return;
    }
    Shelf shelf;
    Client client;
    // song.flac, song.m4a, song.mp3, song.ogg, song.wav, covered.flac, covered.mp3
    listAll(client, {.path = shelf.service.server(), .contentType = "MUSIC", .source = "SOURCE_DLNA"}, 7);
    ASSERT_EQ(client.count(), 7);
    for (int song = 0; song < 7; ++song) {
        EXPECT_EQ(support::number(client, song, "MEDIA_TYPE"), MRB_ITEM_TYPE_MUSIC);
        EXPECT_THAT(support::text(client, song, "URL"), StartsWith("http://127.0.0.1:8200/MediaItems/"));
        EXPECT_GT(support::longNumber(client, song, "SIZE"), 0);
        EXPECT_NEAR(static_cast<double>(support::longNumber(client, song, "DURATION")), 2000, 100);
        EXPECT_EQ(support::number(client, song, "SAMPLERATE"), 44100);
    }
    EXPECT_THAT(client.all("name"), Contains("Élégie"));
    const int song = support::indexOf(client, "Élégie");
    EXPECT_EQ(support::text(client, song, "TITLE"), "Élégie");
    EXPECT_EQ(support::text(client, song, "ARTIST"), "東京トリオ");
    EXPECT_EQ(support::text(client, song, "ALBUM"), "Été");
    EXPECT_EQ(support::text(client, song, "GENRE"), "Jazz");
    EXPECT_EQ(support::text(client, song, "FILE_PATH"), "");
}

TEST_F(DlnaList, IsSearchedAndSortedAndPlayed) {
    if (!insideNetwork()) {
        return;
    }
    Shelf shelf;
    Client client;
    const ListOptions options{.path = "127.0.0.1",
                              .contentType = "IMAGE",
                              .sortCategory = "NAME DESC",
                              .source = "SOURCE_DLNA",
                              .keyWord = "PHO"};
    shelf.service.server();
    listAll(client, options, 1);
    ASSERT_EQ(client.count(), 1);
    EXPECT_EQ(client.item(0)["name"], "photo");
    EXPECT_EQ(support::text(client, 0, "MIME_TYPE"), "image/jpeg");
    EXPECT_EQ(support::number(client, 0, "WIDTH"), 320);
    const std::string mediaId = client.item(0)["media_id"].asString();
    EXPECT_THAT(mediaId, StartsWith("dlna:uuid:"));
    char *data = nullptr;
    ASSERT_EQ(mrb_move_to_index_v2(client.handle, 0), MRB_ERR_NONE);
    ASSERT_EQ(mrb_prepare_play_data_v2(client.handle, &data), MRB_ERR_NONE);
    const Json::Value play = support::parse(data);
    std::free(data);
    EXPECT_EQ(play["url"], client.item(0)["url"]);
    int page = -1;
    EXPECT_EQ(mrb_get_page_index_v2(client.handle, mediaId.c_str(), &page), MRB_ERR_NONE);
    EXPECT_EQ(page, 0);
}

TEST_F(DlnaList, IsSortedAndGroupedByTheServersMetadata) {
    if (!insideNetwork()) {
        return;
    }
    DlnaClient service;
    const ScriptedServer server([](const Request &request, const Connection &connection) {
        const std::string objects = support::songOf("1", "Un", "Zoë") + support::songOf("2", "Deux", "Anna") +
                                    support::songOf("3", "Trois") + support::songOf("4", "Quatre", "Anna");
        connection.send(browseResponse(request, support::didlOf(objects), 4, 4));
    });
    server.announce();
    Client client;
    const ListOptions options{.path = service.server(), .sortCategory = "ARTIST", .source = "SOURCE_DLNA"};
    ASSERT_EQ(client.list(options).event, MRB_EVENT_LIST_READY);
    EXPECT_THAT(client.all("name"), ElementsAre("Deux", "Quatre", "Un", "Trois"));
    ASSERT_EQ(support::groupBy(client, MRB_PAGE_STYLE_GROUP_ARTIST), MRB_ERR_NONE);
    support::waitForGroups(client);
    EXPECT_THAT(support::headings(client), ElementsAre("Anna: 2", "Zoë: 1", ": 1"));
    EXPECT_FALSE(support::isMapped("libmrb-readers.so")); // no file is read
}

TEST_F(DlnaList, OfAFolderHoldsThatFolderOnly) {
    if (!insideNetwork()) {
        return;
    }
    const support::Folder media;
    support::makeMedia(media);
    for (const auto &file : std::filesystem::directory_iterator(media.path())) {
        if (file.path().filename() != "film.mp4" && file.path().filename() != "song.mp3") {
            std::filesystem::remove(file.path());
        }
    }
    DlnaClient service;
    const MediaServer server(MediaServer::Kind::RYGEL, "Räume", media.path());
    const std::string id = service.server();
    Client client;
    listAll(client, {.path = id, .contentType = "VIDEO", .source = "SOURCE_DLNA"}, 1);
    Client whole;
    // It may leave and return while it scans its folder.
    const auto deadline = std::chrono::steady_clock::now() + support::LIMIT;
    Event end;
    for (std::size_t ends = 1; end.event != MRB_EVENT_LIST_READY; ++ends) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        if (whole.open({.path = id, .source = "SOURCE_DLNA"}) == MRB_ERR_NONE) {
            end = whole.waitForEnd(ends);
        } else {
            --ends;
        }
    }
    ASSERT_GT(whole.count(MRB_ITEM_TYPE_FOLDER), 1);
    Json::Value folder;
    for (int index = 0; index < whole.count() && folder.isNull(); ++index) {
        folder = whole.item(index)["type"] == MRB_ITEM_TYPE_FOLDER ? whole.item(index) : folder;
    }
    EXPECT_EQ(folder["mime_type"], "inode/directory");
    Client below;
    const std::string folderId = folder["media_id"].asString();
    const auto inFolder = [&](mrb_general_param_h param) {
        mrb_param_set_general_folder_id(param, folderId.c_str());
    };
    ASSERT_EQ(below.list({.path = id, .source = "SOURCE_DLNA", .more = inFolder}).event,
              MRB_EVENT_LIST_READY);
    EXPECT_GT(below.count(), 0);
    EXPECT_LT(below.count(), whole.count());
}

TEST_F(DlnaList, ThatBreaksOffKeepsWhatCame) {
    if (!insideNetwork()) {
        return;
    }
    DlnaClient service;
    const ScriptedServer server([](const Request &request, const Connection &connection) {
        if (request.start > 0) {
            return; // closes the connection
        }
        std::string objects;
        for (int number = 0; number < request.count; ++number) {
            objects += support::imageOf(std::to_string(number), "picture " + std::to_string(number));
        }
        connection.send(browseResponse(request, support::didlOf(objects), request.count, 5000));
    });
    server.announce();
    Client client;
    const Event end = client.list({.path = service.server(), .source = "SOURCE_DLNA"});
    EXPECT_EQ(end.event, MRB_EVENT_LIST_FAILED);
    EXPECT_EQ(end.data["error"], "MRB_ERR_DEVICE_REMOVED");
    EXPECT_EQ(end.data["item_count"], 500);
    EXPECT_EQ(client.item(499)["name"], "picture 499");
    EXPECT_EQ(client.item(0)["modified"], "2026-11-21T10:20:30Z");
}

TEST_F(DlnaList, OfASilentServerIsCancelledAtOnce) {
    if (!insideNetwork()) {
        return;
    }
    std::atomic<bool> isRequested = false;
    DlnaClient service;
    const ScriptedServer server([&](const Request & /*request*/, const Connection &connection) {
        isRequested = true;
        isRequested.notify_all();
        connection.wait();
    });
    server.announce();
    Client client;
    ASSERT_EQ(client.open({.path = service.server(), .source = "SOURCE_DLNA"}), MRB_ERR_NONE);
    isRequested.wait(false);
    ASSERT_EQ(mrb_cancel_request_list_v2(client.handle), MRB_ERR_NONE);
    EXPECT_EQ(client.waitForEnd().event, MRB_EVENT_LIST_CANCELLED);
}

TEST_F(DlnaList, KnowsThatItsServerIsGone) {
    if (!insideNetwork()) {
        return;
    }
    DlnaClient service;
    const ScriptedServer server([](const Request &request, const Connection &connection) {
        connection.send(browseResponse(request, support::didlOf(support::imageOf("1", "one")), 1, 1));
    });
    server.announce();
    Client client;
    ASSERT_EQ(client.list({.path = service.server(), .source = "SOURCE_DLNA"}).event, MRB_EVENT_LIST_READY);
    server.leave();
    service.waitUntilItLeaves();
    char *data = nullptr;
    ASSERT_EQ(mrb_move_to_index_v2(client.handle, 0), MRB_ERR_NONE);
    EXPECT_EQ(mrb_prepare_play_data_v2(client.handle, &data), MRB_ERR_DEVICE_REMOVED);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(client.count(), 1);
}

TEST_F(DlnaList, HasThumbnailsFromItsServer) {
    if (!insideNetwork()) {
        return;
    }
    Shelf shelf({"photo.jpg", "covered.mp3"});
    Client client;
    listAll(client, {.path = shelf.service.server(), .contentType = "MUSIC", .source = "SOURCE_DLNA"}, 1);
    ASSERT_EQ(client.count(), 1);
    MediaServer::waitUntilScanned();
    const std::string picture = support::text(client, 0, "THUMBNAIL_PATH");
    EXPECT_THAT(picture, StartsWith("http://127.0.0.1:8200/"));
    support::Thumbnails thumbnails;
    const support::Thumbnail cover = thumbnails.get(
        support::ThumbnailOptions{.path = picture, .sourceType = MRB_THUMB_SOURCE_DLNA, .width = 64});
    EXPECT_EQ(cover.code, MRB_ERR_NONE);
    ASSERT_EQ(cover.images.size(), 1U);
    EXPECT_EQ(cover.images[0].width, 64);
}

TEST_F(DlnaList, HasNoThumbnailsWithoutTheService) {
    if (!inside(Surroundings::PLAIN)) {
        return;
    }
    support::Thumbnails thumbnails;
    EXPECT_EQ(thumbnails
                  .get(support::ThumbnailOptions{.path = "http://127.0.0.1/a.jpg",
                                                 .sourceType = MRB_THUMB_SOURCE_DLNA})
                  .code,
              MRB_ERR_DEVICE_REMOVED);
}
