// Uploads from folders and playlists to DLNA servers.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/cameras.h"
#include "support/dlna_client.h"
#include "support/fields.h"
#include "support/folder.h"
#include "support/media.h"
#include "support/media_server.h"
#include "support/playlists.h"
#include "support/resources.h"
#include "support/scripted_server.h"
#include "support/sharing.h"

using support::argumentOf;
using support::Client;
using support::Connection;
using support::DlnaClient;
using support::Folder;
using support::MediaServer;
using support::Request;
using support::ScriptedServer;
using support::ShareEvent;
using support::Sharing;
using support::soapResponse;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

// A scripted server that receives files.
class UploadServer {
  public:
    // What it does when it shall import a file, and what it reports then.
    enum class Behaviour { FETCHES, REFUSES_TO_FETCH, LIES, NEVER_ENDS, BREAKS_OFF };

    explicit UploadServer(Behaviour behaviour, std::string importUrl = {})
        : behaviour_(behaviour), importUrl_(std::move(importUrl)),
          server_(
              [this](const Request &request, const Connection &connection) { answer(request, connection); }) {
        if (importUrl_.empty()) {
            importUrl_ = server_.urlOf("/import/1");
        }
        server_.announce();
    }

    std::vector<std::string> calls() {
        const std::lock_guard guard(lock_);
        return calls_;
    }
    // Forgets the requests and the received bytes.
    void forget() {
        const std::lock_guard guard(lock_);
        calls_.clear();
        taken_.clear();
    }
    std::string taken() {
        const std::lock_guard guard(lock_);
        return taken_;
    }
    std::string elements() {
        const std::lock_guard guard(lock_);
        return elements_;
    }

  private:
    void answer(const Request &request, const Connection &connection) {
        std::unique_lock guard(lock_);
        calls_.push_back(request.action);
        if (request.action == "CreateObject") {
            elements_ = argumentOf(request, "Elements");
            connection.send(soapResponse(
                request,
                "<ObjectID>7</ObjectID><Result>&lt;DIDL-Lite "
                "xmlns=\"urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/\" "
                "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" "
                "xmlns:upnp=\"urn:schemas-upnp-org:metadata-1-0/upnp/\"&gt;&lt;item id=\"7\" parentID=\"1\" "
                "restricted=\"0\"&gt;&lt;dc:title&gt;t&lt;/"
                "dc:title&gt;&lt;upnp:class&gt;object.item.imageItem"
                "&lt;/upnp:class&gt;&lt;res protocolInfo=\"*:*:image/jpeg:*\" importUri=\"" +
                    importUrl_ + "\"&gt;&lt;/res&gt;&lt;/item&gt;&lt;/DIDL-Lite&gt;</Result>"));
        } else if (request.action == "ImportResource") {
            if (behaviour_ == Behaviour::REFUSES_TO_FETCH) {
                connection.send(support::soapFault(602));
                return;
            }
            source_ = argumentOf(request, "SourceURI");
            connection.send(soapResponse(request, "<TransferID>3</TransferID>"));
        } else if (request.action == "GetTransferProgress") {
            if (behaviour_ == Behaviour::BREAKS_OFF) {
                return;
            }
            if (behaviour_ == Behaviour::FETCHES && taken_.empty()) {
                guard.unlock();
                std::string bytes = support::fetch(source_);
                guard.lock();
                taken_ = std::move(bytes);
            }
            const char *status = behaviour_ == Behaviour::NEVER_ENDS ? "IN_PROGRESS" : "COMPLETED";
            connection.send(soapResponse(request, std::string("<TransferStatus>") + status +
                                                      "</TransferStatus><TransferLength>0</TransferLength>"
                                                      "<TransferTotal>0</TransferTotal>"));
        } else if (request.action == "/import/1") {
            taken_ = request.body;
            connection.send(support::httpResponse("200 OK", ""));
        } else if (behaviour_ != Behaviour::BREAKS_OFF) {
            connection.send(soapResponse(request, ""));
        }
    }

    const Behaviour behaviour_;
    std::mutex lock_; // guards what follows
    std::string importUrl_;
    std::vector<std::string> calls_;
    std::string source_;
    std::string taken_;
    std::string elements_;
    ScriptedServer server_;
};

