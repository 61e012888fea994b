#include "command/rova_cmd_control_flags.h"
#include "tests/command/command_test.h"

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

static const char counter[] = "/opt/share/rova/rova.cnt";

// The three flags as osd, sound, led.
static std::vector<int> flags()
{
    return {rova_control_flags.osd, rova_control_flags.sound, rova_control_flags.led};
}

class Control : public CommandTest
{
};

TEST_F(Control, OsdSetsItsFlagAlone)
{
    EXPECT_EQ(run("control osd on"), OK);
    EXPECT_THAT(flags(), ElementsAre(1, 0, 0));
    EXPECT_EQ(run("control osd off"), OK);
    EXPECT_THAT(flags(), ElementsAre(0, 0, 0));
}

TEST_F(Control, SoundSetsItsFlagAlone)
{
    EXPECT_EQ(run("control sound on"), OK);
    EXPECT_THAT(flags(), ElementsAre(0, 1, 0));
    EXPECT_EQ(run("control sound off"), OK);
    EXPECT_THAT(flags(), ElementsAre(0, 0, 0));
}

TEST_F(Control, LedSetsItsFlagAlone)
{
    EXPECT_EQ(run("control led on"), OK);
    EXPECT_THAT(flags(), ElementsAre(0, 0, 1));
    EXPECT_EQ(run("control led off"), OK);
    EXPECT_THAT(flags(), ElementsAre(0, 0, 0));
}

TEST_F(Control, FlagsRefuseOtherWords)
{
    rova_control_flags = {1, 0, 1};
    for (const char *line : {"control osd", "control osd x", "control osd ON", "control sound",
                             "control sound 1", "control led", "control led onn"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_THAT(flags(), ElementsAre(1, 0, 1));
}

TEST_F(Control, AnswersThePc)
{
    EXPECT_EQ(run("control led on", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(run("control led x", ROVA_CMD_PTP), PTP_NG);
}

TEST_F(Control, ResultSetsAllThree)
{
    EXPECT_EQ(run("control result osd_on sound_off led_on"), OK);
    EXPECT_THAT(flags(), ElementsAre(1, 0, 1));
    EXPECT_EQ(run("control result osd_off sound_on led_off"), OK);
    EXPECT_THAT(flags(), ElementsAre(0, 1, 0));
}

TEST_F(Control, ResultKeepsTheFlagsAheadOfABadWord)
{
    EXPECT_EQ(run("control result osd_on sound_on led_x"), NG);
    EXPECT_THAT(flags(), ElementsAre(1, 1, 0));
    EXPECT_EQ(run("control result osd_off x led_on"), NG);
    EXPECT_THAT(flags(), ElementsAre(0, 1, 0));
}

TEST_F(Control, ResultWantsTheWordsInTheirPlaces)
{
    for (const char *line :
         {"control result sound_on osd_on led_on", "control result on on on",
          "control result osd_ sound_ led_", "control result OSD_on sound_on led_on"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_THAT(flags(), ElementsAre(0, 0, 0));
}

TEST_F(Control, ResultWithTooFewWordsChangesNothing)
{
    EXPECT_EQ(run("control result osd_on sound_on"), NG);
    EXPECT_EQ(run("control result"), NG);
    EXPECT_THAT(flags(), ElementsAre(0, 0, 0));
}

TEST_F(Control, CountSetWritesTheCounterFile)
{
    EXPECT_EQ(run("control count set 41"), OK);
    EXPECT_EQ(camera.read(counter), "41");
}

TEST_F(Control, CountSetWithoutANumberIsRefused)
{
    EXPECT_EQ(run("control count set"), NG);
    EXPECT_FALSE(camera.exists(counter));
}

TEST_F(Control, CountIncreaseAddsOne)
{
    camera.write(counter, "41");
    EXPECT_EQ(run("control count increase"), OK);
    EXPECT_EQ(camera.read(counter), "42");
}

TEST_F(Control, CountIncreaseStartsAMissingFileAtOne)
{
    EXPECT_EQ(run("control count increase"), OK);
    EXPECT_EQ(camera.read(counter), "1");
}

TEST_F(Control, CountDisplayShowsTheCounter)
{
    camera.write(counter, "7");
    EXPECT_EQ(run("control count display"), OK);
    EXPECT_THAT(told({"factory_osd_grid_text_set"}),
                ElementsAre(R"(factory_osd_grid_text_set[19,"loop: 7"])"));
    EXPECT_EQ(camera.read(counter), "7");
}

TEST_F(Control, CountRefusesOtherWords)
{
    EXPECT_EQ(run("control count"), NG);
    EXPECT_EQ(run("control count reset"), NG);
    EXPECT_EQ(run("control count Display"), NG);
    EXPECT_FALSE(camera.exists(counter));
    EXPECT_THAT(told({"factory_osd_grid_text_set"}), IsEmpty());
}

TEST_F(Control, CountThatCannotBeWrittenIsNg)
{
    camera.fault("sys_open", "-1 errno EROFS on rova.cnt");
    for (const char *line : {"control count set 3", "control count increase"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_EQ(times_logged("failed to write /opt/share/rova/rova.cnt (Read-only file system) "),
              2U);
}
