// Copies of files from DLNA servers to folders.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/dlna_client.h"
#include "support/fields.h"
#include "support/folder.h"
#include "support/media.h"
#include "support/media_server.h"
#include "support/resources.h"
#include "support/scripted_server.h"
#include "support/sharing.h"

using support::Client;
using support::Connection;
using support::DlnaClient;
using support::Folder;
using support::MediaServer;
using support::Request;
using support::ScriptedServer;
using support::ShareEvent;
using support::Sharing;
using support::tree;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class DlnaFetch : public support::DlnaTest {};

std::string fileOf(std::size_t size) { return support::httpResponse("200 OK", std::string(size, 'x')); }

// A scripted server, a list of all its items, all selected, and a folder to fetch them
// to. Used by one test thread, inside the network.
class Fetching {
  public:
    explicit Fetching(ScriptedServer::Handler handler) : server_(std::move(handler)) {}

    // With pictures at these addresses, whose size the server states as `size`; addresses
    // that begin with a slash are its own, and `files` handles the requests for them.
    Fetching(const std::vector<std::string> &addresses, std::size_t size,
             const ScriptedServer::Handler &files)
        : Fetching([this, size, files](const Request &request, const Connection &connection) {
              if (isDead) {
                  return; // every connection breaks
              }
              if (request.action.starts_with('/')) {
                  files(request, connection);
              } else {
                  sendItems(request, connection, size);
              }
          }) {
        for (const std::string &address : addresses) {
            urls_.push_back(address.starts_with('/') ? url(address) : address);
        }
    }

    [[nodiscard]] std::string url(const std::string &path) const { return server_.urlOf(path); }

    // Announces the server; its id.
    std::string list() {
        server_.announce();
        std::string id = service_.server();
        EXPECT_EQ(client.list({.path = id, .source = "SOURCE_DLNA"}).event, MRB_EVENT_LIST_READY);
        EXPECT_EQ(mrb_select_all_v2(client.handle), MRB_ERR_NONE);
        return id;
    }
    void begin() {
        const std::string id = list();
        EXPECT_EQ(sharing.fetch(client, id, to.path()), MRB_ERR_NONE);
    }
    ShareEvent run() {
        begin();
        return sharing.waitForEnd();
    }

    std::atomic<bool> isDead = false;

  private:
    void sendItems(const Request &request, const Connection &connection, std::size_t size) const {
        if (request.action == "GetSearchCapabilities") {
            connection.send(support::soapResponse(request, "<SearchCaps></SearchCaps>"));
            return;
        }
        std::string objects;
        for (std::size_t number = 0; number < urls_.size(); ++number) {
            objects += "<item id=\"" + std::to_string(number) +
                       R"(" parentID="0" restricted="1"><dc:title>picture )" + std::to_string(number) +
                       "</dc:title><upnp:class>object.item.imageItem.photo</upnp:class><res size=\"" +
                       std::to_string(size) + R"(" protocolInfo="http-get:*:image/jpeg:*">)" + urls_[number] +
                       "</res></item>";
        }
        const int count = static_cast<int>(urls_.size());
        connection.send(browseResponse(request, support::didlOf(objects), count, count));
    }

    DlnaClient service_;
    std::vector<std::string> urls_; // before the server is announced
    const ScriptedServer server_;

  public:
    const Folder to;
    Client client;
    Sharing sharing;
};

} // namespace

