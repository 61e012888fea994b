#include "command/rova_cmd_control_flags.h"
#include "command/rova_cmd_handler.h"
#include "common/rova_sound.h"
#include "tests/command/command_test.h"
#include "tests/support/wrap.h"

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

static const std::string sounds = "/usr/apps/com.halvex.lumen-app/res/sounds/camera/";

class Feedback : public CommandTest
{
protected:
    // A command as the server thread runs it; sleeps are noted, not slept.
    void command(const std::string &line)
    {
        wrap_record_sleeps(true);
        cmd_data record = record_of(line);
        rova_cmd_show_start(ROVA_CMD_CARD, &record);
        rova_process_cmd(ROVA_CMD_CARD, &record);
        rova_cmd_show_result(ROVA_CMD_CARD, &record);
    }

    std::vector<std::string> shown() const { return told({"factory_osd_grid_text_set"}); }
    std::vector<std::string> heard() const
    {
        return told({"mm_sound_qz_volume_set_value", "mm_sound_qz_play_sound_sync"});
    }
    std::vector<std::string> blinked() const { return told({"device_set_property"}); }
};

TEST_F(Feedback, IsSilentWithAllFlagsOff)
{
    command("file delete x");
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_THAT(heard(), IsEmpty());
    EXPECT_THAT(blinked(), IsEmpty());
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_F(Feedback, ShowsTheWordBeforeAndTheResultBehindIt)
{
    rova_control_flags.osd = 1;
    camera.write("/sdcard/x", "");
    command("file delete x");
    command("file delete x");
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_grid_text_set[0,"file    "])",
                                     R"(factory_osd_grid_text_set[0,"file: OK"])",
                                     R"(factory_osd_grid_text_set[0,"file    "])",
                                     R"(factory_osd_grid_text_set[0,"file: NG"])"));
    EXPECT_THAT(heard(), IsEmpty());
    EXPECT_THAT(blinked(), IsEmpty());
}

TEST_F(Feedback, ShowsNgForAWordThatIsNotFound)
{
    rova_control_flags.osd = 1;
    command("no_such_word");
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_grid_text_set[0,"no_such_word    "])",
                                     R"(factory_osd_grid_text_set[0,"no_such_word: NG"])"));
}

TEST_F(Feedback, ShowsPerCentSignsAsTheyStand)
{
    rova_control_flags.osd = 1;
    command("%s%n%999999d%s%s%s%s%s");
    EXPECT_THAT(shown(),
                ElementsAre(R"(factory_osd_grid_text_set[0,"%s%n%999999d%s%s%s%s%s    "])",
                            R"(factory_osd_grid_text_set[0,"%s%n%999999d%s%s%s%s%s: NG"])"));
}

TEST_F(Feedback, ShowsTheLongestWordWhole)
{
    rova_control_flags.osd = 1;
    std::string word(31, 'w');
    command(word);
    EXPECT_THAT(shown(), ElementsAre("factory_osd_grid_text_set[0,\"" + word + "    \"]",
                                     "factory_osd_grid_text_set[0,\"" + word + ": NG\"]"));
}

TEST_F(Feedback, PlaysTheButtonSoundLoudForOkAndRestoresTheVolume)
{
    rova_set_volume(2);
    rova_control_flags.sound = 1;
    command("control led off");
    EXPECT_THAT(heard(),
                ElementsAre("mm_sound_qz_volume_set_value[0,10]",
                            "mm_sound_qz_volume_set_value[0,15]",
                            "mm_sound_qz_play_sound_sync[\"" + sounds + "06_N_SButton.wav\",0]",
                            "mm_sound_qz_volume_set_value[0,10]"));
}

TEST_F(Feedback, PlaysTheLowBatterySoundForNg)
{
    rova_set_volume(1);
    rova_control_flags.sound = 1;
    command("control led x");
    EXPECT_THAT(heard(),
                ElementsAre("mm_sound_qz_volume_set_value[0,5]",
                            "mm_sound_qz_volume_set_value[0,15]",
                            "mm_sound_qz_play_sound_sync[\"" + sounds + "13_N_NoBattery.wav\",0]",
                            "mm_sound_qz_volume_set_value[0,5]"));
}

