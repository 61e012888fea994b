#include "tests/command/wifi/wifi_test.h"

#include <cerrno>
#include <sstream>

using namespace test;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace
{

std::string number_answer(bool ok, const std::string &number)
{
    return std::string("resp : ") + (ok ? "OK" : "NG") + " <ptp> 0x10040001, " + number +
           ", 0x00000000 \n";
}

// The tag of the last line with this text.
std::string tag_of(const std::string &log, const std::string &text)
{
    const std::size_t line = log.rfind('\n', log.rfind(text)) + 1;
    std::istringstream words(log.substr(line));
    std::string tag;
    for (int word = 0; word < 5; word++)
        words >> tag;
    return log.find(text) != std::string::npos ? tag : "no such line";
}

} // namespace

// ------------------------------------------------------------------------- the family

TEST_F(Wifi, AnUnknownSubcommandIsNotAnswered)
{
    EXPECT_EQ(run("wifi foo"), NO_ANSWER);
    EXPECT_TRUE(camera.logged("Not found on wifi command table"));
}

TEST_F(Wifi, FirstWordsIgnoreCaseSecondOnesDoNot)
{
    EXPECT_EQ(run("WIFI SETTING channel 6"), OK);
    EXPECT_EQ(run("wifi setting CHANNEL 6"), NG);
    EXPECT_EQ(run("wifi sleep ENTER_SLEEP"), NG);
}

TEST_F(Wifi, MissingAndUnknownSecondWordsAreRefusedWithoutAMessage)
{
    for (const char *line :
         {"setting", "setting foo 1", "control_dut", "control_dut Open_dut", "tx", "tx start_rx",
          "rx", "rx start_tx", "rx_frame", "rx_frame receive", "sleep", "sleep sleep", "ap_access",
          "ap_access ssid line", "ap_access access_ssid", "ap_access access_ssid_2g",
          "ap_access access_ssid_5g", "mimo", "mimo ant_3 1"}) {
        EXPECT_EQ(run(std::string("wifi ") + line), NG) << line;
        EXPECT_THAT(new_messages(), IsEmpty()) << line;
    }
    EXPECT_THAT(steps(), IsEmpty());
}

TEST_F(Wifi, LogsInGreenUnderTheRadiosTagAndErrorsInRed)
{
    run("wifi sleep wake_sleep");
    EXPECT_THAT(camera.platform_log(), HasSubstr("\033[32mSLEEP_WAKEUP"));
    EXPECT_THAT(camera.platform_log(), HasSubstr("ROVACONN"));
    EXPECT_THAT(camera.platform_log(), Not(HasSubstr("SYS_ROVA")));
    run("wifi rx stop_rx");
    EXPECT_THAT(camera.platform_log(), HasSubstr("SYS_ROVA"));
}

TEST_F(Wifi, WhatGoesWrongIsToldUnderTheDaemonsTag)
{
    camera.fault("sys_fopen", "0 errno EACCES on .mac.info");
    add_script("/sdcard/scan.sh", READY);
    camera.write("/sdcard/ap.list", "noise\n");
    run("wifi control_dut wifi_on"); // there is no script
    run("wifi scan");
    camera.remove("/sdcard/ap.list");
    run("wifi scan");
    run("wifi addr_get");
    run("wifi addr_set 0");
    run("wifi addr_set 0123456789AB");
    run("wifi set_country_channel_5g us");
    run("wifi set_country KR");
    wrap_fail("fork", -1, EAGAIN, 1, true);
    run("wifi control_dut wifi_on");
    run("wifi scan");
    for (const char *error : {"Fail to execute command", "AP NOT FOUND", "Failed to open ap.list",
                              "GET WiFi MAC: ERROR", "SET WiFi MAC: ERROR1", "file open failed",
                              "SET WiFi MAC: ERROR2", "wrong data", "failed to fork",
                              "Failed to load wireless device driver", "Failed to excute iwlist"})
        EXPECT_EQ(tag_of(camera.platform_log(), error), "SYS_ROVA") << error;
    for (const char *good : {"Inside child", "exited, rv=1", "STA_START ret=-5", "set_country : OK",
                             "Successfully excueted iwlist", "WiFi MAC in NAND"})
        EXPECT_EQ(tag_of(camera.platform_log(), good), "ROVACONN") << good;
}

