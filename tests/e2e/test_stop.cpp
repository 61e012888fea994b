#include "tests/e2e/line.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/syscall.h>

using e2e::Line;

namespace
{

constexpr char CLIENT[] = "ROVA Client";
constexpr char MAIN[] = "rovad";
constexpr char SCRIPT_CMD[] = "memory/rova/script_cmd";
constexpr char STOP_CMD[] = "memory/rova/stop_cmd";

// A script whose first line runs while three lines wait in the queue and the client is blocked with
// the fifth in its hand.
void run_until_client_blocks(const Line &line, const std::string &script)
{
    line.card_script("long.adj", script);
    line.start({});
    ASSERT_TRUE(line.hears("1th cmd recieved [card]"));
    ASSERT_TRUE(test::wait_for([&] { return line.waiting_in(CLIENT) == SYS_msgsnd; }));
}

// A line through the key that keeps the main thread itself at the full queue.
void run_until_main_blocks(const Line &line, const std::string &text)
{
    line.start();
    line.key(SCRIPT_CMD, text);
    ASSERT_TRUE(line.hears("1th cmd recieved [script]"));
    ASSERT_TRUE(test::wait_for([&] { return line.waiting_in(MAIN) == SYS_msgsnd; }));
}

std::string delays(const std::string &milliseconds, int count)
{
    std::string script;
    for (int i = 0; i < count; i++)
        script += "delay " + milliseconds + "\n";
    return script;
}

// A command whose script of the radio ends only once this file is gone.
constexpr char HELD[] = "/tmp/held";

void run_until_script_holds(const Line &line)
{
    line.write("/usr/bin/wlan.sh", "#!/bin/sh\ncd $ROVA_SYSROOT/tmp\ntouch held\n"
                                   "while [ -e held ]; do sleep 0.01; done\n");
    line.card_script("radio.adj", "wifi control_dut wifi_on\nosd string 1 more\n");
    line.start_alone({});
    ASSERT_TRUE(test::wait_for([&] { return line.exists(HELD); }));
}

// The daemon has begun to stop, and waits.
void end_the_script(const Line &line)
{
    ASSERT_TRUE(line.hears("rova-client: thread terminated."));
    ASSERT_TRUE(test::wait_for([&] {
        return line.waiting_in(MAIN) == SYS_futex && line.waiting_in("ROVA Server") == SYS_wait4;
    }));
    EXPECT_FALSE(line.tells("exited, rv=0"));
    line.remove(HELD);
    ASSERT_TRUE(test::wait_for([&] { return line.daemon_gone(); }));
    EXPECT_EQ(line.told("exited, rv=0"), 1);
    EXPECT_EQ(line.told("1th cmd done [OK]"), 1);
    EXPECT_EQ(line.told("program exited."), 1);
    EXPECT_EQ(line.key_int(STOP_CMD), 0);
}

} // namespace

TEST(StopKey, EndsTheRunningCommandAndSkipsTheQueuedOnes)
{
    Line line;
    run_until_client_blocks(line, delays("6000000", 8));
    line.key(STOP_CMD, 1);
    ASSERT_TRUE(test::wait_for([&] { return line.daemon_gone(); }));

    EXPECT_EQ(line.told("1th cmd done [OK]"), 1);
    for (const char *number : {"2th", "3th", "4th"})
        EXPECT_EQ(line.told(std::string(number) + " cmd skipped [card]"), 1) << number;
    EXPECT_FALSE(line.tells("5th cmd")) << "the line in the blocked client's hand was never sent";
    EXPECT_TRUE(line.tells("rova-client: thread terminated."));
    EXPECT_TRUE(line.tells("rova-server: thread terminated."));
    EXPECT_EQ(line.key_int(STOP_CMD), 0);
    EXPECT_EQ(line.trace().back(), "----------------- rovad end (card) ----------------- ");
}

TEST(StopSignal, LetsTheQueuedCommandsRun)
{
    Line line;
    run_until_client_blocks(line, delays("60000", 8));
    line.signal(SIGTERM);
    ASSERT_TRUE(test::wait_for([&] { return line.daemon_gone(); }));

    for (const char *number : {"1th", "2th", "3th", "4th"})
        EXPECT_EQ(line.told(std::string(number) + " cmd done [OK]"), 1) << number;
    EXPECT_FALSE(line.tells("5th cmd"));
    EXPECT_FALSE(line.tells("skipped"));
    EXPECT_EQ(line.key_int(STOP_CMD), 0);
    EXPECT_EQ(line.trace().back(), "----------------- rovad end (card) ----------------- ");
}

TEST(StopSignal, EndsARepeatThatKeepsTheMainThreadAtTheFullQueue)
{
    Line line;
    run_until_main_blocks(line, "repeat 8000 0 delay 20000");
    line.signal(SIGTERM);
    ASSERT_TRUE(test::wait_for([&] { return line.daemon_gone(); }));

    EXPECT_EQ(line.told("4th cmd done [OK]"), 1) << "what was queued has run";
    EXPECT_FALSE(line.tells("9th cmd")) << "what was not queued has not";
    EXPECT_TRUE(line.tells("failed to send command (num: 1)"));
    EXPECT_EQ(line.told("program exited."), 1);
    EXPECT_EQ(line.key_int(STOP_CMD), 0);
    EXPECT_EQ(line.trace().back(), "----------------- rovad end (test) ----------------- ");
}

