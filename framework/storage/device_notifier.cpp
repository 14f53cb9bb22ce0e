#include "storage/device_notifier.h"

#include <utility>

#include "mrb/result.h"

namespace mrb {

int DeviceNotifier::set(mrb_storage_notification_cb callback, void *userData) {
    EventThread::Delivery earlier = 0;
    {
        const MutexLock guard(lock_);
        callback_ = callback;
        userData_ = userData;
        earlier = delivery_;
    }
    return thread_.awaitEnd(earlier) ? MRB_ERR_NONE : MRB_ERR_TIMEOUT;
}

int DeviceNotifier::remove() {
    EventThread::Delivery earlier = 0;
    {
        const MutexLock guard(lock_);
        callback_ = nullptr;
        collected_.clear();
        earlier = thread_.drop(*this); // also one without a callback yet: none that is set later gets it
    }
    return thread_.awaitEnd(earlier) ? MRB_ERR_NONE : MRB_ERR_TIMEOUT;
}

bool DeviceNotifier::isSet() {
    const MutexLock guard(lock_);
    return callback_ != nullptr;
}

bool DeviceNotifier::collect(const DeviceEvent &event) {
    const MutexLock guard(lock_);
    if (callback_ == nullptr) {
        return false;
    }
    collected_.push_back(event);
    return true;
}

void DeviceNotifier::keepSizes(const Device &measured) {
    const MutexLock guard(lock_);
    for (DeviceEvent &event : collected_) {
        mrb::keepSizes(event.device, measured);
    }
}

void DeviceNotifier::post() {
    const MutexLock guard(lock_);
    for (DeviceEvent &event : std::exchange(collected_, {})) {
        thread_.post(shared_from_this(),
                     [this, event = std::move(event)]() mutable { deliver(std::move(event)); });
    }
}

void DeviceNotifier::deliver(DeviceEvent event) {
    MutexLock guard(lock_);
    // From here on it is one to this callback. Until then it would go to another one that is set, which
    // has no reason to wait for it.
    delivery_ = thread_.deliveryTo(*this);
    const mrb_storage_notification_cb callback = callback_;
    void *const userData = userData_;
    guard.unlock();
    // No callback: it was removed after this delivery had begun.
    if (callback != nullptr) {
        _mrb_storage_s record{std::move(event.device)};
        _mrb_storage_s *device = &record;
        callback(userData, event.event, device);
    }
}

} // namespace mrb
