#pragma once

#include <json/value.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "mrb/agent.h"

namespace support {

struct Event {
    mrb_agent_handler_h agent = 0;
    mrb_event_e event = -1;
    Json::Value data;
    std::thread::id thread;
};

bool isLast(mrb_event_e event);

struct ListOptions {
    std::string path = {};
    std::string contentType = {};
    std::string sortCategory = {};
    std::string source = "SOURCE_MSC";
    std::string extension = {};
    std::string keyWord = {};
    // Sets further parameters.
    std::function<void(mrb_general_param_h)> more = {};
};

// A client of the framework: opens lists one after the other, keeps the events
// that arrive, and closes its open list at its end. Used by one test thread.
class Client {
  public:
    Client() = default;
    ~Client();
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    // Opens a list, under `handle` when that is not 0. Returns the code.
    int open(const ListOptions &options);
    int open(const std::string &path) { return open(ListOptions{.path = path}); }

    // Opens and waits for the list's end; the last event.
    Event list(const ListOptions &options);
    Event list(const std::string &path) { return list(ListOptions{.path = path}); }

    // Waits for the nth event (from 1) that ends a request. An Event with -1 and a
    // test failure at the timeout.
    Event waitForEnd(std::size_t nth = 1);
    Event waitFor(const std::function<bool(const std::vector<Event> &)> &isEnough);

    [[nodiscard]] std::vector<Event> events();
    [[nodiscard]] int count() const;
    [[nodiscard]] int count(int type) const;
    [[nodiscard]] Json::Value item(int index) const;
    [[nodiscard]] std::vector<std::string> all(const char *key) const;

    mrb_agent_handler_h handle = 0;
    // Called on the event thread after the event was kept.
    std::function<void(const Event &)> onEvent;

  private:
    static bool receive(void *self, mrb_agent_handler_h agent, mrb_event_e event, int reserved,
                        const char *serverData);

    std::mutex lock_;
    std::condition_variable arrived_;
    std::vector<Event> events_;
};

// Puts the cursor on an entry and enters it as a folder; the code.
int enter(const Client &client, int index);

// Parses a JSON text; a test failure when it is not JSON.
Json::Value parse(const char *text);

// The timeout of tests.
inline constexpr auto LIMIT = std::chrono::seconds(120);

// True as soon as `isMet` returns true; false at the timeout.
template <typename Condition>
bool waitUntil(Condition isMet) {
    const auto limit = std::chrono::steady_clock::now() + LIMIT;
    while (!isMet()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

// Other programs of the same user hold inotify instances too, of which there are 128:
// waits until one is free. A test failure at the timeout.
bool instanceIsFree();

} // namespace support