class DlnaUpload : public support::DlnaTest {
  protected:
    DlnaUpload() { support::writeNoise(from_.path("sub/a & b.jpg"), SIZE, 1); }

    void select(Client &client) const { support::selectEverything(client, from_.path()); }

    // Sends the selection to the server that the service finds; the last event.
    ShareEvent send(const Client &client, DlnaClient &service) {
        const int code = sharing_.send(client, service.server());
        EXPECT_EQ(code, MRB_ERR_NONE);
        return code == MRB_ERR_NONE ? sharing_.waitForEnd() : ShareEvent{};
    }
    // The same with everything in `from_`.
    ShareEvent sendAll(DlnaClient &service) {
        Client client;
        select(client);
        return send(client, service);
    }

    static constexpr std::size_t SIZE = 700'001;
    const Folder from_;
    Sharing sharing_;
};

} // namespace

TEST_F(DlnaUpload, ARealServerGetsTheFileByteForByteAndGivesItBack) {
    if (!insideNetwork()) {
        return;
    }
    const Folder media;
    const support::MediaFolder from({"photo.jpg", "song.mp3"});
    DlnaClient service;
    const MediaServer server(MediaServer::Kind::RYGEL, "Shelf", media.path());
    const std::string id = service.server();
    Client client;
    support::selectEverything(client, from.path());
    ASSERT_EQ(sharing_.send(client, id), MRB_ERR_NONE);
    const ShareEvent end = sharing_.waitForEnd();
    ASSERT_EQ(end.event, MRB_EVENT_SHARE_DONE) << end.name();
    EXPECT_EQ(end.status.done_file_count, 2U);
    Client remote;
    for (const char *type : {"IMAGE", "MUSIC"}) {
        // It lists the object before it has read the file.
        const auto deadline = std::chrono::steady_clock::now() + support::LIMIT;
        do {
            listAll(remote, {.path = id, .contentType = type, .source = "SOURCE_DLNA"}, 1);
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        } while (remote.item(0)["url"] == "");
        const Folder to;
        ASSERT_EQ(mrb_select_all_v2(remote.handle), MRB_ERR_NONE);
        Sharing back;
        ASSERT_EQ(back.fetch(remote, id, to.path()), MRB_ERR_NONE);
        EXPECT_EQ(back.waitForEnd().event, MRB_EVENT_SHARE_DONE);
        ASSERT_EQ(support::contents(to.path()).size(), 1U);
        const char *name = type == std::string("IMAGE") ? "photo.jpg" : "song.mp3";
        EXPECT_TRUE(support::contents(to.path()).begin()->second == support::bytesOf(from.path(name)))
            << name;
    }
}

TEST_F(DlnaUpload, AServerFetchesTheFile) {
    if (!insideNetwork()) {
        return;
    }
    DlnaClient service;
    UploadServer server(UploadServer::Behaviour::FETCHES);
    const ShareEvent end = sendAll(service);
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_DONE);
    EXPECT_EQ(end.status.total_file_count, 1U);
    EXPECT_EQ(end.status.success_file_size, SIZE);
    EXPECT_TRUE(server.taken() == support::bytesOf(from_.path("sub/a & b.jpg")));
    EXPECT_THAT(server.elements(), HasSubstr("a &amp;amp; b&lt;/dc:title"));
    EXPECT_THAT(server.elements(), HasSubstr("DLNA.ORG_AnyContainer"));
    EXPECT_THAT(server.calls(), Not(Contains("DestroyObject")));
}

TEST_F(DlnaUpload, AServerGetsAFileOfACamera) {
    if (!insideNetwork()) {
        return;
    }
    const support::OfferedCamera camera;
    camera.folder.folder("DCIM/100");
    support::writeNoise(camera.folder.path("DCIM/100/b.jpg"), SIZE, 2);
    DlnaClient service;
    UploadServer server(UploadServer::Behaviour::FETCHES);
    Client client;
    ASSERT_EQ(client.list(camera.listOptions()).event, MRB_EVENT_LIST_READY);
    ASSERT_EQ(mrb_select_all_v2(client.handle), MRB_ERR_NONE);
    const ShareEvent end = send(client, service);
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_DONE) << end.name();
    EXPECT_EQ(end.status.success_file_size, SIZE);
    EXPECT_TRUE(server.taken() == support::bytesOf(camera.folder.path("DCIM/100/b.jpg")));
}

