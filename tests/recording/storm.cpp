#include "storm.h"

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include "recorder.h"

namespace recording {

namespace {

std::atomic<int> newest_event{0};

/// One registration and the thread that calls it.
template <typename Callback>
class Target {
  public:
    void set(Callback callback, void *user_data) {
        ++waiting_;
        const std::lock_guard<std::mutex> lock(mutex_); // waits while the callback runs
        --waiting_;
        callback_ = callback;
        user_data_ = user_data;
    }

    void setStopped(bool stopped) {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopped_ = stopped;
    }

    /// Calls `fire` with the registration repeatedly, until stopped.
    template <typename Fire>
    void run(Fire fire) {
        std::unique_lock<std::mutex> lock(mutex_);
        while (!stopped_) {
            if (callback_ != nullptr) {
                fire(callback_, user_data_);
            }
            // Never asleep: a registration may last for less than a wake-up takes.
            lock.unlock();
            do {
                std::this_thread::yield();
            } while (waiting_ > 0); // the mutex is not fair
            lock.lock();
        }
    }

  private:
    std::atomic<int> waiting_{0};
    std::mutex mutex_;
    // Guarded by the mutex, which is held while the callback runs.
    Callback callback_ = nullptr;
    void *user_data_ = nullptr;
    bool stopped_ = false;
};

// Never destroyed, because the storm's threads may outlive main.
struct Storm {
    Target<mrb_storage_notification_cb> usb;
    Target<mrb_storage_notification_cb> dlna;
    Target<mrb_dlna_state_cb> state;
    std::vector<std::thread> threads; // main thread only

    void setStopped(bool stopped) {
        usb.setStopped(stopped);
        dlna.setStopped(stopped);
        state.setStopped(stopped);
    }
};

Storm &storm() {
    static auto *only = new Storm;
    return *only;
}

void runDevices(Target<mrb_storage_notification_cb> &target) {
    _mrb_storage_s *device = deviceOf(addDevice({}));
    target.run([device](mrb_storage_notification_cb callback, void *user_data) {
        _mrb_storage_s *reference = device;
        const int event = ++newest_event;
        newest_event.notify_all();
        callback(user_data, event, reference);
    });
}

void runStates(Target<mrb_dlna_state_cb> &target) {
    int state = 0;
    target.run([&state](mrb_dlna_state_cb callback, void *user_data) { callback(++state % 3, user_data); });
}

} // namespace

void startStorm() {
    Storm &all = storm();
    all.setStopped(false);
    all.threads.emplace_back([&all] { runDevices(all.usb); });
    all.threads.emplace_back([&all] { runDevices(all.dlna); });
    all.threads.emplace_back([&all] { runStates(all.state); });
}

void stopStorm() {
    Storm &all = storm();
    all.setStopped(true);
    for (std::thread &thread : all.threads) {
        thread.join();
    }
    all.threads.clear();
}

int stormEvent() { return newest_event; }

void awaitStormEvents(int count) {
    const int start = newest_event;
    for (int event = start; event - start < count; event = newest_event) {
        newest_event.wait(event);
    }
}

void setStormUsb(mrb_storage_notification_cb callback, void *user_data) {
    storm().usb.set(callback, user_data);
}

void setStormDlna(mrb_storage_notification_cb callback, void *user_data) {
    storm().dlna.set(callback, user_data);
}

void setStormState(mrb_dlna_state_cb callback, void *user_data) { storm().state.set(callback, user_data); }

} // namespace recording
