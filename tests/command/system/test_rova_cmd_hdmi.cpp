#include "common/rova_util.h"
#include "tests/command/system/key_test.h"
#include "tests/support/wrap.h"
#include "tests/support/xserver.h"

#include <cstdlib>
#include <platform/vconf.h>

using namespace test;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{

constexpr char CONNECTED[] = "/virtual/display/hdmi_connect_state";
constexpr char MODE[] = "/virtual/display/tv_mode";
constexpr char NO_DISPLAY[] = "failed to open display \"\" ";

// Without a display, as on a camera whose window system is not up.
class Hdmi : public KeyTest
{
protected:
    Hdmi() { unsetenv("DISPLAY"); }
};

std::string times(int count, const std::string &line)
{
    std::string lines;
    for (int i = 0; i < count; i++)
        lines += line;
    return lines;
}

} // namespace

TEST_F(Hdmi, UnknownSubcommandIsNotItsOwn)
{
    EXPECT_EQ(run("hdmi check in"), NO_ANSWER);
    EXPECT_EQ(messages().front(), "Not found on hdmi command table ");
}

TEST_F(Hdmi, OnlyInAndOutAreWords)
{
    for (const char *line :
         {"hdmi wait", "hdmi wait IN", "hdmi wait on", "hdmi set", "hdmi set Out", "hdmi set 1"})
        EXPECT_EQ(run(line), NG) << line;
    for (const char *line : {"hdmi wait in", "hdmi set in"}) {
        cmd_data record = record_of(line);
        record.p_count = 1;
        EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NG) << line;
    }
    EXPECT_THAT(messages(), IsEmpty());
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
    EXPECT_THAT(told({"utilx_set_hdmi_state"}), IsEmpty());
}

// ------------------------------------------------------------------------- wait

TEST_F(Hdmi, WaitEndsWhenADeviceComesOrGoes)
{
    camera.write(std::string(CONNECTED) + ".play", "0\n0\n1\n1\n0\n");
    EXPECT_EQ(run("hdmi wait in"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000, 100000, 100000));
    EXPECT_EQ(run("HDMI Wait out"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000, 100000, 100000, 100000, 100000));
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Hdmi, WaitGivesUpAfterAHundredLooks)
{
    camera.write(std::string(CONNECTED) + ".play", times(99, "0\n") + "1\n");
    EXPECT_EQ(run("hdmi wait in"), OK);
    camera.write(std::string(CONNECTED) + ".play", times(100, "1\n") + "0\n");
    EXPECT_EQ(run("hdmi wait out"), NG);
    EXPECT_EQ(camera.read(std::string(CONNECTED) + ".play"), "0\n");
    EXPECT_THAT(wrap_sleeps(), AllOf(SizeIs(200), Each(100000)));
}

TEST_F(Hdmi, WaitEndsOkWhenTheDaemonIsAskedToStop)
{
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    camera.fault("utilx_get_hdmi_connect_state", "-1");
    EXPECT_EQ(run("hdmi wait in"), OK);
    EXPECT_THAT(wrap_sleeps(), IsEmpty());

    camera.clear_fault("utilx_get_hdmi_connect_state");
    camera.fault("vconf_get_int", "0 at 1"); // not yet asked
    EXPECT_EQ(run("hdmi wait in"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000));
}

TEST_F(Hdmi, WaitWithoutAnAnswerIsNg)
{
    camera.fault("utilx_get_hdmi_connect_state", "-5 at 2");
    EXPECT_EQ(run("hdmi wait in"), NG);
    EXPECT_THAT(messages(), ElementsAre("utilx_get_hdmi_connect_state() failed (ret = -5) "));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000));
}

// ------------------------------------------------------------------------- set

TEST_F(Hdmi, SetInMovesThePictureToTheDevice)
{
    EXPECT_EQ(run("hdmi set in"), OK);
    EXPECT_THAT(told({"utilx_set_hdmi_state"}), ElementsAre("utilx_set_hdmi_state[1]"));
    EXPECT_EQ(camera.read(MODE), "2\n");
    EXPECT_THAT(wrap_sleeps(), ElementsAre(500000));
}

TEST_F(Hdmi, SetOutMovesItBackToThePanel)
{
    for (const char *connected : {"0\n", "1\n"}) {
        camera.write(CONNECTED, connected);
        EXPECT_EQ(run("hdmi set in"), OK) << connected;
        EXPECT_EQ(run("hdmi set out"), OK) << connected;
        EXPECT_EQ(camera.read(MODE), connected);
    }
    EXPECT_EQ(told({"utilx_set_hdmi_state"}).back(), "utilx_set_hdmi_state[2]");
}

