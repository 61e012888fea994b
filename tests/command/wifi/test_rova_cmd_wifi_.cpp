#include "common/rova_adjdata_handler.h"
#include "platform/virtual/keys.h"
#include "tests/command/command_test.h"
#include "tests/support/text.h"
#include "tests/support/wrap.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <future>
#include <nlohmann/json.hpp>

using namespace test;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

namespace
{

constexpr char WLAN_SCRIPT[] = "/usr/bin/wlan.sh";
constexpr char SCAN_SCRIPT[] = "/sdcard/scan.sh";
constexpr char AP_LIST[] = "/sdcard/ap.list";
constexpr char MAC_FILE[] = "/opt/etc/.mac.info";
constexpr char REGION_FILE[] = "/opt/etc/wl-regdom.conf";

// A driver's script as it is meant to be.
constexpr char LOADS[] = R"(#!/bin/sh
radio=$ROVA_SYSROOT/virtual/radio/wifi
case $1 in rftest) echo test ;; start) echo station ;; stop) echo none ;; esac >$radio/driver
echo 0 >$radio/dut
)";

constexpr char READY[] = "#!/bin/sh\n";

// As calls of the radio, each "MRVL_RFT_Channel[6]" as "Channel[6]".
std::vector<std::string> steps(const Camera &camera)
{
    std::vector<std::string> texts;
    for (const nlohmann::json &call : camera.calls()) {
        const std::string name = call["call"];
        if (name.starts_with("MRVL_RFT_"))
            texts.push_back(name.substr(9) + call["args"].dump());
        if (name == "Wlan_Status_Check")
            texts.push_back(name + call["args"].dump());
    }
    return texts;
}

std::string number_answer(bool ok, const std::string &number)
{
    return std::string("resp : ") + (ok ? "OK" : "NG") + " <ptp> 0x10040001, " + number +
           ", 0x00000000 \n";
}

} // namespace

// The settings outlive a command, and so a test: each begins with the defaults.
class Wifi : public CommandTest
{
protected:
    Wifi()
    {
        for (const char *setting :
             {"band -1", "band_width -1", "channel -1", "data_rate -1", "preamble -1", "tx_gain 10",
              "payload_length 1024", "burst_interval 100"})
            run(std::string("wifi setting ") + setting);
        camera.write("/opt/etc/clock", "");
        camera.write("/virtual/radio/wifi/driver", "test\n");
        radio("dut", "1");
        wrap_record_sleeps(true);
    }

    void radio(const std::string &name, const std::string &value) const
    {
        camera.write("/virtual/radio/wifi/" + name, value + "\n");
    }
    std::string radio(const std::string &name) const
    {
        return camera.read("/virtual/radio/wifi/" + name);
    }

    void add_script(const std::string &path, const std::string &text) const
    {
        camera.write(path, text);
        std::filesystem::permissions(camera.path(path), std::filesystem::perms::owner_all);
    }

    void set(const std::string &setting)
    {
        EXPECT_EQ(run("wifi setting " + setting), OK) << setting;
    }

    // The messages of a command but for those of its script's process.
    std::vector<std::string> told_by(const std::string &line, const std::string &answer)
    {
        new_messages();
        EXPECT_EQ(run(line), answer) << line;
        std::vector<std::string> messages = new_messages();
        std::erase_if(messages, [](const std::string &text) {
            return text.starts_with("pid(") || text.starts_with("/") || text.starts_with("Inside");
        });
        return messages;
    }

    std::vector<std::string> osd() const { return told({"factory_osd_text_set"}); }
};

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
    EXPECT_THAT(steps(camera), IsEmpty());
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

// ------------------------------------------------------------------------- settings

TEST_F(Wifi, ASettingIsStoredAndTouchesTheRadioOnlyAtTheNextStart)
{
    EXPECT_EQ(run("wifi setting channel 6"), OK);
    EXPECT_THAT(steps(camera), IsEmpty());
    EXPECT_EQ(run("wifi tx start_tx"), OK);
    EXPECT_THAT(steps(camera), ElementsAre("Channel[6]", "TxStart[]"));
}

TEST_F(Wifi, DefaultsLeaveTheRadioAlone)
{
    EXPECT_EQ(run("wifi rx start_rx"), OK);
    EXPECT_THAT(steps(camera), ElementsAre("RxStart[]"));
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
    EXPECT_THAT(steps(camera),
                ElementsAre("SetBandAG[2]", "SetChannelBw[40]", "Channel[11]", "TxDataRate[54]",
                            "SetPreamble[0]", "TxGain[5]", "TxPayloadLength[512]",
                            "TxBurstInterval[200]", "TxStart[]"));
}

