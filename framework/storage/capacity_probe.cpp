#include "storage/capacity_probe.h"

#include <algorithm>
#include <map>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "base/log.h"
#include "base/mutex.h"
#include "base/on_demand.h"
#include "base/threads.h"

namespace mrb {
namespace {

// When a device has not responded for this long, the next one is read on another thread.
constexpr auto TIMEOUT = std::chrono::milliseconds(20);

// Maximum of late results kept for later calls; beyond it most are of removed devices.
constexpr std::size_t MAX_LATE = 256;

std::string keyOf(const Device &device) {
    return std::to_string(device.mountId) + '\n' + device.id + '\n' + device.mountPath;
}

void takeSizes(Device &device, const Device &result) {
    device.available = result.available;
    device.total = result.total;
}

} // namespace

// A request, and then its result.
struct CapacityProbe::Request {
    Device device;
    bool isDone = false;
};

// The requests of one call, processed by its workers in turn.
struct CapacityProbe::Round {
    std::vector<std::shared_ptr<Request>> requests;
    std::size_t taken = 0;
    std::size_t done = 0;
};

struct CapacityProbe::State {
    ReadSizes readSizes;
    Mutex lock; // also guards all rounds
    ConditionVariable change;
    // Requests that exceeded their deadline.
    std::map<std::string, std::shared_ptr<Request>> late MRB_GUARDED_BY(lock);
};

CapacityProbe::CapacityProbe(ReadSizes readSizes) : state_(std::make_shared<State>()) {
    state_->readSizes = std::move(readSizes);
}

CapacityProbe &CapacityProbe::instance() {
    static OnDemand<CapacityProbe> probe;
    return probe.get([] { return new CapacityProbe(mrb::measure); });
}

void CapacityProbe::measure(std::span<Device> devices, std::chrono::steady_clock::time_point deadline) {
    const auto round = std::make_shared<Round>();
    std::vector<Device *> waiting; // one for each of the round's requests
    const MutexLock guard(state_->lock);
    for (Device &device : devices) {
        if (const auto late = state_->late.find(keyOf(device)); late != state_->late.end()) {
            if (!late->second->isDone) {
                continue;
            }
            takeSizes(device, late->second->device);
            state_->late.erase(late);
        }
        if (!device.mountPath.empty()) {
            round->requests.push_back(std::make_shared<Request>(Request{device}));
            waiting.push_back(&device);
        }
    }
    const std::size_t number = waiting.size();
    while (round->done < number && std::chrono::steady_clock::now() < deadline) {
        if (round->taken < number) { // otherwise all are started and slow
            startWorker(round);
        }
        const auto next = std::min(deadline, std::chrono::steady_clock::now() + TIMEOUT);
        while (round->done < number && state_->change.waitUntil(state_->lock, next)) {
        }
    }
    const std::size_t taken = std::exchange(round->taken, number); // The rest is left to a later call.
    if (state_->late.size() > MAX_LATE) {
        std::erase_if(state_->late, [](const auto &each) { return each.second->isDone; });
    }
    for (std::size_t index = 0; index < taken; ++index) {
        const std::shared_ptr<Request> &request = round->requests[index];
        if (request->isDone) {
            takeSizes(*waiting[index], request->device);
        } else {
            MRB_LOG_WARNING("\"%s\" does not report its size in time; its last known size is used.",
                            waiting[index]->name.c_str());
            state_->late[keyOf(*waiting[index])] = request;
        }
    }
}

// Call with the lock held.
void CapacityProbe::startWorker(const std::shared_ptr<Round> &round) {
    try {
        startThread("mrb-sizes", [state = state_, round] { work(*state, *round); }).detach();
    } catch (const std::system_error &failure) {
        MRB_LOG_WARNING("The sizes of devices are not read: %s", failure.what());
    }
}

void CapacityProbe::work(State &state, Round &round) {
    MutexLock guard(state.lock);
    while (round.taken < round.requests.size()) {
        const std::shared_ptr<Request> request = round.requests[round.taken++];
        Device device = request->device;
        guard.unlock();
        state.readSizes(device);
        guard.lock();
        request->device = std::move(device);
        request->isDone = true;
        if (++round.done == round.requests.size()) {
            state.change.notifyAll();
        }
    }
}

} // namespace mrb
