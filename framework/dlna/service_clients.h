#pragma once

#include "events/event_thread.h"
#include "mrb/storage.h"

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

} // namespace mrb::dlna
