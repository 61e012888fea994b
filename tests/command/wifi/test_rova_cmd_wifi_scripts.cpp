#include "platform/virtual/keys.h"
#include "tests/command/wifi/wifi_test.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <future>

using namespace test;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace
{

constexpr char WLAN_SCRIPT[] = "/usr/bin/wlan.sh";
constexpr char SCAN_SCRIPT[] = "/sdcard/scan.sh";
constexpr char AP_LIST[] = "/sdcard/ap.list";

// A driver's script as it is meant to be.
constexpr char LOADS[] = R"(#!/bin/sh
radio=$ROVA_SYSROOT/virtual/radio/wifi
case $1 in rftest) echo test ;; start) echo station ;; stop) echo none ;; esac >$radio/driver
echo 0 >$radio/dut
)";

} // namespace

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

// The daemon blocks its ending signals in all threads.
TEST_F(Wifi, AScriptCanBeEndedByASignalThatTheDaemonBlocks)
{
    sigset_t ending, before;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &ending, &before), 0);
    add_script(WLAN_SCRIPT, std::string(READY) + "kill -TERM $$\n");
    EXPECT_THAT(told_by("wifi control_dut wifi_on", OK), Contains("killed by signal 15"));
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST_F(Wifi, ASignalToTheDaemonDoesNotEndTheWaitForAScript)
{
    struct sigaction counts = {};
    struct sigaction before = {};
    static std::atomic<int> signals;
    counts.sa_handler = [](int) { signals++; };
    ASSERT_EQ(sigaction(SIGUSR1, &counts, &before), 0);
    add_script(WLAN_SCRIPT,
               std::string(READY) + "for n in 1 2 3 4 5; do kill -USR1 $PPID; sleep 0.01; done\n");
    EXPECT_THAT(told_by("wifi control_dut wifi_on", OK), Contains("exited, rv=0"));
    EXPECT_GT(signals, 0);
    sigaction(SIGUSR1, &before, nullptr);
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
    EXPECT_THAT(steps(), ElementsAre("CloseDUT[]", "CloseDUT[]"));
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

// ------------------------------------------------------------------------- scan

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

TEST_F(WifiScan, TriesNoMoreWhenTheDaemonIsAskedToStop)
{
    found("ESSID:one\nESSID:two\n");
    add_script(SCAN_SCRIPT, "#!/bin/sh\necho x >>$ROVA_SYSROOT/tmp/runs\n");
    virt::set_int("memory/rova/stop_cmd", 1);
    EXPECT_EQ(run("wifi scan x"), NG);
    EXPECT_EQ(lines_read(), 0U);
    camera.remove(AP_LIST);
    EXPECT_EQ(run("wifi scan x"), OK) << "no attempt has found none";
    EXPECT_EQ(camera.read("/tmp/runs"), "x\nx\n") << "one attempt each";
    EXPECT_EQ(pauses(), 0U);
}
