#include "core/rova_server.h"

#include "command/rova_cmd_handler.h"
#include "common/rova_log.h"
#include "common/rova_util.h"
#include "core/rova_event.h"
#include "core/rova_parser.h"
#include "core/rova_ptp.h"
#include "platform/vconf.h"
#include "tests/support/camera.h"
#include "tests/support/wrap.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <regex>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

constexpr char UNMASK_FILE[] = "/sys/devices/platform/m7-keys/key_unmask_on_boot";
constexpr char TIMER_FILE[] = "/sys/devices/platform/movra7_wdt/timer";

class Server : public testing::Test
{
protected:
    Server()
    {
        unsetenv("DISPLAY");
        rova_cmd_resp(ROVA_CMD_CARD, 0, nullptr); // whatever ran before has succeeded
        rova_log_set_enable(1);
        EXPECT_EQ(rova_event_init(&data.ipc, ROVA_IPC_MQ, 3), 1);
        data.option = &option;
    }

    ~Server() override
    {
        test::wrap_clear();
        rova_log_set_enable(0);
        rova_set_alt_mode("");
        rova_deinit_server(&data);
        rova_event_deinit(&data.ipc);
    }

    void send(std::string line, uint32_t type = ROVA_CMD_CARD)
    {
        cmd_data record = {};
        ASSERT_EQ(rova_parse_cmd_data(line.data(), 1, &record), 0);
        ASSERT_EQ(rova_event_send(data.ipc, type, &record, sizeof(record)), 0);
    }

    void send_predef(const char *word)
    {
        cmd_data record = {};
        std::strcpy(record.cmd, word);
        record.e[0] = 77;
        ASSERT_EQ(rova_event_send(data.ipc, ROVA_CMD_PTP2, &record, sizeof(record)), 0);
    }

    // Runs the thread until everything sent has been dealt with.
    void start() { ASSERT_EQ(rova_init_server(&data), 1); }
    void finish() { ASSERT_EQ(rova_deinit_server(&data), 1); }

    // "received", "skipped", "done OK" ... of each command, in order.
    std::vector<std::string> course() const
    {
        static const std::regex line("rova-server: (\\d+)th cmd (\\w+) \\[(\\w+)\\] -");
        const std::string log = camera.platform_log();
        std::vector<std::string> steps;
        for (std::sregex_iterator it(log.begin(), log.end(), line), end; it != end; ++it)
            steps.push_back((*it)[2].str() + " " + (*it)[3].str());
        return steps;
    }

    // The commands that ran, as the file log has them.
    std::vector<std::string> commands() const
    {
        static const std::regex line("cmd\\[\\d{4}\\]: (.*)\n");
        const std::string log = camera.file_log();
        std::vector<std::string> texts;
        for (std::sregex_iterator it(log.begin(), log.end(), line), end; it != end; ++it)
            texts.push_back((*it)[1].str());
        return texts;
    }

    int property_resets() const
    {
        const auto calls = camera.call_texts();
        return static_cast<int>(
            std::count(calls.begin(), calls.end(), "device_set_property(4, 21, 0)"));
    }

    test::Camera camera;
    rova_option option = {};
    rova_main_data data = {};
};

using Skip = Server;
using KeptRecord = Server;
using PowerPending = Server;
using LifeTest = Server;

} // namespace

TEST_F(Server, RunsCommandsInOrderAndNumbersThem)
{
    start();
    send("delay 1");
    send("control osd off", ROVA_CMD_SCRIPT);
    finish();
    EXPECT_THAT(course(), ElementsAre("recieved card", "done OK", "recieved script", "done OK"));
    EXPECT_THAT(commands(), ElementsAre("<card> delay 1", "<script> control osd off"));
    const std::regex numbers("(\\d+)th cmd done[^]*?(\\d+)th cmd done");
    const std::string log = camera.platform_log();
    std::smatch match;
    ASSERT_TRUE(std::regex_search(log, match, numbers));
    EXPECT_EQ(std::stoi(match[1]) + 1, std::stoi(match[2]));
}

