// The service ends with requests under way on the network: they end with it, and every
// resource is released.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "support/dlna_client.h"
#include "support/resources.h"
#include "support/scripted_server.h"

using support::Connection;
using support::Request;
using support::ScriptedServer;

namespace {

// Counts the requests for descriptions.
class RequestCounter {
  public:
    void add() {
        const std::lock_guard guard(lock_);
        ++count_;
        changed_.notify_all();
    }
    // Test failure: fewer at the timeout.
    void waitFor(int count) {
        std::unique_lock guard(lock_);
        EXPECT_TRUE(changed_.wait_for(guard, support::LIMIT, [&] { return count_ >= count; }));
        count_ = 0;
    }

  private:
    std::mutex lock_;
    std::condition_variable changed_;
    int count_ = 0;
};

class TeardownDlnaNetwork : public support::DlnaTest {
  protected:
    // Runs the service until `awaited` descriptions were requested, and ends it then, several
    // times. Each of the servers sends its description as `describe` does.
    void repeat(int servers, int awaited, const ScriptedServer::Describe &describe,
                double bytesPerRound = 1024) {
        RequestCounter requests;
        std::vector<std::unique_ptr<ScriptedServer>> all;
        for (int number = 0; number < servers; ++number) {
            all.push_back(std::make_unique<ScriptedServer>(
                [](const Request & /*request*/, const Connection & /*connection*/) {}, "/control",
                [&](const Connection &connection) {
                    requests.add();
                    describe(connection);
                },
                "uuid:4d696e69-444c-164e-9d41-" + std::to_string(100'000'000'000 + number)));
        }
        support::expectNothingLeft(
            support::repetitions(40, 200),
            [&] {
                const support::DlnaClient service;
                for (const auto &server : all) {
                    server->announce();
                }
                requests.waitFor(awaited);
            },
            bytesPerRound);
    }
};

} // namespace

TEST_F(TeardownDlnaNetwork, NothingIsLeftOfSilentServers) {
    if (!insideNetwork()) {
        return;
    }
    repeat(2, 2, [](const Connection &connection) { connection.wait(); });
}

TEST_F(TeardownDlnaNetwork, NothingIsLeftOfServersThatDripTheirDescriptions) {
    if (!insideNetwork()) {
        return;
    }
    repeat(3, 3, [](const Connection &connection) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n<?xml version=\"1.0\"?><root");
        connection.wait();
    });
}

// GUPnP retries some seconds later, and never releases the message of such an attempt.
TEST_F(TeardownDlnaNetwork, NothingIsLeftOfServersThatRefuseTheirDescriptions) {
    if (!insideNetwork()) {
        return;
    }
    repeat(
        3, 3,
        [](const Connection &connection) {
            connection.send(support::httpResponse("503 Service Unavailable", "later"));
        },
        16'000);
}

// More than the service requests at a time.
TEST_F(TeardownDlnaNetwork, NothingIsLeftOfAHundredServers) {
    if (!insideNetwork()) {
        return;
    }
    repeat(100, 2, [](const Connection &connection) { connection.wait(); });
}

// It could be the address of a machine that only this one reaches.
TEST_F(TeardownDlnaNetwork, ARedirectedDescriptionIsNotFollowed) {
    if (!insideNetwork()) {
        return;
    }
    std::atomic<int> requestCount = 0;
    const ScriptedServer elsewhere([](const Request & /*request*/, const Connection & /*connection*/) {},
                                   "/control", [&](const Connection & /*connection*/) { ++requestCount; });
    for (const char *host : {"127.0.0.1", "127.0.0.2"}) {
        std::string url = elsewhere.urlOf("/description.xml");
        url.replace(url.find("127.0.0.1"), 9, host);
        RequestCounter requests;
        const ScriptedServer server(
            [](const Request & /*request*/, const Connection & /*connection*/) {}, "/control",
            [&](const Connection &connection) {
                connection.send(support::httpResponse("302 Found", "", "Location: " + url + "\r\n"));
                requests.add();
            },
            "uuid:4d696e69-444c-164e-9d41-000000000002");
        const ScriptedServer honest([](const Request & /*request*/, const Connection & /*connection*/) {},
                                    "/control", {}, "uuid:4d696e69-444c-164e-9d41-000000000003");
        support::DlnaClient service;
        server.announce();
        requests.waitFor(1);
        honest.announce(); // requests to `elsewhere` would come before this one arrives
        EXPECT_NE(service.server(), "");
    }
    EXPECT_EQ(requestCount, 0);
}