TEST_F(Hdmi, SetOutWantsTheModeOfTheTimeBeforeTheMove)
{
    camera.write(std::string(CONNECTED) + ".play", "1\n0\n");
    camera.write(std::string(MODE) + ".play", "0\n1\n");
    EXPECT_EQ(run("hdmi set out"), OK);
    EXPECT_EQ(camera.read(std::string(CONNECTED) + ".play"), "0\n") << "asked once";
    EXPECT_THAT(wrap_sleeps(), ElementsAre(500000, 500000));
}

TEST_F(Hdmi, SetGivesUpAfterTenLooks)
{
    camera.write(std::string(MODE) + ".play", times(9, "0\n") + "2\n");
    EXPECT_EQ(run("hdmi set in"), OK);
    camera.write(std::string(MODE) + ".play", times(10, "1\n") + "2\n");
    EXPECT_EQ(run("hdmi set in", ROVA_CMD_PTP), PTP_NG);
    EXPECT_EQ(camera.read(std::string(MODE) + ".play"), "2\n");
    EXPECT_THAT(wrap_sleeps(), AllOf(SizeIs(20), Each(500000)));
}

TEST_F(Hdmi, SetEndsOkWhenTheDaemonIsAskedToStop)
{
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    EXPECT_EQ(run("hdmi set in"), OK);
    EXPECT_THAT(told({"utilx_set_hdmi_state"}), ElementsAre("utilx_set_hdmi_state[1]"));
    EXPECT_THAT(wrap_sleeps(), IsEmpty()) << "the picture is moved, but not waited for";

    camera.write(std::string(MODE) + ".play", times(2, "0\n"));
    camera.fault("vconf_get_int", "0 at 1"); // not yet asked
    EXPECT_EQ(run("hdmi set in"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(500000));
}

TEST_F(Hdmi, SetThatTheServiceRefusesIsNg)
{
    camera.fault("utilx_get_hdmi_connect_state", "-5");
    EXPECT_EQ(run("hdmi set out"), NG);
    EXPECT_THAT(new_messages(), ElementsAre("utilx_get_hdmi_connect_state() failed (ret = -5) "));
    EXPECT_THAT(told({"utilx_set_hdmi_state"}), IsEmpty());

    camera.fault("utilx_set_hdmi_state", "-6");
    EXPECT_EQ(run("hdmi set in"), NG);
    EXPECT_THAT(new_messages(), ElementsAre("utilx_set_hdmi_state() failed (ret = -6) "));
    camera.clear_fault("utilx_set_hdmi_state");

    camera.fault("utilx_disp_get_tv_mode", "-7");
    EXPECT_EQ(run("hdmi set in"), NG);
    EXPECT_THAT(new_messages(),
                ElementsAre(NO_DISPLAY, "utilx_disp_get_tv_mode() failed (ret = -7) "));
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_F(Hdmi, SetGoesOnWithoutADisplayAndSaysSo)
{
    EXPECT_EQ(run("hdmi set in"), OK);
    EXPECT_THAT(new_messages(), ElementsAre(NO_DISPLAY));
    EXPECT_EQ(run("hdmi set out"), OK);
    EXPECT_THAT(new_messages(), ElementsAre(NO_DISPLAY));
}

TEST_F(Hdmi, SetOpensTheDisplayAndLeavesNothingOpen)
{
    XServer server;
    ASSERT_TRUE(server.running());
    run("hdmi set in");
    std::size_t before = open_descriptors();
    EXPECT_EQ(run("hdmi set out"), OK);
    EXPECT_EQ(run("hdmi set in"), OK);
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_THAT(messages(), IsEmpty());
}

// ------------------------------------------------------------------------- mask, unmask

TEST_F(Hdmi, MaskAndUnmaskDoNothing)
{
    for (const char *line : {"hdmi mask", "hdmi unmask all"})
        EXPECT_EQ(run(line), OK) << line;
    for (const char *line : {"hdmi mask", "hdmi unmask"}) {
        cmd_data record = record_of(line);
        record.p_count = 0;
        EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NG) << line;
    }
    EXPECT_THAT(messages(), IsEmpty());
    EXPECT_THAT(camera.call_texts(), IsEmpty());
}