TEST_F(Server, WritesTheCommandWithAStampAndItsNumber)
{
    start();
    send("delay 1");
    finish();
    EXPECT_TRUE(std::regex_search(
        camera.file_log(),
        std::regex("^\\d{8} \\d\\d:\\d\\d:\\d\\d : cmd\\[\\d{4}\\]: <card> delay 1\n")))
        << camera.file_log();
}

TEST_F(Server, EndsAtTheStopPacketBehindEverythingSent)
{
    start();
    for (int i = 0; i < 5; i++)
        send("delay 1");
    finish();
    EXPECT_EQ(course().size(), 10u);
    EXPECT_EQ(data.server_thread, 0u);
    EXPECT_TRUE(camera.logged("ROVA_CTRL_STOP_PACKET is received"));
    EXPECT_TRUE(camera.logged("rova-server: thread exited"));
    EXPECT_TRUE(camera.logged("rova-server: thread terminated."));
}

TEST_F(Server, DeinitWithoutAThreadDoesNothing)
{
    EXPECT_EQ(rova_deinit_server(&data), 1);
    EXPECT_FALSE(camera.logged("rova-server"));
}

TEST_F(Server, NullArgumentIsRefused)
{
    EXPECT_EQ(rova_init_server(nullptr), 0);
    EXPECT_TRUE(camera.logged("pdata is NULL"));
    EXPECT_EQ(rova_deinit_server(nullptr), 0);
}

TEST_F(Server, WithoutAQueueTheThreadEnds)
{
    rova_main_data no_queue = {&option, nullptr, 0, 0};
    ASSERT_EQ(rova_init_server(&no_queue), 1);
    ASSERT_TRUE(test::wait_for([&] { return camera.logged("rova-server: thread exited"); }));
    EXPECT_TRUE(camera.logged("ipc is NULL"));
    EXPECT_EQ(rova_deinit_server(&no_queue), 1);
    EXPECT_TRUE(camera.logged("failed to send end packet"));
}

TEST_F(Server, FailedThreadCreationIsReported)
{
    test::wrap_fail("pthread_create", EAGAIN);
    EXPECT_EQ(rova_init_server(&data), 0);
    EXPECT_TRUE(camera.logged("rova_thread_create failed"));
    EXPECT_EQ(data.server_thread, 0u);
}

TEST_F(Server, FailedReceiveEndsTheThread)
{
    test::wrap_fail("msgrcv", -1, EIDRM);
    start();
    ASSERT_TRUE(test::wait_for([&] { return camera.logged("rova-server: thread exited"); }));
    EXPECT_TRUE(camera.logged("ipc_receive failed"));
    finish();
    // Nobody has taken the stop packet.
    uint32_t type = 0;
    uint32_t size = 0;
    void *buffer = nullptr;
    ASSERT_EQ(rova_event_receive(data.ipc, &type, &buffer, &size), 0);
    EXPECT_EQ(type, ROVA_CTRL_STOP_PACKET);
    EXPECT_EQ(size, 500u);
    g_free(buffer);
}

TEST_F(Server, ThreadIsNamed)
{
    start();
    EXPECT_TRUE(test::wait_for([&] {
        char name[16] = {};
        return pthread_getname_np(data.server_thread, name, sizeof(name)) == 0 &&
               std::string(name) == "ROVA Server";
    }));
    finish();
}

TEST_F(Server, FailedJoinIsReported)
{
    start();
    test::wrap_fail("pthread_join", EINVAL);
    const pthread_t thread = data.server_thread;
    finish();
    EXPECT_TRUE(camera.logged("failed to join server thread"));
    EXPECT_EQ(data.server_thread, 0u);
    pthread_join(thread, nullptr);
}

TEST_F(Server, ThreadEndsWithItsName)
{
    start();
    const pthread_t thread = data.server_thread;
    cmd_data stop = {};
    ASSERT_EQ(rova_event_send(data.ipc, ROVA_CTRL_STOP_PACKET, &stop, sizeof(stop)), 0);
    void *result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_STREQ(static_cast<const char *>(result), "rova_server_thread");
    data.server_thread = 0;
}