TEST_F(DlnaUpload, AFileOfACameraNeedsRoomOnTheWay) {
    if (!insideNetwork()) {
        return;
    }
    const support::OfferedCamera camera;
    support::writeNoise(camera.folder.path("b.jpg"), SIZE, 2);
    DlnaClient service;
    const UploadServer server(UploadServer::Behaviour::FETCHES);
    Client client;
    ASSERT_EQ(client.list(camera.listOptions()).event, MRB_EVENT_LIST_READY);
    ASSERT_EQ(mrb_select_all_v2(client.handle), MRB_ERR_NONE);
    ASSERT_EQ(setenv("TMPDIR", "/nowhere", 1), 0);
    const ShareEvent end = send(client, service);
    ASSERT_EQ(unsetenv("TMPDIR"), 0); // others here have files in it
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_FAILED);
    EXPECT_EQ(end.name(), "b.jpg");
}

TEST_F(DlnaUpload, AFolderOfTheServerCanBeNamed) {
    if (!insideNetwork()) {
        return;
    }
    DlnaClient service;
    UploadServer server(UploadServer::Behaviour::FETCHES);
    Client client;
    select(client);
    const std::string id = service.server();
    const auto set = [&](mrb_share_param_h param) {
        mrb_param_set_share_dlna_device_id(param, id.c_str());
        mrb_param_set_share_dlna_service_provider(param, ("dlna:" + id + "/42").c_str());
    };
    ASSERT_EQ(sharing_.start(MRB_SHARE_DLNA, client.handle, set), MRB_ERR_NONE);
    EXPECT_EQ(sharing_.waitForEnd().event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(server.elements(), HasSubstr("parentID=&quot;42&quot;"));
}

TEST_F(DlnaUpload, AServerThatDoesNotFetchIsSentTheFile) {
    if (!insideNetwork()) {
        return;
    }
    DlnaClient service;
    UploadServer server(UploadServer::Behaviour::REFUSES_TO_FETCH);
    EXPECT_EQ(sendAll(service).event, MRB_EVENT_SHARE_DONE);
    EXPECT_TRUE(server.taken() == support::bytesOf(from_.path("sub/a & b.jpg")));
    EXPECT_THAT(server.calls(), ElementsAre("CreateObject", "ImportResource", "/import/1"));
}

TEST_F(DlnaUpload, AFileThatTheServerReportsButDidNotFetchCountsAsFailed) {
    if (!insideNetwork()) {
        return;
    }
    DlnaClient service;
    UploadServer server(UploadServer::Behaviour::LIES);
    const ShareEvent end = sendAll(service);
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_FAILED);
    EXPECT_EQ(end.name(), "a & b.jpg");
    EXPECT_EQ(end.status.done_file_count, 0U);
    EXPECT_EQ(server.calls().back(), "DestroyObject");
}

TEST_F(DlnaUpload, NothingIsSentToAnotherHost) {
    if (!insideNetwork()) {
        return;
    }
    std::atomic<int> requestCount = 0;
    const ScriptedServer other(
        [&](const Request & /*request*/, const Connection & /*connection*/) { ++requestCount; });
    std::string elsewhere = other.urlOf("/import/1");
    elsewhere.replace(elsewhere.find("127.0.0.1"), 9, "127.0.0.2");
    DlnaClient service;
    UploadServer server(UploadServer::Behaviour::REFUSES_TO_FETCH, elsewhere);
    EXPECT_EQ(sendAll(service).event, MRB_EVENT_SHARE_FAILED);
    EXPECT_EQ(requestCount, 0);
    EXPECT_THAT(server.calls(), ElementsAre("CreateObject", "DestroyObject"));
}