TEST_F(Feedback, BlinksOnceForOk)
{
    rova_control_flags.led = 1;
    command("control osd off");
    EXPECT_THAT(blinked(), ElementsAre("device_set_property[3,4,1]", "device_set_property[3,4,0]"));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(300000, 300000));
}

TEST_F(Feedback, BlinksTwiceForNg)
{
    rova_control_flags.led = 1;
    command("control osd x");
    EXPECT_THAT(blinked(), ElementsAre("device_set_property[3,4,1]", "device_set_property[3,4,0]",
                                       "device_set_property[3,4,1]", "device_set_property[3,4,0]"));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(300000, 300000, 300000, 300000));
}

TEST_F(Feedback, ComesInTheOrderOfScreenSoundAndLamp)
{
    rova_control_flags = {1, 1, 1};
    rova_set_volume(2);
    command("file delete x");
    EXPECT_THAT(told({"factory_osd_grid_text_set", "mm_sound_qz_play_sound_sync",
                      "mm_sound_qz_volume_set_value", "device_set_property"}),
                ElementsAre("mm_sound_qz_volume_set_value[0,10]",
                            R"(factory_osd_grid_text_set[0,"file    "])",
                            R"(factory_osd_grid_text_set[0,"file: NG"])",
                            "mm_sound_qz_volume_set_value[0,15]",
                            "mm_sound_qz_play_sound_sync[\"" + sounds + "13_N_NoBattery.wav\",0]",
                            "mm_sound_qz_volume_set_value[0,10]", "device_set_property[3,4,1]",
                            "device_set_property[3,4,0]", "device_set_property[3,4,1]",
                            "device_set_property[3,4,0]"));
}

TEST_F(Feedback, TakesAnyResultThatIsNotOkForNg)
{
    wrap_record_sleeps(true);
    rova_control_flags = {1, 1, 1};
    rova_cmd_resp(ROVA_CMD_SCRIPT, 2, nullptr);
    cmd_data record = record_of("file delete x");
    rova_cmd_show_result(ROVA_CMD_CARD, &record);
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_grid_text_set[0,"file: NG"])"));
    EXPECT_THAT(told({"mm_sound_qz_play_sound_sync"}),
                ElementsAre("mm_sound_qz_play_sound_sync[\"" + sounds + "13_N_NoBattery.wav\",0]"));
    EXPECT_EQ(blinked().size(), 4U);
}

TEST_F(Feedback, DelayShowsNothingButPlaysTheSound)
{
    rova_control_flags.osd = 1;
    rova_control_flags.sound = 1;
    command("delay 100");
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_THAT(told({"mm_sound_qz_play_sound_sync"}),
                ElementsAre("mm_sound_qz_play_sound_sync[\"" + sounds + "06_N_SButton.wav\",0]"));
}

TEST_F(Feedback, FollowsAFlagFromTheCommandThatSetsIt)
{
    command("control led on");
    EXPECT_EQ(blinked().size(), 2U);
}

TEST_F(Feedback, CommandsThatDrawAreExemptFromTheScreen)
{
    rova_control_flags.osd = 1;
    for (const char *word : {"osd", "delay", "control", "power", "lcd", "OSD", "Delay"})
        EXPECT_EQ(rova_cmd_control_osd(word), 0) << word;
    for (const char *word : {"sys_param", "sound", "capture", "file", "os", ""})
        EXPECT_EQ(rova_cmd_control_osd(word), 1) << word;
}

TEST_F(Feedback, FourWordsAreExemptFromTheSound)
{
    rova_control_flags.sound = 1;
    for (const char *word : {"sys_param", "power", "sound", "capture", "SOUND", "Capture"})
        EXPECT_EQ(rova_cmd_control_sound(word), 0) << word;
    for (const char *word : {"osd", "delay", "control", "lcd", "file", ""})
        EXPECT_EQ(rova_cmd_control_sound(word), 1) << word;
}

TEST_F(Feedback, FlagsThatAreOffExemptEveryWord)
{
    EXPECT_EQ(rova_cmd_control_osd("file"), 0);
    EXPECT_EQ(rova_cmd_control_sound("file"), 0);
    EXPECT_EQ(rova_cmd_control_led(), 0);
    rova_control_flags.led = 1;
    EXPECT_EQ(rova_cmd_control_led(), 1);
}
