#include "storage/device_service.h"

#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <iterator>
#include <system_error>
#include <utility>

#include "base/log.h"
#include "base/threads.h"
#include "events/event_thread.h"
#include "mrb/result.h"

namespace mrb {
namespace {

// Two cameras of one maker may have the same id; they are at different places.
bool isSame(const Device &one, const Device &other) {
    return one.kind == other.kind && one.id == other.id && one.camera == other.camera;
}

} // namespace

DeviceService::~DeviceService() { shutDown(std::chrono::steady_clock::time_point::max()); }

std::vector<Device> DeviceService::attached(DeviceKind kind) {
    look();
    const std::lock_guard guard(looking_);
    return table_.list(kind);
}

std::vector<Device> DeviceService::list(DeviceKind kind) {
    std::vector<Device> devices = attached(kind);
    if (kind == DeviceKind::CAMERA) {
        cameraGauge_.ask(devices);
        return devices;
    }
    // Outside of the lock: a device may be slow.
    SizeGauge::instance().measure(devices);
    const std::lock_guard guard(looking_);
    std::ranges::for_each(devices, [this](const Device &measured) { table_.keepSizes(measured); });
    return devices;
}

int DeviceService::listen(mrb_storage_notification_cb callback, void *userData) {
    // What is there before the registration is no news after it.
    look();
    std::unique_lock guard(lock_);
    if (down_) {
        return MRB_ERR_NOT_INITIALIZED;
    }
    start();
    callback_ = callback;
    userData_ = userData;
    return awaitCallback(guard);
}

int DeviceService::unlisten() {
    std::unique_lock guard(lock_);
    callback_ = nullptr;
    notices_.clear();
    return awaitCallback(guard);
}

void DeviceService::awaitRemoval(const Device &device, const std::shared_ptr<RemovalObserver> &observer) {
    look();
    // Nobody looks meanwhile: it is there and will be heard of, or it is gone.
    const std::lock_guard looking(looking_);
    const std::lock_guard guard(lock_);
    if (down_) {
        return;
    }
    start();
    const bool isThere = std::ranges::any_of(table_.list(device.kind),
                                             [&device](const Device &each) { return isSame(each, device); });
    (isThere ? awaited_ : departed_).push_back({device, observer.get(), observer});
    if (!isThere) {
        wake();
    }
}

void DeviceService::forget(const RemovalObserver &observer) {
    const std::lock_guard guard(lock_);
    const auto isIts = [&observer](const Awaited &awaited) { return awaited.key == &observer; };
    std::erase_if(awaited_, isIts);
    std::erase_if(departed_, isIts);
}

int DeviceService::awaitCallback(std::unique_lock<std::mutex> &guard) {
    const auto isOver = [this, running = deliveries_] { return !delivering_ || deliveries_ != running; };
    const bool isIts = std::this_thread::get_id() == id_;
    if (isIts || change_.wait_for(guard, CALLBACK_LIMIT, isOver)) {
        return MRB_ERR_NONE;
    }
    guard.unlock();
    MRB_LOG_WARNING("A callback for devices does not return; it is not waited for any longer.");
    return MRB_ERR_TIMEOUT;
}

bool DeviceService::shutDown(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock guard(lock_);
    down_ = true;
    callback_ = nullptr;
    notices_.clear();
    awaited_.clear();
    departed_.clear();
    if (!wake_) {
        return true; // It never ran.
    }
    wake();
    std::thread thread = std::move(thread_);
    const bool inside = std::this_thread::get_id() == id_;
    const bool ended = !inside && change_.wait_until(guard, deadline, [this] { return ended_; });
    guard.unlock();
    if (!inside && !ended) {
        MRB_LOG_WARNING("A callback or a device does not answer; the process ends without it.");
    }
    if (thread.joinable()) { // and not ended from inside a callback before
        ended ? thread.join() : thread.detach();
    }
    return inside || ended;
}

void DeviceService::start() {
    if (wake_) {
        return;
    }
    wake_ = Descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!wake_) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    try {
        thread_ = startThread("mrb-devices", [this] { run(); });
    } catch (...) {
        wake_ = Descriptor();
        throw;
    }
    id_ = thread_.get_id();
}

