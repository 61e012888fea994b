// state: the whole camera at a glance.
#include <gtest/gtest.h>

#include "tests/tools/tool.h"

#include "platform/display.h"
#include "platform/factory_osd.h"
#include "platform/production.h"

#include <map>
#include <regex>

using tool::succeeded;
using tool::vcam;

namespace
{

// By name: "value|meaning".
std::map<std::string, std::string> state()
{
    const test::Outcome shown = vcam({"state"});
    EXPECT_TRUE(succeeded(shown));
    std::map<std::string, std::string> rows;
    std::istringstream text(shown.out);
    for (std::string line; std::getline(text, line);) {
        line = std::regex_replace(line, std::regex("  +"), "|");
        const std::size_t end = line.find('|');
        EXPECT_NE(end, std::string::npos) << line;
        rows[line.substr(0, end)] += line.substr(end + 1);
    }
    return rows;
}

constexpr char KEYS[] = "/sys/devices/platform/m7-keys/";

} // namespace

TEST(VcamState, AFreshCamera)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    const auto rows = state();
    const std::map<std::string, std::string> expected = {
        {"NAME", "VALUE|MEANING"},
        {"rovad", "-|not running"},
        {"camera application", "-|not running"},
        {"sensor service", "-|not running"},
        {"last result", "-"},
        {"card", "1|in"},
        {"card lock", "0|unlocked"},
        {"usb", "0|out"},
        {"usb status", "0|disconnected"},
        {"usb speed", "UNKNOWN|no link"},
        {"hdmi", "0|out"},
        {"tv mode", "0|panel"},
        {"earjack", "1|out"},
        {"mic", "1|out"},
        {"release", "0|out"},
        {"remote", "0|out"},
        {"nfc", "0|out"},
        {"nfc tag", "LUMEN1-NFC"},
        {"proximity", "0|far"},
        {"grip", "0|out"},
        {"grip lock", "0|off"},
        {"grip battery", "false|out"},
        {"battery", "7800|mV"},
        {"battery level", "4|high"},
        {"sensor temperature", "864|25 degrees"},
        {"isp temperature", "35|35 degrees"},
        {"cpu temperature", "40|40 degrees"},
        {"keys held", "0x00000000|none"},
        {"keys masked", "0|none"},
        {"last key", "0|none"},
        {"mode dial", "2|p"},
        {"drive dial", "0|single"},
        {"screen", "off"},
    };
    EXPECT_EQ(rows, expected);
}

TEST(VcamState, ColumnsStandInLine)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"plug", "usb"})));
    std::istringstream text(vcam({"state"}).out);
    std::string head;
    std::getline(text, head);
    const std::size_t values = head.find("VALUE"), meanings = head.find("MEANING");
    for (std::string line; std::getline(text, line);) {
        EXPECT_NE(line[values], ' ') << line;
        EXPECT_EQ(line[values - 1], ' ') << line;
        EXPECT_NE(line.back(), ' ');
        if (line.size() > meanings) {
            EXPECT_EQ(line[meanings - 1], ' ') << line;
            EXPECT_NE(line[meanings], ' ') << line;
        }
    }
}

TEST(VcamState, WhatAHandHasMovedIsToldByItsWords)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    ASSERT_TRUE(succeeded(vcam({"plug", "hdmi", "earjack", "proximity", "grip", "grip-battery"})));
    ASSERT_TRUE(succeeded(vcam({"card", "lock"})));
    ASSERT_TRUE(succeeded(vcam({"card", "remove"})));
    ASSERT_TRUE(succeeded(vcam({"battery", "6900"})));
    ASSERT_TRUE(succeeded(vcam({"dial", "drive", "timer"})));
    const auto rows = state();
    EXPECT_EQ(rows.at("hdmi"), "1|in");
    EXPECT_EQ(rows.at("tv mode"), "1|panel, device in");
    EXPECT_EQ(rows.at("earjack"), "0|in");
    EXPECT_EQ(rows.at("proximity"), "1|near");
    EXPECT_EQ(rows.at("grip"), "180|in");
    EXPECT_EQ(rows.at("grip lock"), "1|on");
    EXPECT_EQ(rows.at("grip battery"), "true|in");
    EXPECT_EQ(rows.at("card"), "0|out");
    EXPECT_EQ(rows.at("card lock"), "1|locked");
    EXPECT_EQ(rows.at("battery level"), "2|low");
    EXPECT_EQ(rows.at("drive dial"), "3|timer");
    EXPECT_EQ(rows.at("last key"), "220|timer");
    ASSERT_EQ(utilx_set_hdmi_state(1), 0);
    EXPECT_EQ(state().at("tv mode"), "2|hdmi");
}

