// The table that turns the devices of sources into events.

#include <gtest/gtest.h>

#include "storage/device_table.h"

using mrb::Device;
using mrb::DeviceKind;
using mrb::DeviceTable;

namespace {

Device named(const std::string &name, DeviceKind kind = DeviceKind::USB) {
    Device device;
    device.name = name;
    device.kind = kind;
    return device;
}

std::string story(DeviceTable &table) {
    std::string text;
    for (const mrb::DeviceEvent &event : table.drainEvents()) {
        text += std::string(1, "+-~"[event.event]) + event.device.name + ' ';
    }
    return text;
}

} // namespace

TEST(DeviceTable, ReportsEachArrivalChangeAndRemovalOnce) {
    DeviceTable table;
    table.set("a", named("A"));
    table.set("a", named("A"));
    table.set("a", named("B"));
    table.remove("a");
    table.remove("a");
    EXPECT_EQ(story(table), "+A ~B -B ");
    EXPECT_EQ(story(table), "");
}

TEST(DeviceTable, SizesAloneAreNotAChange) {
    DeviceTable table;
    Device device = named("A");
    table.set("a", device);
    device.available = 5;
    table.set("a", device);
    EXPECT_EQ(story(table), "+A ");
}

TEST(DeviceTable, SizesThatWereMeasuredLeaveWithTheDevice) {
    DeviceTable table;
    Device device = named("A");
    device.mountPath = "/a";
    table.set("a", device);
    Device measured = table.list(DeviceKind::USB).front();
    measured.total = 77;
    table.keepSizes(measured);
    table.set("a", device); // unchanged
    measured.mountPath = "/elsewhere";
    measured.total = 88;
    table.keepSizes(measured);
    table.remove("a");
    const auto events = table.drainEvents();
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[1].device.total, 77);
}

TEST(DeviceTable, AnIndexIsADevicesOwnAndIsReusedAfterwards) {
    DeviceTable table;
    table.set("a", named("A"));
    table.set("b", named("B"));
    table.set("c", named("C", DeviceKind::CAMERA));
    table.remove("a");
    table.set("b", named("B2"));
    EXPECT_EQ(table.list(DeviceKind::USB).at(0).index, 1);
    EXPECT_EQ(table.list(DeviceKind::CAMERA).at(0).index, 2);
    table.set("d", named("D"));
    EXPECT_EQ(table.list(DeviceKind::USB).at(0).name, "D");
    EXPECT_EQ(table.list(DeviceKind::USB).at(0).index, 0);
}

TEST(DeviceTable, KeepsWhatIsThereOfOneSource) {
    DeviceTable table;
    for (const char *key : {"x:1", "x:2", "x:3", "y:1"}) {
        table.set(key, named(key));
    }
    story(table);
    table.keep("x:", [](const std::string &key) { return key == "x:2"; });
    EXPECT_EQ(story(table), "-x:1 -x:3 ");
}
