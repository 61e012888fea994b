#include "common/rova_power.h"

#include "common/rova_util.h"
#include "tests/support/camera.h"
#include "tests/support/wrap.h"
#include "tests/support/xserver.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <pthread.h>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::Pair;

namespace
{

constexpr char SWITCH_OFF[] = "sys_system(\"sync; poweroff -f\")";
constexpr char KEY_SET[] = "vconf_set_int(\"memory/rova/power_off\", 1)";
constexpr char RESTART[] = "pref_set_long(0, 40344, 1)";

struct Power : testing::Test {
    static void SetUpTestSuite() { server = new test::XServer; }
    static void TearDownTestSuite()
    {
        delete server;
        server = nullptr;
    }
    Power() : window(std::make_unique<test::FocusWindow>()) {}
    void board(int version)
    {
        camera.write("/virtual/firmware/board_version", std::to_string(version) + "\n");
    }
    void expect_power_key()
    {
        EXPECT_THAT(window->keys(2), ElementsAre(Pair(124u, true), Pair(124u, false)));
        EXPECT_EQ(camera.key_int("memory/rova/power_off"), 1);
    }
    static test::XServer *server;
    test::Camera camera;
    std::unique_ptr<test::FocusWindow> window;
};

test::XServer *Power::server = nullptr;

// Without a server, in ALT mode: the calls never return.
struct AltPower : testing::Test {
    AltPower()
    {
        rova_set_alt_mode("/tmp/alt.adj");
        test::wrap_clear();
        test::wrap_record_sleeps(false);
    }
    ~AltPower() override
    {
        test::wrap_clear();
        rova_set_alt_mode("");
    }
    // The calls that `routine` makes until it waits for the end; it is cancelled there, asleep: in
    // the middle of a call the cancellation may meet a destructor, which lets nothing pass.
    std::vector<std::string> calls_of(int (*routine)())
    {
        pthread_t thread;
        auto run = [](void *arg) -> void * {
            reinterpret_cast<int (*)()>(arg)();
            return nullptr;
        };
        EXPECT_EQ(pthread_create(&thread, nullptr, run, reinterpret_cast<void *>(routine)), 0);
        EXPECT_TRUE(test::wait_for([] { return !test::wrap_sleeps().empty(); }));
        void *result = nullptr;
        pthread_cancel(thread);
        pthread_join(thread, &result);
        EXPECT_EQ(result, PTHREAD_CANCELED);
        return camera.call_texts();
    }
    test::Camera camera;
};

} // namespace

TEST_F(Power, PoweroffPressesThePowerKey)
{
    ASSERT_TRUE(server->running());
    EXPECT_EQ(rova_poweroff(), 1);
    expect_power_key();
    EXPECT_THAT(camera.call_texts(), ElementsAre(KEY_SET));
}

TEST_F(Power, PowerOffSetsThePropertyAhead)
{
    EXPECT_EQ(rova_power_off(), 1);
    expect_power_key();
    EXPECT_THAT(camera.call_texts(), ElementsAre("device_set_property(4, 21, 1)", KEY_SET));
}

TEST_F(Power, RebootWithAModeSelectsIt)
{
    EXPECT_EQ(rova_power_reboot(3), 1);
    expect_power_key();
    EXPECT_THAT(camera.call_texts(),
                ElementsAre(RESTART, "device_set_property(14, 2, 3)", KEY_SET));
}

TEST_F(Power, RebootOfAFirstBoardSelectsMode2)
{
    board(0);
    EXPECT_EQ(rova_power_reboot(0), 1);
    expect_power_key();
    EXPECT_THAT(camera.call_texts(),
                ElementsAre(RESTART, "device_set_property(14, 2, 2)", KEY_SET));
}

TEST_F(Power, RebootOfALaterBoardLeavesThePreferenceAlone)
{
    board(2);
    EXPECT_EQ(rova_power_reboot(0), 1);
    expect_power_key();
    EXPECT_THAT(camera.call_texts(), ElementsAre("device_set_property(4, 20, 1)", KEY_SET));
}

TEST_F(Power, ResetAddsThePowerOffProperty)
{
    board(0);
    EXPECT_EQ(rova_power_reset(0), 1);
    expect_power_key();
    EXPECT_THAT(camera.call_texts(), ElementsAre(RESTART, "device_set_property(14, 2, 2)",
                                                 "device_set_property(4, 21, 1)", KEY_SET));
}

TEST_F(Power, ResetWithAModeSelectsIt)
{
    EXPECT_EQ(rova_power_reset(7), 1);
    EXPECT_THAT(camera.call_texts(), ElementsAre(RESTART, "device_set_property(14, 2, 7)",
                                                 "device_set_property(4, 21, 1)", KEY_SET));
}

TEST_F(Power, ResetOfALaterBoardLeavesThePreferenceAlone)
{
    board(2);
    EXPECT_EQ(rova_power_reset(0), 1);
    EXPECT_THAT(camera.call_texts(), ElementsAre("device_set_property(4, 20, 1)",
                                                 "device_set_property(4, 21, 1)", KEY_SET));
}

TEST(PowerWithoutDisplay, EveryRoutineDoesTheRestAndTellsThatTheKeyWasNotSent)
{
    unsetenv("DISPLAY");
    constexpr char PROPERTY[] = "device_set_property(4, 21, 1)";
    constexpr char MODE[] = "device_set_property(14, 2, 1)";
    struct {
        int (*routine)();
        std::vector<std::string> calls;
    } const rows[] = {
        {rova_poweroff, {KEY_SET}},
        {rova_power_off, {PROPERTY, KEY_SET}},
        {[] { return rova_power_reboot(1); }, {RESTART, MODE, KEY_SET}},
        {[] { return rova_power_reset(1); }, {RESTART, MODE, PROPERTY, KEY_SET}},
    };
    for (const auto &row : rows) {
        test::Camera camera;
        EXPECT_EQ(row.routine(), 1);
        EXPECT_EQ(camera.call_texts(), row.calls);
        EXPECT_TRUE(camera.logged("failed to open display"));
    }
}

TEST_F(AltPower, PoweroffSavesAndSwitchesOff)
{
    EXPECT_THAT(calls_of(rova_poweroff), ElementsAre("pref_save(0)", SWITCH_OFF));
}

TEST_F(AltPower, PowerOffSavesAndSwitchesOff)
{
    EXPECT_THAT(calls_of(rova_power_off), ElementsAre("pref_save(0)", SWITCH_OFF));
    EXPECT_EQ(camera.key_int("memory/rova/power_off"), std::nullopt);
}

TEST_F(AltPower, RebootAsksForARestartWhateverItsMode)
{
    EXPECT_THAT(calls_of([] { return rova_power_reboot(3); }),
                ElementsAre(RESTART, "pref_save(0)", "device_set_property(14, 2, 5)", SWITCH_OFF));
}

TEST_F(AltPower, ResetDoesTheSame)
{
    EXPECT_THAT(calls_of([] { return rova_power_reset(0); }),
                ElementsAre(RESTART, "pref_save(0)", "device_set_property(14, 2, 5)", SWITCH_OFF));
}
