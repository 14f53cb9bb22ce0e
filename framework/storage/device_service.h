#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "base/descriptor.h"
#include "storage/camera_gauge.h"
#include "storage/device_source.h"
#include "storage/device_table.h"

namespace mrb {

// Somebody to whom it matters that a device is there. Called on the DeviceService's thread,
// with nothing locked; returns soon.
class RemovalObserver {
  public:
    virtual ~RemovalObserver() = default;
    virtual void deviceRemoved() = 0;
};

// Knows the devices of this machine, and tells one listener what happens to them, and
// others that one of them has left, from a thread of its own that sleeps while nothing
// happens. The process has one, see instance(); any thread may call it, also from inside a
// callback.
class DeviceService {
  public:
    using Sources = std::vector<std::unique_ptr<DeviceSource>>;

    explicit DeviceService(std::function<Sources()> make) : make_(std::move(make)) {}
    ~DeviceService();
    DeviceService(const DeviceService &) = delete;
    DeviceService &operator=(const DeviceService &) = delete;

    // The process's service, made when it is first asked for.
    static DeviceService &instance();

    // The devices that are there now, with their sizes now. Cameras have those that they answered
    // last, zeros before; they are asked without waiting, and an answer that is another is
    // MRB_STORAGE_EVENT_CHANGED.
    std::vector<Device> list(DeviceKind kind);

    // The same with the sizes that were known last, for whoever needs none.
    std::vector<Device> attached(DeviceKind kind);

    // Calls back from now on, instead of whom it called before. Throws
    // std::system_error when the system has no room for the thread.
    int listen(mrb_storage_notification_cb callback, void *userData);

    // Both return when the callback that was set before is not running and will not
    // run; made from inside it, at once. MRB_ERR_TIMEOUT: it does not return.
    int unlisten();

    // Tells the observer when the device leaves, once; at once when it is not there any more.
    // One that comes back is another. Throws std::system_error as listen does.
    void awaitRemoval(const Device &device, const std::shared_ptr<RemovalObserver> &observer);

    // Nothing is begun to be told to the observer any more. From inside its call as well.
    void forget(const RemovalObserver &observer);

    // Ends the thread. A callback that does not return until the deadline is left
    // behind: false. No observer is notified from now on.
    bool shutDown(std::chrono::steady_clock::time_point deadline);

  private:
    struct Awaited {
        Device device;
        const RemovalObserver *key;
        std::weak_ptr<RemovalObserver> observer;
    };

    void look();
    void run();
    void start(); // with lock_ held
    bool keepDepartures(const std::vector<Notice> &notices);
    bool deliver();
    bool tellDeparture(std::unique_lock<std::mutex> &guard);
    bool tellNotice(std::unique_lock<std::mutex> &guard);
    [[nodiscard]] int awaitCallback(std::unique_lock<std::mutex> &guard);
    void wake() const;

    const std::function<Sources()> make_;
    std::mutex looking_; // guards what follows; comes before lock_
    Sources sources_;
    bool isMade_ = false;
    DeviceTable table_;
    CameraGauge cameraGauge_;

    std::mutex lock_; // guards what follows
    std::condition_variable change_;
    mrb_storage_notification_cb callback_ = nullptr;
    void *userData_ = nullptr;
    std::deque<Notice> notices_;
    std::vector<Awaited> awaited_;
    std::vector<Awaited> departed_; // and not yet told
    std::thread thread_;
    std::thread::id id_;
    unsigned long long deliveries_ = 0; // begun so far
    bool delivering_ = false;
    bool down_ = false;
    bool ended_ = false;

    Descriptor wake_; // set before the thread starts
};

} // namespace mrb
