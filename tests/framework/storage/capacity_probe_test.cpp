// Sizes of devices that respond late or never. The measured devices are scripted; the last
// test has a file system whose program never responds.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "base/descriptor.h"
#include "storage/capacity_probe.h"
#include "storage/offered_folders.h"
#include "support/client.h"
#include "support/devices.h"
#include "support/folder.h"
#include "support/own_process.h"
#include "support/silent_file_system.h"

using mrb::CapacityProbe;
using mrb::Device;
using support::Surroundings;

namespace {

// Returns the length of a device's name, unless the device is held.
class Answers {
  public:
    void hold(const std::string &name) { set(name, true); }
    void release(const std::string &name) { set(name, false); }
    ~Answers() {
        std::unique_lock guard(lock_);
        held_.clear();
        change_.notify_all();
        change_.wait(guard, [this] { return busy_ == 0; });
    }

    void answer(Device &device) {
        std::unique_lock guard(lock_);
        ++busy_;
        ++times_[device.name];
        change_.notify_all();
        change_.wait(guard, [&] { return !held_[device.name]; });
        device.total = static_cast<long long>(device.name.size());
        --busy_;
        change_.notify_all();
    }

    int times(const std::string &name) {
        const std::lock_guard guard(lock_);
        return times_[name];
    }

  private:
    void set(const std::string &name, bool held) {
        const std::lock_guard guard(lock_);
        held_[name] = held;
        change_.notify_all();
    }

    std::mutex lock_;
    std::condition_variable change_;
    std::map<std::string, bool> held_;
    std::map<std::string, int> times_;
    int busy_ = 0;
};

class CapacityProbeTest : public support::OwnProcess {
  protected:
    static std::vector<Device> mounted(const std::vector<std::string> &names) {
        std::vector<Device> devices;
        for (const std::string &name : names) {
            Device device;
            device.name = name;
            device.mountPath = "/" + name;
            devices.push_back(device);
        }
        return devices;
    }
    std::vector<long long> totals(std::vector<Device> devices) {
        probe.measure(devices, std::chrono::steady_clock::now() + std::chrono::milliseconds(300));
        std::vector<long long> found;
        found.reserve(devices.size());
        for (const Device &device : devices) {
            found.push_back(device.total);
        }
        return found;
    }

    Answers answers;
    CapacityProbe probe{[this](Device &device) { answers.answer(device); }};
};

using Totals = std::vector<long long>;

} // namespace

TEST_F(CapacityProbeTest, MeasuresEachMountedDevice) {
    auto devices = mounted({"a", "bb", "ccc"});
    devices[1].mountPath = "";
    EXPECT_EQ(totals(devices), (Totals{1, 0, 3}));
}

TEST_F(CapacityProbeTest, ADeviceThatHangsKeepsItsSizesAndBlocksNoOther) {
    auto devices = mounted({"a", "bb", "ccc", "dddd"});
    devices[1].total = 99;
    answers.hold("bb");
    EXPECT_EQ(totals(devices), (Totals{1, 99, 3, 4}));
}

TEST_F(CapacityProbeTest, AHangingDeviceIsMeasuredOnce) {
    const auto devices = mounted({"bb"});
    answers.hold("bb");
    for (int round = 0; round < 50; ++round) {
        EXPECT_EQ(totals(devices), (Totals{0}));
    }
    EXPECT_EQ(answers.times("bb"), 1);
}

TEST_F(CapacityProbeTest, ALateResultIsNotLost) {
    const auto devices = mounted({"bb"});
    answers.hold("bb");
    EXPECT_EQ(totals(devices), (Totals{0}));
    answers.release("bb");
    // It has returned before the probe has noted that.
    const auto deadline = std::chrono::steady_clock::now() + support::LIMIT;
    while (totals(devices) != Totals{2}) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        std::this_thread::yield();
    }
    EXPECT_EQ(answers.times("bb"), 2);
}

TEST_F(CapacityProbeTest, AThousandDevicesAreAllMeasured) {
    std::vector<std::string> names;
    names.reserve(1000);
    for (int number = 0; number < 1000; ++number) {
        names.push_back(std::to_string(number));
    }
    const Totals found = totals(mounted(names));
    for (std::size_t number = 0; number < names.size(); ++number) {
        EXPECT_EQ(found[number], static_cast<long long>(names[number].size())) << number;
    }
}

namespace {

class SilentMount : public support::OwnProcess, public testing::WithParamInterface<const char *> {};
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SilentMount);
INSTANTIATE_TEST_SUITE_P(, SilentMount, testing::ValuesIn(support::silentFileSystems()));

} // namespace

TEST_P(SilentMount, DoesNotBlockLists) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    const support::SilentFileSystem dead(GetParam());
    const support::Folder living;
    setenv(mrb::OFFERED_FOLDERS, (dead.path() + "\n" + living.path()).c_str(), 1);
    // After the one that responds is known.
    support::listUntil([](const auto &devices) { return devices.size() == 2 && devices[1].total > 0; });
    for (int round = 0; round < 20; ++round) {
        const auto devices = support::listDevices();
        ASSERT_EQ(devices.size(), 2U);
        EXPECT_EQ(devices[0].mountPath, dead.path());
        EXPECT_EQ(devices[0].total, 0);
        EXPECT_GT(devices[1].total, 0);
    }
}
