// What servers send over the network is bounded, in size and in time, and ends with a code
// that names what was wrong.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "dlna/content_directory_client.h"
#include "dlna/network.h"
#include "mrb/result.h"
#include "support/dlna_client.h"
#include "support/scripted_server.h"

using mrb::MetadataKey;
using mrb::Status;
using mrb::dlna::BrowseRequest;
using mrb::dlna::ContentDirectoryClient;
using mrb::dlna::Page;
using support::Connection;
using support::Request;
using support::ScriptedServer;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

constexpr auto LONG = std::chrono::seconds(60);

class Observer final : public mrb::dlna::NetworkObserver {
  public:
    void networkStarted() override {
        const std::lock_guard guard(lock_);
        started_ = true;
        changed_.notify_all();
    }
    void serverArrived(const mrb::dlna::Server & /*server*/) override { change(1); }
    void serverLeft(const mrb::dlna::Server & /*server*/) override { change(-1); }

    bool waitForStart() {
        std::unique_lock guard(lock_);
        return changed_.wait_for(guard, LONG, [&] { return std::exchange(started_, false); });
    }
    // False: timeout.
    bool waitFor(int servers) {
        std::unique_lock guard(lock_);
        return changed_.wait_for(guard, LONG, [&] { return servers_ == servers; });
    }

  private:
    void change(int by) {
        const std::lock_guard guard(lock_);
        servers_ += by;
        changed_.notify_all();
    }

    std::mutex lock_;
    std::condition_variable changed_;
    int servers_ = 0;
    bool started_ = false;
};

class DlnaHostile : public support::DlnaTest {
  protected:
    // Starts a server with that handler and waits until it is found.
    void serve(ScriptedServer::Handler answer, const std::string &control = "/control") {
        server = std::make_unique<ScriptedServer>(std::move(answer), control);
        network.reset(mrb::dlna::mrb_start_network(observer));
        contentClient = network->contentClient();
        ASSERT_TRUE(observer.waitForStart()); // announcements before that are lost
        server->announce();
        ASSERT_TRUE(observer.waitFor(1));
    }

    Status browse(std::chrono::milliseconds timeout = LONG) {
        BrowseRequest request;
        request.server = ScriptedServer::ID;
        request.container = "0";
        request.count = 500;
        request.timeout = timeout;
        return contentClient->browse(
            request, [this] { return stopped.load(); }, page);
    }

    Status fetch(const std::string &url, std::size_t most = 1000, std::chrono::milliseconds timeout = LONG) {
        return contentClient->fetch(
            url, most, timeout, [] { return false; }, bytes);
    }

    Observer observer;
    std::string bytes;
    std::unique_ptr<ScriptedServer> server;
    std::unique_ptr<mrb::dlna::Network> network; // ends before its server
    std::shared_ptr<ContentDirectoryClient> contentClient;
    std::atomic<bool> stopped = false;
    Page page;
};

} // namespace

TEST_F(DlnaHostile, AValidResponseIsRead) {
    if (!insideNetwork()) {
        return;
    }
    serve([](const Request &request, const Connection &connection) {
        connection.send(browseResponse(
            request, support::didlOf(support::imageOf("7", "seven") + support::containerOf("c", "more")), 2,
            9));
    });
    const Status status = browse();
    ASSERT_EQ(status.code, MRB_ERR_NONE) << status.message;
    ASSERT_THAT(page.objects, SizeIs(2));
    EXPECT_EQ(page.total, 9U);
    EXPECT_EQ(page.returned, 2U);
    EXPECT_EQ(page.objects[0].id, "7");
    EXPECT_EQ(page.objects[0].title, "seven");
    EXPECT_EQ(page.objects[0].size, 1234);
    EXPECT_EQ(page.objects[0].url, "http://127.0.0.1:1/7.jpg");
    EXPECT_EQ(page.objects[0].metadata.number(MetadataKey::WIDTH), 400);
    EXPECT_EQ(page.objects[0].metadata.text(MetadataKey::MIME_TYPE), "image/jpeg");
    EXPECT_EQ(page.objects[0].metadata.text(MetadataKey::DATE_TAKEN), "2026-11-21T10:20:30Z");
    EXPECT_TRUE(page.objects[1].isContainer);
}

TEST_F(DlnaHostile, AnEndlessDescriptionIsAborted) {
    if (!insideNetwork()) {
        return;
    }
    network.reset(mrb::dlna::mrb_start_network(observer));
    ASSERT_TRUE(observer.waitForStart());
    std::promise<std::size_t> given;
    std::once_flag once; // the client may request it twice
    const ScriptedServer endless(
        [](const Request & /*request*/, const Connection & /*connection*/) {}, "/control",
        [&](const Connection &connection) {
            const std::string part(1UL << 16, ' ');
            std::size_t sent = 0;
            connection.send("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n<?xml version=\"1.0\"?>");
            while (connection.send(part)) {
                sent += part.size();
            }
            std::call_once(once, [&] { given.set_value(sent); });
        });
    endless.announce();
    std::future<std::size_t> sent = given.get_future();
    ASSERT_EQ(sent.wait_for(LONG), std::future_status::ready);
    EXPECT_LT(sent.get(), 1UL << 30); // what a network can transfer between two checks
}