// ------------------------------------------------------------------------- settings

TEST_F(Wifi, ASettingIsStoredAndTouchesTheRadioOnlyAtTheNextStart)
{
    EXPECT_EQ(run("wifi setting channel 6"), OK);
    EXPECT_THAT(steps(), IsEmpty());
    EXPECT_EQ(run("wifi tx start_tx"), OK);
    EXPECT_THAT(steps(), ElementsAre("Channel[6]", "TxStart[]"));
}

TEST_F(Wifi, DefaultsLeaveTheRadioAlone)
{
    EXPECT_EQ(run("wifi rx start_rx"), OK);
    EXPECT_THAT(steps(), ElementsAre("RxStart[]"));
}

TEST_F(Wifi, SettingsAreGivenInTheirOrderAndTold)
{
    for (const char *setting :
         {"burst_interval 200", "payload_length 512", "tx_gain 5", "preamble 1", "data_rate 54",
          "channel 11", "band_width 40", "band 2"})
        set(setting);
    EXPECT_THAT(told_by("wifi tx start_tx", OK),
                ElementsAre("==============__set_wlan_mfg_settings Enter", "band = 2",
                            "band_width = 40", "channel = 11", "data_rate = 54", "preamble = 1",
                            "tx_gain = 5", "payload_length = 512", "burst_interval = 200",
                            "SetBand ret=0", "SetBandWidth ret=0", "SetChannel ret=0",
                            "SetDataRate ret=0", "SetPreamble ret=0", "TxGain ret=0",
                            "SetPayload ret=0", "SetBurstInterval ret=0",
                            "==============__set_wlan_mfg_settings Exit", "TX_START_TX",
                            "TxStartWithMod ret=0"));
    EXPECT_THAT(steps(), ElementsAre("SetBandAG[2]", "SetChannelBw[40]", "Channel[11]",
                                     "TxDataRate[54]", "SetPreamble[0]", "TxGain[5]",
                                     "TxPayloadLength[512]", "TxBurstInterval[200]", "TxStart[]"));
}

TEST_F(Wifi, EachStartGivesTheSettingsAgain)
{
    set("band 1");
    EXPECT_EQ(run("wifi tx start_tx"), OK);
    EXPECT_EQ(run("wifi tx stop_tx"), OK);
    EXPECT_EQ(run("wifi rx start_rx"), OK);
    EXPECT_EQ(run("wifi rx stop_rx"), OK);
    EXPECT_THAT(steps(), ElementsAre("SetBandAG[1]", "TxStart[]", "TxStop[]", "SetBandAG[1]",
                                     "RxStart[]", "RxStop[0]"));
}

TEST_F(Wifi, ValuesThatMeanNoCallLeaveTheEarlierOneInTheRadio)
{
    set("tx_gain 5");
    set("payload_length 7");
    set("burst_interval 8");
    set("band 1");
    EXPECT_EQ(run("wifi tx start_tx"), OK);
    EXPECT_EQ(run("wifi tx stop_tx"), OK);
    set("tx_gain 10");
    set("payload_length 1024");
    set("burst_interval 100");
    set("band -1");
    const std::size_t before = steps().size();
    EXPECT_EQ(run("wifi tx start_tx"), OK);
    EXPECT_EQ(steps().size(), before + 1);
    EXPECT_EQ(radio("tx_gain"), "5\n");
    EXPECT_EQ(radio("payload_length"), "7\n");
    EXPECT_EQ(radio("burst_interval"), "8\n");
    EXPECT_EQ(radio("band"), "1\n");
}

TEST_F(Wifi, PreambleSelectsOneOfFourCalls)
{
    const std::pair<const char *, const char *> calls[] = {{"1", "SetPreamble[0]"},
                                                           {"2", "SetPreamble[1]"},
                                                           {"3", "SetShortGI[1]"},
                                                           {"4", "SetShortGI[0]"}};
    for (const auto &[value, call] : calls) {
        set(std::string("preamble ") + value);
        EXPECT_EQ(run("wifi tx start_tx"), OK);
        EXPECT_EQ(run("wifi tx stop_tx"), OK);
        EXPECT_THAT(steps(), Contains(call)) << value;
    }
    EXPECT_EQ(steps().size(), 12U);
}

