#include "storage/device_service.h"

#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <iterator>
#include <system_error>
#include <utility>

#include "base/log.h"
#include "mrb/result.h"

namespace mrb {

using Clock = std::chrono::steady_clock;

DeviceService::~DeviceService() { shutDown(Time::max()); }

std::vector<Device> DeviceService::attached(DeviceKind kind) {
    try {
        awaitScan();
    } catch (const std::system_error &failure) {
        MRB_LOG_ERROR("The devices are not scanned: %s", failure.what());
    }
    const MutexLock guard(lock_);
    return known_.list(kind);
}

std::vector<Device> DeviceService::list(DeviceKind kind) {
    const Time deadline = awaitScan();
    MutexLock guard(lock_);
    std::vector<Device> devices = known_.list(kind);
    guard.unlock();
    if (kind == DeviceKind::CAMERA) {
        cameraCapacityProbe_.request(devices);
        return devices;
    }
    std::vector<Device> measured = devices;
    capacityProbe_.measure(measured, std::min(deadline, Clock::now() + limits_.call));
    guard.lock();
    for (std::size_t each = 0; each < devices.size(); ++each) {
        // An unchanged entry may be older than what the thread has stored in the meantime.
        if (measured[each] != devices[each]) {
            known_.keepSizes(measured[each]);
            measured_[measured[each].index] = measured[each];
        }
    }
    return measured;
}

int DeviceService::setCallback(mrb_storage_notification_cb callback, void *userData) {
    if (!notifier_->isSet()) {
        // Devices attached before the first registration are not reported as new after it. The
        // previous callback has reported them, and pending events go to the new one.
        awaitScan();
    }
    {
        const MutexLock guard(lock_);
        if (down_) {
            return MRB_ERR_NOT_INITIALIZED;
        }
    }
    events_.start();
    return notifier_->set(callback, userData);
}

void DeviceService::awaitRemoval(const Device &device, const std::shared_ptr<RemovalObserver> &observer) {
    const MutexLock guard(lock_);
    if (down_) {
        return;
    }
    start();
    awaited_.push_back({device, observer.get(), observer, ++requests_});
    wake();
}

void DeviceService::forget(const RemovalObserver &observer) {
    const MutexLock guard(lock_);
    const auto isIts = [&observer](const Awaited &awaited) { return awaited.key == &observer; };
    std::erase_if(awaited_, isIts);
    std::erase_if(departed_, isIts);
}

bool DeviceService::shutDown(std::chrono::steady_clock::time_point deadline) {
    MutexLock guard(lock_);
    down_ = true;
    awaited_.clear();
    departed_.clear();
    change_.notifyAll(); // calls that wait for a scan
    if (thread_.isStarted()) {
        wake();
    }
    guard.unlock();
    const bool hasCallbackEnded = events_.finish(deadline);
    return thread_.finish(deadline) && hasCallbackEnded;
}

void DeviceService::start() {
    if (thread_.isStarted()) {
        return;
    }
    wake_ = Descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!wake_) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    thread_.start([this] { run(); });
}

void DeviceService::wake() const { eventfd_write(wake_.fd(), 1); }

// Waits until a scan that began after this call has ended, or until the timeout; scans itself
// when called by an observer. Returns the deadline of the whole call.
DeviceService::Time DeviceService::awaitScan() {
    MutexLock guard(lock_);
    const Time deadline = Clock::now() + (hasScanned_ || isOverdue_ ? limits_.call : limits_.firstCall);
    if (down_) {
        return deadline;
    }
    start();
    if (thread_.isCurrent()) {
        guard.unlock();
        scan();
        return deadline;
    }
    const unsigned long long request = ++requests_;
    wake();
    if (isOverdue_) {
        return deadline;
    }
    while (answered_ < request && !down_ && change_.waitUntil(lock_, deadline)) {
    }
    if (answered_ >= request || down_) {
        return deadline;
    }
    isOverdue_ = true;
    guard.unlock();
    MRB_LOG_WARNING(
        "The device scan has not ended in time: a device or the system hangs. Last known devices are used.");
    return deadline;
}

