#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "base/descriptor.h"
#include "base/joinable_thread.h"
#include "storage/camera_gauge.h"
#include "storage/device_source.h"
#include "storage/device_table.h"
#include "storage/known_devices.h"
#include "storage/size_gauge.h"

namespace mrb {

// Somebody to whom it matters that a device is there. Called on the DeviceService's thread,
// with nothing locked; returns soon.
class RemovalObserver {
  public:
    virtual ~RemovalObserver() = default;
    virtual void deviceRemoved() = 0;
};

// How long devices that do not answer are waited for.
struct DeviceLimits {
    // A call, for the thread's look and for sizes together: the call may come from the
    // application's main thread. A look that takes longer is not waited for again.
    std::chrono::milliseconds call = std::chrono::milliseconds(100);
    // The same until a look has ended. A program that lists once and never listens has no other
    // answer than the first one, and on a busy machine the first look takes its time.
    std::chrono::milliseconds firstCall = std::chrono::seconds(1);
    // An event, for the sizes in its record.
    std::chrono::milliseconds event = std::chrono::milliseconds(300);
};

// Knows the devices of this machine, and tells one listener what happens to them, and
// others that one of them has left, from a thread of its own that sleeps while nothing
// happens. The process has one, see instance(); any thread may call it, also from inside a
// callback.
//
// That thread alone looks at devices, which may take as long as they like; no lock is held
// while it does. A call asks it to look, so that what happened before the call is in the
// answer, and waits for that no longer than its limit: then the answer is what was known, and
// what the look finds is an event.
class DeviceService {
  public:
    using Sources = std::vector<std::unique_ptr<DeviceSource>>;

    // `make` is called on the thread.
    explicit DeviceService(std::function<Sources()> make, SizeGauge &gauge = SizeGauge::instance(),
                           const DeviceLimits &limits = {})
        : make_(std::move(make)), gauge_(gauge), limits_(limits) {}
    ~DeviceService();
    DeviceService(const DeviceService &) = delete;
    DeviceService &operator=(const DeviceService &) = delete;

    // The process's service, made when it is first asked for.
    static DeviceService &instance();

    // The devices that are there now, with their sizes now. Cameras have those that they answered
    // last, zeros before; they are asked without waiting, and an answer that is another is
    // MRB_STORAGE_EVENT_CHANGED. Throws std::system_error when the system has no room for the
    // thread.
    std::vector<Device> list(DeviceKind kind);

    // The same with the sizes that were known last, for whoever needs none. Where the thread
    // cannot start there are none, and the log says so.
    std::vector<Device> attached(DeviceKind kind);

    // Calls back from now on, instead of what it called before. What a look finds that this did
    // not wait for is reported. Throws std::system_error as list does.
    int listen(mrb_storage_notification_cb callback, void *userData);

    // Both return when the callback that was set before is not running and will not
    // run; made from inside it, at once. MRB_ERR_TIMEOUT: it does not return.
    int unlisten();

    // Tells the observer when the device leaves, once; soon when it is not there any more. One
    // that comes back is another. Waits for nothing. Throws std::system_error as list does.
    void awaitRemoval(const Device &device, const std::shared_ptr<RemovalObserver> &observer);

    // Nothing is begun to be told to the observer any more. From inside its call as well.
    void forget(const RemovalObserver &observer);

    // Ends the thread. A callback or a look that does not return until the deadline is left
    // behind: false. No observer is notified from now on, and lists are what was known.
    bool shutDown(std::chrono::steady_clock::time_point deadline);

  private:
    using Time = std::chrono::steady_clock::time_point;

    struct Awaited {
        Device device;
        const RemovalObserver *key;
        std::weak_ptr<RemovalObserver> observer;
        unsigned long long request; // the look that finds out whether the device is there
    };

    Time awaitLook();
    void start(); // with lock_ held

    // On the thread:
    void run();
    void look();
    void publish(std::vector<Device> &mounted);
    void endLook(unsigned long long request);
    void measure(std::vector<Device> mounted);
    template <typename HasLeft>
    void depart(HasLeft hasLeft); // with lock_ held
    bool deliver();
    bool tellDeparture(std::unique_lock<std::mutex> &guard);
    bool tellNotice(std::unique_lock<std::mutex> &guard);
    [[nodiscard]] int awaitCallback(std::unique_lock<std::mutex> &guard);
    void wake() const;

    const std::function<Sources()> make_;
    SizeGauge &gauge_;
    const DeviceLimits limits_;
    CameraGauge cameraGauge_;

    // The thread's alone:
    Sources sources_;
    DeviceTable table_;

    std::mutex lock_; // guards what follows; never held while something is waited for
    std::condition_variable change_;
    KnownDevices known_;
    std::map<int, Device> measured_;  // for lists, since the last look; by their indexes
    unsigned long long requests_ = 0; // for a look
    unsigned long long answered_ = 0; // those that were made before the last look began
    bool hasLooked_ = false;
    bool isOverdue_ = false; // a call has waited its limit for the look that is due
    mrb_storage_notification_cb callback_ = nullptr;
    void *userData_ = nullptr;
    std::deque<Notice> notices_;
    std::vector<Awaited> awaited_;
    std::vector<Awaited> departed_;     // and not yet told
    unsigned long long deliveries_ = 0; // begun so far
    bool delivering_ = false;
    bool down_ = false;

    Descriptor wake_; // set before the thread starts
    JoinableThread thread_{"mrb-devices", "A callback or a device does not answer."};
};

} // namespace mrb