TEST_F(Wifi, AnotherPreambleFailsTheNextStart)
{
    for (const char *value : {"7", "0", "5"}) {
        set(std::string("preamble ") + value);
        EXPECT_THAT(told_by("wifi tx start_tx", NG),
                    AllOf(Contains("SetPreamble ret=-1"),
                          Contains("__set_wlan_mfg_settings ERROR : [invalid argument]"),
                          Not(Contains("TX_START_TX"))));
    }
    EXPECT_THAT(steps(), ElementsAre("Wlan_Status_Check[-1]", "Wlan_Status_Check[-1]",
                                     "Wlan_Status_Check[-1]"));
}

TEST_F(Wifi, ABadSettingChangesNothing)
{
    set("channel 6");
    EXPECT_EQ(run("wifi setting channel"), NG);
    EXPECT_EQ(run("wifi setting Channel 7"), NG);
    EXPECT_EQ(run("wifi setting foo 8"), NG);
    EXPECT_EQ(run("wifi tx start_tx"), OK);
    EXPECT_THAT(steps(), ElementsAre("Channel[6]", "TxStart[]"));
}

TEST_F(Wifi, WhatIsNoNumberReadsAsZero)
{
    set("channel six");
    set("data_rate 54Mbit");
    EXPECT_EQ(run("wifi tx start_tx"), OK);
    EXPECT_THAT(steps(), ElementsAre("Channel[0]", "TxDataRate[54]", "TxStart[]"));
}

struct Refused {
    const char *setting;
    const char *call;
    const char *label;
    std::size_t before; // calls that were made until then
};

class WifiSetting : public Wifi, public testing::WithParamInterface<Refused>
{
};