TEST_F(DlnaUpload, IsStoppedAtOnceAndDestroysItsObject) {
    if (!insideNetwork()) {
        return;
    }
    DlnaClient service;
    UploadServer server(UploadServer::Behaviour::NEVER_ENDS);
    Client client;
    select(client);
    ASSERT_EQ(sharing_.send(client, service.server()), MRB_ERR_NONE);
    sharing_.waitFor([](const auto &events) { return !events.empty(); });
    const auto deadline = std::chrono::steady_clock::now() + support::LIMIT;
    while (!testing::Matches(Contains("GetTransferProgress"))(server.calls()) &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    ASSERT_EQ(mrb_stop_batch_process_v2(sharing_.handle), MRB_ERR_NONE);
    EXPECT_EQ(sharing_.waitForEnd().event, MRB_EVENT_SHARE_STOPPED);
    EXPECT_THAT(server.calls(), Contains("StopTransferResource"));
    EXPECT_EQ(server.calls().back(), "DestroyObject");
}

TEST_F(DlnaUpload, AServerThatIsKilledEndsIt) {
    if (!insideNetwork()) {
        return;
    }
    DlnaClient service;
    UploadServer server(UploadServer::Behaviour::BREAKS_OFF);
    const ShareEvent end = sendAll(service);
    EXPECT_EQ(end.event, MRB_EVENT_DEVICE_REMOVED);
    EXPECT_EQ(end.name(), "a & b.jpg");
}

TEST_F(DlnaUpload, ARealServerWithoutUploadsFailsTheShare) {
    if (!insideNetwork()) {
        return;
    }
    const Folder media;
    DlnaClient service;
    const MediaServer server(MediaServer::Kind::MINIDLNA, "Shelf", media.path());
    EXPECT_EQ(sendAll(service).event, MRB_EVENT_SHARE_FAILED);
}

TEST_F(DlnaUpload, EntriesOfAPlaylistAreSentWhereverTheyLie) {
    if (!insideNetwork()) {
        return;
    }
    support::writeText(from_, "p.m3u", "gone.mp3\nhttp://host/b.mp3\nsub/a & b.jpg\n");
    DlnaClient service;
    UploadServer server(UploadServer::Behaviour::FETCHES);
    Client client;
    client.list(support::playlist(from_.path("p.m3u")));
    ASSERT_EQ(mrb_select_all_v2(client.handle), MRB_ERR_NONE);
    const ShareEvent end = send(client, service);
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_FAILED);
    EXPECT_EQ(end.name(), "gone.mp3");
    EXPECT_EQ(end.status.total_file_count, 3U);
    EXPECT_EQ(end.status.done_file_count, 1U);
    EXPECT_TRUE(server.taken() == support::bytesOf(from_.path("sub/a & b.jpg")));
}

TEST_F(DlnaUpload, NeedsAServerAndAListOfFiles) {
    if (!insideNetwork()) {
        return;
    }
    Client client;
    select(client);
    EXPECT_EQ(sharing_.send(client, ScriptedServer::ID), MRB_ERR_NOT_INITIALIZED);
    DlnaClient service;
    EXPECT_EQ(sharing_.send(client, ScriptedServer::ID), MRB_ERR_NOT_FOUND);
    EXPECT_EQ(sharing_.send(client, ""), MRB_ERR_NOT_FOUND);
    EXPECT_THAT(sharing_.events(), IsEmpty());
}

TEST_F(DlnaUpload, ManyLeakNothing) {
    if (!insideNetwork()) {
        return;
    }
    for (const UploadServer::Behaviour behaviour :
         {UploadServer::Behaviour::FETCHES, UploadServer::Behaviour::REFUSES_TO_FETCH,
          UploadServer::Behaviour::NEVER_ENDS}) {
        DlnaClient service;
        UploadServer server(behaviour);
        const std::string id = service.server();
        Client client;
        select(client);
        support::expectNothingLeft(support::repetitions(40, 350), [&] {
            server.forget();
            Sharing sharing;
            ASSERT_EQ(sharing.send(client, id), MRB_ERR_NONE);
            if (behaviour == UploadServer::Behaviour::NEVER_ENDS) {
                sharing.waitFor([](const auto &events) { return !events.empty(); });
                ASSERT_EQ(mrb_stop_batch_process_v2(sharing.handle), MRB_ERR_NONE);
            }
            const mrb_event_e end = behaviour == UploadServer::Behaviour::NEVER_ENDS ? MRB_EVENT_SHARE_STOPPED
                                                                                     : MRB_EVENT_SHARE_DONE;
            EXPECT_EQ(sharing.waitForEnd().event, end);
        });
    }
}