TEST_F(Skip, FailureSkipsLaterScriptLines)
{
    start();
    send("gpio x");
    send("delay 1");
    send("delay 1", ROVA_CMD_SCRIPT);
    finish();
    EXPECT_THAT(course(),
                ElementsAre("recieved card", "done NG", "skipped card", "skipped script"));
    EXPECT_THAT(commands(), ElementsAre("<card> gpio x"));
}

TEST_F(Skip, PcCommandRunsAfterAFailureAndItsSuccessLetsTheScriptGoOn)
{
    start();
    send("nonsense x");
    send("delay 1");
    send("delay 1", ROVA_CMD_PTP);
    send("delay 2");
    finish();
    EXPECT_THAT(course(), ElementsAre("recieved card", "done NG", "skipped card", "recieved ptp",
                                      "done OK", "recieved card", "done OK"));
}

TEST_F(Skip, OnlyTheResultOneSkips)
{
    rova_cmd_resp(ROVA_CMD_CARD, 2, nullptr);
    start();
    send("delay 1");
    finish();
    EXPECT_THAT(course(), ElementsAre("recieved card", "done OK"));
}

TEST_F(Skip, StopKeySkipsEveryType)
{
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    start();
    send("delay 1");
    send("delay 1", ROVA_CMD_PTP);
    send_predef("rtc2");
    finish();
    EXPECT_THAT(course(), ElementsAre("skipped card", "skipped ptp", "skipped ptp2"));
    EXPECT_EQ(camera.key_int("memory/private/pmode_Param1"), std::nullopt);
}

TEST_F(KeptRecord, PredefinedCommandTakesTheParametersOfTheLineBefore)
{
    start();
    send("nonsense a b c", ROVA_CMD_PTP);
    send_predef("paf2");
    send_predef("paf2");
    finish();
    EXPECT_THAT(commands(), ElementsAre("<ptp> nonsense a b c", "<ptp2> paf2 a b c | 77 0 0 0",
                                        "<ptp2> paf2 a b c | 77 0 0 0"));
}

TEST_F(KeptRecord, PredefinedCommandAloneHasNoParameters)
{
    start();
    send_predef("paf2");
    finish();
    EXPECT_THAT(commands(), ElementsAre("<ptp2> paf2 | 77 0 0 0"));
}

TEST_F(KeptRecord, CardCommandInBetweenDiscardsIt)
{
    start();
    send("delay 1", ROVA_CMD_PTP);
    send("delay 2");
    send_predef("paf2");
    finish();
    EXPECT_THAT(commands(),
                ElementsAre("<ptp> delay 1", "<card> delay 2", "<ptp2> paf2 | 77 0 0 0"));
}

TEST_F(KeptRecord, SkippedCommandInBetweenDiscardsIt)
{
    start();
    send("nonsense a", ROVA_CMD_PTP);
    send("delay 2");
    send_predef("paf2");
    finish();
    EXPECT_THAT(commands(), ElementsAre("<ptp> nonsense a", "<ptp2> paf2 | 77 0 0 0"));
}

TEST_F(PowerPending, PowerOffBeforeTheStopResetsTheProperty)
{
    for (const char *line : {"power off", "power reboot"}) {
        camera.write("/virtual/calls.jsonl", "");
        ASSERT_EQ(rova_event_deinit(&data.ipc), 1);
        ASSERT_EQ(rova_event_init(&data.ipc, ROVA_IPC_MQ, 3), 1);
        start();
        send(line, ROVA_CMD_PTP);
        finish();
        EXPECT_EQ(property_resets(), 1) << line;
    }
}

TEST_F(PowerPending, OtherWordsAndLaterCommandsClearIt)
{
    start();
    send("power off", ROVA_CMD_PTP);
    send("power foo", ROVA_CMD_PTP);
    finish();
    EXPECT_EQ(property_resets(), 0);
}

TEST_F(PowerPending, ComparisonIsExact)
{
    start();
    send("nonsense off", ROVA_CMD_PTP);
    send("power OFFF", ROVA_CMD_PTP);
    finish();
    EXPECT_EQ(property_resets(), 0);
}