TEST_P(WifiSetting, ThatIsRefusedEndsTheStart)
{
    const Refused &row = GetParam();
    for (const char *setting : {"band 1", "band_width 20", "channel 6", "data_rate 54",
                                "preamble 1", "tx_gain 5", "payload_length 7", "burst_interval 8"})
        set(setting);
    set(row.setting);
    camera.fault(row.call, "77");
    for (const char *line : {"wifi tx start_tx", "wifi rx start_rx"}) {
        const std::size_t calls = steps().size();
        const std::vector<std::string> messages = told_by(line, NG);
        EXPECT_THAT(std::vector(messages.end() - 3, messages.end()),
                    ElementsAre(std::string(row.label) + " ret=77",
                                "__set_wlan_mfg_settings ERROR : [unknown error]",
                                "==============__set_wlan_mfg_settings Exit"));
        EXPECT_EQ(steps().size(), calls + row.before + 2);
        EXPECT_EQ(steps().back(), "Wlan_Status_Check[77]");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Calls, WifiSetting,
    testing::Values(Refused{"band 2", "MRVL_RFT_SetBandAG", "SetBand", 0},
                    Refused{"band_width 40", "MRVL_RFT_SetChannelBw", "SetBandWidth", 1},
                    Refused{"channel 11", "MRVL_RFT_Channel", "SetChannel", 2},
                    Refused{"data_rate 6", "MRVL_RFT_TxDataRate", "SetDataRate", 3},
                    Refused{"preamble 1", "MRVL_RFT_SetPreamble", "SetPreamble", 4},
                    Refused{"preamble 3", "MRVL_RFT_SetShortGI", "SetPreamble", 4},
                    Refused{"tx_gain 6", "MRVL_RFT_TxGain", "TxGain", 5},
                    Refused{"payload_length 6", "MRVL_RFT_TxPayloadLength", "SetPayload", 6},
                    Refused{"burst_interval 6", "MRVL_RFT_TxBurstInterval", "SetBurstInterval",
                            7}));

// ------------------------------------------------------------------------- start and stop

TEST_F(Wifi, TransmitsAndReceives)
{
    EXPECT_EQ(run("wifi tx start_tx"), OK);
    EXPECT_EQ(radio("mode"), "tx\n");
    EXPECT_THAT(told_by("wifi tx stop_tx", OK), ElementsAre("TX_STOP_TX", "TxStop ret=0"));
    const std::vector<std::string> messages = told_by("wifi rx start_rx", OK);
    EXPECT_THAT(std::vector(messages.end() - 2, messages.end()),
                ElementsAre("RX_START_RX", "RxStart ret=0"));
    EXPECT_EQ(radio("mode"), "rx\n");
    EXPECT_THAT(told_by("wifi rx stop_rx", OK), ElementsAre("RX_STOP_RX", "RxStop ret=0"));
    EXPECT_THAT(steps(), ElementsAre("TxStart[]", "TxStop[]", "RxStart[]", "RxStop[0]"));
}

struct Failing {
    const char *line;
    const char *call;
    const char *label;
    const char *handler;
    bool checked; // the library is told of the failure
};

class WifiFailure : public Wifi, public testing::WithParamInterface<Failing>
{
};

TEST_P(WifiFailure, IsLoggedAndAnswered)
{
    const Failing &row = GetParam();
    add_script("/usr/bin/wlan.sh", READY);
    camera.fault(row.call, "-42");
    EXPECT_EQ(run(row.line), NG);
    const std::vector<std::string> all = messages();
    EXPECT_THAT(std::vector(all.end() - 2, all.end()),
                ElementsAre(std::string(row.label) + " ret=-42",
                            std::string(row.handler) + " ERROR : [unknown error]"));
    EXPECT_EQ(steps().back() == "Wlan_Status_Check[-42]", row.checked);

    camera.fault("MRVL_RFT_GetErrorString", "0");
    EXPECT_EQ(run(row.line), NG);
    EXPECT_EQ(messages().back(), std::string(row.handler) + " ERROR : []") << "no text";
}

INSTANTIATE_TEST_SUITE_P(
    Calls, WifiFailure,
    testing::Values(
        Failing{"wifi tx start_tx", "MRVL_RFT_TxStart", "TxStartWithMod", "rova_cmd_wifi_tx", true},
        Failing{"wifi tx stop_tx", "MRVL_RFT_TxStop", "TxStop", "rova_cmd_wifi_tx", true},
        Failing{"wifi rx start_rx", "MRVL_RFT_RxStart", "RxStart", "rova_cmd_wifi_rx", true},
        Failing{"wifi rx stop_rx", "MRVL_RFT_RxStop", "RxStop", "rova_cmd_wifi_rx", true},
        Failing{"wifi ap_access access_ssid line", "MRVL_RFT_SetSSID", "JoinWithSSID",
                "rova_cmd_wifi_ap_access", true},
        Failing{"wifi ap_access access_ssid_2g line", "MRVL_RFT_SetSSID_24G", "JoinWithSSID2G",
                "rova_cmd_wifi_ap_access", true},
        Failing{"wifi ap_access access_ssid_5g line", "MRVL_RFT_SetSSID_5G", "JoinWithSSID5G",
                "rova_cmd_wifi_ap_access", true},
        Failing{"wifi control_dut open_dut", "MRVL_RFT_OpenDUT", "OpenDUT",
                "rova_cmd_wifi_control_dut", false},
        Failing{"wifi control_dut close_dut", "MRVL_RFT_CloseDUT", "CloseDUT",
                "rova_cmd_wifi_control_dut", false},
        Failing{"wifi control_dut wifi_off", "MRVL_RFT_CloseDUT", "CloseDUT",
                "rova_cmd_wifi_control_dut", false}));

TEST_F(Wifi, AWrongOrderIsReportedByTheRadiosCodes)
{
    EXPECT_EQ(run("wifi tx stop_tx"), NG);
    EXPECT_TRUE(camera.logged("rova_cmd_wifi_tx ERROR : [not running]"));
    EXPECT_EQ(run("wifi rx start_rx"), OK);
    EXPECT_EQ(run("wifi tx start_tx"), NG);
    EXPECT_TRUE(camera.logged("rova_cmd_wifi_tx ERROR : [busy]"));
    radio("driver", "none");
    EXPECT_EQ(run("wifi rx stop_rx"), NG);
    EXPECT_TRUE(camera.logged("rova_cmd_wifi_rx ERROR : [driver not loaded]"));
    EXPECT_EQ(radio("status"), "1\n");
}

TEST_F(Wifi, ACallOfTheRadioIsWaitedFor)
{
    radio("delay", "2500");
    EXPECT_EQ(run("wifi rx start_rx"), OK);
    EXPECT_EQ(wrap_sleeps(), std::vector<unsigned int>{2500000});
}

// ------------------------------------------------------------------------- readings

TEST_F(Wifi, ReadingsAreNumbersWithTheirMark)
{
    radio("error_frames", "3");
    radio("good_frames", "997");
    radio("rssi", "-60");
    EXPECT_THAT(run("wifi rx_frame receive_error", ROVA_CMD_PTP),
                EndsWith(number_answer(true, "0x00010003")));
    EXPECT_THAT(run("wifi rx_frame receive_good", ROVA_CMD_PTP),
                EndsWith(number_answer(true, "0x000203e5")));
    EXPECT_THAT(run("wifi rx_frame read_rssi", ROVA_CMD_PTP),
                EndsWith(number_answer(true, "0x0002ffc4")));
    EXPECT_THAT(told_by("wifi rx_frame receive_error", OK),
                ElementsAre("RX_FRAME_RECEIVE_ERROR", "GetErrorFrame ret=3"));
    EXPECT_THAT(told_by("wifi rx_frame receive_good", OK),
                ElementsAre("RX_FRAME_RECEIVE_GOOD", "GetGoodFrame ret=997"));
    EXPECT_THAT(told_by("wifi rx_frame read_rssi", OK),
                ElementsAre("RX_READ_RSSI", "Read Rssi ret=-60"));
}

TEST_F(Wifi, AReadingThatFailsIsANumberToo)
{
    for (const char *call : {"MRVL_RFT_FRError", "MRVL_RFT_FRGood", "MRVL_RFT_Get_RSSI"})
        camera.fault(call, "-1");
    EXPECT_THAT(run("wifi rx_frame receive_error", ROVA_CMD_PTP),
                EndsWith(number_answer(true, "0x0000ffff")));
    EXPECT_THAT(run("wifi rx_frame receive_good", ROVA_CMD_PTP),
                EndsWith(number_answer(true, "0x0001ffff")));
    EXPECT_THAT(run("wifi rx_frame read_rssi", ROVA_CMD_PTP),
                EndsWith(number_answer(true, "0x0002ffff")));
}

TEST_F(Wifi, AnotherReadingIsRefusedByANumber)
{
    EXPECT_THAT(run("wifi rx_frame foo", ROVA_CMD_PTP),
                EndsWith(number_answer(false, "0x00000000")));
    EXPECT_THAT(run("wifi rx_frame", ROVA_CMD_PTP), EndsWith(number_answer(false, "0x00000000")));
}

TEST_F(Wifi, SleepAndMimoOnlyLog)
{
    for (const char *line : {"sleep enter_sleep", "sleep wake_sleep", "mimo all 3", "mimo ant_1 -1",
                             "mimo ant_2 x", "mimo all"})
        EXPECT_EQ(run(std::string("wifi ") + line), OK) << line;
    EXPECT_THAT(new_messages(),
                ElementsAre("SLEEP_ENTER_SLEEP", "SLEEP_WAKEUP", "MIMO_OPT type = 3",
                            "MIMO_OPT type = -1", "MIMO_OPT type = 0", "MIMO_OPT type = 0"));
    EXPECT_THAT(steps(), IsEmpty());
}

TEST_F(Wifi, JoinsNetworks)
{
    radio("access_points", "2.4 -50 line\n5 -60 line");
    EXPECT_THAT(told_by("wifi ap_access access_ssid line", OK),
                ElementsAre("AP_ACCESS_ACCESS_SSID: line", "JoinWithSSID ret=0"));
    EXPECT_THAT(told_by("wifi ap_access access_ssid_2g line", OK),
                ElementsAre("AP_ACCESS_ACCESS_SSID_2G", "JoinWithSSID2G ret=0"));
    EXPECT_THAT(told_by("wifi ap_access access_ssid_5g line", OK),
                ElementsAre("AP_ACCESS_ACCESS_SSID_5G", "JoinWithSSID5G ret=0"));
    EXPECT_THAT(steps(),
                ElementsAre("SetSSID[\"line\"]", "SetSSID_24G[\"line\"]", "SetSSID_5G[\"line\"]"));
    EXPECT_EQ(run("wifi ap_access access_ssid other"), NG);
    EXPECT_TRUE(camera.logged("rova_cmd_wifi_ap_access ERROR : [network not found]"));
    EXPECT_EQ(steps().back(), "Wlan_Status_Check[5]");
}
