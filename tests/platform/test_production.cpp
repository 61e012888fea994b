#include "platform/production.h"

#include "tests/support/camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using testing::ElementsAre;

namespace
{

constexpr char CHARGING[] = "/virtual/production/charging";

struct Switch {
    const char *call;
    int (*set)(int);
    const char *file;
    std::vector<int> states;
};

const Switch switches[] = {
    {"set_charge_led", set_charge_led, "/virtual/production/charge_led", {1, 2}},
    {"set_charging", set_charging, CHARGING, {0, 1}},
    {"set_statusLCD_production",
     set_statusLCD_production,
     "/virtual/production/status_lcd",
     {0, 1, 11, 12, 13, 14}},
};

} // namespace

TEST(Production, KnowsTheStatesOfEachSwitchAndNoOther)
{
    test::Camera camera;
    for (const Switch &row : switches)
        for (int state = -1; state <= 15; state++) {
            camera.remove(row.file);
            bool known = std::count(row.states.begin(), row.states.end(), state) == 1;
            EXPECT_EQ(row.set(state), known ? 0 : -1) << row.call << " " << state;
            EXPECT_EQ(camera.read(row.file), known ? std::to_string(state) + "\n" : "")
                << row.call << " " << state;
        }
}

TEST(Production, ReleaseGivesChargingBackHoweverOften)
{
    test::Camera camera;
    EXPECT_EQ(set_charging(1), 0);
    for (int i = 0; i < 2; i++) {
        EXPECT_EQ(release_from_factorymode(), 0);
        EXPECT_FALSE(camera.exists(CHARGING));
    }
}

TEST(Production, IsToldCallByCall)
{
    test::Camera camera;
    set_charging(0);
    set_charge_led(1);
    release_from_factorymode();
    set_statusLCD_production(14);
    EXPECT_THAT(camera.call_texts(),
                ElementsAre("set_charging(0)", "set_charge_led(1)", "release_from_factorymode()",
                            "set_statusLCD_production(14)"));
}

TEST(Production, AFaultKeepsEachCallFromItsWork)
{
    test::Camera camera;
    set_charging(1);
    for (const char *call :
         {"set_charge_led", "set_charging", "set_statusLCD_production", "release_from_factorymode"})
        camera.fault(call, "-5");
    EXPECT_EQ(set_charge_led(2), -5);
    EXPECT_EQ(set_charging(0), -5);
    EXPECT_EQ(set_statusLCD_production(1), -5);
    EXPECT_EQ(release_from_factorymode(), -5);
    EXPECT_EQ(camera.read(CHARGING), "1\n");
    EXPECT_FALSE(camera.exists("/virtual/production/charge_led"));
    EXPECT_FALSE(camera.exists("/virtual/production/status_lcd"));
}

TEST(Production, FailsWhereItsFileCannotBeChanged)
{
    test::Camera camera;
    for (const Switch &row : switches) {
        camera.write(std::string(row.file) + "/in the way", "");
        EXPECT_EQ(row.set(1), -1) << row.call;
    }
    EXPECT_EQ(release_from_factorymode(), -1);
}

TEST(Production, FailsWithoutACamera)
{
    test::Camera camera;
    setenv("ROVA_SYSROOT", "", 1);
    for (const Switch &row : switches)
        EXPECT_EQ(row.set(1), -1) << row.call;
    EXPECT_EQ(release_from_factorymode(), -1);
    setenv("ROVA_SYSROOT", camera.root().c_str(), 1);
}
