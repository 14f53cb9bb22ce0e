#pragma once

#include <memory>
#include <string>

namespace mrb::dlna {

class ContentDirectoryClient;

// A media server as it describes itself; texts are UTF-8 and of bounded length.
struct Server {
    std::string id;      // its unique device name, "uuid:..."
    std::string name;    // the friendly name, never empty
    std::string address; // the host of its description: an IPv4 address

    bool operator==(const Server &) const = default;
};

// An observer of media servers. The network calls it from its own thread, one call at a time.
class NetworkObserver {
  public:
    virtual ~NetworkObserver() = default;

    // Called once, when the network is being watched.
    virtual void networkStarted() = 0;
    virtual void serverArrived(const Server &server) = 0;
    // Every arrival is followed by one of these, at the latest when the network is destroyed.
    virtual void serverLeft(const Server &server) = 0;
};

// Watches the network for media servers on a thread of its own, as long as it lives.
// Owned by its starter. Once the destructor has returned, no call to the observer
// is running or will run, so it must not be destroyed in one.
class Network {
  public:
    Network() = default;
    virtual ~Network() = default;
    Network(const Network &) = delete;
    Network &operator=(const Network &) = delete;

    // The client for the servers' content directories; null: not supported.
    [[nodiscard]] virtual std::shared_ptr<ContentDirectoryClient> contentClient() { return nullptr; }
};

// Loads the library that implements it on first use. The observer must outlive the
// network. Throws std::runtime_error and std::system_error.
std::unique_ptr<Network> startNetwork(NetworkObserver &observer);

// Exported by that library.
using StartNetwork = Network *(NetworkObserver &observer);
extern "C" [[gnu::visibility("default")]] StartNetwork mrb_start_network;
inline constexpr const char *START_SYMBOL = "mrb_start_network";

// Loads what the network needs, in a LoadingTurn, before the first one is started.
using PrepareNetwork = void();
extern "C" [[gnu::visibility("default")]] PrepareNetwork mrb_prepare_network;
inline constexpr const char *PREPARE_SYMBOL = "mrb_prepare_network";

} // namespace mrb::dlna