TEST_F(PowerPending, ShipmentCommandRulesItOutForTheLifeOfTheDaemon)
{
    EXPECT_EXIT(
        {
            start();
            send("shipment_country foo", ROVA_CMD_PTP);
            send("delay 1", ROVA_CMD_PTP);
            send("power off", ROVA_CMD_PTP);
            finish();
            _exit(0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(course().size(), 6u);
    EXPECT_EQ(property_resets(), 0);
}

TEST_F(Server, PtpModeActivatesTheResponderWatch)
{
    option.ptp = 1;
    start();
    finish();
    EXPECT_THAT(
        camera.call_texts(),
        testing::IsSupersetOf({"vconf_set_str(\"memory/rova/ptp_activation\", \"\")",
                               "vconf_notify_key_changed(\"memory/rova/ptp_activation\")",
                               "vconf_set_str(\"memory/rova/ptp_activation\", \"start\")"}));
}

TEST_F(Server, TestModeDoesNotActivate)
{
    option.test = 1;
    start();
    finish();
    EXPECT_EQ(camera.key_string(ROVA_KEY_PTP_ACTIVATION), std::nullopt);
}

TEST_F(LifeTest, StartsOnABootThatLeftTheKeysUnmasked)
{
    camera.write(UNMASK_FILE, "1\n");
    rova_set_alt_mode("/sdcard/alt.adj");
    start();
    finish();
    EXPECT_THAT(camera.file_log(), testing::HasSubstr("ALT test... \n"));
    EXPECT_TRUE(camera.logged("rova_check_alt_boot_status"));
    EXPECT_TRUE(camera.logged("ALT: set wdt to 60 sec"));
    EXPECT_FALSE(camera.exists(TIMER_FILE)) << "announced only";
    EXPECT_FALSE(camera.logged("reboot it"));
}

TEST_F(LifeTest, MaskedKeysRestartTheCamera)
{
    camera.write(UNMASK_FILE, "0\n");
    EXPECT_EXIT(
        {
            rova_set_alt_mode("/sdcard/alt.adj");
            start();
            _exit(test::wait_for([&] { return !camera.calls("sys_system").empty(); }) ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_TRUE(camera.logged("ALT: key is not unmasked, reboot it."));
    EXPECT_THAT(camera.call_texts(), Contains("sys_system(\"sync; poweroff -f\")"));
}

TEST_F(LifeTest, WatchdogIsSetBeforeEveryCommandAndOffDuringADelay)
{
    camera.write(UNMASK_FILE, "1\n");
    camera.write(TIMER_FILE, "");
    camera.write("/sys/devices/platform/movra7_wdt/boot_shutdown", "");
    rova_set_alt_mode("/sdcard/alt.adj");
    start();
    send("control osd off");
    finish();
    EXPECT_EQ(camera.read(TIMER_FILE).substr(0, 2), "60");
    EXPECT_EQ(camera.read("/sys/devices/platform/movra7_wdt/boot_shutdown").substr(0, 1), "0");

    camera.write(TIMER_FILE, "");
    ASSERT_EQ(rova_event_deinit(&data.ipc), 1);
    ASSERT_EQ(rova_event_init(&data.ipc, ROVA_IPC_MQ, 3), 1);
    start();
    send("delay 1");
    finish();
    EXPECT_EQ(camera.read(TIMER_FILE).substr(0, 1), "0");
}

TEST_F(LifeTest, FailedCommandSwitchesOffAtTheNextScriptLine)
{
    camera.write(UNMASK_FILE, "1\n");
    EXPECT_EXIT(
        {
            rova_set_alt_mode("/sdcard/alt.adj");
            start();
            send("gpio x");
            send("delay 1", ROVA_CMD_PTP); // not skipped
            send("gpio x");
            send("delay 2");
            _exit(test::wait_for([&] { return !camera.calls("sys_system").empty(); }) ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_THAT(course(), ElementsAre("recieved card", "done NG", "recieved ptp", "done OK",
                                      "recieved card", "done NG"));
    EXPECT_THAT(camera.call_texts(), Contains("sys_system(\"sync; poweroff -f\")"));
}
