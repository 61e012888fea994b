#include "common/rova_util.h"
#include "tests/command/command_test.h"
#include "tests/support/wrap.h"

#include <platform/vconf.h>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

static constexpr char STATE[] = "/virtual/property/16.2";
static constexpr char STATES[] = "/virtual/property/16.2.play";

class Dr : public CommandTest
{
protected:
    Dr() { wrap_record_sleeps(true); }
};

TEST_F(Dr, UnitThatIsAtRestAtOnceIsOk)
{
    camera.write(STATE, "0\n");
    EXPECT_EQ(run("dr run"), OK);
    EXPECT_THAT(camera.call_texts(), ElementsAre("device_set_property(16, 0, 2)"));
    EXPECT_THAT(messages(), ElementsAre("rova_cmd_dr_run cmd: 2"));
    EXPECT_TRUE(camera.logged("> \033[33mrova_cmd_dr_run cmd: 2"));
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_F(Dr, UnitThatComesToRestLaterIsWaitedForAndNg)
{
    camera.write(STATES, "1\n-1\n1\n0\n");
    EXPECT_EQ(run("DR RUN"), NG);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000, 100000, 100000));
    EXPECT_EQ(run("dr run", ROVA_CMD_PTP), PTP_OK);
}

TEST_F(Dr, StopEndsTheWaitWithOk)
{
    camera.write(STATE, "1\n");
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    EXPECT_EQ(run("dr run"), OK);
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
    camera.fault("vconf_get_int", "0 at 1");
    EXPECT_EQ(run("dr run"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000));
}

TEST_F(Dr, UnitThatDoesNotStartIsNg)
{
    camera.fault("device_set_property", "-9");
    EXPECT_EQ(run("dr run"), NG);
    EXPECT_THAT(messages(), ElementsAre("rova_cmd_dr_run cmd: 2",
                                        "device_set_property(16, 0, 2) failed (ret = -9) "));
}

TEST_F(Dr, StateThatCannotBeReadEndsTheWaitWithNg)
{
    camera.write(STATE, "1\n");
    camera.fault("device_get_property", "-9 at 2");
    EXPECT_EQ(run("dr run"), NG);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000));
    EXPECT_EQ(messages().back(), "device_get_property(16, 2) failed (ret = -9) ");
}

TEST_F(Dr, UnknownSubcommandIsNotItsOwn)
{
    EXPECT_EQ(run("dr stop"), NO_ANSWER);
    EXPECT_EQ(messages().front(), "Not found on dr command table ");
}
