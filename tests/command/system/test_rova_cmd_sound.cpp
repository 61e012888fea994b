#include "common/rova_sound.h"
#include "tests/command/command_test.h"

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

struct SoundRow {
    const char *name;
    const char *file;
};

constexpr SoundRow sound_rows[] = {
    {"af", "07_N_AF.wav"},
    {"ok", "06_N_SButton.wav"},
    {"burst", "10_N_Shutter_30f_1sec.wav"},
    {"low_battery", "13_N_NoBattery.wav"},
};

constexpr char LONG_FILE[] = "1KHz_sound.wav";
constexpr char BAD_PLAY[] = "Not found on sound_play command table";

} // namespace

class SoundFamily : public CommandTest
{
protected:
    SoundFamily()
    {
        for (const SoundRow &row : sound_rows)
            add(row.file);
        add(LONG_FILE);
        rova_stop_sound(); // this process may have left it on
    }

    static std::string path(const std::string &file)
    {
        return "/usr/apps/com.halvex.lumen-app/res/sounds/camera/" + file;
    }
    // An empty WAV file, which ends at once.
    void add(const std::string &file) const
    {
        std::string wav("RIFF\0\0\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x40\x1f\0\0\x40\x1f\0\0\1\0\x8\0"
                        "data\0\0\0\0",
                        44);
        camera.write(path(file), wav);
    }
    std::vector<std::string> played() const
    {
        return told({"mm_sound_qz_play_sound_sync", "mm_sound_qz_play_sound"});
    }
    std::string sync_call(const char *file) const
    {
        return "mm_sound_qz_play_sound_sync[\"" + path(file) + "\",0]";
    }
    std::string async_call() const
    {
        return "mm_sound_qz_play_sound[\"" + path(LONG_FILE) + "\",0]";
    }
    std::vector<std::string> volumes() const { return told({"mm_sound_qz_volume_set_value"}); }
};

TEST_F(SoundFamily, PlaysEachToTheEnd)
{
    std::vector<std::string> calls;
    for (const SoundRow &row : sound_rows) {
        EXPECT_EQ(run(std::string("sound play ") + row.name), OK) << row.name;
        calls.push_back(sync_call(row.file));
        EXPECT_EQ(played(), calls);
    }
}

TEST_F(SoundFamily, LongSoundGoesOnUntilItIsSwitchedOff)
{
    EXPECT_EQ(run("sound play 1KHZ_sound on"), OK);
    EXPECT_THAT(played(), ElementsAre(async_call()));
    std::size_t stops = told({"mm_sound_qz_stop_sound"}).size();
    EXPECT_EQ(run("SOUND PLAY 1KHZ_sound off", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(told({"mm_sound_qz_stop_sound"}).size(), stops + 1);
    EXPECT_EQ(run("sound play 1KHZ_sound off"), OK) << "off already";
}

TEST_F(SoundFamily, OtherSoundsAreNgWithAMessage)
{
    for (const char *line :
         {"sound play", "sound play AF", "sound play shutter", "sound play 1khz_sound on",
          "sound play 1KHZ_sound", "sound play 1KHZ_sound ON", "sound play 1KHZ_sound x"}) {
        EXPECT_EQ(run(line), NG) << line;
        EXPECT_THAT(new_messages(), ElementsAre(BAD_PLAY)) << line;
    }
    EXPECT_THAT(played(), IsEmpty());
}

TEST_F(SoundFamily, SoundThatCannotBePlayedIsNg)
{
    camera.remove(path(sound_rows[1].file));
    camera.remove(path(LONG_FILE));
    EXPECT_EQ(run("sound play ok"), NG);
    EXPECT_EQ(run("sound play 1KHZ_sound on"), NG);
    EXPECT_EQ(times_logged("failed to play sound (" + path(sound_rows[1].file) + ")"), 1U);
    EXPECT_EQ(times_logged("failed to play sound (" + path(LONG_FILE) + ")"), 1U);
}

TEST_F(SoundFamily, VolumeTakesStepsBelowFive)
{
    for (const char *step : {"0", "1", "2", "3"})
        EXPECT_EQ(run(std::string("sound volume ") + step), OK) << step;
    EXPECT_THAT(volumes(), ElementsAre("mm_sound_qz_volume_set_value[0,0]",
                                       "mm_sound_qz_volume_set_value[0,5]",
                                       "mm_sound_qz_volume_set_value[0,10]",
                                       "mm_sound_qz_volume_set_value[0,15]"));
    EXPECT_EQ(run("sound volume 4"), OK) << "whatever the service makes of it";
    EXPECT_EQ(volumes().back(), "mm_sound_qz_volume_set_value[0,20]");
}

TEST_F(SoundFamily, VolumeOutsideIsNgAndChangesNothing)
{
    for (const char *step : {"5", "6", "100", "-1", "99999999999"})
        EXPECT_EQ(run(std::string("sound volume ") + step), NG) << step;
    EXPECT_THAT(volumes(), IsEmpty());
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(SoundFamily, VolumeRefusesMoreWords)
{
    EXPECT_EQ(run("sound volume 1 2"), NG);
    EXPECT_THAT(messages(), ElementsAre("Not found on sound_volume command table "));
    EXPECT_THAT(volumes(), IsEmpty());
}

TEST_F(SoundFamily, MissingVolumeIsNgWithoutAMessage)
{
    EXPECT_EQ(run("sound volume"), NG);
    EXPECT_THAT(messages(), IsEmpty());
    EXPECT_THAT(volumes(), IsEmpty());
}

TEST_F(SoundFamily, UnknownSubcommandIsToldUnderItsOwnName)
{
    EXPECT_EQ(run("sound stop"), NO_ANSWER);
    EXPECT_EQ(messages().front(), "Not found on cmd_sound command table ");
}