TEST_F(DlnaFetch, FilesArriveByteForByte) {
    if (!insideNetwork()) {
        return;
    }
    const support::MediaFolder media({"song.flac", "photo.jpg"});
    const Folder to;
    DlnaClient service;
    const MediaServer server(MediaServer::Kind::MINIDLNA, "Shelf", media.path());
    Client client;
    const std::string id = service.server();
    for (const auto &[type, name, file] :
         {std::tuple{"MUSIC", "Élégie.flac", "song.flac"}, {"IMAGE", "photo.jpg", "photo.jpg"}}) {
        listAll(client, {.path = id, .contentType = type, .source = "SOURCE_DLNA"}, 1);
        ASSERT_EQ(mrb_select_all_v2(client.handle), MRB_ERR_NONE);
        Sharing sharing;
        ASSERT_EQ(sharing.fetch(client, id, to.path()), MRB_ERR_NONE);
        const ShareEvent end = sharing.waitForEnd();
        EXPECT_EQ(end.event, MRB_EVENT_SHARE_DONE);
        EXPECT_EQ(end.status.done_file_count, 1U);
        EXPECT_EQ(end.status.success_file_size, std::filesystem::file_size(media.path(file)));
        EXPECT_EQ(sharing.events().front().event, MRB_EVENT_SHARE_STARTED);
        EXPECT_TRUE(support::areEqual(to.path(name), media.path(file))) << name;
    }
    EXPECT_THAT(tree(to.path()), ElementsAre("photo.jpg", "Élégie.flac"));
}

TEST_F(DlnaFetch, FoldersAreKeptAndTitlesBecomeNames) {
    if (!insideNetwork()) {
        return;
    }
    std::string base;
    Fetching fetching([&](const Request &request, const Connection &connection) {
        if (request.action != "Browse") {
            connection.send(request.action.starts_with("/f") ? fileOf(5) : support::soapFault(401));
        } else if (request.container == "0") {
            connection.send(browseResponse(request, support::didlOf(support::containerOf("a", "..")), 1, 1));
        } else if (request.container == "a") {
            connection.send(
                browseResponse(request, support::didlOf(support::containerOf("b", "AC/DC")), 1, 1));
        } else {
            const std::string song =
                "<item id=\"s\" parentID=\"b\" restricted=\"1\"><dc:title>Who? ../x</dc:title>"
                "<upnp:class>object.item.audioItem</upnp:class><res "
                "protocolInfo=\"http-get:*:audio/mpeg:*\">" +
                base + "/f.mp3</res></item>";
            connection.send(browseResponse(request, support::didlOf(song), 1, 1));
        }
    });
    base = fetching.url("");
    EXPECT_EQ(fetching.run().event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(fetching.to.path()), ElementsAre("._", "._/AC", "._/AC/DC", "._/AC/DC/Who_ .._x.mp3"));
}

TEST_F(DlnaFetch, AnAddressWithoutAnExtensionIsOfAFileOfItsType) {
    if (!insideNetwork()) {
        return;
    }
    Fetching fetching(
        {"/res", "/res.jpeg", "/res.php?f=a.png"}, 9,
        [](const Request & /*request*/, const Connection &connection) { connection.send(fileOf(9)); });
    EXPECT_EQ(fetching.run().event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(fetching.to.path()), ElementsAre("picture 0.jpg", "picture 1.jpeg", "picture 2.jpg"));
}

TEST_F(DlnaFetch, AServerThatIsKilledEndsIt) {
    if (!insideNetwork()) {
        return;
    }
    Fetching fetching({"/0.jpg", "/1.jpg"}, 1UL << 20,
                      [&](const Request & /*request*/, const Connection &connection) {
                          fetching.isDead = true;
                          connection.send(fileOf(1UL << 20).substr(0, 1UL << 19));
                      });
    const ShareEvent end = fetching.run();
    EXPECT_EQ(end.event, MRB_EVENT_DEVICE_REMOVED);
    EXPECT_EQ(end.name(), "picture 0");
    EXPECT_THAT(tree(fetching.to.path()), IsEmpty());
}

TEST_F(DlnaFetch, AFileThatBreaksOffCostsThatFile) {
    if (!insideNetwork()) {
        return;
    }
    Fetching fetching(
        {"/0.jpg", "/1.jpg", "/2.jpg"}, 1000, [](const Request &request, const Connection &connection) {
            if (request.action == "/0.jpg") {
                connection.send(fileOf(1000).substr(0, 700));
            } else {
                connection.send(request.action == "/1.jpg" ? fileOf(1000)
                                                           : support::httpResponse("404 Not Found", ""));
            }
        });
    const ShareEvent end = fetching.run();
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_FAILED);
    EXPECT_EQ(end.name(), "picture 0");
    EXPECT_EQ(end.status.done_file_count, 1U);
    EXPECT_THAT(tree(fetching.to.path()), ElementsAre("picture 1.jpg"));
}

