// radio: the state of the three radios.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/bluetooth.h"
#include "platform/nfc.h"
#include "platform/wlan.h"
#include "tests/support/text.h"
#include "tests/tools/tool.h"

#include <regex>

using tool::failed;
using tool::succeeded;
using tool::vcam;

namespace
{

using Words = std::vector<std::string>;

// "name|value|meaning", below the heading.
Words rows_of(const Words &words)
{
    const test::Outcome shown = vcam(words);
    EXPECT_TRUE(succeeded(shown));
    Words rows = test::lines_of(shown.out);
    for (std::string &row : rows)
        row = std::regex_replace(row, std::regex("  +"), "|");
    EXPECT_EQ(rows.front(), "NAME|VALUE|MEANING");
    rows.erase(rows.begin());
    return rows;
}

void set(const Words &words)
{
    Words all = {"radio"};
    all.insert(all.end(), words.begin(), words.end());
    const test::Outcome done = vcam(all);
    EXPECT_TRUE(succeeded(done));
    EXPECT_EQ(done.out, "");
}

constexpr char RADIO[] = "/virtual/radio/";

} // namespace

TEST(VcamRadio, AtRestTheRadiosAreOff)
{
    const test::Camera camera;
    EXPECT_THAT(rows_of({"radio", "bluetooth"}),
                testing::ElementsAre("bluetooth adapter|0|off", "bluetooth devices|-",
                                     "bluetooth delay|0|ms", "bluetooth result|0",
                                     "bluetooth event|-", "bluetooth discoverable|0|off",
                                     "bluetooth test_mode|0|off"));
    EXPECT_THAT(rows_of({"radio", "nfc"}),
                testing::ElementsAre("nfc manager|0|stopped", "nfc chip|0|off", "nfc delay|0|ms",
                                     "nfc result|0", "nfc tag|-"));
    const Words wifi = rows_of({"radio", "wifi"});
    EXPECT_THAT(wifi,
                testing::IsSupersetOf({"wifi driver|none", "wifi dut|0|closed", "wifi mode|idle",
                                       "wifi channel|-", "wifi rssi|0|dBm", "wifi ssid|-"}));
    EXPECT_EQ(rows_of({"radio"}).size(), 7U + wifi.size() + 5U);
    EXPECT_FALSE(camera.exists("/virtual/radio")) << "looking leaves nothing";
}

TEST(VcamRadio, WhatIsSetIsWhatTheServicesAnswer)
{
    const test::Camera camera;
    set({"bluetooth", "adapter", "on"});
    EXPECT_EQ(bluetooth_check_adapter(), 1);
    set({"bluetooth", "adapter", "0"});
    EXPECT_EQ(bluetooth_check_adapter(), 0);
    set({"wifi", "rssi", "-42"});
    EXPECT_EQ(MRVL_RFT_Get_RSSI(), -42);
    set({"wifi", "driver", "test"});
    EXPECT_EQ(MRVL_RFT_OpenDUT(), 0);
    EXPECT_THAT(rows_of({"radio", "wifi"}), testing::Contains("wifi dut|1|open"));
    set({"wifi", "access_points", "2.4 -60 One net", "5 -70 Two"});
    EXPECT_EQ(MRVL_RFT_SetSSID_24G("One net"), 0);
    EXPECT_EQ(MRVL_RFT_SetSSID_5G("Two"), 0);
    set({"nfc", "chip", "on"});
    EXPECT_NE(nfc_manager_is_activated(), 0);
    set({"nfc", "tag", "a", "tag's", "text"});
    EXPECT_EQ(camera.read("/opt/etc/nfctag.info"), "a tag's text\n");
}

TEST(VcamRadio, AListIsSetLineByLine)
{
    const test::Camera camera;
    const std::string devices = std::string(RADIO) + "bluetooth/devices";
    set({"bluetooth", "devices", "01:23:45:67:89:aB One camera", "10:32:54:76:98:BA"});
    EXPECT_EQ(camera.read(devices), "01:23:45:67:89:aB One camera\n10:32:54:76:98:BA\n");
    EXPECT_EQ(vcam({"radio", "bluetooth", "devices"}).out,
              "01:23:45:67:89:aB One camera\n10:32:54:76:98:BA\n");
    EXPECT_THAT(rows_of({"radio", "bluetooth"}),
                testing::IsSupersetOf({"bluetooth devices|01:23:45:67:89:aB One camera",
                                       "bluetooth devices|10:32:54:76:98:BA"}));
    set({"bluetooth", "devices", "none"});
    EXPECT_EQ(vcam({"radio", "bluetooth", "devices"}).out, "");
    EXPECT_THAT(rows_of({"radio", "bluetooth"}), testing::Contains("bluetooth devices|-"));
}

