#include "common/rova_util.h"
#include "platform/virtual/screen.h"
#include "tests/command/command_test.h"
#include "tests/support/wrap.h"

#include <nlohmann/json.hpp>
#include <platform/vconf.h>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr char STATE[] = "/virtual/touch/state";
constexpr char START[] = "factory_osd_touch_test() start";
constexpr char END[] = "factory_osd_touch_test() end";
constexpr char NO_STATE[] = "factory_osd_get_touch_state() failed (ret = -5) ";

class Touch : public CommandTest
{
protected:
    Touch() { wrap_record_sleeps(true); }
    void play(const std::string &states) const
    {
        camera.write(std::string(STATE) + ".play", states);
    }
};

} // namespace

TEST_F(Touch, UnknownSubcommandIsNotItsOwn)
{
    EXPECT_EQ(run("touch wait"), NO_ANSWER);
    EXPECT_EQ(messages().front(), "Not found on touch command table ");
}

// ------------------------------------------------------------------------- test

TEST_F(Touch, TestEndsWithTheTouch)
{
    play("1\n1\n2\n");
    EXPECT_EQ(run("touch test"), OK);
    EXPECT_THAT(messages(), ElementsAre(START, END));
    for (const char *notice : {START, END})
        EXPECT_TRUE(camera.logged(std::string("> \033[33m") + notice)) << notice;
    EXPECT_THAT(told({"factory_osd_touch_test"}), ElementsAre("factory_osd_touch_test[]"));
}

TEST_F(Touch, TestThatIsNotPassedIsNg)
{
    play("1\n3\n");
    EXPECT_EQ(run("TOUCH TEST"), NG);
    EXPECT_THAT(messages(), ElementsAre(START, "factory_osd_touch_test() failed (ret = -1) ", END));
}

// ------------------------------------------------------------------------- ready

TEST_F(Touch, ReadyAsksForLinesByItsWord)
{
    EXPECT_EQ(run("touch ready linedraw_on"), OK);
    for (const char *line : {"touch ready", "touch ready linedraw_off", "touch ready LINEDRAW_ON"})
        EXPECT_EQ(run(line, ROVA_CMD_PTP), PTP_OK) << line;
    EXPECT_THAT(told({"factory_osd_touch_ready"}),
                ElementsAre("factory_osd_touch_ready[1]", "factory_osd_touch_ready[0]",
                            "factory_osd_touch_ready[0]", "factory_osd_touch_ready[0]"));
}

TEST_F(Touch, ReadyTellsTheState)
{
    EXPECT_EQ(run("touch ready linedraw_on"), OK);
    EXPECT_THAT(new_messages(), ElementsAre("rova_cmd_touch_ready()",
                                            "rova_cmd_touch_ready() end. [touch_status : 1]"));
    EXPECT_TRUE(camera.logged("> \033[33mrova_cmd_touch_ready()\033[m"));
    EXPECT_TRUE(camera.logged("> \033[33mrova_cmd_touch_ready() end."));
    play("3\n");
    EXPECT_EQ(run("touch ready linedraw_on"), OK);
    EXPECT_EQ(new_messages().back(), "rova_cmd_touch_ready() end. [touch_status : 3]");
}

TEST_F(Touch, ReadyThatFailsIsNg)
{
    camera.fault("factory_osd_touch_ready", "-4");
    EXPECT_EQ(run("touch ready linedraw_on"), NG);
    EXPECT_THAT(new_messages(), ElementsAre("rova_cmd_touch_ready()",
                                            "factory_osd_touch_ready() failed (ret = -4) ",
                                            "rova_cmd_touch_ready() end. [touch_status : 0]"));
    camera.clear_fault("factory_osd_touch_ready");
    camera.fault("factory_osd_get_touch_state", "-5");
    EXPECT_EQ(run("touch ready linedraw_on"), NG);
    EXPECT_THAT(new_messages(), ElementsAre("rova_cmd_touch_ready()", NO_STATE,
                                            "rova_cmd_touch_ready() end. [touch_status : -5]"));
}

// ------------------------------------------------------------------------- check

TEST_F(Touch, CheckWaitsForATouch)
{
    play("0\n1\n1\n2\n");
    EXPECT_EQ(run("touch check"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000, 100000, 100000, 100000));
    EXPECT_THAT(messages(), IsEmpty());
    EXPECT_TRUE(virt::read_screen()["text"].empty());
}

TEST_F(Touch, CheckShowsAGhost)
{
    play("1\n3\n2\n");
    EXPECT_EQ(run("touch check", ROVA_CMD_PTP), PTP_NG);
    EXPECT_EQ(virt::read_screen()["text"]["2"]["text"], "Touch Test GHOST NG");
    EXPECT_EQ(camera.read(std::string(STATE) + ".play"), "2\n");
}

TEST_F(Touch, CheckEndsOkWhenTheDaemonIsAskedToStop)
{
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    camera.write(STATE, "3\n");
    EXPECT_EQ(run("touch check"), OK);
    EXPECT_THAT(wrap_sleeps(), IsEmpty());

    camera.write(STATE, "1\n");
    camera.fault("vconf_get_int", "0 at 1"); // not yet asked
    EXPECT_EQ(run("touch check"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000));
}

TEST_F(Touch, CheckWithoutAStateIsNg)
{
    camera.write(STATE, "1\n");
    camera.fault("factory_osd_get_touch_state", "-5 at 2");
    EXPECT_EQ(run("touch check"), NG);
    EXPECT_THAT(messages(), ElementsAre(NO_STATE));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000));
}
