#include "dlna/dlna_service.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "base/log.h"
#include "base/on_demand.h"
#include "base/process_exit.h"

namespace mrb::dlna {
namespace {

// How long a client's end() leaves the final notification to the event thread.
constexpr auto TIMEOUT = std::chrono::seconds(1);

Device deviceOf(const Server &server) {
    Device device;
    device.kind = DeviceKind::SERVER;
    device.id = server.id;
    device.name = server.name;
    device.ip = server.address;
    return device;
}

} // namespace

DlnaService::~DlnaService() { shutDown(std::chrono::steady_clock::time_point::max()); }

DlnaService &DlnaService::instance() {
    static OnDemand<DlnaService> service;
    return service.get([] {
        auto *made = new DlnaService(dlna::startNetwork);
        finishAtExit(finish);
        return made;
    });
}

bool DlnaService::finish(Time deadline) { return instance().shutDown(deadline); }

int DlnaService::begin(const StateCallback &callback) {
    const MutexLock guard(lock_);
    if (down_) {
        return MRB_ERR_NOT_INITIALIZED;
    }
    events_.start();
    auto known = find(callback);
    if (known == clients_.end()) {
        known = clients_.insert(clients_.end(), {std::make_shared<ServiceClient>(callback)});
    }
    if (running_) {
        post(known->target, MRB_SERVICE_STATE_STARTED);
    }
    postUpdate();
    return MRB_ERR_NONE;
}

int DlnaService::end(const StateCallback &callback) {
    const MutexLock guard(lock_);
    const auto known = find(callback);
    if (known == clients_.end() || down_) {
        return MRB_ERR_NOT_INITIALIZED;
    }
    known->ending = true;
    const std::shared_ptr<ServiceClient> client = known->target;
    if (events_.isOwnThread()) {
        // This is the event thread: no other thread could run update().
        while (!isGone(client)) {
            const MutexUnlock unlocked(lock_);
            update();
        }
        return MRB_ERR_NONE;
    }
    postUpdate();
    const auto now = std::chrono::steady_clock::now();
    while (!isGone(client) && !down_ && removed_.waitUntil(lock_, now + TIMEOUT)) {
    }
    const bool isOver = isGone(client) || down_;
    return isOver ? static_cast<int>(MRB_ERR_NONE) : dismissHere(client, now + CALLBACK_LIMIT);
}

// Ends a client after TIMEOUT: on the calling thread.
int DlnaService::dismissHere(const std::shared_ptr<ServiceClient> &client, Time deadline) {
    const auto isIts = [&client](const Client &each) { return each.target == client; };
    const auto known = std::ranges::find_if(clients_, isIts);
    if (known != clients_.end() && !known->ending) {
        // The event thread is notifying it.
        while (!isGone(client) && removed_.waitUntil(lock_, deadline)) {
        }
        return isGone(client) ? MRB_ERR_NONE : MRB_ERR_TIMEOUT;
    }
    std::erase_if(clients_, isIts);
    const MutexUnlock unlocked(lock_);
    if (!events_.withdraw(*client, deadline)) {
        return MRB_ERR_TIMEOUT;
    }
    client->notify(MRB_SERVICE_STATE_STOPPED);
    return MRB_ERR_NONE;
}

int DlnaService::setCallback(mrb_storage_notification_cb callback, void *userData) {
    {
        const MutexLock guard(lock_);
        if (down_) {
            return MRB_ERR_NOT_INITIALIZED;
        }
    }
    return notifier_->set(callback, userData);
}

int DlnaService::list(std::vector<Device> &servers) {
    const MutexLock guard(lock_);
    servers = servers_.list(DeviceKind::SERVER);
    return hasClients() ? MRB_ERR_NONE : MRB_ERR_NOT_INITIALIZED;
}

Status DlnaService::find(const std::string &idOrAddress, Found &found) {
    const MutexLock guard(lock_);
    if (!hasClients() || down_) {
        return Status::notInitialized("The DLNA service is not started.");
    }
    std::vector<Device> servers = servers_.list(DeviceKind::SERVER);
    std::erase_if(servers,
                  [&](const Device &server) { return server.id != idOrAddress && server.ip != idOrAddress; });
    if (servers.size() > 1) {
        return Status::invalidParameter("There are several DLNA servers at " + idOrAddress +
                                        ": use the id of one.");
    }
    if (servers.empty() || idOrAddress.empty() || !network_) {
        return Status::notFound("No DLNA server \"" + idOrAddress + "\" has been found yet.");
    }
    found.id = servers.front().id;
    found.name = servers.front().name;
    found.contentClient = network_->contentClient();
    if (!found.contentClient) {
        return Status::notSupported("Requests to the servers of this network are not supported.");
    }
    return {};
}

std::shared_ptr<ContentDirectoryClient> DlnaService::contentClient() {
    const MutexLock guard(lock_);
    return hasClients() && network_ ? network_->contentClient() : nullptr;
}

bool DlnaService::isThere(const std::string &id) {
    const MutexLock guard(lock_);
    return hasClients() && servers_.contains(id);
}

// Brings the network and the clients into the wanted state, one step at a time: the events of
// a step are queued before the next step's.
void DlnaService::update() {
    const MutexLock guard(lock_);
    if (hasClients() && !network_ && !down_) {
        startNetwork();
    }
    // Also a network that the last client ended while it was being started.
    if ((!hasClients() || down_) && network_) {
        stopNetwork();
        postUpdate();
        return;
    }
    removeEndedClients();
}

void DlnaService::postUpdate() {
    events_.post(updates_, [this] { update(); });
}

void DlnaService::post(const std::shared_ptr<ServiceClient> &client, int state) {
    events_.post(client, [client = client.get(), state] { client->notify(state); });
}

void DlnaService::startNetwork() {
    std::unique_ptr<Network> network;
    {
        const MutexUnlock unlocked(lock_);
        try {
            network = start_(*this);
        } catch (const std::exception &failure) {
            MRB_LOG_ERROR("The DLNA service cannot be started: %s", failure.what());
        }
    }
    network_ = std::move(network);
    if (!network_) {
        notifyClients(MRB_SERVICE_STATE_FAILED);
    }
}

void DlnaService::stopNetwork() {
    std::unique_ptr<Network> network = std::move(network_);
    {
        const MutexUnlock unlocked(lock_);
        removed_.notifyAll();
        network.reset(); // its last events arrive during this
    }
    running_ = false;
}

// Notifies the ending clients of the end, and removes them.
void DlnaService::removeEndedClients() {
    while (true) {
        const auto ending = std::ranges::find(clients_, true, &Client::ending);
        if (ending == clients_.end()) {
            return;
        }
        const std::shared_ptr<ServiceClient> client = ending->target;
        ending->ending = false; // notified once, whatever its callback does
        {
            const MutexUnlock unlocked(lock_);
            events_.withdraw(*client);
            client->notify(MRB_SERVICE_STATE_STOPPED);
        }
        std::erase_if(clients_, [&](const Client &each) { return each.target == client; });
        removed_.notifyAll();
    }
}

void DlnaService::networkStarted() {
    const MutexLock guard(lock_);
    running_ = true;
    notifyClients(MRB_SERVICE_STATE_STARTED);
}

void DlnaService::serverArrived(const Server &server) {
    const MutexLock guard(lock_);
    servers_.set(server.id, deviceOf(server));
    postServerEvents();
}

void DlnaService::serverLeft(const Server &server) {
    const MutexLock guard(lock_);
    servers_.remove(server.id);
    postServerEvents();
}

void DlnaService::notifyClients(int state) {
    for (const Client &client : clients_) {
        post(client.target, state);
    }
}

void DlnaService::postServerEvents() {
    for (const DeviceEvent &event : servers_.drainEvents()) {
        notifier_->collect(event);
    }
    notifier_->post();
}

bool DlnaService::hasClients() const {
    return std::ranges::any_of(clients_, [](const Client &client) { return !client.ending; });
}

bool DlnaService::isGone(const std::shared_ptr<ServiceClient> &client) const {
    return std::ranges::find(clients_, client, &Client::target) == clients_.end();
}

std::vector<DlnaService::Client>::iterator DlnaService::find(const StateCallback &callback) {
    return std::ranges::find_if(clients_, [&](const Client &client) {
        return client.target->callback() == callback && !client.ending;
    });
}

bool DlnaService::shutDown(Time deadline) {
    // The event thread destroys the network, since that waits for the network's thread.
    const bool isInside = events_.isOwnThread();
    {
        const MutexLock guard(lock_);
        down_ = true;
        removed_.notifyAll();
        if (!isInside && network_) {
            postUpdate();
            while (network_ && removed_.waitUntil(lock_, deadline)) {
            }
        }
    }
    if (isInside) {
        update();
    }
    return events_.finish(deadline);
}

} // namespace mrb::dlna