TEST_F(DlnaHostile, TheNextPageIsPrefetched) {
    if (!insideNetwork()) {
        return;
    }
    std::atomic<int> answered = 0;
    serve([&](const Request &request, const Connection &connection) {
        const std::string number = std::to_string(request.start);
        ++answered; // before the client can have the response
        answered.notify_all();
        connection.send(
            browseResponse(request, support::didlOf(support::imageOf(number, "picture " + number)), 1, 3));
    });
    BrowseRequest request;
    request.server = ScriptedServer::ID;
    request.container = "0";
    request.count = 1;
    request.timeout = LONG;
    request.expectsNextPage = true;
    const auto isStopped = [] { return false; };
    ASSERT_EQ(contentClient->browse(request, isStopped, page).code, MRB_ERR_NONE);
    answered.wait(1);
    request.expectsNextPage = false;
    request.prefetch = std::move(page.prefetch);
    ++request.start;
    page = {};
    ASSERT_EQ(contentClient->browse(request, isStopped, page).code, MRB_ERR_NONE);
    EXPECT_EQ(page.objects.at(0).id, "1");
    EXPECT_EQ(answered, 2);
    // The caller requests another page than the prefetched one.
    request.prefetch.reset();
    request.expectsNextPage = true;
    ASSERT_EQ(contentClient->browse(request, isStopped, page).code, MRB_ERR_NONE);
    request.prefetch = std::move(page.prefetch);
    request.start = 7;
    page = {};
    ASSERT_EQ(contentClient->browse(request, isStopped, page).code, MRB_ERR_NONE);
    EXPECT_EQ(page.objects.at(0).id, "7");
}

TEST_F(DlnaHostile, AnEmptyContainerIsNotAnError) {
    if (!insideNetwork()) {
        return;
    }
    serve([](const Request &request, const Connection &connection) {
        connection.send(browseResponse(request, support::didlOf(""), 0, 0));
    });
    EXPECT_EQ(browse().code, MRB_ERR_NONE);
    EXPECT_THAT(page.objects, SizeIs(0));
}

TEST_F(DlnaHostile, BrokenXmlIsReportedAndTheObjectsBeforeItAreKept) {
    if (!insideNetwork()) {
        return;
    }
    serve([](const Request &request, const Connection &connection) {
        connection.send(browseResponse(
            request, support::didlOf(support::imageOf("1", "one") + "<item id=\"2\"><dc:title>t</dc:tit"), 2,
            2));
    });
    const Status status = browse();
    EXPECT_EQ(status.code, MRB_ERR_PROTOCOL);
    EXPECT_THAT(status.message, HasSubstr("broken XML"));
    ASSERT_GE(page.objects.size(), 1U);
    EXPECT_EQ(page.objects[0].id, "1");
}

TEST_F(DlnaHostile, AnEnvelopeThatIsNotXmlIsReported) {
    if (!insideNetwork()) {
        return;
    }
    serve([](const Request & /*request*/, const Connection &connection) {
        connection.send(support::httpResponse("200 OK", "hello"));
    });
    EXPECT_EQ(browse().code, MRB_ERR_PROTOCOL);
}

namespace {

// Entities that expand to 10^10 letters.
std::string bomb(const std::string &root) {
    std::string text = "<!DOCTYPE x [<!ENTITY e0 \"ha\">";
    for (int level = 1; level <= 10; ++level) {
        text += "<!ENTITY e" + std::to_string(level) + " \"";
        for (int times = 0; times < 10; ++times) {
            text += "&e" + std::to_string(level - 1) + ";";
        }
        text += "\">";
    }
    return text + "]>" + root;
}

} // namespace

TEST_F(DlnaHostile, EntitiesOfAnEnvelopeAreRefused) {
    if (!insideNetwork()) {
        return;
    }
    serve([](const Request & /*request*/, const Connection &connection) {
        connection.send(support::httpResponse(
            "200 OK", bomb("<s:Envelope xmlns:s=\"e\"><s:Body><u:BrowseResponse xmlns:u=\"u\">"
                           "<Result>&e10;</Result></u:BrowseResponse></s:Body></s:Envelope>")));
    });
    const Status status = browse();
    EXPECT_EQ(status.code, MRB_ERR_PROTOCOL);
    EXPECT_THAT(status.message, HasSubstr("entities"));
}

