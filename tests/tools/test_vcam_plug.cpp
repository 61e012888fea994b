// plug, unplug, and the card's lock.
#include <gtest/gtest.h>

#include "tests/tools/tool.h"

#include "platform/device.h"
#include "platform/display.h"
#include "platform/vconf.h"
#include "platform/virtual/keys.h"

#include <nlohmann/json.hpp>

using tool::failed;
using tool::succeeded;
using tool::vcam;

namespace
{

int property(int type, int number)
{
    int value = -1;
    EXPECT_EQ(device_get_property(type, number, &value), 0);
    return value;
}

struct plug_row {
    const char *name;
    int number; // of device class 2
    int in;
};

constexpr plug_row PLUGS[] = {
    {"usb", 4, 1},     {"earjack", 1, 0}, {"mic", 2, 0},        {"release", 15, 1},
    {"remote", 19, 1}, {"nfc", 14, 1},    {"proximity", 13, 1},
};

constexpr char GRIP_LEVEL[] = "/sys/devices/platform/movra7-adc/adc9";
constexpr char GRIP_LOCK[] = "/sys/devices/platform/m7-keys/vgrip_connect";
constexpr char USB_SPEED[] =
    "/sys/devices/platform/movrax-drd.0/movrax-ss-udc.0/udc/movrax-ss-udc.0/current_speed";

} // namespace

TEST(VcamPlug, DriversTellInAndOutByTheirOwnNumbers)
{
    const test::Camera camera;
    for (const plug_row &row : PLUGS) {
        EXPECT_TRUE(succeeded(vcam({"plug", row.name})));
        EXPECT_EQ(property(2, row.number), row.in) << row.name;
        EXPECT_TRUE(succeeded(vcam({"unplug", row.name})));
        EXPECT_EQ(property(2, row.number), 1 - row.in) << row.name;
    }
    EXPECT_TRUE(camera.calls("device_set_property").empty()) << "nobody told the platform";
}

TEST(VcamPlug, SeveralAtOnceAndTwiceOver)
{
    const test::Camera camera;
    EXPECT_TRUE(succeeded(vcam({"plug", "earjack", "release"})));
    EXPECT_TRUE(succeeded(vcam({"plug", "release"})));
    EXPECT_EQ(property(2, 1), 0);
    EXPECT_EQ(property(2, 15), 1);
}

TEST(VcamPlug, TheCableAlsoTellsItsStatusAndSpeed)
{
    const test::Camera camera;
    EXPECT_TRUE(succeeded(vcam({"plug", "usb"})));
    EXPECT_EQ(camera.key_int("memory/sysman/usb_status"), 2);
    EXPECT_EQ(camera.read(USB_SPEED), "high-speed\n");
    EXPECT_TRUE(succeeded(vcam({"unplug", "usb"})));
    EXPECT_EQ(camera.key_int("memory/sysman/usb_status"), 0);
    EXPECT_EQ(camera.read(USB_SPEED), "UNKNOWN\n");
}

TEST(VcamPlug, TheModeFollowsTheHdmiPlugWhileThePictureIsOnThePanel)
{
    const test::Camera camera;
    EXPECT_TRUE(succeeded(vcam({"plug", "hdmi"})));
    EXPECT_EQ(utilx_get_hdmi_connect_state(), 1);
    EXPECT_EQ(utilx_disp_get_tv_mode(), 1);
    ASSERT_EQ(utilx_set_hdmi_state(1), 0);
    EXPECT_TRUE(succeeded(vcam({"unplug", "hdmi"})));
    EXPECT_EQ(utilx_get_hdmi_connect_state(), 0);
    EXPECT_EQ(utilx_disp_get_tv_mode(), 2);
    ASSERT_EQ(utilx_set_hdmi_state(2), 0);
    EXPECT_EQ(utilx_disp_get_tv_mode(), 0);
    EXPECT_TRUE(succeeded(vcam({"plug", "hdmi"})));
    EXPECT_EQ(utilx_disp_get_tv_mode(), 1);
}

TEST(VcamPlug, TheGripIsSeenByItsLevelAndUnlocksItsKeys)
{
    const test::Camera camera;
    EXPECT_TRUE(succeeded(vcam({"plug", "grip"})));
    EXPECT_EQ(camera.read(GRIP_LEVEL), "180\n");
    EXPECT_EQ(camera.read(GRIP_LOCK), "1\n");
    EXPECT_FALSE(virt::get_key("memory/sysman/vgrip_battery_detect")) << "comes without a battery";
    EXPECT_TRUE(succeeded(vcam({"unplug", "grip"})));
    EXPECT_EQ(camera.read(GRIP_LEVEL), "0\n");
    EXPECT_EQ(camera.read(GRIP_LOCK), "0\n");
}

