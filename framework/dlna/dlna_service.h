#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/mutex.h"
#include "base/result.h"
#include "dlna/content_directory_client.h"
#include "dlna/network.h"
#include "dlna/service_clients.h"
#include "events/event_thread.h"
#include "storage/device_notifier.h"
#include "storage/device_table.h"

namespace mrb::dlna {

// The DLNA service: watches the network from its first client's begin to its last client's
// end, and notifies a callback of media servers. The event thread, on which all callbacks
// run, starts and stops the network, since loading the libraries for it is slow. The
// process has one, see instance(); any thread may call it, also from inside a callback.
class DlnaService final : private NetworkObserver {
  public:
    using Start = std::function<std::unique_ptr<Network>(NetworkObserver &)>;

    explicit DlnaService(Start start) : start_(std::move(start)) {}
    ~DlnaService() override;
    DlnaService(const DlnaService &) = delete;
    DlnaService &operator=(const DlnaService &) = delete;

    // The process's service, created on first use.
    static DlnaService &instance();

    // Adds a client; one that has begun already is notified of the state again. Throws
    // std::system_error when the system has no room for the thread.
    int begin(const StateCallback &callback);

    // Returns when the client was notified that the service has stopped, for this client at
    // least, and will not be called back any more. If the event thread is busy for long, with a
    // network that does not end, the calling thread makes that callback. MRB_ERR_NOT_INITIALIZED:
    // it has not begun; MRB_ERR_TIMEOUT: its callback has not returned.
    int end(const StateCallback &callback);

    // Sets or replaces the callback for servers, and removes it, as DeviceNotifier does.
    int setCallback(mrb_storage_notification_cb callback, void *userData);
    int removeCallback() { return notifier_->remove(); }

    // The known servers. MRB_ERR_NOT_INITIALIZED: no client has begun the service.
    int list(std::vector<Device> &servers);

    // A server, and the client for its content directory.
    struct Found {
        std::string id;
        std::string name;
        std::shared_ptr<ContentDirectoryClient> contentClient;
    };
    // The server with that id, or the only one with that address. MRB_ERR_NOT_INITIALIZED: no
    // client has begun the service; MRB_ERR_NOT_FOUND: no such server has been found yet.
    Status find(const std::string &idOrAddress, Found &found);
    [[nodiscard]] bool isThere(const std::string &id);
    // The client for the servers' files; null: the service does not run.
    [[nodiscard]] std::shared_ptr<ContentDirectoryClient> contentClient();

    // Ends the threads. A thread that has not ended by the deadline is detached: false. Every
    // call from now on fails.
    bool shutDown(std::chrono::steady_clock::time_point deadline);

  private:
    using Time = std::chrono::steady_clock::time_point;

    static bool finish(Time deadline);

    struct Client {
        std::shared_ptr<ServiceClient> target;
        bool ending = false;
    };

    void networkStarted() override;
    void serverArrived(const Server &server) override;
    void serverLeft(const Server &server) override;

    void update() MRB_EXCLUDES(lock_);
    void postUpdate();
    void post(const std::shared_ptr<ServiceClient> &client, int state);
    // Without the lock while they wait for the network or a callback:
    void startNetwork() MRB_REQUIRES(lock_);
    void stopNetwork() MRB_REQUIRES(lock_);
    void removeEndedClients() MRB_REQUIRES(lock_);
    int dismissHere(const std::shared_ptr<ServiceClient> &client, Time deadline) MRB_REQUIRES(lock_);

    void notifyClients(int state) MRB_REQUIRES(lock_);
    void postServerEvents() MRB_REQUIRES(lock_);
    [[nodiscard]] bool hasClients() const MRB_REQUIRES(lock_);
    [[nodiscard]] bool isGone(const std::shared_ptr<ServiceClient> &client) const MRB_REQUIRES(lock_);
    [[nodiscard]] std::vector<Client>::iterator find(const StateCallback &callback) MRB_REQUIRES(lock_);

    const Start start_;
    EventThread events_{"mrb-dlna-events"};
    const std::shared_ptr<EventTarget> updates_ = std::make_shared<EventTarget>();
    const std::shared_ptr<DeviceNotifier> notifier_ = std::make_shared<DeviceNotifier>(events_);

    Mutex lock_;
    ConditionVariable removed_;
    std::vector<Client> clients_ MRB_GUARDED_BY(lock_);
    DeviceTable servers_ MRB_GUARDED_BY(lock_);
    std::unique_ptr<Network> network_ MRB_GUARDED_BY(lock_); // the event thread alone changes it
    bool running_ MRB_GUARDED_BY(lock_) = false;
    bool down_ MRB_GUARDED_BY(lock_) = false;
};

} // namespace mrb::dlna
