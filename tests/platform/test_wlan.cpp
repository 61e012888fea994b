#include "platform/wlan.h"

#include "tests/support/camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <nlohmann/json.hpp>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr int NOT_LOADED = 1, NOT_OPEN = 2, BUSY = 3, NOT_RUNNING = 4, NOT_FOUND = 5,
              NOT_STORED = 6;

struct Call {
    const char *name;
    int (*run)();
    const char *text;
};

// Of a camera whose radio is open, receives nothing and transmits nothing.
const Call calls[] = {
    {"MRVL_RFT_SetBandAG", [] { return MRVL_RFT_SetBandAG(1); }, "MRVL_RFT_SetBandAG(1)"},
    {"MRVL_RFT_SetChannelBw", [] { return MRVL_RFT_SetChannelBw(2); }, "MRVL_RFT_SetChannelBw(2)"},
    {"MRVL_RFT_Channel", [] { return MRVL_RFT_Channel(6); }, "MRVL_RFT_Channel(6)"},
    {"MRVL_RFT_TxDataRate", [] { return MRVL_RFT_TxDataRate(54); }, "MRVL_RFT_TxDataRate(54)"},
    {"MRVL_RFT_SetPreamble", [] { return MRVL_RFT_SetPreamble(1); }, "MRVL_RFT_SetPreamble(1)"},
    {"MRVL_RFT_SetShortGI", [] { return MRVL_RFT_SetShortGI(1); }, "MRVL_RFT_SetShortGI(1)"},
    {"MRVL_RFT_TxGain", [] { return MRVL_RFT_TxGain(5); }, "MRVL_RFT_TxGain(5)"},
    {"MRVL_RFT_TxPayloadLength", [] { return MRVL_RFT_TxPayloadLength(7); },
     "MRVL_RFT_TxPayloadLength(7)"},
    {"MRVL_RFT_TxBurstInterval", [] { return MRVL_RFT_TxBurstInterval(8); },
     "MRVL_RFT_TxBurstInterval(8)"},
    {"MRVL_RFT_SetSSID", [] { return MRVL_RFT_SetSSID("line"); }, "MRVL_RFT_SetSSID(\"line\")"},
    {"MRVL_RFT_SetSSID_24G", [] { return MRVL_RFT_SetSSID_24G("line"); },
     "MRVL_RFT_SetSSID_24G(\"line\")"},
    {"MRVL_RFT_SetSSID_5G", [] { return MRVL_RFT_SetSSID_5G("line"); },
     "MRVL_RFT_SetSSID_5G(\"line\")"},
    {"MRVL_RFT_TxStart", MRVL_RFT_TxStart, "MRVL_RFT_TxStart()"},
    {"MRVL_RFT_TxStop", MRVL_RFT_TxStop, "MRVL_RFT_TxStop()"},
    {"MRVL_RFT_RxStart", MRVL_RFT_RxStart, "MRVL_RFT_RxStart()"},
    {"MRVL_RFT_RxStop", [] { return MRVL_RFT_RxStop(0); }, "MRVL_RFT_RxStop(0)"},
};

} // namespace

class Wlan : public testing::Test
{
protected:
    void radio(const std::string &name, const std::string &value) const
    {
        camera.write("/virtual/radio/wifi/" + name, value + "\n");
    }
    std::string radio(const std::string &name) const
    {
        return camera.read("/virtual/radio/wifi/" + name);
    }
    void open() const
    {
        radio("driver", "test");
        radio("dut", "1");
    }

    test::Camera camera;
};

TEST_F(Wlan, EachCallNeedsADriverAndAnOpenRadio)
{
    radio("access_points", "2.4 -50 line\n5 -60 line");
    for (const Call &call : calls)
        EXPECT_EQ(call.run(), NOT_LOADED) << call.name;
    EXPECT_EQ(MRVL_RFT_OpenDUT(), NOT_LOADED);
    EXPECT_EQ(MRVL_RFT_CloseDUT(), NOT_LOADED);
    radio("driver", "test");
    for (const Call &call : calls)
        EXPECT_EQ(call.run(), NOT_OPEN) << call.name;
    EXPECT_EQ(MRVL_RFT_OpenDUT(), 0);
    for (const Call &call : calls)
        EXPECT_EQ(call.run(), 0) << call.name;
}

