// The timeouts of calls that wait for devices.

#include <gtest/gtest.h>

#include <cstdlib>

#include "storage/device_limits.h"
#include "support/own_process.h"

using mrb::DeviceLimits;

namespace {

class DeviceLimitsTest : public support::OwnProcess {
  protected:
    static DeviceLimits with(const char *timeout) {
        setenv("MRB_DEVICE_TIMEOUT", timeout, 1);
        return DeviceLimits::ofEnvironment();
    }
};

} // namespace

TEST_F(DeviceLimitsTest, TheEnvironmentReplacesTheTimeoutsOfCalls) {
    if (!inside(support::Surroundings::PLAIN)) {
        return;
    }
    const DeviceLimits limits = with("60000");
    EXPECT_EQ(limits.call, std::chrono::minutes(1));
    EXPECT_EQ(limits.firstCall, std::chrono::minutes(1));
    EXPECT_EQ(limits.event, DeviceLimits().event);
    EXPECT_EQ(with("1").call, std::chrono::milliseconds(1));
}

TEST_F(DeviceLimitsTest, AnythingButANumberOfMillisecondsIsIgnored) {
    if (!inside(support::Surroundings::PLAIN)) {
        return;
    }
    for (const char *timeout : {"", "0", "-5", "60001", "99999999999999999999", "1s", " 1", "long"}) {
        const DeviceLimits limits = with(timeout);
        EXPECT_EQ(limits.call, DeviceLimits().call) << timeout;
        EXPECT_EQ(limits.firstCall, DeviceLimits().firstCall) << timeout;
    }
    unsetenv("MRB_DEVICE_TIMEOUT");
    EXPECT_EQ(DeviceLimits::ofEnvironment().call, DeviceLimits().call);
}
