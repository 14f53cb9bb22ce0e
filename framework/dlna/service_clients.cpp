#include "dlna/service_clients.h"

#include <utility>

namespace mrb::dlna {

void ServerAudience::add(Notice notice) {
    const std::lock_guard guard(lock_);
    notices_.push_back(std::move(notice));
}

void ServerAudience::deliver(int /*event*/) noexcept {
    std::unique_lock guard(lock_);
    if (notices_.empty()) {
        return;
    }
    const Notice notice = std::move(notices_.front());
    notices_.pop_front();
    guard.unlock();
    _mrb_storage_s record{notice.device};
    _mrb_storage_s *device = &record;
    callback_(userData_, notice.event, device);
}

} // namespace mrb::dlna