TEST_F(Wlan, EachCallIsToldAndCanFailWithAChosenCode)
{
    open();
    std::vector<std::string> texts;
    for (const Call &call : calls) {
        camera.fault(call.name, "77");
        EXPECT_EQ(call.run(), 77) << call.name;
        texts.push_back(call.text);
    }
    EXPECT_EQ(camera.call_texts(), texts);
    EXPECT_FALSE(camera.exists("/virtual/radio/wifi/channel"));
    EXPECT_FALSE(camera.exists("/virtual/radio/wifi/mode"));
}

TEST_F(Wlan, OpensOnceUnderTheTestDriverAlone)
{
    radio("driver", "station");
    EXPECT_EQ(MRVL_RFT_OpenDUT(), NOT_LOADED);
    radio("driver", "test");
    EXPECT_EQ(MRVL_RFT_OpenDUT(), 0);
    EXPECT_EQ(radio("dut"), "1\n");
    EXPECT_EQ(MRVL_RFT_OpenDUT(), BUSY);
    EXPECT_EQ(MRVL_RFT_CloseDUT(), 0);
    EXPECT_EQ(radio("dut"), "0\n");
    camera.fault("MRVL_RFT_OpenDUT", "-5");
    EXPECT_EQ(MRVL_RFT_OpenDUT(), -5);
    camera.fault("MRVL_RFT_CloseDUT", "-6");
    EXPECT_EQ(MRVL_RFT_CloseDUT(), -6);
}

TEST_F(Wlan, ClosingEndsWhatRunsAndIsNoErrorUnderAnyDriver)
{
    open();
    EXPECT_EQ(MRVL_RFT_TxStart(), 0);
    EXPECT_EQ(MRVL_RFT_CloseDUT(), 0);
    EXPECT_EQ(radio("mode"), "idle\n");
    EXPECT_EQ(MRVL_RFT_CloseDUT(), 0);
    radio("driver", "station");
    EXPECT_EQ(MRVL_RFT_CloseDUT(), 0);
}

TEST_F(Wlan, KeepsItsSettings)
{
    open();
    for (const Call &call : calls)
        call.run();
    const std::pair<const char *, const char *> settings[] = {
        {"band", "1\n"},       {"band_width", "2\n"},     {"channel", "6\n"},
        {"data_rate", "54\n"}, {"preamble", "1\n"},       {"short_gi", "1\n"},
        {"tx_gain", "5\n"},    {"payload_length", "7\n"}, {"burst_interval", "8\n"},
    };
    for (const auto &[name, value] : settings)
        EXPECT_EQ(radio(name), value) << name;
}

TEST_F(Wlan, TransmitsOrReceivesUntilStopped)
{
    open();
    EXPECT_EQ(MRVL_RFT_TxStop(), NOT_RUNNING);
    EXPECT_EQ(MRVL_RFT_RxStop(0), NOT_RUNNING);
    EXPECT_EQ(MRVL_RFT_TxStart(), 0);
    EXPECT_EQ(radio("mode"), "tx\n");
    EXPECT_EQ(MRVL_RFT_RxStart(), BUSY);
    EXPECT_EQ(MRVL_RFT_TxStart(), BUSY);
    EXPECT_EQ(MRVL_RFT_RxStop(0), NOT_RUNNING);
    EXPECT_EQ(MRVL_RFT_TxStop(), 0);
    EXPECT_EQ(MRVL_RFT_RxStart(), 0);
    EXPECT_EQ(radio("mode"), "rx\n");
    EXPECT_EQ(MRVL_RFT_RxStop(0), 0);
    EXPECT_EQ(radio("mode"), "idle\n");
}

TEST_F(Wlan, ReadingsAreThoseOfTheFilesInTurn)
{
    EXPECT_EQ(MRVL_RFT_FRError(), 0);
    radio("error_frames", "3");
    radio("good_frames", "997");
    radio("rssi.play", "-60\n-61");
    EXPECT_EQ(MRVL_RFT_FRError(), 3);
    EXPECT_EQ(MRVL_RFT_FRGood(), 997);
    EXPECT_EQ(MRVL_RFT_Get_RSSI(), -60);
    EXPECT_EQ(MRVL_RFT_Get_RSSI(), -61);
    EXPECT_EQ(MRVL_RFT_Get_RSSI(), -61);
    camera.fault("MRVL_RFT_FRError", "-1");
    camera.fault("MRVL_RFT_FRGood", "-2");
    camera.fault("MRVL_RFT_Get_RSSI", "-3");
    EXPECT_EQ(MRVL_RFT_FRError(), -1);
    EXPECT_EQ(MRVL_RFT_FRGood(), -2);
    EXPECT_EQ(MRVL_RFT_Get_RSSI(), -3);
    EXPECT_THAT(camera.calls(), IsEmpty());
}

