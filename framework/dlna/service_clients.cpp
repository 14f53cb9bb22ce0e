#include "dlna/service_clients.h"

#include <utility>

namespace mrb::dlna {

void ServerObserver::add(DeviceEvent event) {
    const std::lock_guard guard(lock_);
    events_.push_back(std::move(event));
}

void ServerObserver::deliver() noexcept {
    std::unique_lock guard(lock_);
    if (events_.empty()) {
        return;
    }
    const DeviceEvent event = std::move(events_.front());
    events_.pop_front();
    guard.unlock();
    _mrb_storage_s record{event.device};
    _mrb_storage_s *device = &record;
    callback_(userData_, event.event, device);
}

} // namespace mrb::dlna