TEST_F(Wifi, EachStartGivesTheSettingsAgain)
{
    set("band 1");
    EXPECT_EQ(run("wifi tx start_tx"), OK);
    EXPECT_EQ(run("wifi tx stop_tx"), OK);
    EXPECT_EQ(run("wifi rx start_rx"), OK);
    EXPECT_EQ(run("wifi rx stop_rx"), OK);
    EXPECT_THAT(steps(camera), ElementsAre("SetBandAG[1]", "TxStart[]", "TxStop[]", "SetBandAG[1]",
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
    const std::size_t before = steps(camera).size();
    EXPECT_EQ(run("wifi tx start_tx"), OK);
    EXPECT_EQ(steps(camera).size(), before + 1);
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
        EXPECT_THAT(steps(camera), Contains(call)) << value;
    }
    EXPECT_EQ(steps(camera).size(), 12U);
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
    EXPECT_THAT(steps(camera), ElementsAre("Wlan_Status_Check[-1]", "Wlan_Status_Check[-1]",
                                           "Wlan_Status_Check[-1]"));
}

TEST_F(Wifi, ABadSettingChangesNothing)
{
    set("channel 6");
    EXPECT_EQ(run("wifi setting channel"), NG);
    EXPECT_EQ(run("wifi setting Channel 7"), NG);
    EXPECT_EQ(run("wifi setting foo 8"), NG);
    EXPECT_EQ(run("wifi tx start_tx"), OK);
    EXPECT_THAT(steps(camera), ElementsAre("Channel[6]", "TxStart[]"));
}

TEST_F(Wifi, WhatIsNoNumberReadsAsZero)
{
    set("channel six");
    set("data_rate 54Mbit");
    EXPECT_EQ(run("wifi tx start_tx"), OK);
    EXPECT_THAT(steps(camera), ElementsAre("Channel[0]", "TxDataRate[54]", "TxStart[]"));
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
        const std::size_t calls = steps(camera).size();
        const std::vector<std::string> messages = told_by(line, NG);
        EXPECT_THAT(std::vector(messages.end() - 3, messages.end()),
                    ElementsAre(std::string(row.label) + " ret=77",
                                "__set_wlan_mfg_settings ERROR : [unknown error]",
                                "==============__set_wlan_mfg_settings Exit"));
        EXPECT_EQ(steps(camera).size(), calls + row.before + 2);
        EXPECT_EQ(steps(camera).back(), "Wlan_Status_Check[77]");
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
    EXPECT_THAT(steps(camera), ElementsAre("TxStart[]", "TxStop[]", "RxStart[]", "RxStop[0]"));
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
    add_script(WLAN_SCRIPT, READY);
    camera.fault(row.call, "-42");
    EXPECT_EQ(run(row.line), NG);
    const std::vector<std::string> all = messages();
    EXPECT_THAT(std::vector(all.end() - 2, all.end()),
                ElementsAre(std::string(row.label) + " ret=-42",
                            std::string(row.handler) + " ERROR : [unknown error]"));
    EXPECT_EQ(steps(camera).back() == "Wlan_Status_Check[-42]", row.checked);

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

// ------------------------------------------------------------------------- drivers

TEST_F(Wifi, OpenDutLoadsTheDriverAndOpensTheRadio)
{
    radio("driver", "none");
    add_script(WLAN_SCRIPT, LOADS);
    EXPECT_THAT(told_by("wifi control_dut open_dut", OK),
                ElementsAre("WLAN_SCRIPT_MFG_START", "rftest", "exited, rv=0",
                            "Successfully loaded mfg device driver", "CONTROL_DUT_OPEN_DUT",
                            "OpenDUT ret=0"));
    EXPECT_EQ(wrap_sleeps(), std::vector<unsigned int>{2000000});
    EXPECT_EQ(radio("dut"), "1\n");
}

TEST_F(Wifi, CloseDutClosesTheRadioAndRemovesTheDriver)
{
    add_script(WLAN_SCRIPT, LOADS);
    EXPECT_THAT(told_by("wifi control_dut close_dut", OK),
                ElementsAre("CONTROL_DUT_CLOSE_DUT", "CloseDUT ret=0", "WLAN_SCRIPT_MFG_STOP",
                            "stop", "exited, rv=0", "Successfully removed mfg device driver"));
    EXPECT_EQ(wrap_sleeps(), std::vector<unsigned int>{1000000});
    EXPECT_EQ(radio("driver"), "none\n");
}

TEST_F(Wifi, WifiOnLoadsTheStationDriver)
{
    add_script(WLAN_SCRIPT, LOADS);
    EXPECT_THAT(told_by("wifi control_dut wifi_on", OK),
                ElementsAre("WLAN_SCRIPT_STA_START", "start", "exited, rv=0",
                            "Successfully loaded wireless device driver", "CONTROL_DUT_WIFI_ON"));
    EXPECT_EQ(wrap_sleeps(), std::vector<unsigned int>{1000000});
    EXPECT_EQ(radio("driver"), "station\n");
}

TEST_F(Wifi, WifiOffClosesTheRadioAndRemovesTheDriver)
{
    radio("driver", "station");
    add_script(WLAN_SCRIPT, LOADS);
    EXPECT_THAT(told_by("wifi control_dut wifi_off", OK),
                ElementsAre("CONTROL_DUT_WIFI_OFF", "CloseDUT ret=0", "WLAN_SCRIPT_STA_STOP",
                            "stop", "exited, rv=0", "Successfully removed wireless device driver"));
    EXPECT_EQ(wrap_sleeps(), std::vector<unsigned int>{2000000});
    EXPECT_EQ(radio("driver"), "none\n");
    EXPECT_EQ(run("wifi control_dut wifi_off"), NG) << "there is no driver any more";
    EXPECT_TRUE(camera.logged("rova_cmd_wifi_control_dut ERROR : [driver not loaded]"));
}

TEST_F(Wifi, TheScriptRunsInAnEnvironmentOfItsOwn)
{
    setenv("SECRET", "told", 1);
    add_script(WLAN_SCRIPT, "#!/bin/sh\necho \"$0 $# $1 [$SECRET]\" >$ROVA_SYSROOT/tmp/ran\n");
    EXPECT_EQ(run("wifi control_dut wifi_on"), OK);
    unsetenv("SECRET");
    EXPECT_THAT(camera.read("/tmp/ran"), EndsWith("/usr/bin/wlan.sh 1 start []\n"));
    EXPECT_THAT(camera.call_texts(),
                Contains("sys_execve(\"/usr/bin/wlan.sh\", [\"/usr/bin/wlan.sh\",\"start\"])"));
    const std::vector<std::string> all = new_messages();
    EXPECT_THAT(all, Contains("/usr/bin/wlan.sh"));
    EXPECT_THAT(all, Contains("start"));
    EXPECT_THAT(all, Contains("Inside child, exec (/usr/bin/wlan.sh) command"));
    EXPECT_THAT(all, Contains(AllOf(StartsWith("pid("),
                                    EndsWith(", ppid (" + std::to_string(getpid()) + ")"))));
}

TEST_F(Wifi, WhatBecomesOfTheScriptDoesNotCount)
{
    const std::pair<const char *, const char *> ends[] = {
        {"exit 3", "exited, rv=3"},
        {"kill -9 $$", "killed by signal 9"},
        {"kill -TERM $$", "killed by signal 15"},
    };
    for (const auto &[end, message] : ends) {
        add_script(WLAN_SCRIPT, std::string(READY) + end + "\n");
        EXPECT_THAT(told_by("wifi control_dut wifi_on", OK), Contains(message));
        EXPECT_THAT(told_by("wifi control_dut close_dut", OK), Contains(message));
        EXPECT_THAT(told_by("wifi control_dut wifi_off", OK), Contains(message));
    }
}

TEST_F(Wifi, AScriptThatCannotBeRunIsLoggedAndDoesNotCount)
{
    const auto refused = [](const char *why) {
        return AllOf(Contains(std::string("Fail to execute command (") + why + ")"),
                     Contains("exited, rv=1"), Contains("CONTROL_DUT_WIFI_ON"));
    };
    EXPECT_THAT(told_by("wifi control_dut wifi_on", OK), refused("No such file or directory"));
    camera.write(WLAN_SCRIPT, READY);
    EXPECT_THAT(told_by("wifi control_dut wifi_on", OK), refused("Permission denied"));
    add_script(WLAN_SCRIPT, READY);
    camera.fault("sys_execve", "-1 errno ENOMEM");
    EXPECT_THAT(told_by("wifi control_dut wifi_on", OK), refused("Cannot allocate memory"));
}

TEST_F(Wifi, WithoutItsScriptTheRadioCannotBeOpened)
{
    radio("driver", "none");
    EXPECT_EQ(run("wifi control_dut open_dut"), NG);
    EXPECT_TRUE(camera.logged("Successfully loaded mfg device driver"));
    EXPECT_TRUE(camera.logged("rova_cmd_wifi_control_dut ERROR : [driver not loaded]"));
}

TEST_F(Wifi, ARadioThatCannotBeClosedKeepsItsDriver)
{
    add_script(WLAN_SCRIPT, LOADS);
    camera.fault("MRVL_RFT_CloseDUT", "9");
    EXPECT_EQ(run("wifi control_dut close_dut"), NG);
    EXPECT_EQ(run("wifi control_dut wifi_off"), NG);
    EXPECT_EQ(radio("driver"), "test\n");
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_F(Wifi, WithoutAProcessForTheScriptTheCommandFails)
{
    struct {
        const char *word, *failure, *name;
    } const rows[] = {
        {"open_dut", "Failed to load mfg device driver", "WLAN_SCRIPT_MFG_START"},
        {"close_dut", "Failed to remove mfg device driver", "WLAN_SCRIPT_MFG_STOP"},
        {"wifi_on", "Failed to load wireless device driver", "WLAN_SCRIPT_STA_START"},
        {"wifi_off", "Failed to remove wireless device driver", "WLAN_SCRIPT_STA_STOP"},
    };
    for (const auto &row : rows) {
        wrap_fail("fork", -1, EAGAIN);
        const std::vector<std::string> messages =
            told_by(std::string("wifi control_dut ") + row.word, NG);
        EXPECT_THAT(std::vector(messages.end() - 3, messages.end()),
                    ElementsAre("failed to fork (Resource temporarily unavailable)", row.failure,
                                std::string(row.name) + " ret=-5"));
    }
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
    EXPECT_THAT(steps(camera), ElementsAre("CloseDUT[]", "CloseDUT[]"));
}

TEST_F(Wifi, AScriptThatIsStoppedIsWaitedFor)
{
    add_script(WLAN_SCRIPT, "#!/bin/sh\ncd $ROVA_SYSROOT/tmp\necho $$ >pid\nkill -STOP $$\n"
                            "while [ ! -e go ]; do sleep 0.01; done\nexit 2\n");
    auto answer =
        std::async(std::launch::async, [this] { return run("wifi control_dut wifi_on"); });
    const std::string stopped = "stopped by signal " + std::to_string(SIGSTOP);
    ASSERT_TRUE(wait_for([&] { return camera.logged(stopped); }));
    ASSERT_EQ(kill(std::stoi(camera.read("/tmp/pid")), SIGCONT), 0);
    EXPECT_TRUE(wait_for([&] { return camera.logged("continued"); }));
    camera.write("/tmp/go", "");
    EXPECT_EQ(answer.get(), OK);
    EXPECT_TRUE(camera.logged("exited, rv=2"));
}

TEST_F(Wifi, AScriptWhoseEndIsNotToldWasStartedAllTheSame)
{
    add_script(WLAN_SCRIPT, READY);
    std::signal(SIGCHLD, SIG_IGN); // children vanish
    EXPECT_THAT(told_by("wifi control_dut wifi_on", OK),
                AllOf(Contains(AllOf(StartsWith("wait pid ("), EndsWith(") rv (-1)"))),
                      Contains("CONTROL_DUT_WIFI_ON")));
    std::signal(SIGCHLD, SIG_DFL);
}

TEST_F(Wifi, CommandsLeaveNoDescriptorOpen)
{
    add_script(WLAN_SCRIPT, LOADS);
    add_script(SCAN_SCRIPT, READY);
    camera.write(AP_LIST, "ESSID:one\n");
    run("wifi scan x");
    const std::size_t before = open_descriptors();
    for (int times = 0; times < 3; times++) {
        EXPECT_EQ(run("wifi control_dut wifi_on"), OK);
        EXPECT_EQ(run("wifi scan x"), OK);
        EXPECT_THAT(run("wifi set_country_channel_5g KR"), EndsWith(OK));
    }
    EXPECT_EQ(open_descriptors(), before);
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
    EXPECT_THAT(steps(camera), IsEmpty());
}

// ------------------------------------------------------------------------- networks

TEST_F(Wifi, JoinsNetworks)
{
    radio("access_points", "2.4 -50 line\n5 -60 line");
    EXPECT_THAT(told_by("wifi ap_access access_ssid line", OK),
                ElementsAre("AP_ACCESS_ACCESS_SSID: line", "JoinWithSSID ret=0"));
    EXPECT_THAT(told_by("wifi ap_access access_ssid_2g line", OK),
                ElementsAre("AP_ACCESS_ACCESS_SSID_2G", "JoinWithSSID2G ret=0"));
    EXPECT_THAT(told_by("wifi ap_access access_ssid_5g line", OK),
                ElementsAre("AP_ACCESS_ACCESS_SSID_5G", "JoinWithSSID5G ret=0"));
    EXPECT_THAT(steps(camera),
                ElementsAre("SetSSID[\"line\"]", "SetSSID_24G[\"line\"]", "SetSSID_5G[\"line\"]"));
    EXPECT_EQ(run("wifi ap_access access_ssid other"), NG);
    EXPECT_TRUE(camera.logged("rova_cmd_wifi_ap_access ERROR : [network not found]"));
    EXPECT_EQ(steps(camera).back(), "Wlan_Status_Check[5]");
}

class WifiScan : public Wifi
{
protected:
    // The line's script ran well, and this is what it wrote.
    void found(const std::string &list) const
    {
        add_script(SCAN_SCRIPT, READY);
        camera.write(AP_LIST, list);
    }

    std::size_t pauses() const
    {
        const std::vector<unsigned int> sleeps = wrap_sleeps();
        return static_cast<std::size_t>(std::count(sleeps.begin(), sleeps.end(), 200000U));
    }
    std::size_t lines_read() const
    {
        const std::vector<unsigned int> sleeps = wrap_sleeps();
        return static_cast<std::size_t>(std::count(sleeps.begin(), sleeps.end(), 10000U));
    }
};

TEST_F(WifiScan, WithoutAnyParameterIsRefused)
{
    cmd_data record = record_of("wifi scan");
    record.p_count = 0;
    EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NG);
    EXPECT_THAT(new_messages(), IsEmpty());
}

TEST_F(WifiScan, ShowsThreeOfFourAccessPointsAndReadsNoFurther)
{
    found("wlan0 Scan completed :\nESSID:one\nESSID:two\nnoise\nESSID:three\nESSID:four\n"
          "ESSID:five\n");
    EXPECT_THAT(told_by("wifi scan x", OK),
                ElementsAre("exited, rv=0", "Successfully excueted iwlist", "WiFi SCAN : 4 APs"));
    EXPECT_THAT(osd(), ElementsAre("factory_osd_text_set[2,\"WiFi SCAN : 4 APs\"]",
                                   "factory_osd_text_set[3,\"ESSID:one\"]",
                                   "factory_osd_text_set[4,\"ESSID:two\"]",
                                   "factory_osd_text_set[5,\"ESSID:three\"]"));
    EXPECT_EQ(lines_read(), 6U);
    EXPECT_EQ(pauses(), 0U);
    EXPECT_THAT(camera.call_texts(),
                Contains("sys_execve(\"/mnt/mmc/scan.sh\", [\"/mnt/mmc/scan.sh\"])"));
}

TEST_F(WifiScan, ShowsASingleAccessPoint)
{
    found("  ESSID:one");
    EXPECT_EQ(run("wifi scan"), OK);
    EXPECT_THAT(osd(), ElementsAre("factory_osd_text_set[2,\"WiFi SCAN : 1 APs\"]",
                                   "factory_osd_text_set[3,\"  ESSID:one\"]"));
}

TEST_F(WifiScan, CutsLongLines)
{
    const std::string essid = "ESSID:" + std::string(122, 'x');
    found(essid + "yyy\n");
    EXPECT_EQ(run("wifi scan x"), OK);
    EXPECT_EQ(osd().back(), "factory_osd_text_set[3,\"" + essid + "\"]");
}

TEST_F(WifiScan, ReadsALongerLineInPieces)
{
    found(std::string(1024, 'x') + "ESSID:tail\n" + std::string(1019, 'y') + "ESSID:cut\n");
    EXPECT_EQ(run("wifi scan x"), OK);
    EXPECT_THAT(osd(), ElementsAre("factory_osd_text_set[2,\"WiFi SCAN : 2 APs\"]",
                                   "factory_osd_text_set[3,\"ESSID:tail\"]",
                                   "factory_osd_text_set[4,\"" + std::string(128, 'y') + "\"]"));
}

TEST_F(WifiScan, TriesFiveTimesToFindAny)
{
    found("wlan0 No scan results\n");
    EXPECT_EQ(run("wifi scan x"), NG);
    for (const char *retry : {"4", "3", "2", "1", "0"})
        EXPECT_EQ(times_logged(std::string("WiFi SCAN : AP NOT FOUND(retry:") + retry + ")"), 1U);
    EXPECT_THAT(osd(), ElementsAreArray(std::vector<std::string>(
                           5, "factory_osd_text_set[2,\"WiFi SCAN : AP NOT FOUND.. retry\"]")));
    EXPECT_EQ(pauses(), 5U);
    EXPECT_FALSE(camera.logged("INVALID ap.list"));
}

TEST_F(WifiScan, AnEmptyListHoldsNone)
{
    found("");
    EXPECT_EQ(run("wifi scan x"), NG);
    EXPECT_EQ(lines_read(), 0U);
}

TEST_F(WifiScan, ElevenLinesWithoutAnyAreInvalid)
{
    std::string noise;
    for (int line = 0; line < 10; line++)
        noise += "noise\n";
    found(noise + "ESSID:eleventh\n");
    EXPECT_EQ(run("wifi scan x"), OK);
    EXPECT_FALSE(camera.logged("INVALID ap.list"));

    found(noise + "noise\nESSID:twelfth\n");
    EXPECT_EQ(run("wifi scan x"), NG);
    EXPECT_EQ(times_logged("INVALID ap.list"), 5U);
    EXPECT_EQ(times_logged("WiFi SCAN : AP NOT FOUND(retry:0)"), 1U);
    EXPECT_EQ(lines_read(), 11U + 5 * 11U);
    EXPECT_THAT(osd(), Contains("factory_osd_text_set[2,\"INVALID ap.list\"]").Times(5));
}

TEST_F(WifiScan, NoiseBehindAnAccessPointIsRead)
{
    std::string noise;
    for (int line = 0; line < 40; line++)
        noise += "noise\n";
    found("ESSID:one\n" + noise + "ESSID:two\n");
    EXPECT_EQ(run("wifi scan x"), OK);
    EXPECT_TRUE(camera.logged("WiFi SCAN : 2 APs"));
}

TEST_F(WifiScan, FindsThemAtALaterAttempt)
{
    found("");
    add_script(SCAN_SCRIPT, "#!/bin/sh\ncd $ROVA_SYSROOT\necho x >>tmp/n\n"
                            "[ $(wc -l <tmp/n) -lt 3 ] || echo ESSID:late >sdcard/ap.list\n");
    EXPECT_EQ(run("wifi scan x"), OK);
    EXPECT_TRUE(camera.logged("WiFi SCAN : AP NOT FOUND(retry:3)"));
    EXPECT_FALSE(camera.logged("WiFi SCAN : AP NOT FOUND(retry:2)"));
    EXPECT_EQ(osd().back(), "factory_osd_text_set[3,\"ESSID:late\"]");
    EXPECT_EQ(pauses(), 2U);
}

// Only an attempt that found no access point spoils the result.
TEST_F(WifiScan, FiveAttemptsWithoutAProcessAreOk)
{
    found("ESSID:one\n");
    wrap_fail("fork", -1, EAGAIN, 1, true);
    EXPECT_THAT(told_by("wifi scan x", OK), Contains("Failed to excute iwlist").Times(5));
    EXPECT_THAT(osd(), ElementsAreArray(std::vector<std::string>(
                           5, "factory_osd_text_set[2,\"WiFi SCAN FAILED\"]")));
    EXPECT_EQ(pauses(), 5U);
}

TEST_F(WifiScan, FiveAttemptsWithoutAListAreOk)
{
    EXPECT_EQ(run("wifi scan x"), OK) << "there is no script";
    EXPECT_EQ(times_logged("Fail to execute command (No such file or directory)"), 5U);
    EXPECT_EQ(times_logged("Failed to open ap.list"), 5U);
    EXPECT_THAT(osd(), ElementsAreArray(std::vector<std::string>(
                           5, "factory_osd_text_set[2,\"OPEN AP.LIST FAILED\"]")));
    EXPECT_EQ(pauses(), 5U);
    camera.write(SCAN_SCRIPT, READY);
    EXPECT_EQ(run("wifi scan x"), OK);
    EXPECT_EQ(times_logged("Fail to execute command (Permission denied)"), 5U);
}

TEST_F(WifiScan, OneAttemptThatFoundNoneSpoilsTheResult)
{
    found("");
    add_script(SCAN_SCRIPT, "#!/bin/sh\ncd $ROVA_SYSROOT\n[ -e tmp/ran ] && rm -f sdcard/ap.list\n"
                            "echo >tmp/ran\n");
    EXPECT_EQ(run("wifi scan x"), NG);
    EXPECT_EQ(times_logged("WiFi SCAN : AP NOT FOUND"), 1U);
    EXPECT_EQ(times_logged("Failed to open ap.list"), 4U);
}

TEST_F(WifiScan, TheScriptsEndDoesNotCountButItsList)
{
    for (const char *end : {"exit 1\n", "kill -9 $$\n"}) {
        found("ESSID:one\n");
        add_script(SCAN_SCRIPT, std::string(READY) + end);
        EXPECT_EQ(run("wifi scan x"), OK) << end;
    }
    EXPECT_TRUE(camera.logged("exited, rv=1"));
    EXPECT_TRUE(camera.logged("killed by signal 9"));
}

TEST_F(WifiScan, EndsSoonWhenTheDaemonIsAskedToStop)
{
    found("ESSID:one\nESSID:two\n");
    virt::set_int("memory/rova/stop_cmd", 1);
    EXPECT_EQ(run("wifi scan x"), NG);
    EXPECT_EQ(lines_read(), 0U);
}

// ------------------------------------------------------------------------- address

TEST_F(Wifi, AddrSetWritesItemAndFile)
{
    EXPECT_THAT(run("wifi addr_set 0123456789AB"), EndsWith(OK));
    EXPECT_EQ(camera.read(MAC_FILE), "01:23:45:67:89:AB");
    EXPECT_EQ(std::string(static_cast<const char *>(rova_get_adjdata(ADJ_ID_WIFI_MAC_ADDR)), 12),
              "0123456789AB");
    EXPECT_EQ(camera.calls("pref_save").size(), 1U);
    for (const char *message :
         {"rova_cmd_wifi_addr_set : mac address [0123456789AB]", "mac_address [01:23:45:67:89:AB]",
          "SET WiFi MAC: OK[0123456789AB]"})
        EXPECT_TRUE(camera.logged(message)) << message;
    EXPECT_THAT(osd(), ElementsAre("factory_osd_text_set[2,\"SET WiFi MAC: OK[0123456789AB]\"]"));
}

TEST_F(Wifi, AddrSetTakesAnyTwelveCharacters)
{
    EXPECT_THAT(run("wifi addr_set zz-not-hex!!"), EndsWith(OK));
    EXPECT_EQ(camera.read(MAC_FILE), "zz:-n:ot:-h:ex:!!");
}

TEST_F(Wifi, AddrSetChecksItsWord)
{
    EXPECT_EQ(run("wifi addr_set"), NG);
    EXPECT_EQ(run("wifi addr_set 0123456789A"), NG);
    EXPECT_EQ(run("wifi addr_set 01:23:45:67:89:AB"), NG);
    EXPECT_TRUE(camera.logged("SET WiFi MAC: ERROR1[0123456789A]"));
    EXPECT_FALSE(camera.logged("ERROR0"));
    EXPECT_THAT(osd(),
                ElementsAre("factory_osd_text_set[2,\"SET WiFi MAC: ERROR0[no param]\"]",
                            "factory_osd_text_set[2,\"SET WiFi MAC: ERROR1[0123456789A]\"]",
                            "factory_osd_text_set[2,\"SET WiFi MAC: ERROR1[01:23:45:67:89:AB]\"]"));
    EXPECT_FALSE(camera.exists(MAC_FILE));
    EXPECT_THAT(camera.calls("pref_save"), IsEmpty());
}

TEST_F(Wifi, AddrSetThatCannotSaveWritesNoFile)
{
    camera.fault("pref_save", "-1");
    EXPECT_THAT(run("wifi addr_set 0123456789AB"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("SET WiFi MAC: ERROR3[0123456789AB]"));
    EXPECT_EQ(osd().back(), "factory_osd_text_set[2,\"SET WiFi MAC: ERROR3[0123456789AB]\"]");
    EXPECT_FALSE(camera.exists(MAC_FILE));
}

TEST_F(Wifi, AddrSetWithoutItsFileIsRefused)
{
    camera.fault("sys_fopen", "0 errno EACCES on .mac.info");
    EXPECT_THAT(run("wifi addr_set 0123456789AB"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("file open failed"));
    EXPECT_TRUE(camera.logged("SET WiFi MAC: ERROR2[0123456789AB]"));
    EXPECT_EQ(osd().back(), "factory_osd_text_set[2,\"SET WiFi MAC: ERROR2[0123456789AB]\"]");
    EXPECT_FALSE(camera.logged("mac_address ["));
}

TEST_F(Wifi, FilesOnAFullDiskAreRefused)
{
    for (const char *path : {MAC_FILE, REGION_FILE})
        std::filesystem::create_symlink("/dev/full", camera.path(path));
    EXPECT_THAT(run("wifi addr_set 0123456789AB"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("failed to write /opt/etc/.mac.info (No space left on device)"));
    EXPECT_TRUE(camera.logged("SET WiFi MAC: ERROR2[0123456789AB]"));
    EXPECT_THAT(run("wifi set_country_channel_5g KR"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("SET C.CH 5GHz: ERROR2[KR]"));
}

TEST_F(Wifi, AddrGetTellsTheAddress)
{
    run("wifi addr_set 0123456789AB");
    new_messages();
    EXPECT_THAT(run("wifi addr_get"), EndsWith(OK));
    EXPECT_THAT(new_messages(), AllOf(Contains("WiFi MAC in NAND [12]= 0123456789AB"),
                                      Contains("GET WiFi MAC: OK[12]= 01:23:45:67:89:AB")));
    EXPECT_EQ(osd().back(), "factory_osd_text_set[2,\"GET WiFi MAC: OK[01:23:45:67:89:AB]\"]");
    EXPECT_THAT(lines_of(camera.read("/sdcard/wifi_addr.csv")),
                ElementsAre("Index,CIS S/N,WiFi address\r", EndsWith(",0123456789AB\r")));
}

TEST_F(Wifi, AddrGetSendsItsFileToThePc)
{
    camera.write("/sdcard/info.tgw", "");
    run("wifi addr_set 0123456789AB");
    EXPECT_THAT(run("wifi addr_get", ROVA_CMD_PTP),
                EndsWith("resp : OK <ptp> 0x10000002, 0x00000000, 0x00010000 \n"));
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "/tmp/wifi_addr.csv");
    EXPECT_THAT(camera.read("/tmp/wifi_addr.csv"), HasSubstr(",0123456789AB\r\n"));
}

TEST_F(Wifi, AddrGetOfAnAddressNeverSetIsRefused)
{
    EXPECT_THAT(run("wifi addr_get"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("WiFi MAC in NAND [0]= "));
    EXPECT_TRUE(camera.logged("GET WiFi MAC: ERROR"));
    EXPECT_THAT(osd(), ElementsAre("factory_osd_text_set[2,\"GET WiFi MAC: ERROR[]\"]"));
    EXPECT_EQ(camera.read("/sdcard/wifi_addr.csv"), "Index,CIS S/N,WiFi address\r\n");
}

TEST_F(Wifi, AddrGetNeedsAParameterButNoCard)
{
    run("wifi addr_set 0123456789AB");
    camera.remove("/sdcard");
    EXPECT_THAT(run("wifi addr_get"), EndsWith(OK));
    cmd_data record = record_of("wifi addr_get");
    record.p_count = 0;
    EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NG);
}

// ------------------------------------------------------------------------- country

struct Code {
    const char *word;
    uint64_t item;
    uint64_t offset;
};

class WifiCode : public Wifi, public testing::WithParamInterface<Code>
{
protected:
    std::string stored() const
    {
        return std::string(static_cast<const char *>(rova_get_adjdata(GetParam().item)), 2);
    }
    std::string line(const std::string &rest) const
    {
        return std::string("wifi ") + GetParam().word + rest;
    }
};

TEST_P(WifiCode, IsStoredAndSaved)
{
    EXPECT_EQ(GetParam().item, 0x8560000000000000 + GetParam().offset);
    EXPECT_THAT(run(line(" USA")), EndsWith(OK));
    EXPECT_EQ(stored(), "US") << "two characters";
    EXPECT_TRUE(camera.logged(std::string("rova_cmd_wifi_") + GetParam().word + " : OK [USA]"));
    EXPECT_EQ(camera.calls("pref_save").size(), 1U);
    EXPECT_THAT(osd(), IsEmpty());
}

TEST_P(WifiCode, MissingOneIsRefused)
{
    EXPECT_EQ(run(line("")), NG);
    EXPECT_THAT(new_messages(), IsEmpty());
    EXPECT_THAT(camera.calls("pref_save"), IsEmpty());
}

TEST_P(WifiCode, ThatCannotBeSavedIsRefused)
{
    camera.fault("pref_save", "-1");
    EXPECT_THAT(run(line(" KR")), EndsWith(NG));
    EXPECT_FALSE(camera.logged(" : OK ["));
}

INSTANTIATE_TEST_SUITE_P(Items, WifiCode,
                         testing::Values(Code{"set_country", ADJ_ID_WIFI_COUNTRY_CODE, 125},
                                         Code{"set_sns_gateway", ADJ_ID_WIFI_SNS_GATEWAY, 123},
                                         Code{"set_country_channel", ADJ_ID_WIFI_COUNTRY_CH, 129}));

TEST_F(Wifi, CountryChannel5gWritesItemAndFile)
{
    static_assert(ADJ_ID_WIFI_COUNTRY_CODE_5G == 0x8560000000000000 + 127);
    static_assert(ADJ_ID_WIFI_MAC_ADDR == 0x8560000000000000 + 0x5e);
    for (const char *code : {"KR", "AZ", "ZA", "00"}) {
        EXPECT_THAT(run(std::string("wifi set_country_channel_5g ") + code), EndsWith(OK)) << code;
        EXPECT_EQ(camera.read(REGION_FILE), code);
        const auto *item = static_cast<const char *>(rova_get_adjdata(ADJ_ID_WIFI_COUNTRY_CODE_5G));
        EXPECT_EQ(std::string(item, 2), code);
    }
    for (const char *message : {"rova_cmd_wifi_set_country_channel_5g : SET Country.CH 5GHz: [KR]",
                                "country code [KR]", "SET C.CH 5GHz:  OK[KR]"})
        EXPECT_TRUE(camera.logged(message)) << message;
    EXPECT_EQ(osd().front(), "factory_osd_text_set[2,\"SET C.CH 5GHz:  OK[KR]\"]");
}

TEST_F(Wifi, CountryChannel5gChecksItsWord)
{
    const std::pair<const char *, const char *> words[] = {
        {"USA", "ERROR: wrong length"}, {"U", "ERROR: wrong length"}, {"us", "ERROR: wrong data"},
        {"Us", "ERROR: wrong data"},    {"uS", "ERROR: wrong data"},  {"U0", "ERROR: wrong data"},
        {"0U", "ERROR: wrong data"},    {"01", "ERROR: wrong data"},  {"@A", "ERROR: wrong data"},
        {"A[", "ERROR: wrong data"},
    };
    for (const auto &[word, error] : words) {
        EXPECT_EQ(run(std::string("wifi set_country_channel_5g ") + word), NG) << word;
        const std::string text = std::string("SET C.CH 5GHz: ") + error + "[" + word + "]";
        EXPECT_TRUE(camera.logged(text)) << word;
        EXPECT_EQ(osd().back(), "factory_osd_text_set[2,\"" + text + "\"]");
    }
    new_messages();
    EXPECT_EQ(run("wifi set_country_channel_5g"), NG);
    EXPECT_THAT(new_messages(), IsEmpty());
    EXPECT_EQ(osd().back(), "factory_osd_text_set[2,\"SET C.CH 5GHz: ERROR: no param\"]");
    EXPECT_FALSE(camera.exists(REGION_FILE));
    EXPECT_THAT(camera.calls("pref_save"), IsEmpty());
}

TEST_F(Wifi, CountryChannel5gThatCannotSaveWritesNoFile)
{
    camera.fault("pref_save", "-1");
    EXPECT_THAT(run("wifi set_country_channel_5g KR"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("SET C.CH 5GHz:  ERROR: failed[KR]"));
    EXPECT_EQ(osd().back(), "factory_osd_text_set[2,\"SET C.CH 5GHz:  ERROR: failed[KR]\"]");
    EXPECT_FALSE(camera.exists(REGION_FILE));
}

TEST_F(Wifi, CountryChannel5gWithoutItsFileIsRefused)
{
    camera.fault("sys_fopen", "0 errno EACCES on wl-regdom.conf");
    EXPECT_THAT(run("wifi set_country_channel_5g KR"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("file open failed"));
    EXPECT_TRUE(camera.logged("SET C.CH 5GHz: ERROR2[KR]"));
    EXPECT_EQ(osd().back(), "factory_osd_text_set[2,\"SET C.CH 5GHz: ERROR2[KR]\"]");
}
