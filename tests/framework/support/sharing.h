#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "mrb/share.h"
#include "support/client.h"
#include "support/folder.h"

namespace support {

struct ShareEvent {
    mrb_share_handler_h share = 0;
    mrb_event_e event = -1;
    mrb_share_status_info_s status{};
    std::thread::id thread;
    std::chrono::steady_clock::time_point time;

    [[nodiscard]] std::string name() const { return status.current_file_name; }
};

bool isLastOfShare(mrb_event_e event);

// A client that shares selections, one after the other, and keeps the events that
// arrive. It must outlive its shares. Used by one test thread.
class Sharing {
  public:
    Sharing() = default;
    Sharing(const Sharing &) = delete;
    Sharing &operator=(const Sharing &) = delete;

    // Starts a copy of the list's selection under `handle`; the code.
    int copy(const Client &list, const std::string &destination);
    // Starts a share of any type; `set` sets its parameters.
    int start(int type, mrb_agent_handler_h list, const std::function<void(mrb_share_param_h)> &set);

    // Sends the list's selection to a DLNA server.
    int send(const Client &list, const std::string &server);
    // Fetches the selection of a server's list to a folder.
    int fetch(const Client &list, const std::string &server, const std::string &destination);

    // Copies and waits for the end; the last event.
    ShareEvent copyAll(const Client &list, const std::string &destination);

    ShareEvent waitForEnd();
    ShareEvent waitFor(const std::function<bool(const std::vector<ShareEvent> &)> &isEnough);
    [[nodiscard]] std::vector<ShareEvent> events();

    // Has `act` called on the event thread when a share has started.
    void whenStarted(std::function<void(const ShareEvent &)> act);

    mrb_share_handler_h handle = 0;
    // Called on the event thread after the event was kept.
    std::function<void(const ShareEvent &)> onEvent;

  private:
    static bool receive(void *self, mrb_share_handler_h share, mrb_event_e event,
                        mrb_share_status_info_s *status);

    std::mutex lock_;
    std::condition_variable arrived_;
    std::vector<ShareEvent> events_;
};

// A test that copies from lists to a folder.
class CopyTest : public testing::Test {
  protected:
    // Copies everything in the client's list; the last event.
    ShareEvent copyEverything();

    const Folder from;
    const Folder to;
    Client client;
    Sharing sharing;
};

// Opens the list of a folder and selects everything in it.
void selectEverything(Client &client, const std::string &path);

// Selects the entries with these names.
void select(const Client &client, const std::vector<std::string> &names);

// Writes a file of `size` bytes that no other has, the same each time.
void writeNoise(const std::filesystem::path &file, std::size_t size, unsigned seed);

// All files below a folder, hidden ones too, by their paths: what is in each.
std::map<std::string, std::string> contents(const std::string &folder);

// The paths of all files and folders below a folder.
std::vector<std::string> tree(const std::string &folder);

// Everything in a file.
std::string bytesOf(const std::filesystem::path &file);

// True when both files hold the same bytes.
bool areEqual(const std::filesystem::path &one, const std::filesystem::path &other);

} // namespace support
