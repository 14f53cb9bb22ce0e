#pragma once

#include <memory>
#include <vector>

#include "base/mutex.h"
#include "events/event_thread.h"
#include "mrb/storage.h"
#include "storage/device_table.h"

namespace mrb {

// Notifies one callback of the devices, or servers, that arrive, leave and change: one event at a
// time, in order, on an event thread, without locks held. Owned jointly by the service that finds
// the devices and the events on their way; any thread may call it, also from inside the callback.
class DeviceNotifier final : public EventTarget, public std::enable_shared_from_this<DeviceNotifier> {
  public:
    // The service starts and finishes the thread, and the notifier is not used after its end.
    explicit DeviceNotifier(EventThread &thread) : thread_(thread) {}

    // Sets the callback. An earlier one is replaced: the events that it has not received go to the
    // new one. Both return MRB_ERR_NONE when the earlier callback is not running and will not run,
    // or at once when called from inside it; MRB_ERR_TIMEOUT: it has not returned within
    // CALLBACK_LIMIT.
    int set(mrb_storage_notification_cb callback, void *userData);
    // Removes the callback and drops the events that it has not received.
    int remove();

    [[nodiscard]] bool isSet();

    // Collects events until post(). False: there is no callback, and the event is dropped.
    bool collect(const DeviceEvent &event);
    // Adds the measured sizes to the collected events of that device.
    void keepSizes(const Device &measured);
    // Posts what was collected.
    void post();

  private:
    void deliver(DeviceEvent event); // on the event thread

    EventThread &thread_;

    Mutex lock_;
    mrb_storage_notification_cb callback_ MRB_GUARDED_BY(lock_) = nullptr;
    void *userData_ MRB_GUARDED_BY(lock_) = nullptr;
    std::vector<DeviceEvent> collected_ MRB_GUARDED_BY(lock_);
    EventThread::Delivery delivery_ MRB_GUARDED_BY(lock_) = 0; // the last one that has a callback
};

} // namespace mrb