TEST(StopKey, SkipsARepeatThatKeepsTheMainThreadAtTheFullQueue)
{
    Line line;
    run_until_main_blocks(line, "repeat 50 0 delay 6000000");
    line.key(STOP_CMD, 1);
    ASSERT_TRUE(test::wait_for([&] { return line.daemon_gone(); }));

    EXPECT_EQ(line.told("1th cmd done [OK]"), 1);
    EXPECT_EQ(line.told(" cmd skipped [script]"), 49);
    EXPECT_EQ(line.told("program exited."), 1);
    EXPECT_EQ(line.key_int(STOP_CMD), 0);
}

TEST(StopSignal, EachOfTheFourStopsAClientAtTheFullQueue)
{
    for (const int number : {SIGINT, SIGTERM, SIGQUIT, SIGHUP}) {
        Line line;
        run_until_client_blocks(line, delays("5000", 100));
        line.signal(number);
        EXPECT_TRUE(test::wait_for([&] { return line.daemon_gone(); })) << number;
        EXPECT_TRUE(line.tells("rova-client: thread terminated.")) << number;
        EXPECT_FALSE(line.tells("100th cmd")) << number;
        EXPECT_EQ(line.trace().back(), "----------------- rovad end (card) ----------------- ");
    }
}

TEST(StopSignal, EachOfTheFourStopsAnIdleDaemon)
{
    for (const int number : {SIGINT, SIGTERM, SIGQUIT, SIGHUP}) {
        Line line;
        line.start();
        line.signal(number);
        EXPECT_TRUE(test::wait_for([&] { return line.daemon_gone(); })) << number;
        EXPECT_EQ(line.trace().back(), "----------------- rovad end (test) ----------------- ");
    }
}

TEST(StopKey, ZeroStopsNothing)
{
    Line line;
    line.start();
    line.key(STOP_CMD, 0);
    ASSERT_TRUE(line.hears("key:value = memory/rova/stop_cmd: 0"));
    ASSERT_TRUE(line.hears("rova_handle_stop_cb() done."));
    EXPECT_EQ(line.vcam({"pc", "delay", "1"}).status, 0);
}

TEST(StopKey, TellsTheDeviceServiceAtStartAndStop)
{
    Line line;
    line.start();
    line.stop();
    const auto calls = line.call_texts();
    const auto at = [&](const std::string &text) {
        return std::find(calls.begin(), calls.end(), text) - calls.begin();
    };
    EXPECT_LT(at("device_set_property(17, 7, 0)"), at("device_set_property(17, 7, 1)"));
    EXPECT_LT(at("device_set_property(17, 7, 1)"), at("factory_osd_deinit()"));
    EXPECT_NE(at("factory_osd_deinit()"), std::ssize(calls));
}

TEST(StopKey, LeavesNoQueueAndNoSemaphoreBehind)
{
    Line line;
    line.start();
    EXPECT_FALSE(std::filesystem::is_empty(line.path("/virtual/ipc")));
    line.stop();
    EXPECT_TRUE(std::filesystem::is_empty(line.path("/virtual/ipc")));
}

TEST(StopKey, WithASecondStopBehindItStillEndsOnce)
{
    Line line;
    run_until_client_blocks(line, delays("6000000", 8));
    const pid_t pid = line.daemon();
    line.key(STOP_CMD, 1);
    test::send_signal(pid, SIGTERM);
    ASSERT_TRUE(test::wait_for([&] { return line.daemon_gone(); }));
    EXPECT_EQ(line.told("program exited."), 1);
}

TEST(StopKey, WaitsForTheScriptOfARunningCommand)
{
    const Line line;
    run_until_script_holds(line);
    line.key(STOP_CMD, 1);
    end_the_script(line);
    EXPECT_EQ(line.told("2th cmd skipped [card]"), 1);
}

TEST(StopSignal, WaitsForTheScriptOfARunningCommand)
{
    const Line line;
    run_until_script_holds(line);
    line.signal(SIGTERM);
    end_the_script(line);
    EXPECT_EQ(line.told("2th cmd done [OK]"), 1);
}

TEST(TwoCameras, DoNotDisturbEachOther)
{
    Line one;
    Line other;
    one.start();
    other.start();
    EXPECT_EQ(one.vcam({"pc", "osd string 1 one"}).status, 0);
    EXPECT_EQ(other.vcam({"pc", "osd string 9 other"}).status, 1);
    one.signal(SIGKILL);
    ASSERT_TRUE(test::wait_for([&] { return one.daemon_gone(); }));
    EXPECT_EQ(other.vcam({"pc", "osd string 2 alive"}).status, 0);
    EXPECT_EQ(one.vcam({"start", "--", "--test"}).status, 0);
    EXPECT_EQ(other.vcam({"pc", "osd string 3 alive"}).status, 0);
    EXPECT_EQ(one.vcam({"pc", "osd string 1 again"}).status, 0);
    one.stop();
    EXPECT_FALSE(other.daemon_gone());
    EXPECT_EQ(other.vcam({"screen", "--text"}).out.find("one"), std::string::npos);
}
