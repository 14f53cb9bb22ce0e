// Lists of a camera on a USB bus that is pulled out and plugged in again. The bus is a
// testbed's and the camera a scripted one; the framework is the one that ships.

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "support/plugged_devices.h"
#include "support/scripted_camera.h"

using support::Client;
using support::Event;
using support::Surroundings;

namespace {

bool isRemoval(const Event &event) { return event.event == MRB_EVENT_DEVICE_REMOVED; }

class PtpUsb : public support::PluggedDevices {
  protected:
    static support::ListOptions listOptions(int address) {
        return {.source = "SOURCE_PTP", .more = [address](mrb_general_param_h param) {
                    mrb_param_set_general_bus_value(param, 1);
                    mrb_param_set_general_device_value(param, address);
                }};
    }
    static void waitForRemoval(Client &client) {
        client.waitFor(
            [](const std::vector<Event> &events) { return std::ranges::any_of(events, isRemoval); });
    }
    static int playData(const Client &client) {
        char *text = nullptr;
        const int code = mrb_prepare_play_data_v2(client.handle, &text);
        std::free(text);
        return code;
    }

    support::ScriptedCamera camera;
    Client client;
};

} // namespace

TEST_F(PtpUsb, AListIsNotifiedThatItsCameraWasPulledOut) {
    if (!inside(Surroundings::SCRIPTED_USB_CAMERA)) {
        return;
    }
    camera.files["a.jpg"] = support::ScriptedFile::of("a");
    const std::string usb = addCamera();
    EXPECT_EQ(client.list(listOptions(7)).event, MRB_EVENT_LIST_READY);
    event(usb, "remove");
    waitForRemoval(client);
    EXPECT_EQ(client.item(0)["name"], "a.jpg");
    EXPECT_EQ(playData(client), MRB_ERR_DEVICE_REMOVED);
}

// Its serial number identifies it as the same one.
TEST_F(PtpUsb, OneThatIsPluggedInElsewhereIsKnownByTheListOfBefore) {
    if (!inside(Surroundings::SCRIPTED_USB_CAMERA)) {
        return;
    }
    camera.files["a.jpg"] = support::ScriptedFile::of("a");
    const std::string usb = addCamera();
    client.list(listOptions(7));
    event(usb, "remove");
    waitForRemoval(client);
    change(usb, "DEVNUM", "009");
    event(usb, "add");
    EXPECT_EQ(playData(client), MRB_ERR_NONE);
    Client again;
    again.list(listOptions(9));
    EXPECT_EQ(again.item(0)["url"], client.item(0)["url"]);
    event(usb, "remove");
    waitForRemoval(again);
    const std::vector<Event> events = client.events();
    EXPECT_EQ(std::ranges::count_if(events, isRemoval), 1);
}

TEST_F(PtpUsb, AListIsNotNotifiedThatAnotherCameraWithTheSameIdWasPulledOut) {
    if (!inside(Surroundings::SCRIPTED_USB_CAMERA)) {
        return;
    }
    const std::string usb = addCamera();
    const std::string twin =
        add("usb", "1-5", "", {"busnum", "1", "devnum", "8", "product", "Camera", "serial", "A1"},
            {"DEVTYPE", "usb_device", "ID_GPHOTO2", "1", "BUSNUM", "001", "DEVNUM", "008"});
    client.list(listOptions(7));
    Client other;
    other.list(listOptions(8));
    event(twin, "remove");
    waitForRemoval(other);
    EXPECT_EQ(client.events().back().event, MRB_EVENT_LIST_READY);
    event(usb, "remove");
    waitForRemoval(client);
}
