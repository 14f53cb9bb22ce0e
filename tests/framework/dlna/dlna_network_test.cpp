// Media servers that come and go, in a network namespace of the test's own.

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "base/descriptor.h"
#include "base/log.h"
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

constexpr auto LONG = std::chrono::seconds(120);

// Leaves few of the ports that the system gives out: those from FIRST, of which TAKEN are in use
// by connections on the loopback interface or at `address`.
class PortShortage {
  public:
    explicit PortShortage(const char *address) {
        std::ofstream("/proc/sys/net/ipv4/ip_local_port_range") << FIRST << ' ' << FIRST + COUNT - 1 << '\n';
        for (int port = FIRST; port < FIRST + TAKEN; ++port) {
            mrb::Descriptor &taken = taken_.emplace_back(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
            sockaddr_in name = {};
            name.sin_family = AF_INET;
            name.sin_port = htons(static_cast<in_port_t>(port));
            EXPECT_EQ(inet_pton(AF_INET, address, &name.sin_addr), 1);
            EXPECT_EQ(bind(taken.fd(), reinterpret_cast<const sockaddr *>(&name), sizeof name), 0);
            EXPECT_EQ(listen(taken.fd(), 1), 0);
        }
    }

  private:
    static constexpr int FIRST = 40'000;
    static constexpr int COUNT = 20;
    static constexpr int TAKEN = 14;

    std::vector<mrb::Descriptor> taken_;
};

// Whether a file of the kernel's tables has the text within the test's limit, or has it no more.
bool waitForTable(const char *file, const std::string &text, bool isThere = true) {
    const auto deadline = std::chrono::steady_clock::now() + LONG;
    while (std::chrono::steady_clock::now() < deadline) {
        std::ifstream table(file);
        const std::string content((std::istreambuf_iterator<char>(table)), std::istreambuf_iterator<char>());
        if ((content.find(text) != std::string::npos) == isThere) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

constexpr const char *SOCKETS = "/proc/net/udp";
constexpr const char *SOCKET = "0100090A:"; // at 10.9.0.1
constexpr const char *GROUPS = "/proc/net/igmp";
constexpr const char *GROUP = "FAFFFFEF"; // 239.255.255.250, where servers announce themselves

// An interface besides loopback, with the address 10.9.0.1.
void addInterface() {
    EXPECT_EQ(std::system("ip link add near type veth peer name far && ip addr add 10.9.0.1/24 dev near && "
                          "ip link set near up && ip link set far up"),
              0);
}

// Keeps the events.
class Observer final : public mrb::dlna::NetworkObserver {
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

    // False: timeout.
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

    // Read under the lock, or after the network has ended.
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
    void start() { network.reset(mrb::dlna::mrb_start_network(observer)); }

    const support::Folder media;
    Observer observer;
    std::unique_ptr<Network> network;
};

} // namespace

TEST_F(DlnaNetwork, AServerThatStartsArrivesAndLeavesWithItsRecord) {
    if (!insideNetwork()) {
        return;
    }
    start();
    ASSERT_TRUE(observer.waitFor([&] { return observer.started; }));
    MediaServer server(MediaServer::Kind::MINIDLNA, "Desk Library", media.path());
    ASSERT_TRUE(observer.waitForArrivals(1));
    server.stop();
    ASSERT_TRUE(observer.waitForLeaves(1));
    network.reset();
    ASSERT_EQ(observer.arrived.size(), 1U);
    EXPECT_THAT(observer.arrived[0].id, StartsWith("uuid:"));
    EXPECT_EQ(observer.arrived[0].name, "Desk Library");
    EXPECT_EQ(observer.arrived[0].address, "127.0.0.1");
    EXPECT_EQ(observer.left, observer.arrived);
}

TEST_F(DlnaNetwork, AServerOfAnotherKindArrivesAndLeavesToo) {
    if (!insideNetwork()) {
        return;
    }
    start();
    MediaServer server(MediaServer::Kind::RYGEL, "Räume", media.path());
    ASSERT_TRUE(observer.waitForArrivals(1));
    server.stop();
    ASSERT_TRUE(observer.waitForLeaves(1));
    network.reset();
    ASSERT_EQ(observer.arrived.size(), 1U);
    EXPECT_EQ(observer.arrived[0].name, "Räume");
    EXPECT_EQ(observer.left, observer.arrived);
}

TEST_F(DlnaNetwork, ServersThatAreThereArriveOnce) {
    if (!insideNetwork()) {
        return;
    }
    const MediaServer one(MediaServer::Kind::MINIDLNA, "One", media.path());
    const MediaServer two(MediaServer::Kind::RYGEL, "Two", media.path());
    start();
    ASSERT_TRUE(observer.waitForArrivals(2));
    network.reset();
    EXPECT_EQ(observer.arrived.size(), 2U);
}

TEST_F(DlnaNetwork, AServerThatIsKilledLeavesWhenItsAnnouncementExpires) {
    if (!insideNetwork()) {
        return;
    }
    start();
    MediaServer server(MediaServer::Kind::MINIDLNA, "Short-lived", media.path());
    ASSERT_TRUE(observer.waitForArrivals(1));
    server.kill();
    ASSERT_TRUE(observer.waitForLeaves(1));
}

TEST_F(DlnaNetwork, ServersLeaveWhenTheNetworkIsStopped) {
    if (!insideNetwork()) {
        return;
    }
    const MediaServer server(MediaServer::Kind::MINIDLNA, "Steady", media.path());
    start();
    ASSERT_TRUE(observer.waitForArrivals(1));
    network.reset();
    EXPECT_EQ(observer.left, observer.arrived);
}

TEST_F(DlnaNetwork, IsWatchedAgain) {
    if (!insideNetwork()) {
        return;
    }
    const MediaServer server(MediaServer::Kind::MINIDLNA, "Steady", media.path());
    for (std::size_t round = 1; round <= 3; ++round) {
        start();
        ASSERT_TRUE(observer.waitForArrivals(round));
        network.reset();
        EXPECT_EQ(observer.left.size(), round);
    }
}

TEST_F(DlnaNetwork, IsEmptyWithoutAnInterface) {
    if (!inside(Surroundings::NETWORK)) {
        return;
    }
    start();
    ASSERT_TRUE(observer.waitFor([&] { return observer.started; }));
    network.reset();
    EXPECT_THAT(observer.arrived, IsEmpty());
}

// A port that the system gives out for the search may be one that a connection has.
TEST_F(DlnaNetwork, FindsServersWhileMostPortsAreTaken) {
    if (!insideNetwork()) {
        return;
    }
    const MediaServer server(MediaServer::Kind::MINIDLNA, "Steady", media.path());
    const PortShortage shortage("127.0.0.1");
    for (std::size_t round = 1; round <= 8; ++round) {
        start();
        ASSERT_TRUE(observer.waitForArrivals(round));
        network.reset();
    }
}

TEST_F(DlnaNetwork, UsesAnInterfaceWhileMostPortsAreTaken) {
    if (!insideNetwork()) {
        return;
    }
    addInterface();
    const PortShortage shortage("10.9.0.1");
    for (int round = 0; round < 8; ++round) {
        start();
        ASSERT_TRUE(waitForTable(SOCKETS, SOCKET));
        network.reset();
    }
}

TEST_F(DlnaNetwork, UsesAnInterfaceThatComesUntilItGoes) {
    if (!insideNetwork()) {
        return;
    }
    start();
    ASSERT_TRUE(observer.waitFor([&] { return observer.started; }));
    for (int round = 0; round < 3; ++round) {
        addInterface();
        ASSERT_TRUE(waitForTable(SOCKETS, SOCKET));
        ASSERT_EQ(std::system("ip link set near down"), 0);
        ASSERT_TRUE(waitForTable(SOCKETS, SOCKET, false));
        ASSERT_EQ(std::system("ip link set near up"), 0);
        ASSERT_TRUE(waitForTable(SOCKETS, SOCKET));
        ASSERT_EQ(std::system("ip link delete near"), 0);
        ASSERT_TRUE(waitForTable(SOCKETS, SOCKET, false));
    }
}

// The kernel drops a socket's groups with the interface, and keeps the socket.
TEST_F(DlnaNetwork, JoinsTheGroupAgainOnARecreatedInterface) {
    if (!insideNetwork()) {
        return;
    }
    ASSERT_EQ(std::system("ip link set lo down"), 0);
    start();
    ASSERT_TRUE(observer.waitFor([&] { return observer.started; }));
    addInterface();
    for (int round = 0; round < 10; ++round) {
        ASSERT_TRUE(waitForTable(GROUPS, GROUP));
        ASSERT_EQ(std::system("ip link delete near"), 0);
        ASSERT_TRUE(waitForTable(GROUPS, GROUP, false));
        addInterface();
    }
}

TEST_F(DlnaNetwork, UsesLoopbackWhenItComesUp) {
    if (!inside(Surroundings::NETWORK)) {
        return;
    }
    start();
    ASSERT_TRUE(observer.waitFor([&] { return observer.started; }));
    ASSERT_EQ(std::system("ip link set lo up"), 0);
    const MediaServer server(MediaServer::Kind::MINIDLNA, "Late", media.path());
    ASSERT_TRUE(observer.waitForArrivals(1));
    network.reset();
}

TEST_F(DlnaNetwork, KeepsItsServersWhileTheAddressesCannotBeRead) {
    if (!insideNetwork()) {
        return;
    }
    const MediaServer server(MediaServer::Kind::MINIDLNA, "Steady", media.path());
    start();
    ASSERT_TRUE(observer.waitForArrivals(1));
    // UndefinedBehaviorSanitizer checks an object's type at its first call, and needs two
    // descriptors for that: the log, which reports the failure, is used before there are none.
    MRB_LOG_WARNING("No descriptor will be free.");
    const rlimit few = {256, 256};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    std::vector<mrb::Descriptor> all;
    while (all.empty() || all.back()) {
        all.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    }
    addInterface();
    all.clear();
    EXPECT_TRUE(waitForTable(SOCKETS, SOCKET));
    network.reset();
    EXPECT_EQ(observer.left.size(), 1U); // at the end
}
