#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "base/descriptor.h"
#include "base/joinable_thread.h"
#include "base/mutex.h"
#include "events/event_thread.h"
#include "storage/camera_capacity_probe.h"
#include "storage/capacity_probe.h"
#include "storage/device_limits.h"
#include "storage/device_notifier.h"
#include "storage/device_source.h"
#include "storage/device_table.h"
#include "storage/known_devices.h"

namespace mrb {

// An observer of a device's removal. Called on the thread that scans devices, without locks held;
// must return soon.
class RemovalObserver {
  public:
    virtual ~RemovalObserver() = default;
    virtual void deviceRemoved() = 0;
};

// Knows the devices of this machine, and notifies one callback of changes and observers of
// removals. The process has one, see instance(); any thread may call it, also from inside a
// callback. It has a thread that sleeps while nothing changes and notifies the observers, and from
// the first callback on an event thread, so that no callback holds up the devices.
//
// Only the first thread scans devices, which may take any time; no lock is held while it does. A
// call requests a scan, so that its result includes what happened before the call, and waits
// for the scan until the call's timeout: then the result is the last known state, and what the
// scan finds is posted as an event.
class DeviceService {
  public:
    using Sources = std::vector<std::unique_ptr<DeviceSource>>;

    // `make` is called on the thread.
    explicit DeviceService(std::function<Sources()> make, CapacityProbe &probe = CapacityProbe::instance(),
                           const DeviceLimits &limits = {})
        : make_(std::move(make)), capacityProbe_(probe), limits_(limits) {}
    ~DeviceService();
    DeviceService(const DeviceService &) = delete;
    DeviceService &operator=(const DeviceService &) = delete;

    // The process's service, created on first use.
    static DeviceService &instance();

    // The devices that are attached now, with their current sizes. Cameras have the sizes of their
    // last report, zeros before the first; new sizes are requested without waiting, and a result
    // that differs is MRB_STORAGE_EVENT_CHANGED. Throws std::system_error when the system has no
    // room for the thread.
    std::vector<Device> list(DeviceKind kind);

    // The same with the last known sizes, for callers that need none. When the thread cannot
    // start, the list is empty and an error is logged.
    std::vector<Device> attached(DeviceKind kind);

    // Sets or replaces the callback, as DeviceNotifier::set does. What a scan finds after this has
    // stopped waiting for it is reported. Throws std::system_error as list does.
    int setCallback(mrb_storage_notification_cb callback, void *userData);
    int removeCallback() { return notifier_->remove(); }

    // Notifies the observer once when the device is removed; soon when it is gone already. A device
    // that comes back is another one. Does not wait. Throws std::system_error as list does.
    void awaitRemoval(const Device &device, const std::shared_ptr<RemovalObserver> &observer);

    // Starts no further notification of the observer. May be called from inside one.
    void forget(const RemovalObserver &observer);

    // Ends the threads. A thread whose callback or scan does not return by the deadline is
    // detached: false. No observer is notified from now on, and lists are the last known state.
    bool shutDown(std::chrono::steady_clock::time_point deadline);

  private:
    using Time = std::chrono::steady_clock::time_point;

    struct Awaited {
        Device device;
        const RemovalObserver *key;
        std::weak_ptr<RemovalObserver> observer;
        unsigned long long request; // the scan that finds out whether the device is attached
        bool hasLeft = false;
    };

    Time awaitScan() MRB_EXCLUDES(lock_);
    void start() MRB_REQUIRES(lock_);

    // On the thread:
    void run();
    void scan();
    void publish(std::vector<Device> &mounted);
    void endScan(unsigned long long request);
    void measure(std::vector<Device> mounted);
    void depart() MRB_REQUIRES(lock_);
    bool notify();
    void wake() const;

    const std::function<Sources()> make_;
    CapacityProbe &capacityProbe_;
    const DeviceLimits limits_;
    CameraCapacityProbe cameraCapacityProbe_;
    EventThread events_{"mrb-dev-events"};
    const std::shared_ptr<DeviceNotifier> notifier_ = std::make_shared<DeviceNotifier>(events_);

    // Used by the thread alone:
    Sources sources_;
    DeviceTable table_;

    Mutex lock_; // never held during a scan or a callback
    ConditionVariable change_;
    KnownDevices known_ MRB_GUARDED_BY(lock_);
    // For lists, since the last scan; by their indexes.
    std::map<int, Device> measured_ MRB_GUARDED_BY(lock_);
    unsigned long long requests_ MRB_GUARDED_BY(lock_) = 0; // number of scans requested
    unsigned long long answered_ MRB_GUARDED_BY(lock_) = 0; // those made before the last scan began
    bool hasScanned_ MRB_GUARDED_BY(lock_) = false;
    // A call has timed out waiting for the pending scan.
    bool isOverdue_ MRB_GUARDED_BY(lock_) = false;
    std::vector<Awaited> awaited_ MRB_GUARDED_BY(lock_);
    std::vector<Awaited> departed_ MRB_GUARDED_BY(lock_); // whose observers are not yet notified
    bool down_ MRB_GUARDED_BY(lock_) = false;

    Descriptor wake_; // set before the thread starts
    JoinableThread thread_{"mrb-devices", "A device does not answer."};
};

} // namespace mrb
