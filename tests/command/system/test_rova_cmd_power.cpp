#include "tests/command/command_test.h"
#include "tests/support/xserver.h"

#include <cstdlib>

using namespace test;
using testing::ElementsAreArray;

namespace
{

constexpr char KEY_SET[] = R"(vconf_set_int("memory/rova/power_off", 1))";
constexpr char SWITCH_OFF[] = "device_set_property(4, 21, 1)";
constexpr char SELECT_BOOT[] = "device_set_property(4, 20, 1)";

struct PowerRow {
    const char *word;
    std::vector<std::string> calls;
};

const PowerRow power_rows[] = {
    {"off", {KEY_SET}},
    {"shutdown", {SWITCH_OFF, KEY_SET}},
    {"reset", {SELECT_BOOT, SWITCH_OFF, KEY_SET}},
    {"reboot", {SELECT_BOOT, KEY_SET}},
};

class PowerCommand : public CommandTest, public testing::WithParamInterface<PowerRow>
{
protected:
    std::string line() const { return std::string("power ") + GetParam().word; }
};

} // namespace

TEST_P(PowerCommand, PressesThePowerKeyBehindItsCalls)
{
    const XServer server;
    ASSERT_TRUE(server.running());
    FocusWindow window;
    EXPECT_EQ(run(line()), OK);
    EXPECT_THAT(camera.call_texts(), ElementsAreArray(GetParam().calls));
    EXPECT_THAT(window.keys(2),
                testing::ElementsAre(testing::Pair(124U, true), testing::Pair(124U, false)));
}

TEST_P(PowerCommand, IsOkWithoutADisplayToo)
{
    const char *before = std::getenv("DISPLAY");
    const std::string display = before != nullptr ? before : "";
    unsetenv("DISPLAY");
    EXPECT_EQ(run(line() + " 1 2", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(times_logged("failed to open display, power key is not sent"), 1U);
    std::vector<std::string> calls = camera.call_texts();
    calls.resize(GetParam().calls.size()); // the answer's keys follow
    EXPECT_THAT(calls, ElementsAreArray(GetParam().calls));
    if (before != nullptr)
        setenv("DISPLAY", display.c_str(), 1);
}

TEST_P(PowerCommand, KnowsNoOtherWord)
{
    EXPECT_EQ(run(line() + "x"), NO_ANSWER);
    EXPECT_EQ(messages().front(), "Not found on power command table ");
    EXPECT_TRUE(camera.call_texts().empty());
}

INSTANTIATE_TEST_SUITE_P(AllWords, PowerCommand, testing::ValuesIn(power_rows),
                         [](const auto &row) { return std::string(row.param.word); });