TEST(VcamRadio, OneItemIsPrintedAsItIs)
{
    const test::Camera camera;
    EXPECT_EQ(vcam({"radio", "wifi", "driver"}).out, "none\n");
    EXPECT_EQ(vcam({"radio", "wifi", "channel"}).out, "");
    set({"wifi", "ssid", "a", "net"});
    EXPECT_EQ(vcam({"radio", "wifi", "ssid"}).out, "a net\n");
    set({"bluetooth", "delay", "never"});
    EXPECT_THAT(rows_of({"radio", "bluetooth"}), testing::Contains("bluetooth delay|never"));
    set({"bluetooth", "event", "2", "-4"});
    EXPECT_EQ(camera.read(std::string(RADIO) + "bluetooth/event"), "2 -4\n");
}

TEST(VcamRadio, LookingUsesUpNoScriptedValuesAndSettingEndsThem)
{
    const test::Camera camera;
    const std::string rssi = std::string(RADIO) + "wifi/rssi";
    ASSERT_TRUE(succeeded(vcam({"attr", "play", rssi, "-1", "-2"})));
    vcam({"radio"});
    EXPECT_EQ(MRVL_RFT_Get_RSSI(), -1);
    set({"wifi", "rssi", "-50"});
    EXPECT_EQ(MRVL_RFT_Get_RSSI(), -50);
    EXPECT_EQ(MRVL_RFT_Get_RSSI(), -50);
}

TEST(VcamRadio, WhatIsNotRightIsRefusedAndChangesNothing)
{
    const test::Camera camera;
    const auto refused = [](const Words &words, const std::string &why) {
        Words all = {"radio"};
        all.insert(all.end(), words.begin(), words.end());
        EXPECT_TRUE(failed(vcam(all), why)) << words.back();
    };
    refused({"zigbee"}, "zigbee");
    refused({"nfc", "antenna"}, "'antenna' is none of manager chip delay result tag");
    refused({"bluetooth", "adapter", "2"}, "one of off on");
    refused({"bluetooth", "adapter", "on", "off"}, "one of off on");
    refused({"wifi", "driver", "vendor"}, "one of none test station");
    refused({"wifi", "rssi", "loud"}, "wifi rssi takes a number of nine digits at most\n");
    refused({"bluetooth", "result", "4294967296"}, "a number of nine digits");
    refused({"bluetooth", "delay", "1000000000"}, "milliseconds or never");
    refused({"bluetooth", "event", "1000000000"}, "the number of an event");
    refused({"bluetooth", "event", "1", "-1000000000"}, "the number of an event");
    refused({"wifi", "access_points", "5 -1000000000 net"}, "2.4 or 5");
    refused({"nfc", "delay", "-1"}, "milliseconds or never");
    refused({"bluetooth", "event", "2", "good"}, "the number of an event");
    refused({"bluetooth", "devices", "01:23:45:67:89 short"}, "an address with colons");
    refused({"bluetooth", "devices", "01:23:45:67:89:ab good", "none"}, "an address with colons");
    refused({"wifi", "access_points", "3 -60 net"}, "2.4 or 5");
    refused({"wifi", "access_points", "5 -60"}, "2.4 or 5");
    refused({"wifi", "ssid", "two\nlines"}, "a line of text");
    EXPECT_FALSE(camera.exists("/virtual/radio"));
}

TEST(VcamRadio, ListsItsItemsWithTheirWords)
{
    const Words listed = test::lines_of(vcam({"radio", "--list"}).out);
    EXPECT_THAT(listed,
                testing::IsSupersetOf({"bluetooth adapter off on", "bluetooth devices none",
                                       "wifi rssi", "wifi mode idle tx rx", "nfc chip off on"}));
    EXPECT_EQ(vcam({"radio", "nfc", "--list"}).out, "nfc manager stopped started\nnfc chip off on\n"
                                                    "nfc delay\nnfc result\nnfc tag\n");
}

TEST(VcamRadio, StateTellsOfTheRadiosThatHaveBeenToldSomething)
{
    const test::Camera camera;
    set({"bluetooth", "adapter", "on"});
    set({"bluetooth", "devices", "01:23:45:67:89:ab One"});
    set({"wifi", "rssi", "-42"});
    Words radios = rows_of({"state"});
    std::erase_if(radios, [](const std::string &row) {
        return !row.starts_with("bluetooth") && !row.starts_with("wifi");
    });
    EXPECT_THAT(radios, testing::ElementsAre("bluetooth adapter|1|on",
                                             "bluetooth devices|01:23:45:67:89:ab One",
                                             "wifi rssi|-42|dBm"));
}