TEST_F(DlnaHostile, EntitiesOfObjectsAreRefused) {
    if (!insideNetwork()) {
        return;
    }
    serve([](const Request &request, const Connection &connection) {
        connection.send(browseResponse(request, bomb(support::didlOf(support::imageOf("1", "&e10;"))), 1, 1));
    });
    const Status status = browse();
    EXPECT_EQ(status.code, MRB_ERR_PROTOCOL);
    EXPECT_THAT(status.message, HasSubstr("entities"));
    EXPECT_THAT(page.objects, SizeIs(0));
}

// After a fault and in another encoding, where a search in the text would not find them.
TEST_F(DlnaHostile, EntitiesThatHideAreRefused) {
    if (!insideNetwork()) {
        return;
    }
    std::string hidden = bomb(support::didlOf(support::imageOf("1", "&e10;")));
    for (const std::string &start :
         {std::string("<?xml version='x'?>"), std::string("<?xml version='1.0' encoding='?'?>")}) {
        serve([&](const Request &request, const Connection &connection) {
            connection.send(browseResponse(request, start + hidden, 1, 1));
        });
        EXPECT_EQ(browse().code, MRB_ERR_PROTOCOL);
        for (const auto &object : page.objects) {
            EXPECT_LE(object.title.size(), mrb::Metadata::MAX_TEXT_LENGTH);
        }
        network.reset();
        server.reset(); // its threads read variables of this test
    }
}

TEST_F(DlnaHostile, AHundredMegabytesAreNotReadToTheirEnd) {
    if (!insideNetwork()) {
        return;
    }
    constexpr std::size_t PARTS = 100;
    std::atomic<std::size_t> sent = 0;
    serve([&](const Request & /*request*/, const Connection &connection) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nConnection: close\r\n\r\n");
        const std::string part(1UL << 20, 'x');
        while (sent < PARTS && connection.send(part)) {
            ++sent;
        }
    });
    const Status status = browse();
    EXPECT_EQ(status.code, MRB_ERR_PROTOCOL);
    EXPECT_THAT(status.message, HasSubstr("longer than"));
    network.reset();
    server.reset();
    EXPECT_LT(sent, PARTS);
}

TEST_F(DlnaHostile, ADrippingResponseEndsAtTheTimeout) {
    if (!insideNetwork()) {
        return;
    }
    serve([](const Request & /*request*/, const Connection &connection) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: 1000000\r\n\r\n");
        while (connection.send(" ")) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10)); // the drip, not a wait
        }
    });
    EXPECT_EQ(browse(std::chrono::milliseconds(300)).code, MRB_ERR_TIMEOUT);
}

TEST_F(DlnaHostile, ASilentServerEndsAtTheTimeout) {
    if (!insideNetwork()) {
        return;
    }
    serve([](const Request & /*request*/, const Connection &connection) { connection.wait(); });
    EXPECT_EQ(browse(std::chrono::milliseconds(200)).code, MRB_ERR_TIMEOUT);
}

TEST_F(DlnaHostile, ACancelledRequestEndsAtOnce) {
    if (!insideNetwork()) {
        return;
    }
    serve([this](const Request & /*request*/, const Connection &connection) {
        stopped = true;
        connection.wait();
    });
    EXPECT_EQ(browse().code, MRB_ERR_CANCELLED);
}

TEST_F(DlnaHostile, ARedirectionIsNotFollowed) {
    if (!insideNetwork()) {
        return;
    }
    for (const char *httpStatus :
         {"301 Moved", "302 Found", "307 Temporary Redirect", "308 Permanent Redirect"}) {
        std::atomic<int> requestCount = 0;
        serve([&](const Request & /*request*/, const Connection &connection) {
            ++requestCount;
            connection.send(
                support::httpResponse(httpStatus, "", "Location: http://127.0.0.1:9/elsewhere\r\n"));
        });
        const Status status = browse();
        EXPECT_EQ(status.code, MRB_ERR_PROTOCOL) << httpStatus;
        EXPECT_THAT(status.message, HasSubstr("redirects")) << httpStatus;
        network.reset();
        server.reset();
        EXPECT_EQ(requestCount, 1);
    }
}

TEST_F(DlnaHostile, AContentDirectoryOnAnotherHostIsNotContacted) {
    if (!insideNetwork()) {
        return;
    }
    serve([](const Request & /*request*/,
             const Connection & /*connection*/) { ADD_FAILURE() << "it got a request"; },
          "http://127.0.0.2:80/control");
    const Status status = browse();
    EXPECT_EQ(status.code, MRB_ERR_PROTOCOL);
    EXPECT_THAT(status.message, HasSubstr("another host"));
}

