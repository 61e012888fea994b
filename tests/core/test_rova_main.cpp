// The daemon's life as its platform sees it: the order of what it does at start and stop.
#include "core/rova_main.h"

#include "platform/vconf.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"
#include "tests/support/wrap.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr char START_CMD[] = "memory/rova/start_cmd";
constexpr char STOP_CMD[] = "memory/rova/stop_cmd";

class Daemon : public testing::Test
{
protected:
    Daemon()
    {
        unsetenv("DISPLAY");
        camera.speed(100);
    }
    ~Daemon() override { test::wrap_clear(); }

    // A daemon that has come up.
    void start(std::vector<std::string> options = {"--test"})
    {
        vconf_set_int(START_CMD, 1);
        options.insert(options.begin(), ROVAD);
        daemon.emplace(options, "", camera.path("/output").string());
        ASSERT_TRUE(test::wait_for([&] { return camera.key_int(START_CMD) == 0; }));
    }

    void stop_by_key()
    {
        vconf_set_int(STOP_CMD, 1);
        EXPECT_EQ(daemon->wait(), 0);
        EXPECT_EQ(camera.key_int(STOP_CMD), 0);
    }

    // rova_main in this process, which is a child of the test.
    [[noreturn]] static void run_main(const std::string &option)
    {
        std::string words[] = {"rovad", option};
        char *argv[] = {words[0].data(), words[1].data(), nullptr};
        _exit(rova_main(option.empty() ? 1 : 2, argv));
    }

    // The daemon's own calls, those of the threads beside the main one left out.
    std::vector<std::string> main_calls()
    {
        std::vector<std::string> texts = camera.call_texts();
        std::vector<std::string> kept;
        const auto all = camera.calls();
        for (std::size_t i = 0; i < all.size(); i++)
            if (all[i]["pid"] == daemon->pid() && all[i]["call"] != "sys_system")
                kept.push_back(texts[i]);
        return kept;
    }

    bool told(const std::string &text) const { return camera.logged(text); }

    test::Camera camera;
    std::optional<test::Process> daemon;
};

using Failure = Daemon;

} // namespace

TEST_F(Daemon, ComesUpAndGoesDownInItsOrder)
{
    start();
    stop_by_key();
    EXPECT_THAT(main_calls(),
                ElementsAre("utilx_set_hdmi_state(2)",
                            "vconf_set_int(\"memory/sysman/battery_skip_low_batt_power_off\", 1)",
                            "vconf_set_int(\"memory/rova/power_off\", 0)",
                            "vconf_set_int(\"memory/rova/stop_cmd\", 0)",
                            "vconf_notify_key_changed(\"memory/rova/stop_cmd\")",
                            "factory_osd_init()", "device_set_property(17, 7, 0)",
                            "vconf_set_str(\"memory/private/pmode\", \"init_\")",
                            "vconf_notify_key_changed(\"memory/private/pmode\")",
                            "vconf_set_int(\"memory/private/pmode_protocol1\", 0)",
                            "vconf_notify_key_changed(\"memory/private/pmode_protocol1\")",
                            "vconf_set_str(\"memory/rova/script_cmd\", \"init_\")",
                            "vconf_notify_key_changed(\"memory/rova/script_cmd\")",
                            "vconf_set_int(\"memory/rova/start_cmd\", 0)",
                            "vconf_ignore_key_changed(\"memory/rova/stop_cmd\")",
                            "vconf_ignore_key_changed(\"memory/private/pmode\")",
                            "vconf_ignore_key_changed(\"memory/private/pmode_protocol1\")",
                            "device_set_property(17, 7, 1)", "factory_osd_deinit()",
                            "vconf_set_int(\"memory/rova/stop_cmd\", 0)"));
    EXPECT_TRUE(told("rova_handle_stop_cb() started."));
    EXPECT_TRUE(told("rova_handle_stop_cb() done."));
}

TEST_F(Daemon, FramesItsLifeInTheFileLog)
{
    start();
    stop_by_key();
    EXPECT_THAT(
        camera.file_log(),
        testing::MatchesRegex(".* : ----------------- rovad starts \\(test\\) ----------------- \n"
                              ".* : ----------------- rovad end \\(test\\) ----------------- \n"));
    const std::string output = camera.read("/output");
    EXPECT_THAT(output, HasSubstr("Launched rovad daemon with test mode ... "));
    EXPECT_THAT(output, HasSubstr("program exited. "));
}

TEST_F(Daemon, TellsTheLifeTest)
{
    camera.write("/sdcard/info.tg", "alt.adj");
    camera.write("/sys/devices/platform/m7-keys/key_unmask_on_boot", "1");
    start({});
    stop_by_key();
    EXPECT_THAT(camera.read("/output"),
                HasSubstr("Launched rovad daemon with card mode [ALT]... "));
}

TEST_F(Daemon, FirstCommandHasNumberOne)
{
    start();
    vconf_set_str("memory/rova/script_cmd", "delay 1");
    ASSERT_TRUE(test::wait_for([&] { return told("1th cmd done [OK]"); }));
    EXPECT_THAT(camera.file_log(), HasSubstr(" : cmd[0001]: <script> delay 1\n"));
    stop_by_key();
}