TEST(VcamPlug, TheGripsBatteryIsABooleanKey)
{
    const test::Camera camera;
    int detected = -1;
    EXPECT_TRUE(succeeded(vcam({"plug", "grip-battery"})));
    EXPECT_EQ(vconf_get_bool("memory/sysman/vgrip_battery_detect", &detected), 0);
    EXPECT_EQ(detected, 1);
    EXPECT_TRUE(succeeded(vcam({"unplug", "grip-battery"})));
    EXPECT_EQ(vconf_get_bool("memory/sysman/vgrip_battery_detect", &detected), 0);
    EXPECT_EQ(detected, 0);
}

TEST(VcamPlug, AHandGoesBeforeAScript)
{
    const test::Camera camera;
    camera.write("/virtual/property/2.1.play", "1\n1\n");
    camera.write("/virtual/key/memory/sysman/vgrip_battery_detect.play", "0\n");
    EXPECT_TRUE(succeeded(vcam({"plug", "earjack", "grip-battery"})));
    EXPECT_EQ(property(2, 1), 0);
    EXPECT_FALSE(camera.exists("/virtual/property/2.1.play"));
    EXPECT_FALSE(camera.exists("/virtual/key/memory/sysman/vgrip_battery_detect.play"));
}

TEST(VcamPlug, WhatIsUnknownIsRefusedAndNothingIsMoved)
{
    const test::Camera camera;
    EXPECT_TRUE(failed(vcam({"plug", "usb", "phone"}), "phone not in {usb,hdmi,"));
    EXPECT_TRUE(failed(vcam({"unplug", "card"}), "card not in")) << "has a verb of its own";
    EXPECT_TRUE(failed(vcam({"plug"}), "NAME is required"));
    EXPECT_FALSE(camera.exists("/virtual/property/2.4"));
    EXPECT_EQ(vcam({"plug", "--list"}).out,
              "usb\nhdmi\nearjack\nmic\nrelease\nremote\nnfc\nproximity\ngrip\ngrip-battery\n");
    EXPECT_TRUE(succeeded(vcam({"-C", "/none", "unplug", "--list"}))) << "needs no camera";
    EXPECT_TRUE(failed(vcam({"-C", "/none", "plug", "usb"}), "no camera in '/none'"));
}

TEST(VcamPlug, WhatCannotBeWrittenIsTold)
{
    const test::Camera camera;
    camera.write("/virtual/property/2.1/in the way", "");
    EXPECT_TRUE(failed(vcam({"plug", "earjack"}), "property/2.1' cannot be written"));
    camera.write("/virtual/keys.db/in the way", "");
    const test::Outcome outcome = vcam({"plug", "grip-battery"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_TRUE(
        outcome.err.ends_with("vcam: key memory/sysman/vgrip_battery_detect cannot be written\n"))
        << outcome.err;
}

TEST(VcamCard, ThePropertyTellsWhetherOneIsIn)
{
    const test::Camera camera;
    EXPECT_TRUE(succeeded(vcam({"card", "remove"})));
    EXPECT_EQ(property(11, 0), 0);
    EXPECT_TRUE(succeeded(vcam({"card", "insert"})));
    EXPECT_EQ(property(11, 0), 1);
    EXPECT_TRUE(failed(vcam({"card", "insert"}), "inserted already"));
    EXPECT_EQ(property(11, 0), 1);
}

TEST(VcamCard, StaysLockedWhereverItIs)
{
    const test::Camera camera;
    EXPECT_TRUE(succeeded(vcam({"card", "lock"})));
    EXPECT_EQ(property(11, 1), 1);
    EXPECT_TRUE(succeeded(vcam({"card", "remove"})));
    EXPECT_TRUE(failed(vcam({"card", "unlock"}), "no card is inserted"));
    EXPECT_TRUE(succeeded(vcam({"card", "insert"})));
    EXPECT_EQ(property(11, 1), 1);
    EXPECT_TRUE(succeeded(vcam({"card", "unlock"})));
    EXPECT_EQ(property(11, 1), 0);
}

TEST(VcamCreate, EverythingIsOutButTheCard)
{
    const test::Camera camera;
    camera.write("/virtual/property/2.15", "1\n");
    ASSERT_TRUE(succeeded(vcam({"create"})));
    for (const plug_row &row : PLUGS)
        if (row.number != 15) {
            EXPECT_EQ(property(2, row.number), 1 - row.in) << row.name;
        }
    EXPECT_EQ(property(2, 15), 1) << "what somebody has set stays";
    EXPECT_EQ(property(11, 0), 1);
    EXPECT_EQ(property(11, 1), 0);
    EXPECT_EQ(camera.read(GRIP_LEVEL), "0\n");
    EXPECT_EQ(camera.read(GRIP_LOCK), "0\n");
    EXPECT_EQ(camera.key_int("memory/sysman/usb_status"), 0);
    EXPECT_EQ(virt::get_key("memory/sysman/vgrip_battery_detect")->value(), "false");
}

TEST(VcamCreate, TellsOfNoCardWhereItIsOut)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"card", "remove"})));
    camera.remove("/virtual/property/11.0");
    ASSERT_TRUE(succeeded(vcam({"create"})));
    EXPECT_EQ(property(11, 0), 0);
}