TEST_F(DlnaHostile, AConnectionThatBreaksOffIsReported) {
    if (!insideNetwork()) {
        return;
    }
    serve([](const Request & /*request*/, const Connection &connection) {
        connection.send(
            "HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: 1000000\r\n\r\n<s:Envelope");
    });
    EXPECT_EQ(browse().code, MRB_ERR_DEVICE_REMOVED);
}

TEST_F(DlnaHostile, AServerThatLeavesEndsItsRequests) {
    if (!insideNetwork()) {
        return;
    }
    serve([this](const Request & /*request*/, const Connection &connection) {
        server->leave();
        connection.wait();
    });
    EXPECT_EQ(browse().code, MRB_ERR_DEVICE_REMOVED);
    EXPECT_EQ(browse().code, MRB_ERR_DEVICE_REMOVED);
}

TEST_F(DlnaHostile, ANetworkThatIsStoppedEndsItsRequests) {
    if (!insideNetwork()) {
        return;
    }
    std::atomic<bool> isRequested = false;
    serve([&](const Request & /*request*/, const Connection &connection) {
        isRequested = true;
        isRequested.notify_all();
        connection.wait();
    });
    std::thread ending([&] {
        isRequested.wait(false);
        network.reset();
    });
    EXPECT_EQ(browse().code, MRB_ERR_DEVICE_REMOVED);
    ending.join();
    EXPECT_EQ(browse().code, MRB_ERR_DEVICE_REMOVED);
}

TEST_F(DlnaHostile, RefusalsOfTheServerHaveTheirCodes) {
    if (!insideNetwork()) {
        return;
    }
    std::atomic<int> number = 0;
    serve([&](const Request & /*request*/, const Connection &connection) {
        connection.send(support::httpResponse(
            "500 Internal Server Error",
            R"(<s:Envelope xmlns:s="http://schemas.xmlsoap.org/soap/envelope/"><s:Body><s:Fault>)"
            "<faultcode>s:Client</faultcode><detail><UPnPError><errorCode>" +
                std::to_string(number) +
                "</errorCode></UPnPError></detail></s:Fault></s:Body></s:Envelope>"));
    });
    const std::pair<int, int> CODES[] = {
        {701, MRB_ERR_NOT_FOUND},         {710, MRB_ERR_NOT_FOUND}, {708, MRB_ERR_NOT_SUPPORTED},
        {801, MRB_ERR_PERMISSION_DENIED}, {720, MRB_ERR_IO},        {12345, MRB_ERR_PROTOCOL}};
    for (const auto &[error, code] : CODES) {
        number = error;
        EXPECT_EQ(browse().code, code) << error;
    }
}

TEST_F(DlnaHostile, AFileIsFetchedFromAServer) {
    if (!insideNetwork()) {
        return;
    }
    serve([](const Request &request, const Connection &connection) {
        connection.send(support::httpResponse("200 OK", "file " + request.action));
    });
    EXPECT_EQ(fetch(server->urlOf("/a.jpg")).code, MRB_ERR_NONE);
    EXPECT_EQ(bytes, "file /a.jpg");
}

TEST_F(DlnaHostile, FilesOfOtherHostsAreNotFetched) {
    if (!insideNetwork()) {
        return;
    }
    serve([](const Request & /*request*/, const Connection & /*connection*/) {
        ADD_FAILURE() << "it got a request";
    });
    for (const char *url :
         {"http://127.0.0.2/a.jpg", "http://127.0.0.1@127.0.0.2/", "file:///etc/passwd", "", "http://"}) {
        EXPECT_EQ(fetch(url).code, MRB_ERR_PERMISSION_DENIED) << url;
    }
}

TEST_F(DlnaHostile, AFileThatIsTooLongOrTooSlowOrElsewhereIsNotFetched) {
    if (!insideNetwork()) {
        return;
    }
    serve([](const Request &request, const Connection &connection) {
        if (request.action == "/long") {
            connection.send(support::httpResponse("200 OK", std::string(1001, 'x')));
        } else if (request.action == "/slow") {
            connection.wait();
        } else if (request.action == "/elsewhere") {
            connection.send(support::httpResponse("302 Found", "", "Location: http://127.0.0.2/\r\n"));
        } else {
            connection.send(support::httpResponse("404 Not Found", ""));
        }
    });
    EXPECT_EQ(fetch(server->urlOf("/long")).code, MRB_ERR_PROTOCOL);
    EXPECT_EQ(fetch(server->urlOf("/slow"), 1000, std::chrono::milliseconds(200)).code, MRB_ERR_TIMEOUT);
    EXPECT_EQ(fetch(server->urlOf("/elsewhere")).code, MRB_ERR_PROTOCOL);
    EXPECT_EQ(fetch(server->urlOf("/nowhere")).code, MRB_ERR_NOT_FOUND);
}
