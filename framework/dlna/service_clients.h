#pragma once

#include "events/event_thread.h"
#include "mrb/storage.h"

namespace mrb::dlna {

// The callback of a client for the service's state.
struct StateCallback {
    mrb_dlna_state_cb function = nullptr;
    void *userData = nullptr;

    bool operator==(const StateCallback &) const = default;
};

// A client that began the service. Owned by the DlnaService; the service's event thread alone
// calls back.
class ServiceClient final : public EventTarget {
  public:
    explicit ServiceClient(StateCallback callback) : callback_(callback) {}

    [[nodiscard]] const StateCallback &callback() const { return callback_; }

    void notify(int state) const noexcept { callback_.function(state, callback_.userData); }

  private:
    const StateCallback callback_;
};

} // namespace mrb::dlna
