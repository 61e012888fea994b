#include "lib/rova_manager.h"

#include "lib/rova_process.h"
#include "platform/vconf.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"
#include "tests/support/wrap.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/wait.h>
#include <thread>

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;

namespace
{

constexpr char DAEMON[] = "/usr/bin/rovad";
constexpr char POWER_OFF_PROPERTY[] = "device_set_property(4, 21, 1)";

struct Manager : testing::Test {
    Manager() { camera.speed(100); }
    ~Manager() override
    {
        test::wrap_clear();
        if (daemon > 1) {
            test::send_signal(daemon, SIGKILL);
            waitpid(daemon, nullptr, 0);
        }
    }
    // A daemon that tells its arguments and ends.
    void add_reporter()
    {
        camera.write(DAEMON, "#!/bin/sh\nprintf '%s|' \"$@\" > \"$ROVA_SYSROOT/tmp/words.new\"\n"
                             "mv \"$ROVA_SYSROOT/tmp/words.new\" \"$ROVA_SYSROOT/tmp/words\"\n");
        fs::permissions(camera.path(DAEMON), fs::perms::owner_all);
    }
    // A daemon that runs and hears nobody but the kernel.
    void start_daemon()
    {
        fs::copy_file("/bin/sleep", camera.path(DAEMON));
        daemon = rova_launch_app_with_nice(DAEMON, "1000", 0);
        ASSERT_TRUE(test::wait_for([&] { return rova_get_exec_pid(DAEMON) == daemon; }));
        camera.write("/virtual/calls.jsonl", "");
    }
    int end_of_daemon()
    {
        int status = -1;
        waitpid(daemon, &status, 0);
        daemon = -1;
        return status;
    }
    void expect_launch(int kind, const std::string &words)
    {
        add_reporter();
        vconf_set_int("memory/rova/start_cmd", 0);
        std::thread answer([&] {
            test::wait_for([&] { return camera.key_int("memory/rova/start_cmd") == 1; });
            vconf_set_int("memory/rova/start_cmd", 0);
        });
        EXPECT_EQ(rova_launch_daemon(kind), 1);
        answer.join();
        EXPECT_TRUE(test::wait_for([&] { return camera.exists("/tmp/words"); }));
        EXPECT_EQ(camera.read("/tmp/words"), words);
        EXPECT_GT(waitpid(-1, nullptr, 0), 1);
    }
    test::Camera camera;
    pid_t daemon = -1;
};

} // namespace

TEST_F(Manager, KindZeroOnlyRaisesTheKey)
{
    add_reporter();
    EXPECT_EQ(rova_launch_daemon(0), 0);
    EXPECT_EQ(camera.key_int("memory/rova/start_cmd"), 1);
    EXPECT_TRUE(camera.calls("sys_execvp").empty());
}

TEST_F(Manager, KindOneStartsInTestMode)
{
    expect_launch(1, "--test|");
}

TEST_F(Manager, OtherKindsLetTheCardDecide)
{
    expect_launch(2, "|");
}

TEST_F(Manager, ADaemonThatDoesNotComeUpIsWaitedForThreeSeconds)
{
    camera.speed(1);
    add_reporter();
    test::wrap_record_sleeps(true);
    EXPECT_EQ(rova_launch_daemon(1), 1);
    EXPECT_EQ(test::wrap_sleeps(), std::vector<unsigned int>(30, 100000));
    EXPECT_EQ(camera.key_int("memory/rova/start_cmd"), 1);
    waitpid(-1, nullptr, 0);
}

TEST_F(Manager, ADaemonThatCannotBeStartedIsTold)
{
    EXPECT_EQ(rova_launch_daemon(1), 0);
    EXPECT_TRUE(camera.logged("Launching rova daemon failed. "));
}

TEST_F(Manager, TerminatingWithoutADaemonIsDoneAtOnce)
{
    EXPECT_EQ(rova_terminate_daemon(), 1);
    EXPECT_THAT(camera.call_texts(), ElementsAre(POWER_OFF_PROPERTY));
    EXPECT_TRUE(camera.logged("daemon is not launched yet "));
}

TEST_F(Manager, ADaemonThatAnswersIsEndedByItsSignalToo)
{
    start_daemon();
    std::thread answer([&] {
        test::wait_for([&] { return camera.key_int("memory/rova/stop_cmd") == 1; });
        vconf_set_int("memory/rova/stop_cmd", 0);
    });
    EXPECT_EQ(rova_terminate_daemon(), 1);
    answer.join();
    EXPECT_EQ(camera.calls("device_set_property").size(), 1u);
    int status = end_of_daemon();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
}

TEST_F(Manager, ADaemonThatDoesNotAnswerInFiveSecondsGetsItsSignal)
{
    start_daemon();
    camera.speed(1);
    test::wrap_record_sleeps(true);
    EXPECT_EQ(rova_terminate_daemon(), 0);
    EXPECT_EQ(test::wrap_sleeps(), std::vector<unsigned int>(50, 100000));
    int status = end_of_daemon();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    EXPECT_TRUE(camera.logged("stop had been retried maximum times, thus shutdown! "));
    EXPECT_EQ(camera.calls("device_set_property").size(), 2u);
    EXPECT_EQ(camera.key_int("memory/rova/stop_cmd"), 1);
}

TEST_F(Manager, APowerOffIsToldOnce)
{
    EXPECT_EQ(rova_check_power_off(), 0);
    EXPECT_EQ(camera.key_int("memory/rova/power_off"), 0);
    vconf_set_int("memory/rova/power_off", 1);
    EXPECT_EQ(rova_check_power_off(), 1);
    EXPECT_EQ(rova_check_power_off(), 0);
    vconf_set_int("memory/rova/power_off", 2);
    EXPECT_EQ(rova_check_power_off(), 0);
    EXPECT_EQ(camera.key_int("memory/rova/power_off"), 0);
}