// Scans all sources and collects the changes for the callback and the observers.
void DeviceService::scan() {
    unsigned long long request = 0;
    {
        const MutexLock guard(lock_);
        request = requests_;
        for (const auto &[index, measured] : std::exchange(measured_, {})) {
            table_.keepSizes(measured);
        }
    }
    std::vector<Device> mounted;
    for (const auto &source : sources_) {
        try {
            source->scan(table_);
        } catch (const std::exception &failure) {
            MRB_LOG_ERROR("The device scan failed: %s", failure.what());
        }
        publish(mounted);
    }
    for (const CameraCapacityProbe::Result &result : cameraCapacityProbe_.takeResults()) {
        table_.setSizes(result.camera, result.sizes);
    }
    publish(mounted);
    endScan(request);
    measure(std::move(mounted));
}

// Publishes the table's changes to calls before their events are posted, so that a call never
// sees less than an event has reported. Adds the devices of events that need sizes.
void DeviceService::publish(std::vector<Device> &mounted) {
    std::vector<DeviceEvent> events = table_.drainEvents();
    if (events.empty()) {
        return;
    }
    const MutexLock guard(lock_);
    known_.apply(events);
    for (const auto &[index, measured] : measured_) {
        known_.keepSizes(measured);
    }
    for (DeviceEvent &event : events) {
        if (event.event == MRB_STORAGE_EVENT_REMOVED) {
            for (Awaited &each : awaited_) {
                each.hasLeft = isSame(each.device, event.device);
            }
            depart();
        }
        const bool isCollected = notifier_->collect(event);
        if (isCollected && event.event != MRB_STORAGE_EVENT_REMOVED && !event.device.mountPath.empty()) {
            mounted.push_back(std::move(event.device));
        }
    }
}

// Completes all requests that were made before the scan began.
void DeviceService::endScan(unsigned long long request) {
    const MutexLock guard(lock_);
    for (Awaited &each : awaited_) {
        each.hasLeft = each.request <= request && !known_.contains(each.device);
    }
    depart();
    answered_ = request;
    hasScanned_ = true;
    isOverdue_ = false;
    change_.notifyAll();
}

// Adds the sizes of their devices to events: only after the scan has ended, since calls wait for
// its end, and a device may be slow.
void DeviceService::measure(std::vector<Device> mounted) {
    if (mounted.empty()) {
        return;
    }
    capacityProbe_.measure(mounted, Clock::now() + limits_.event);
    for (const Device &measured : mounted) {
        table_.keepSizes(measured);
    }
    const MutexLock guard(lock_);
    for (const Device &measured : mounted) {
        known_.keepSizes(measured);
        notifier_->keepSizes(measured);
    }
}

// Moves those whose device has left.
void DeviceService::depart() {
    const auto gone = std::stable_partition(awaited_.begin(), awaited_.end(),
                                            [](const Awaited &each) { return !each.hasLeft; });
    std::move(gone, awaited_.end(), std::back_inserter(departed_));
    awaited_.erase(gone, awaited_.end());
}

void DeviceService::run() {
    try {
        sources_ = make_();
    } catch (const std::exception &failure) {
        MRB_LOG_ERROR("The devices are not scanned: %s", failure.what());
    }
    std::vector<pollfd> waited{{wake_.fd(), POLLIN, 0}, {cameraCapacityProbe_.fd(), POLLIN, 0}};
    for (const auto &source : sources_) {
        source->addDescriptors(waited);
    }
    scan();
    while (notify()) {
        poll(waited.data(), waited.size(), -1);
        for (pollfd &each : waited) {
            // A closed descriptor would wake the thread for ever.
            if ((each.revents & (POLLNVAL | POLLHUP)) != 0) {
                MRB_LOG_WARNING("A device source was closed by the system; its events are lost from now on.");
                each.fd = -1;
            }
        }
        eventfd_t ignored = 0;
        eventfd_read(wake_.fd(), &ignored);
        scan();
    }
}

// Notifies the observers, then posts the events. False: the thread has to end.
bool DeviceService::notify() {
    MutexLock guard(lock_);
    while (!down_ && !departed_.empty()) {
        std::shared_ptr<RemovalObserver> observer = departed_.front().observer.lock();
        departed_.erase(departed_.begin());
        guard.unlock();
        if (observer) {
            observer->deviceRemoved();
            observer.reset(); // which may destroy it
        }
        guard.lock();
    }
    const bool isOver = down_;
    guard.unlock();
    notifier_->post();
    return !isOver;
}

} // namespace mrb
