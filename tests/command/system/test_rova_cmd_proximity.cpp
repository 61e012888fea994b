#include "tests/command/command_test.h"

using namespace test;

static constexpr char KEY[] = "memory/sysman/proxy";

class Proximity : public CommandTest
{
};

TEST_F(Proximity, SetTellsTheCameraWhatTheSensorWould)
{
    EXPECT_EQ(run("proximity set in"), OK);
    EXPECT_EQ(camera.key_int(KEY), 1);
    EXPECT_EQ(run("proximity set out", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(camera.key_int(KEY), 2);
}

TEST_F(Proximity, EvfSwitchesTheViewfinderByTheSameKey)
{
    EXPECT_EQ(run("proximity evf on"), OK);
    EXPECT_EQ(camera.key_int(KEY), 1);
    EXPECT_EQ(run("PROXIMITY EVF off"), OK);
    EXPECT_EQ(camera.key_int(KEY), 2);
}

TEST_F(Proximity, AnotherWordOrNoneIsNgAndChangesNothing)
{
    for (const char *line : {"proximity set", "proximity set IN", "proximity set on",
                             "proximity evf", "proximity evf ON", "proximity evf in"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_EQ(camera.key_int(KEY), std::nullopt);
}

TEST_F(Proximity, KeyThatCannotBeWrittenIsNg)
{
    camera.fault("vconf_set_int", "-3");
    EXPECT_EQ(run("proximity set in"), NG);
    EXPECT_EQ(run("proximity evf off"), NG);
    EXPECT_EQ(times_logged("vconf_set_int(memory/sysman/proxy, 1) failed (ret = -3)"), 1U);
    EXPECT_EQ(times_logged("vconf_set_int(memory/sysman/proxy, 2) failed (ret = -3)"), 1U);
}
