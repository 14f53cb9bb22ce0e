// The life of the DLNA service and which clients are notified of what, on a scripted network.

#include "dlna/dlna_service.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "mrb/storage.h"
#include "support/folder.h"
#include "support/media_server.h"
#include "support/own_process.h"

using mrb::Device;
using mrb::dlna::DlnaService;
using mrb::dlna::Network;
using mrb::dlna::NetworkObserver;
using mrb::dlna::Server;
using mrb::dlna::StateCallback;
using support::MediaServer;
using support::Surroundings;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr auto LONG = std::chrono::seconds(60);

// The events of a client, as text: "started", "+Name", "-Name". Any thread.
class Diary {
  public:
    void write(const std::string &line) {
        const std::lock_guard guard(lock_);
        lines_.push_back(line);
        changed_.notify_all();
    }
    std::vector<std::string> lines() {
        const std::lock_guard guard(lock_);
        return lines_;
    }
    // False: timeout before that many.
    bool waitFor(std::size_t count) {
        std::unique_lock guard(lock_);
        return changed_.wait_for(guard, LONG, [&] { return lines_.size() >= count; });
    }

    std::function<void()> onState; // called in each state callback

    static void receiveState(int state, void *self) {
        static const char *const WORDS[] = {"stopped", "started", "failed"};
        auto &diary = *static_cast<Diary *>(self);
        diary.write(WORDS[state]);
        if (diary.onState) {
            diary.onState();
        }
    }
    static void receiveServer(void *self, mrb_storage_event_e event, _mrb_storage_s *&storage) {
        static_cast<Diary *>(self)->write((event == MRB_STORAGE_EVENT_ADDED ? "+" : "-") +
                                          std::string(mrb_storage_get_name(storage)));
    }

    [[nodiscard]] StateCallback state() { return {receiveState, this}; }

  private:
    std::mutex lock_;
    std::condition_variable changed_;
    std::vector<std::string> lines_;
};

// Reports its start on a thread of its own; the test adds servers.
class ScriptedNetwork final : public Network {
  public:
    explicit ScriptedNetwork(NetworkObserver &observer) : observer_(observer) {
        ++alive;
        std::thread([&] { observer_.networkStarted(); }).join();
    }
    ~ScriptedNetwork() override {
        if (beforeItEnds) {
            beforeItEnds();
        }
        // As the real one: the network's thread reports that every server leaves.
        std::thread([&] {
            for (const Server &server : servers_) {
                observer_.serverLeft(server);
            }
        }).join();
        --alive;
    }
    void arrive(const std::string &name) {
        servers_.push_back({"uuid:" + name, name, "10.0.0.1"});
        observer_.serverArrived(servers_.back());
    }
    void leave() {
        const Server server = servers_.back();
        servers_.pop_back();
        observer_.serverLeft(server);
    }

    std::function<void()> beforeItEnds;

    static inline std::atomic<int> alive = 0;

  private:
    NetworkObserver &observer_;
    std::vector<Server> servers_;
};

class DlnaServiceTest : public support::OwnProcess {
  protected:
    int observe(Diary &observer) { return service.setCallback(Diary::receiveServer, &observer); }
    std::vector<std::string> listed() {
        std::vector<Device> servers;
        EXPECT_EQ(service.list(servers), MRB_ERR_NONE);
        std::vector<std::string> names;
        for (const Device &server : servers) {
            names.push_back(server.name);
        }
        return names;
    }
    void begin() {
        ASSERT_EQ(service.begin(diary.state()), MRB_ERR_NONE);
        ASSERT_TRUE(diary.waitFor(1));
    }

    ScriptedNetwork *network = nullptr;
    DlnaService service{[this](NetworkObserver &observer) {
        auto made = std::make_unique<ScriptedNetwork>(observer);
        network = made.get();
        return made;
    }};
    Diary diary; // outlives its callbacks: each test ends the service
};

} // namespace

TEST_F(DlnaServiceTest, ReportsItsStartAndItsStop) {
    begin();
    EXPECT_EQ(service.end(diary.state()), MRB_ERR_NONE);
    EXPECT_THAT(diary.lines(), ElementsAre("started", "stopped"));
    EXPECT_EQ(ScriptedNetwork::alive, 0);
}

TEST_F(DlnaServiceTest, ANetworkThatDoesNotEndDoesNotBlockTheEndOfTheService) {
    begin();
    std::promise<void> goOn;
    network->beforeItEnds = [&] { goOn.get_future().wait_for(LONG); };
    // On this thread, since the service's is busy.
    EXPECT_EQ(service.end(diary.state()), MRB_ERR_NONE);
    EXPECT_THAT(diary.lines(), ElementsAre("started", "stopped"));
    EXPECT_EQ(ScriptedNetwork::alive, 1);
    EXPECT_EQ(service.end(diary.state()), MRB_ERR_NOT_INITIALIZED);
    goOn.set_value();
}