TEST(VcamState, KeysAreToldByTheirNames)
{
    const test::Camera camera;
    camera.write(std::string(KEYS) + "pushed_keys", "0x1880\n");
    camera.write(std::string(KEYS) + "keymask", "4096\n");
    camera.write(std::string(KEYS) + "keycode", "183\n");
    auto rows = state();
    EXPECT_EQ(rows["keys held"], "0x1880|s1 s2 menu");
    EXPECT_EQ(rows["keys masked"], "4096|s2");
    EXPECT_EQ(rows["last key"], "183|pb");
    camera.write(std::string(KEYS) + "keycode", "177\n");
    camera.write(std::string(KEYS) + "keydesc", "4 jog1\n");
    EXPECT_EQ(state()["last key"], "177|jog1");
}

TEST(VcamState, WhatNobodyHasToldAndWhatHasNoMeaning)
{
    const test::Camera camera;
    auto rows = state();
    EXPECT_EQ(rows["earjack"], "0|in") << "as the camera reads it";
    EXPECT_EQ(rows["grip"], "-|not told");
    EXPECT_EQ(rows["usb status"], "-|not told");
    EXPECT_EQ(rows["battery level"], "-|not told");
    EXPECT_EQ(rows["cpu temperature"], "-|not told");
    EXPECT_EQ(rows["keys held"], "-|not told");
    EXPECT_EQ(rows["mode dial"], "-|not told");
    camera.write("/virtual/property/2.4", "7\n");
    camera.write("/virtual/property/2.15", "0x1\n");
    camera.write("/sys/devices/platform/m7-keys/dial_mode", "7\n");
    rows = state();
    EXPECT_EQ(rows["usb"], "7");
    EXPECT_EQ(rows["release"], "0x1|in");
    EXPECT_EQ(rows["mode dial"], "7");
}

TEST(VcamState, ServicesRadiosAndFaultsAreToldWhenTheyAreThere)
{
    const test::Camera camera;
    ASSERT_EQ(set_charge_led(2), 0);
    ASSERT_EQ(factory_osd_touch_ready(0), 0);
    ASSERT_TRUE(succeeded(vcam({"motion", "model"})));
    camera.write("/virtual/radio/wifi/channel", "6\n");
    camera.write("/virtual/radio/wifi/channel.play", "7\n");
    camera.fault("pref_save", "-1 at 3");
    auto rows = state();
    EXPECT_EQ(rows["charge lamp"], "2|on");
    EXPECT_EQ(rows["touch panel"], "1|ready");
    EXPECT_EQ(rows["motion"], "model");
    EXPECT_EQ(rows["wifi channel"], "6");
    EXPECT_EQ(rows["fault"], "pref_save|-1 at 3");
    EXPECT_EQ(rows.count("wifi channel.play"), 0U);
    EXPECT_EQ(rows.count("card lamp"), 0U);
}

TEST(VcamState, RowsOfTheScreenAreToldInShort)
{
    const test::Camera camera;
    factory_osd_text_set(1, "ADC0 : 1\nADC1 : 2");
    const std::string sharp = "\u00e4";
    std::string text;
    for (int i = 0; i < 30; i++)
        text += sharp;
    factory_osd_text_set(3, text.c_str());
    auto rows = state();
    EXPECT_EQ(rows["screen 1"], "ADC0 : 1 ADC1 : 2");
    EXPECT_EQ(rows["screen 3"], text.substr(0, 36) + "...") << "no half character";
}

TEST(VcamState, LookingUsesUpNoScriptedValue)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    ASSERT_TRUE(
        succeeded(vcam({"battery", "drain", "--from", "8200", "--to", "6500", "--steps", "9"})));
    ASSERT_TRUE(succeeded(vcam({"warm", "--from", "20", "--to", "45", "--steps", "9"})));
    const std::string play = camera.read("/virtual/property/4.0.play");
    const std::string warm = camera.read("/sys/devices/platform/m7_tsu/isp.play");
    const auto rows = state();
    EXPECT_EQ(rows.at("battery"), "8200|mV");
    EXPECT_EQ(rows.at("sensor temperature").substr(rows.at("sensor temperature").find('|')),
              "|20 degrees");
    EXPECT_EQ(camera.read("/virtual/property/4.0.play"), play);
    EXPECT_EQ(camera.read("/sys/devices/platform/m7_tsu/isp.play"), warm);
}

TEST(VcamState, TellsWhatRunsAndWhatItSaid)
{
    const test::Camera camera;
    const auto daemon = tool::stand_in(tool::DAEMON);
    camera.write("/virtual/dlog", "x Launched rovad daemon with script mode\n"
                                  "y 1th cmd done [NG]\nz 2th cmd done [OK]\n");
    auto rows = state();
    EXPECT_EQ(rows["rovad"], std::to_string(daemon->pid()) + "|up");
    EXPECT_EQ(rows["camera application"], "-|not running");
    EXPECT_EQ(rows["mode"], "script");
    EXPECT_EQ(rows["last result"], "OK");
}