TEST_F(Wlan, JoinsNetworksInRangeOnTheirBand)
{
    open();
    EXPECT_EQ(MRVL_RFT_SetSSID("The line"), NOT_FOUND);
    radio("access_points", "2.4 -50 The line\n\n5 -60 fast\nrubbish");
    EXPECT_EQ(MRVL_RFT_SetSSID("The line"), 0);
    EXPECT_EQ(radio("ssid"), "The line\n");
    EXPECT_EQ(MRVL_RFT_SetSSID_24G("The line"), 0);
    EXPECT_EQ(MRVL_RFT_SetSSID_5G("The line"), NOT_FOUND);
    EXPECT_EQ(MRVL_RFT_SetSSID_5G("fast"), 0);
    EXPECT_EQ(MRVL_RFT_SetSSID_24G("fast"), NOT_FOUND);
    EXPECT_EQ(MRVL_RFT_SetSSID("fast"), 0);
    EXPECT_EQ(MRVL_RFT_SetSSID("The"), NOT_FOUND);
    EXPECT_EQ(MRVL_RFT_SetSSID(""), -1);
    EXPECT_EQ(MRVL_RFT_SetSSID(nullptr), -1);
    camera.fault("MRVL_RFT_SetSSID", "77 on line");
    EXPECT_EQ(MRVL_RFT_SetSSID("The line"), 77);
    EXPECT_EQ(MRVL_RFT_SetSSID("fast"), 0);
    EXPECT_EQ(radio("ssid"), "fast\n");
}

TEST_F(Wlan, HasATextForEachCode)
{
    EXPECT_STREQ(MRVL_RFT_GetErrorString(-1), "invalid argument");
    EXPECT_STREQ(MRVL_RFT_GetErrorString(NOT_LOADED), "driver not loaded");
    EXPECT_STREQ(MRVL_RFT_GetErrorString(NOT_OPEN), "DUT not open");
    EXPECT_STREQ(MRVL_RFT_GetErrorString(BUSY), "busy");
    EXPECT_STREQ(MRVL_RFT_GetErrorString(NOT_RUNNING), "not running");
    EXPECT_STREQ(MRVL_RFT_GetErrorString(NOT_FOUND), "network not found");
    EXPECT_STREQ(MRVL_RFT_GetErrorString(NOT_STORED), "state not stored");
    EXPECT_STREQ(MRVL_RFT_GetErrorString(77), "unknown error");
    camera.fault("MRVL_RFT_GetErrorString", "0");
    EXPECT_EQ(MRVL_RFT_GetErrorString(1), nullptr);
}

TEST_F(Wlan, KeepsTheStatusItIsTold)
{
    Wlan_Status_Check(5);
    EXPECT_EQ(radio("status"), "5\n");
    camera.fault("Wlan_Status_Check", "0");
    Wlan_Status_Check(6);
    EXPECT_EQ(radio("status"), "5\n");
    EXPECT_THAT(camera.call_texts(), ElementsAre("Wlan_Status_Check(5)", "Wlan_Status_Check(6)"));
}

TEST_F(Wlan, StateThatCannotBeWrittenIsAnError)
{
    open();
    camera.write("/virtual/radio/wifi/channel/in_the_way", "");
    EXPECT_EQ(MRVL_RFT_Channel(6), NOT_STORED);
}

TEST_F(Wlan, ACallMayTakeItsTimeOrLastUntilToldOtherwise)
{
    open();
    camera.speed(1000);
    radio("delay", "2000");
    EXPECT_EQ(MRVL_RFT_Channel(6), 0);
    radio("delay", "never");
    auto answer = std::async(std::launch::async, [] { return MRVL_RFT_Channel(7); });
    EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_EQ(radio("channel"), "6\n");
    radio("delay", "0");
    EXPECT_EQ(answer.get(), 0);
    EXPECT_EQ(radio("channel"), "7\n");
}

TEST(WlanWithoutACamera, NothingWorks)
{
    unsetenv("ROVA_SYSROOT");
    EXPECT_EQ(MRVL_RFT_OpenDUT(), NOT_LOADED);
    EXPECT_EQ(MRVL_RFT_Channel(6), NOT_LOADED);
    EXPECT_EQ(MRVL_RFT_Get_RSSI(), 0);
    Wlan_Status_Check(1);
}