TEST_F(DlnaServiceTest, AClientWhoseCallbackDoesNotReturnIsNotWaitedForLong) {
    std::promise<void> entered;
    std::promise<void> goOn;
    diary.onState = [&] {
        entered.set_value();
        goOn.get_future().wait_for(LONG);
    };
    ASSERT_EQ(service.begin(diary.state()), MRB_ERR_NONE);
    entered.get_future().wait();
    EXPECT_EQ(service.end(diary.state()), MRB_ERR_TIMEOUT);
    goOn.set_value();
    service.shutDown(std::chrono::steady_clock::time_point::max());
    EXPECT_THAT(diary.lines(), ElementsAre("started"));
}

TEST_F(DlnaServiceTest, EndingAServiceThatWasNotStartedIsAnError) {
    EXPECT_EQ(service.end(diary.state()), MRB_ERR_NOT_INITIALIZED);
    begin();
    Diary other;
    EXPECT_EQ(service.end(other.state()), MRB_ERR_NOT_INITIALIZED);
    EXPECT_EQ(service.end(diary.state()), MRB_ERR_NONE);
    EXPECT_EQ(service.end(diary.state()), MRB_ERR_NOT_INITIALIZED);
    EXPECT_THAT(diary.lines(), ElementsAre("started", "stopped"));
}

TEST_F(DlnaServiceTest, ReportsServersAndListsThem) {
    Diary servers;
    observe(servers);
    begin();
    network->arrive("One");
    network->arrive("Two");
    EXPECT_THAT(listed(), ElementsAre("One", "Two"));
    network->leave();
    EXPECT_THAT(listed(), ElementsAre("One"));
    ASSERT_TRUE(servers.waitFor(3));
    service.end(diary.state());
    EXPECT_THAT(servers.lines(), ElementsAre("+One", "+Two", "-Two", "-One"));
    service.removeCallback();
}

TEST_F(DlnaServiceTest, ServersLeaveBeforeItsStopIsReported) {
    observe(diary);
    begin();
    network->arrive("One");
    ASSERT_TRUE(diary.waitFor(2));
    service.end(diary.state());
    EXPECT_THAT(diary.lines(), ElementsAre("started", "+One", "-One", "stopped"));
    service.removeCallback();
}

TEST_F(DlnaServiceTest, AListNeedsTheService) {
    std::vector<Device> servers;
    EXPECT_EQ(service.list(servers), MRB_ERR_NOT_INITIALIZED);
    begin();
    EXPECT_THAT(listed(), IsEmpty());
    service.end(diary.state());
    EXPECT_EQ(service.list(servers), MRB_ERR_NOT_INITIALIZED);
}

TEST_F(DlnaServiceTest, RunsUntilTheLastClientEndsIt) {
    Diary other;
    begin();
    service.begin(other.state());
    ASSERT_TRUE(other.waitFor(1));
    service.end(diary.state());
    EXPECT_EQ(ScriptedNetwork::alive, 1);
    service.end(other.state());
    EXPECT_EQ(ScriptedNetwork::alive, 0);
    EXPECT_THAT(diary.lines(), ElementsAre("started", "stopped"));
    EXPECT_THAT(other.lines(), ElementsAre("started", "stopped"));
}

TEST_F(DlnaServiceTest, StartedTwiceItIsOneClientThatIsNotifiedAgain) {
    begin();
    service.begin(diary.state());
    ASSERT_TRUE(diary.waitFor(2));
    service.end(diary.state());
    EXPECT_THAT(diary.lines(), ElementsAre("started", "started", "stopped"));
    EXPECT_EQ(ScriptedNetwork::alive, 0);
}

TEST_F(DlnaServiceTest, IsStartedAgain) {
    for (int round = 0; round < 100; ++round) {
        service.begin(diary.state());
        service.end(diary.state());
    }
    begin();
    service.end(diary.state());
    EXPECT_EQ(diary.lines().back(), "stopped");
    EXPECT_EQ(ScriptedNetwork::alive, 0);
}

TEST_F(DlnaServiceTest, IsEndedInsideItsCallback) {
    int code = MRB_ERR_IO;
    diary.onState = [&] {
        diary.onState = nullptr;
        code = service.end(diary.state());
        diary.write("ended");
    };
    service.begin(diary.state());
    ASSERT_TRUE(diary.waitFor(3));
    EXPECT_EQ(code, MRB_ERR_NONE);
    EXPECT_THAT(diary.lines(), ElementsAre("started", "stopped", "ended"));
    EXPECT_EQ(ScriptedNetwork::alive, 0);
}

