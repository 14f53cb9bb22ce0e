// Media servers that come and go, in a network that nothing else is in.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "dlna/network.h"
#include "support/folder.h"
#include "support/media_server.h"
#include "support/own_process.h"

using mrb::dlna::Network;
using mrb::dlna::Server;
using support::MediaServer;
using support::Surroundings;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

constexpr auto LONG = std::chrono::seconds(60);

// Remembers what it heard.
class Listener final : public mrb::dlna::ServerListener {
  public:
    void networkStarted() override {
        change([this] { started = true; });
    }
    void serverArrived(const Server &server) override {
        change([&] { arrived.push_back(server); });
    }
    void serverLeft(const Server &server) override {
        change([&] { left.push_back(server); });
    }

    // False: that did not become so in a long time.
    bool waitFor(const std::function<bool()> &condition) {
        std::unique_lock guard(lock);
        return changed.wait_for(guard, LONG, condition);
    }
    bool waitForArrivals(std::size_t count) {
        return waitFor([&] { return arrived.size() >= count; });
    }
    bool waitForLeaves(std::size_t count) {
        return waitFor([&] { return left.size() >= count; });
    }

    // To be read under the lock, or when the network is gone.
    bool started = false;
    std::vector<Server> arrived;
    std::vector<Server> left;

  private:
    void change(const std::function<void()> &what) {
        const std::lock_guard guard(lock);
        what();
        changed.notify_all();
    }

    std::mutex lock;
    std::condition_variable changed;
};

class DlnaNetwork : public support::OwnProcess {
  protected:
    // As OwnProcess::inside, with the loopback interface up.
    static bool insideNetwork() {
        if (!inside(Surroundings::NETWORK)) {
            return false;
        }
        EXPECT_EQ(std::system("ip link set lo up"), 0);
        return true;
    }
    void start() { network.reset(mrb::dlna::mrb_start_network(listener)); }

    const support::Folder media;
    Listener listener;
    std::unique_ptr<Network> network;
};

} // namespace

TEST_F(DlnaNetwork, AServerThatStartsArrivesAndLeavesWithItsRecord) {
    if (!insideNetwork()) {
        return;
    }
    start();
    ASSERT_TRUE(listener.waitFor([&] { return listener.started; }));
    MediaServer server(MediaServer::Kind::MINIDLNA, "Desk Library", media.path());
    ASSERT_TRUE(listener.waitForArrivals(1));
    server.stop();
    ASSERT_TRUE(listener.waitForLeaves(1));
    network.reset();
    ASSERT_EQ(listener.arrived.size(), 1U);
    EXPECT_THAT(listener.arrived[0].id, StartsWith("uuid:"));
    EXPECT_EQ(listener.arrived[0].name, "Desk Library");
    EXPECT_EQ(listener.arrived[0].address, "127.0.0.1");
    EXPECT_EQ(listener.left, listener.arrived);
}

TEST_F(DlnaNetwork, AServerOfAnotherKindArrivesAndLeavesToo) {
    if (!insideNetwork()) {
        return;
    }
    start();
    MediaServer server(MediaServer::Kind::RYGEL, "Räume", media.path());
    ASSERT_TRUE(listener.waitForArrivals(1));
    server.stop();
    ASSERT_TRUE(listener.waitForLeaves(1));
    network.reset();
    ASSERT_EQ(listener.arrived.size(), 1U);
    EXPECT_EQ(listener.arrived[0].name, "Räume");
    EXPECT_EQ(listener.left, listener.arrived);
}

TEST_F(DlnaNetwork, ServersThatAreThereArriveOnce) {
    if (!insideNetwork()) {
        return;
    }
    const MediaServer one(MediaServer::Kind::MINIDLNA, "One", media.path());
    const MediaServer two(MediaServer::Kind::RYGEL, "Two", media.path());
    start();
    ASSERT_TRUE(listener.waitForArrivals(2));
    network.reset();
    EXPECT_EQ(listener.arrived.size(), 2U);
}

TEST_F(DlnaNetwork, AServerThatIsKilledLeavesWhenItsAnnouncementExpires) {
    if (!insideNetwork()) {
        return;
    }
    start();
    MediaServer server(MediaServer::Kind::MINIDLNA, "Short-lived", media.path());
    ASSERT_TRUE(listener.waitForArrivals(1));
    server.kill();
    ASSERT_TRUE(listener.waitForLeaves(1));
}

TEST_F(DlnaNetwork, ServersLeaveWhenTheNetworkIsLetGo) {
    if (!insideNetwork()) {
        return;
    }
    const MediaServer server(MediaServer::Kind::MINIDLNA, "Steady", media.path());
    start();
    ASSERT_TRUE(listener.waitForArrivals(1));
    network.reset();
    EXPECT_EQ(listener.left, listener.arrived);
}

TEST_F(DlnaNetwork, IsWatchedAnew) {
    if (!insideNetwork()) {
        return;
    }
    const MediaServer server(MediaServer::Kind::MINIDLNA, "Steady", media.path());
    for (std::size_t round = 1; round <= 3; ++round) {
        start();
        ASSERT_TRUE(listener.waitForArrivals(round));
        network.reset();
        EXPECT_EQ(listener.left.size(), round);
    }
}

TEST_F(DlnaNetwork, IsEmptyWithoutAnInterface) {
    if (!inside(Surroundings::NETWORK)) {
        return;
    }
    start();
    ASSERT_TRUE(listener.waitFor([&] { return listener.started; }));
    network.reset();
    EXPECT_THAT(listener.arrived, IsEmpty());
}