void DeviceService::wake() const { eventfd_write(wake_.number(), 1); }

// Lets the sources say what happened, and queues that for whom it concerns.
void DeviceService::look() {
    const std::lock_guard looking(looking_);
    if (!std::exchange(isMade_, true)) {
        sources_ = make_();
    }
    for (const auto &source : sources_) {
        try {
            source->look(table_);
        } catch (const std::exception &failure) {
            MRB_LOG_ERROR("Devices were not looked at: %s", failure.what());
        }
    }
    for (const CameraGauge::Answer &answer : cameraGauge_.answers()) {
        table_.setSizes(answer.camera, answer.sizes);
    }
    std::vector<Notice> notices = table_.takeNotices();
    const std::lock_guard guard(lock_);
    const bool isHeard = callback_ != nullptr && !notices.empty();
    const bool isNews = keepDepartures(notices) || isHeard;
    if (isHeard) {
        std::ranges::move(notices, std::back_inserter(notices_));
    }
    if (isNews && std::this_thread::get_id() != id_) {
        wake();
    }
}

// Whether some of these are departures that somebody waits for; with lock_ held.
bool DeviceService::keepDepartures(const std::vector<Notice> &notices) {
    const std::size_t before = departed_.size();
    for (const Notice &notice : notices) {
        if (notice.event != MRB_STORAGE_EVENT_REMOVED) {
            continue;
        }
        const auto gone =
            std::stable_partition(awaited_.begin(), awaited_.end(), [&notice](const Awaited &each) {
                return !isSame(each.device, notice.device);
            });
        std::move(gone, awaited_.end(), std::back_inserter(departed_));
        awaited_.erase(gone, awaited_.end());
    }
    return departed_.size() > before;
}

void DeviceService::run() {
    std::vector<pollfd> waited;
    {
        const std::lock_guard looking(looking_);
        waited.push_back({wake_.number(), POLLIN, 0});
        waited.push_back({cameraGauge_.number(), POLLIN, 0});
        for (const auto &source : sources_) {
            source->addDescriptors(waited);
        }
    }
    while (deliver()) {
        poll(waited.data(), waited.size(), -1);
        for (pollfd &each : waited) {
            // What has ended would wake the thread for ever.
            if ((each.revents & (POLLNVAL | POLLHUP)) != 0) {
                MRB_LOG_WARNING("A source of devices has ended; nothing more is heard from it.");
                each.fd = -1;
            }
        }
        eventfd_t ignored = 0;
        eventfd_read(wake_.number(), &ignored);
        look();
    }
    const std::lock_guard guard(lock_);
    ended_ = true;
    change_.notify_all();
}

// Tells until nothing is left to tell. False: the thread shall end.
bool DeviceService::deliver() {
    std::unique_lock guard(lock_);
    while (!down_ && (tellDeparture(guard) || tellNotice(guard))) {
    }
    return !down_;
}

bool DeviceService::tellDeparture(std::unique_lock<std::mutex> &guard) {
    if (departed_.empty()) {
        return false;
    }
    std::shared_ptr<RemovalObserver> observer = departed_.front().observer.lock();
    departed_.erase(departed_.begin());
    guard.unlock();
    if (observer) {
        observer->deviceRemoved();
        observer.reset(); // which may be its end
    }
    guard.lock();
    return true;
}

bool DeviceService::tellNotice(std::unique_lock<std::mutex> &guard) {
    if (callback_ == nullptr || notices_.empty()) {
        return false;
    }
    _mrb_storage_s record{std::move(notices_.front().device)};
    const mrb_storage_event_e event = notices_.front().event;
    notices_.pop_front();
    const auto callback = callback_;
    void *const userData = userData_;
    ++deliveries_;
    delivering_ = true;
    guard.unlock();
    _mrb_storage_s *device = &record;
    callback(userData, event, device);
    guard.lock();
    delivering_ = false;
    change_.notify_all();
    return true;
}

} // namespace mrb