TEST_F(DlnaServiceTest, AnotherListenerReplacesTheFirst) {
    Diary first;
    Diary second;
    observe(first);
    begin();
    network->arrive("One");
    ASSERT_TRUE(first.waitFor(1));
    observe(second);
    network->arrive("Two");
    ASSERT_TRUE(second.waitFor(1));
    service.removeCallback();
    network->arrive("Three");
    service.end(diary.state());
    EXPECT_THAT(first.lines(), ElementsAre("+One"));
    EXPECT_THAT(second.lines(), ElementsAre("+Two"));
}

TEST_F(DlnaServiceTest, ANetworkThatCannotBeWatchedIsReported) {
    DlnaService broken{
        [](NetworkObserver &) -> std::unique_ptr<Network> { throw std::runtime_error("no library"); }};
    EXPECT_EQ(broken.begin(diary.state()), MRB_ERR_NONE);
    ASSERT_TRUE(diary.waitFor(1));
    EXPECT_EQ(broken.end(diary.state()), MRB_ERR_NONE);
    EXPECT_THAT(diary.lines(), ElementsAre("failed", "stopped"));
}

TEST_F(DlnaServiceTest, NoCallbackRunsAfterShutDown) {
    begin();
    service.shutDown(std::chrono::steady_clock::time_point::max());
    EXPECT_EQ(ScriptedNetwork::alive, 0);
    EXPECT_EQ(service.begin(diary.state()), MRB_ERR_NOT_INITIALIZED);
    EXPECT_EQ(service.end(diary.state()), MRB_ERR_NOT_INITIALIZED);
    EXPECT_EQ(observe(diary), MRB_ERR_NOT_INITIALIZED);
    EXPECT_THAT(diary.lines(), ElementsAre("started"));
}

TEST_F(DlnaServiceTest, ClientsComeAndGoInAStormOfServers) {
    begin();
    std::atomic<bool> stop = false;
    std::thread storm([&] {
        while (!stop) {
            network->arrive("One");
            network->leave();
        }
    });
    std::vector<std::pair<std::unique_ptr<Diary>, std::size_t>> ended; // and their events by then
    for (int round = 0; round < 10'000; ++round) {
        auto client = std::make_unique<Diary>();
        EXPECT_EQ(service.begin(client->state()), MRB_ERR_NONE);
        EXPECT_EQ(observe(*client), MRB_ERR_NONE);
        service.removeCallback();
        EXPECT_EQ(service.end(client->state()), MRB_ERR_NONE);
        // The others are destroyed at once, which a sanitizer detects when a callback runs late.
        if (round % 2 == 0) {
            const std::size_t events = client->lines().size();
            ended.emplace_back(std::move(client), events);
        }
    }
    stop = true;
    storm.join();
    EXPECT_EQ(service.end(diary.state()), MRB_ERR_NONE);
    EXPECT_EQ(ScriptedNetwork::alive, 0);
    for (const auto &[client, events] : ended) {
        EXPECT_EQ(client->lines().size(), events) << "an event after the end";
    }
}

TEST_F(DlnaServiceTest, ARealServerIsSeenThroughTheInterface) {
    if (!inside(Surroundings::NETWORK)) {
        return;
    }
    ASSERT_EQ(std::system("ip link set lo up"), 0);
    const support::Folder media;
    Diary servers;
    ASSERT_EQ(mrb_set_dlna_callback(Diary::receiveServer, &servers), MRB_ERR_NONE);
    ASSERT_EQ(mrb_Init_dlna_service(Diary::receiveState, &diary), MRB_ERR_NONE);
    ASSERT_TRUE(diary.waitFor(1));
    MediaServer server(MediaServer::Kind::MINIDLNA, "Desk", media.path());
    ASSERT_TRUE(servers.waitFor(1));
    mrb_storage_list_h list = nullptr;
    ASSERT_EQ(mrb_get_dlna_list(&list), MRB_ERR_NONE);
    ASSERT_EQ(mrb_storage_get_list_count(list), 1);
    _mrb_storage_s *record = mrb_storage_get_storage(0, list);
    EXPECT_STREQ(mrb_storage_get_name(record), "Desk");
    EXPECT_STREQ(mrb_storage_get_ip(record), "127.0.0.1");
    EXPECT_EQ(std::string(mrb_storage_get_id(record)).rfind("uuid:", 0), 0U);
    EXPECT_FALSE(mrb_storage_get_bOrvaneDevice(record));
    mrb_storage_list_destory(list);
    server.stop();
    ASSERT_TRUE(servers.waitFor(2));
    EXPECT_EQ(mrb_finalize_dlna_service(Diary::receiveState, &diary), MRB_ERR_NONE);
    EXPECT_EQ(mrb_unset_dlna_callback(), MRB_ERR_NONE);
    EXPECT_THAT(servers.lines(), ElementsAre("+Desk", "-Desk"));
    EXPECT_THAT(diary.lines(), ElementsAre("started", "stopped"));
}
