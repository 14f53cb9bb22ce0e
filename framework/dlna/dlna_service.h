#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/result.h"
#include "dlna/directories.h"
#include "dlna/network.h"
#include "dlna/service_clients.h"
#include "events/event_thread.h"
#include "storage/device_table.h"

namespace mrb::dlna {

// The DLNA service: watches the network from when the first client begins it until the
// last one ends it, and tells who listens what media servers come and go. The network
// is started and let go on the service's event thread, where all callbacks run, since
// loading what that takes is slow. The process has one, see instance(); any thread may
// call it, also from inside a callback.
class DlnaService final : private ServerListener {
  public:
    using Start = std::function<std::unique_ptr<Network>(ServerListener &)>;

    explicit DlnaService(Start start);
    ~DlnaService() override;
    DlnaService(const DlnaService &) = delete;
    DlnaService &operator=(const DlnaService &) = delete;

    // The process's service, made when it is first asked for.
    static DlnaService &instance();

    // A client that has begun already is told the state once more. Throws
    // std::system_error when the system has no room for the thread.
    int begin(const StateListener &listener);

    // Returns when the client was told that the service has stopped, for it at least,
    // and will not be called back any more. Where the service's thread is busy for long, with
    // a network that does not end, this thread reports that. MRB_ERR_NOT_INITIALIZED: it has
    // not begun; MRB_ERR_TIMEOUT: its callback does not return.
    int end(const StateListener &listener);

    // Calls back from now on, instead of whom it called before.
    int listen(mrb_storage_notification_cb callback, void *userData);
    // Returns when the callback is not running and will not run; inside it, at once.
    // MRB_ERR_TIMEOUT: it does not return.
    int unlisten();

    // The servers that are there. MRB_ERR_NOT_INITIALIZED: nobody has begun the service.
    int list(std::vector<Device> &servers);

    // A server, and whom to ask what it has.
    struct Found {
        std::string id;
        std::string name;
        std::shared_ptr<Directories> directories;
    };
    // The server with that id, or the only one with that address. MRB_ERR_NOT_INITIALIZED:
    // nobody has begun the service; MRB_ERR_NOT_FOUND: it has not been seen, or not yet.
    Status find(const std::string &idOrAddress, Found &found);
    [[nodiscard]] bool isThere(const std::string &id);
    // Whom to ask for files of the servers; null: the service does not run.
    [[nodiscard]] std::shared_ptr<Directories> directories();

    // Ends the threads. What does not end until the deadline is left behind: false. Every
    // call from now on fails.
    bool shutDown(std::chrono::steady_clock::time_point deadline);

  private:
    using Time = std::chrono::steady_clock::time_point;
    class Task;

    static bool finish(Time deadline);

    struct Client {
        std::shared_ptr<ServiceClient> target;
        bool ending = false;
    };

    void networkStarted() override;
    void serverArrived(const Server &server) override;
    void serverLeft(const Server &server) override;

    void update();
    void startNetwork(std::unique_lock<std::mutex> &guard);
    void letNetworkGo(std::unique_lock<std::mutex> &guard);
    void dismiss(std::unique_lock<std::mutex> &guard);
    int dismissHere(std::unique_lock<std::mutex> &guard, const std::shared_ptr<ServiceClient> &client,
                    Time deadline);
    void tellClients(int state);
    void tellAudience();
    [[nodiscard]] bool isWanted() const;
    [[nodiscard]] std::vector<Client>::iterator find(const StateListener &listener);

    const Start start_;
    EventThread events_{"mrb-dlna-events"};
    const std::shared_ptr<Task> task_; // update(), as an event

    std::mutex lock_; // guards what follows
    std::condition_variable dismissed_;
    std::vector<Client> clients_;
    std::shared_ptr<ServerAudience> audience_;
    DeviceTable servers_;
    std::unique_ptr<Network> network_; // the event thread alone changes it
    bool running_ = false;
    bool down_ = false;
};

} // namespace mrb::dlna