TEST_F(Daemon, ValueBelowOneStopsNothing)
{
    start();
    vconf_set_int(STOP_CMD, 0);
    vconf_set_int(STOP_CMD, -4);
    ASSERT_TRUE(test::wait_for([&] { return told("key:value = memory/rova/stop_cmd: -4 "); }));
    EXPECT_TRUE(daemon->running());
    stop_by_key();
}

TEST_F(Daemon, StopKeyOfAnotherTypeIsReportedAndReadAsZero)
{
    start();
    vconf_set_str(STOP_CMD, "now");
    ASSERT_TRUE(test::wait_for([&] { return told("key:value = memory/rova/stop_cmd: 0 "); }));
    EXPECT_TRUE(told("VCONFKEY_ROVA_STOP_CMD type is not int"));
    EXPECT_TRUE(told("vconf_get_int(memory/rova/stop_cmd) failed (ret = -"));
    EXPECT_TRUE(daemon->running());
    stop_by_key();
}

TEST_F(Daemon, FailedIgnoreDoesNotKeepItFromStopping)
{
    start();
    camera.fault("vconf_ignore_key_changed", "-6 on stop_cmd");
    stop_by_key();
    EXPECT_TRUE(told("failed to vconf_ignore_key_changed(memory/rova/stop_cmd) (ret=-6)"));
}

TEST_F(Daemon, SignalStopsIt)
{
    start();
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->wait(), 0);
    EXPECT_EQ(camera.key_int(STOP_CMD), 0);
    EXPECT_EQ(camera.calls("vconf_ignore_key_changed").size(), 2u) << "the PC's keys only";
    EXPECT_TRUE(told("rova-server: thread terminated."));
    EXPECT_TRUE(told("program exited."));
}

TEST_F(Daemon, LinesBehindTheStopDoNotKeepItFromEnding)
{
    start();
    // While this one waits, all of the following come in at once.
    vconf_set_str("memory/rova/script_cmd", "delay 300");
    vconf_set_int(STOP_CMD, 1);
    for (int i = 0; i < 8; i++)
        vconf_set_str("memory/rova/script_cmd", "delay 1");
    EXPECT_EQ(daemon->wait(), 0);
    EXPECT_EQ(camera.key_int(STOP_CMD), 0);
}

TEST_F(Daemon, WithoutAMarkerItEndsWithOne)
{
    const test::Outcome outcome = test::run({ROVAD});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("--help' for more information. \n"));
    EXPECT_TRUE(camera.calls().empty());
}

TEST_F(Daemon, HelpEndsWithZeroAndTouchesNothing)
{
    const test::Outcome outcome = test::run({ROVAD, "--help"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.err, HasSubstr("Launch factory-mode daemon."));
    EXPECT_TRUE(camera.calls().empty());
}

TEST_F(Failure, StopKeyThatCannotBeWatchedEndsIt)
{
    camera.fault("vconf_notify_key_changed", "-9");
    EXPECT_EXIT(run_main("--test"), testing::ExitedWithCode(0),
                "vconf_notify_key_changed is failed. \\(ret = -9\\)");
    EXPECT_EQ(camera.key_int(STOP_CMD), 0);
    EXPECT_TRUE(camera.calls("factory_osd_init").empty());
}

TEST_F(Failure, QueueThatCannotBeMadeEndsIt)
{
    camera.fault("sys_msgget", "-1 at 1 errno ENOSPC");
    EXPECT_EXIT(run_main("--test"), testing::ExitedWithCode(0), "failed to init event framework");
    EXPECT_EQ(camera.key_int(STOP_CMD), 0);
    EXPECT_TRUE(camera.calls("factory_osd_init").empty());
    EXPECT_EQ(camera.file_log(), "");
}

TEST_F(Failure, ServerThatCannotRunLeavesTheStopKeySet)
{
    EXPECT_EXIT(
        {
            test::wrap_fail("pthread_create", EAGAIN, 0, 2); // the first is the display's
            run_main("--test");
        },
        testing::ExitedWithCode(0), "failed to run server thread");
    EXPECT_EQ(camera.key_int(STOP_CMD), 1);
    EXPECT_EQ(camera.key_int(START_CMD), std::nullopt);
    EXPECT_THAT(camera.file_log(), HasSubstr("rovad starts (test)"));
    EXPECT_THAT(camera.file_log(), Not(HasSubstr("rovad end")));
}

TEST_F(Failure, ClientThatCannotRunStopsTheServer)
{
    EXPECT_EXIT(
        {
            test::wrap_fail("pthread_create", EAGAIN, 0, 3);
            run_main("--card=/tmp/foo.adj");
        },
        testing::ExitedWithCode(0), "failed to run client thread");
    EXPECT_TRUE(told("rova-server: thread terminated."));
    EXPECT_EQ(camera.key_int(STOP_CMD), 1);
    EXPECT_EQ(camera.key_int(START_CMD), std::nullopt);
}

TEST_F(Failure, PlatformFaultsAtStartAreReportedAndDoNotKeepItDown)
{
    camera.fault("utilx_set_hdmi_state", "-1");
    camera.fault("device_set_property", "-7");
    camera.fault("factory_osd_init", "-1");
    start();
    stop_by_key();
    EXPECT_TRUE(told("utilx_set_hdmi_state(2) failed (ret = -1)"));
    EXPECT_TRUE(told("device_set_property(17, 7, 0) failed (ret = -7)"));
}