TEST_F(DlnaFetch, OtherHostsAreNotContacted) {
    if (!insideNetwork()) {
        return;
    }
    std::atomic<int> requestCount = 0;
    const ScriptedServer other(
        [&](const Request & /*request*/, const Connection & /*connection*/) { ++requestCount; });
    std::string elsewhere = other.urlOf("/0.jpg");
    elsewhere.replace(elsewhere.find("127.0.0.1"), 9, "127.0.0.2");
    Fetching fetching({elsewhere, "/1.jpg", "file:///etc/passwd"}, 1000,
                      [&](const Request & /*request*/, const Connection &connection) {
                          connection.send(
                              support::httpResponse("302 Found", "", "Location: " + elsewhere + "\r\n"));
                      });
    EXPECT_EQ(fetching.run().event, MRB_EVENT_SHARE_FAILED);
    EXPECT_EQ(requestCount, 0);
    EXPECT_THAT(tree(fetching.to.path()), IsEmpty());
}

TEST_F(DlnaFetch, AServerWithWrongSizesLeavesNoFile) {
    if (!insideNetwork()) {
        return;
    }
    const auto sendFile = [](const Request &request, const Connection &connection) {
        const std::string body(1000, 'x');
        const std::string length = request.action == "/huge.jpg" ? "Content-Length: 999999999999999\r\n" : "";
        // Without a length: as many bytes as it sends.
        connection.send("HTTP/1.1 200 OK\r\n" + length + "Connection: close\r\n\r\n" +
                        (request.action == "/more.jpg" ? body + body
                                                       : body.substr(request.action == "/less.jpg" ? 1 : 0)));
    };
    Fetching fetching({"/more.jpg", "/less.jpg", "/true.jpg", "/huge.jpg"}, 1000, sendFile);
    EXPECT_EQ(fetching.run().event, MRB_EVENT_SHARE_FAILED);
    EXPECT_THAT(tree(fetching.to.path()), testing::AnyOf(ElementsAre("picture 2.jpg"), IsEmpty()));
}

TEST_F(DlnaFetch, IsStoppedAtOnceAndLeavesNothing) {
    if (!insideNetwork()) {
        return;
    }
    Fetching fetching({"/0.jpg"}, 1UL << 20, [](const Request & /*request*/, const Connection &connection) {
        connection.send(fileOf(1UL << 20).substr(0, 1UL << 19));
        connection.wait();
    });
    fetching.begin();
    fetching.sharing.waitFor([](const auto &events) { return !events.empty(); });
    ASSERT_EQ(mrb_stop_batch_process_v2(fetching.sharing.handle), MRB_ERR_NONE);
    EXPECT_EQ(fetching.sharing.waitForEnd().event, MRB_EVENT_SHARE_STOPPED);
    EXPECT_THAT(tree(fetching.to.path()), IsEmpty());
}

TEST_F(DlnaFetch, APageOrAnEncodedBodyInPlaceOfTheFileCostsThatFile) {
    if (!insideNetwork()) {
        return;
    }
    std::atomic<bool> isIdentityRequested = true;
    const auto responseOf = [](const std::string &headers) {
        return "HTTP/1.1 200 OK\r\n" + headers + "Connection: close\r\n\r\n" + std::string(19, 'x');
    };
    Fetching fetching({"/page.jpg", "/page2.jpg", "/gzip.jpg", "/true.jpg", "/short.jpg"}, 19,
                      [&](const Request &request, const Connection &connection) {
                          if (request.head.find("Accept-Encoding: identity\r\n") == std::string::npos) {
                              isIdentityRequested = false;
                          }
                          if (request.action == "/page.jpg") {
                              connection.send(responseOf("Content-Type: text/html\r\n"));
                          } else if (request.action == "/page2.jpg") {
                              connection.send(responseOf("Content-Type: Text/HTML; charset=utf-8\r\n"));
                          } else if (request.action == "/gzip.jpg") {
                              connection.send(responseOf("Content-Encoding: gzip\r\n"));
                          } else if (request.action == "/short.jpg") {
                              connection.send(support::httpResponse("200 OK", std::string(18, 'x')));
                          } else {
                              connection.send(responseOf("Content-Encoding: identity\r\n"));
                          }
                      });
    const ShareEvent end = fetching.run();
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_FAILED);
    EXPECT_EQ(end.name(), "picture 0");
    EXPECT_EQ(end.status.done_file_count, 1U);
    EXPECT_TRUE(isIdentityRequested);
    EXPECT_THAT(tree(fetching.to.path()), ElementsAre("picture 3.jpg"));
}

