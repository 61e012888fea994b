#include "common/rova_util.h"
#include "tests/command/command_test.h"
#include "tests/support/wrap.h"

#include <platform/vconf.h>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

class Delay : public CommandTest
{
protected:
    Delay() { wrap_record_sleeps(true); }
};

TEST_F(Delay, SleepsInStepsOfHalfASecond)
{
    EXPECT_EQ(run("delay 1200"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(500000, 500000, 200000));
}

TEST_F(Delay, SleepsNoEmptyStepBehindTheLast)
{
    EXPECT_EQ(run("delay 1000"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(500000, 500000));
}

TEST_F(Delay, SleepsOneMillisecond)
{
    EXPECT_EQ(run("DELAY 1", ROVA_CMD_PTP), PTP_OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(1000));
}

TEST_F(Delay, RefusesATimeBelowOne)
{
    for (const char *line : {"delay 0", "delay -1", "delay x", "delay -99999999999"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_F(Delay, RefusesALineWithoutATime)
{
    EXPECT_EQ(run("delay"), NG);
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_F(Delay, EndsOkWithTheStepInWhichStopIsSet)
{
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    EXPECT_EQ(run("delay 99999999999"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(500000));
}
