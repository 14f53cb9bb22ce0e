#pragma once

#include <deque>
#include <memory>
#include <mutex>

#include "events/event_thread.h"
#include "mrb/storage.h"
#include "storage/device_table.h"

namespace mrb::dlna {

// The callback of a client for the service's state.
struct StateCallback {
    mrb_dlna_state_cb callback = nullptr;
    void *userData = nullptr;

    bool operator==(const StateCallback &) const = default;
};

// A client that began the service. Owned by the DlnaService; the service's event thread alone
// calls back.
class ServiceClient final : public EventTarget {
  public:
    explicit ServiceClient(StateCallback listener) : listener_(listener) {}

    [[nodiscard]] const StateCallback &listener() const { return listener_; }

    void notify(int state) const noexcept { listener_.callback(state, listener_.userData); }

  private:
    const StateCallback listener_;
};

// The observer of servers. Each event delivers the next notice. Owned by the DlnaService;
// any thread may add notices.
class ServerObserver final : public EventTarget {
  public:
    ServerObserver(mrb_storage_notification_cb callback, void *userData)
        : callback_(callback), userData_(userData) {}

    void add(DeviceEvent event);
    void deliver() noexcept;

  private:
    const mrb_storage_notification_cb callback_;
    void *const userData_;
    std::mutex lock_; // guards what follows
    std::deque<DeviceEvent> events_;
};

} // namespace mrb::dlna