TEST_F(DlnaFetch, ManyLeakNothing) {
    if (!insideNetwork()) {
        return;
    }
    Fetching fetching({"/0.jpg"}, 300'000, [](const Request & /*request*/, const Connection &connection) {
        connection.send(fileOf(300'000));
    });
    const std::string id = fetching.list();
    support::expectNothingLeft(support::repetitions(100, 1000), [&] {
        Sharing sharing;
        ASSERT_EQ(sharing.fetch(fetching.client, id, fetching.to.path()), MRB_ERR_NONE);
        EXPECT_EQ(sharing.waitForEnd().event, MRB_EVENT_SHARE_DONE);
        EXPECT_TRUE(std::filesystem::remove(fetching.to.path("picture 0.jpg")));
    });
}

TEST_F(DlnaFetch, ManyThatAreStoppedLeakNothing) {
    if (!insideNetwork()) {
        return;
    }
    std::atomic<int> sent = 0;
    Fetching fetching({"/0.jpg"}, 300'000, [&](const Request & /*request*/, const Connection &connection) {
        connection.send(fileOf(300'000).substr(0, 200'000));
        ++sent;
        sent.notify_all();
        connection.wait();
    });
    const std::string id = fetching.list();
    support::expectNothingLeft(support::repetitions(100, 1000), [&] {
        const int before = sent;
        Sharing sharing;
        ASSERT_EQ(sharing.fetch(fetching.client, id, fetching.to.path()), MRB_ERR_NONE);
        sent.wait(before);
        ASSERT_EQ(mrb_stop_batch_process_v2(sharing.handle), MRB_ERR_NONE);
        EXPECT_EQ(sharing.waitForEnd().event, MRB_EVENT_SHARE_STOPPED);
    });
    EXPECT_THAT(tree(fetching.to.path()), IsEmpty());
}

TEST_F(DlnaFetch, WhatCannotWorkIsRefusedAtOnce) {
    if (!insideNetwork()) {
        return;
    }
    const Folder to;
    const Folder files;
    files.file("a.jpg", 1);
    Client local;
    support::selectEverything(local, files.path());
    Sharing sharing;
    EXPECT_EQ(sharing.fetch(local, ScriptedServer::ID, to.path()), MRB_ERR_NOT_INITIALIZED);
    Fetching fetching({"/0.jpg"}, 1, {});
    const Client &client = fetching.client;
    EXPECT_EQ(sharing.fetch(local, ScriptedServer::ID, to.path()), MRB_ERR_NOT_FOUND);
    const std::string id = fetching.list();
    EXPECT_EQ(sharing.fetch(local, id, to.path()), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(sharing.fetch(client, id, to.path("none")), MRB_ERR_NOT_FOUND);
    EXPECT_EQ(sharing.fetch(client, id, "relative"), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(sharing.send(client, id), MRB_ERR_NOT_SUPPORTED);
    EXPECT_EQ(sharing.copy(client, to.path()), MRB_ERR_NOT_SUPPORTED);
    mrb_deselect_all_v2(client.handle);
    EXPECT_EQ(sharing.fetch(client, id, to.path()), MRB_ERR_NOT_FOUND);
    EXPECT_THAT(sharing.events(), IsEmpty());
}
