#include "common/rova_util.h"
#include "platform/virtual/keys.h"
#include "tests/command/system/key_rows.h"
#include "tests/command/system/key_test.h"
#include "tests/support/wrap.h"

#include <platform/vconf.h>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr char LEVEL[] = "/sys/devices/platform/movra7-adc/adc9";
constexpr char SETTLE[] = "/sys/devices/platform/movra7-adc/adc8";
constexpr char BATTERY[] = "memory/sysman/vgrip_battery_detect";

constexpr char COUNT[] = "Not found on vgrip command count ";
constexpr char FIRST[] = "Not found on vgrip command table 1st ";
constexpr char SECOND[] = "Not found on vgrip command table 2nd ";
constexpr char AT_180[] = "vgrip level : 180 (180: connect, 0: disconnect)";
constexpr char AT_0[] = "vgrip level : 0 (180: connect, 0: disconnect)";
constexpr char WRITE_ERROR[] = "sysfs write error!";
constexpr char NO_BATTERY_STATE[] = "failed to get the key \"memory/sysman/vgrip_battery_detect\" ";

// A camera whose grip is off its body, switched on and at rest.
class Vgrip : public KeyTest
{
protected:
    Vgrip()
    {
        camera.write(LEVEL, "0\n");
        camera.write(SETTLE, "0\n");
        set("vgrip_connect", "1");
        set("grip_key", "0");
    }
    void play_level(const std::string &lines) const
    {
        camera.write(std::string(LEVEL) + ".play", lines);
    }
};

} // namespace

TEST_F(Vgrip, UnknownSubcommandNamesTheDaemon)
{
    EXPECT_EQ(run("vgrip battery wait in"), NO_ANSWER);
    EXPECT_EQ(messages().front(), "Not found on rova command table ");
}

TEST_F(Vgrip, TooFewWordsAreNg)
{
    for (const char *line : {"vgrip wait", "vgrip key", "vgrip jog1", "vgrip jog2", "vgrip bat",
                             "vgrip bat wait", "vgrip bat show"}) {
        EXPECT_EQ(run(line), NG) << line;
        EXPECT_THAT(new_messages(), ElementsAre(COUNT)) << line;
    }
    cmd_data record = record_of("vgrip wait out");
    record.p_count = 1;
    EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NG);
    EXPECT_THAT(new_messages(), ElementsAre(COUNT));
}

TEST_F(Vgrip, UnknownFirstWordIsNg)
{
    for (const char *line :
         {"vgrip wait IN", "vgrip wait bat", "vgrip key S1", "vgrip key s3", "vgrip jog1 up 1",
          "vgrip jog2 wait right 1", "vgrip bat WAIT in", "vgrip bat show in"}) {
        EXPECT_EQ(run(line), NG) << line;
        EXPECT_THAT(new_messages(), ElementsAre(FIRST)) << line;
    }
    EXPECT_EQ(get("grip_key"), "0");
}

TEST_F(Vgrip, UnknownSecondWordIsNg)
{
    for (const char *line :
         {"vgrip wait in BAT", "vgrip wait out in", "vgrip bat wait on", "vgrip bat wait IN"}) {
        EXPECT_EQ(run(line), NG) << line;
        EXPECT_THAT(new_messages(), ElementsAre(SECOND)) << line;
    }
}

// ------------------------------------------------------------------------- wait

TEST_F(Vgrip, WaitEndsWhenTheGripComes)
{
    play_level("0\n0\n180\n");
    EXPECT_EQ(run("vgrip wait in"), OK);
    EXPECT_THAT(messages(), ElementsAre(AT_0, "VGRIP disconnected", AT_180, "VGRIP connected"));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000, 100000, 100000));
}

TEST_F(Vgrip, WaitEndsWhenTheGripGoes)
{
    play_level("180\n0\n");
    EXPECT_EQ(run("vgrip wait out"), OK);
    EXPECT_THAT(messages(), ElementsAre(AT_180, "VGRIP connected", AT_0, "VGRIP disconnected"));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000, 100000));
}

TEST_F(Vgrip, WaitTakesTheNearerLevel)
{
    play_level("90\n90\n91\n");
    EXPECT_EQ(run("vgrip wait in"), OK);
    EXPECT_THAT(new_messages(),
                ElementsAre("vgrip level : 90 (180: connect, 0: disconnect)", "VGRIP disconnected",
                            "vgrip level : 91 (180: connect, 0: disconnect)", "VGRIP connected"));
    play_level("255\n91\n90\n");
    EXPECT_EQ(run("vgrip wait out"), OK);
    EXPECT_EQ(new_messages().size(), 5U) << "each level, and the state twice";
}

TEST_F(Vgrip, WaitWithTheBatteryNeedsBoth)
{
    virt::set_bool(BATTERY, false);
    play_level("0\n180\n");
    camera.fault("vconf_get_bool", "-1 at 3"); // looked at in each pass, false in two
    EXPECT_EQ(run("vgrip wait in bat"), NG);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000, 100000));
    camera.clear_fault("vconf_get_bool");

    virt::set_bool(BATTERY, true);
    EXPECT_EQ(run("vgrip wait in bat"), OK);
    play_level("180\n0\n-1\n");
    EXPECT_EQ(run("vgrip wait out bat"), NG) << "the battery is still there";
    virt::set_bool(BATTERY, false);
    camera.write(LEVEL, "0\n");
    EXPECT_EQ(run("vgrip wait out bat"), OK);
}

TEST_F(Vgrip, WaitWithoutWordOfTheBatteryDoesNotLookAtIt)
{
    camera.fault("vconf_get_bool", "-1");
    EXPECT_EQ(run("vgrip wait out"), OK);
    EXPECT_EQ(run("vgrip wait out bat"), NG);
    EXPECT_EQ(messages().back(), NO_BATTERY_STATE);
}

TEST_F(Vgrip, WaitInAWrongFormIsNg)
{
    EXPECT_EQ(run("vgrip wait out bat now"), NG);
    EXPECT_THAT(messages(), ElementsAre("input proper command."));
}

TEST_F(Vgrip, WaitWithoutALevelIsNg)
{
    play_level("0\n-3\n");
    EXPECT_EQ(run("vgrip wait in"), NG);
    EXPECT_EQ(messages().back(),
              "failed to read \"/sys/devices/platform/movra7-adc/adc9\" (ret = -3) ");
    camera.remove(LEVEL);
    EXPECT_EQ(run("vgrip wait out"), NG);
}

TEST_F(Vgrip, EveryWaitButThatForClicksEndsOkWhenTheDaemonIsAskedToStop)
{
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    camera.remove(LEVEL);
    camera.remove(SETTLE);
    for (const char *line : {"vgrip wait in", "vgrip key s1", "vgrip bat wait in"}) {
        EXPECT_EQ(run(line), OK) << line;
        EXPECT_THAT(wrap_sleeps(), IsEmpty()) << line;
    }
}

TEST_F(Vgrip, StopDuringAWaitEndsIt)
{
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    virt::set_bool(BATTERY, false);
    for (const char *line : {"vgrip wait in", "vgrip key s1", "vgrip bat wait in"}) {
        wrap_clear();
        wrap_record_sleeps(true);
        camera.fault("vconf_get_int", "0 at 1"); // not yet asked
        EXPECT_EQ(run(line), OK) << line;
        EXPECT_EQ(wrap_sleeps().size(), 1U) << line;
    }
}

// ------------------------------------------------------------------------- key

TEST_F(Vgrip, KeyWaitsForEachKeysCode)
{
    for (const KeyRow &row : key_rows) {
        std::string code = std::to_string(row.code);
        play("keycode", {"1", "2", code});
        EXPECT_EQ(run(std::string("vgrip key ") + row.name), OK) << row.name;
        EXPECT_THAT(new_messages(), ElementsAre("wait_keycode : " + code, "cur_status : VGRIP ON"));
    }
}

TEST_F(Vgrip, KeyLooksEveryMillisecond)
{
    play("keycode", {"0", "0", "125"});
    EXPECT_EQ(run("vgrip key s1"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(1000, 1000, 1000));
}

TEST_F(Vgrip, KeyForgetsAnEarlierOne)
{
    set("keycode", "125");
    camera.fault("sys_open", "-1 at 3 on keycode"); // cleared, read, and no more
    EXPECT_EQ(run("vgrip key s1"), NG);
    EXPECT_EQ(get("keycode"), "0");
    EXPECT_THAT(wrap_sleeps(), ElementsAre(1000));
}

TEST_F(Vgrip, KeyGoesOnWhereTheCodeCannotBeCleared)
{
    camera.fault("sys_write", "-1 on keycode");
    play("keycode", {"126"});
    EXPECT_EQ(run("vgrip key s2"), OK);
    EXPECT_THAT(messages(),
                ElementsAre(WRITE_ERROR, "wait_keycode : 126", "cur_status : VGRIP ON"));
}

TEST_F(Vgrip, KeyTellsEachChangeOfTheGripsSwitch)
{
    play("vgrip_connect", {"0", "0", "1", "1", "0"});
    play("keycode", {"0", "0", "0", "0", "125"});
    EXPECT_EQ(run("vgrip key s1"), OK);
    EXPECT_THAT(messages(), ElementsAre("wait_keycode : 125", "cur_status : VGRIP OFF",
                                        "cur_status : VGRIP ON", "cur_status : VGRIP OFF"));
}

TEST_F(Vgrip, KeyOfALockedGripIsNg)
{
    play("vgrip_connect", {"1", "2"});
    play("keycode", {"0", "125"});
    EXPECT_EQ(run("vgrip key s1"), NG);
    EXPECT_THAT(messages(),
                ElementsAre("wait_keycode : 125", "cur_status : VGRIP ON", "VGRIP LOCKED!"));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(1000));
}

TEST_F(Vgrip, KeyIsHeldBackUntilTheGripHasSettled)
{
    camera.write(std::string(SETTLE) + ".play", "160\n159\n");
    play("keycode", {"0", "125"});
    EXPECT_EQ(run("vgrip key s1"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000, 1000, 1000));
}

TEST_F(Vgrip, KeyWithoutADriverIsNg)
{
    const std::vector<std::string> paths = {"/sys/devices/platform/m7-keys/keycode", SETTLE,
                                            "/sys/devices/platform/m7-keys/vgrip_connect"};
    for (const std::string &path : paths) {
        camera.remove(path);
        EXPECT_EQ(run("vgrip key s1"), NG) << path;
        EXPECT_EQ(new_messages().back(), "failed to read \"" + path + "\" (ret = -1) ");
    }
}

// ------------------------------------------------------------------------- jog1, jog2

namespace
{

struct Jog {
    const char *line;
    const char *code;
    const char *opposite;
};

constexpr Jog jog_rows[] = {
    {"vgrip jog1 right 2", "177", "178"},
    {"vgrip jog1 left 2", "178", "177"},
    {"vgrip jog2 right 2", "163", "165"},
    {"vgrip jog2 left 2", "165", "163"},
};

} // namespace

TEST_F(Vgrip, JogCountsTheGripsClicks)
{
    for (const Jog &row : jog_rows) {
        set("grip_key", "7");
        play("keycode", {row.code, "0", row.code});
        camera.fault("sys_write", "-1 at 4 on m7-keys"); // set, two clicks, and no more
        EXPECT_EQ(run(row.line), OK) << row.line;
        EXPECT_EQ(messages().back(), WRITE_ERROR) << "the reset, refused";
        camera.clear_fault("sys_write");

        play("keycode", {row.code, row.code});
        EXPECT_EQ(run(row.line), OK) << row.line;
        EXPECT_EQ(get("grip_key"), "0");
    }
}

TEST_F(Vgrip, JogHasTheDriverTellTheGripsClicks)
{
    play("keycode", {"163"});
    camera.fault("sys_open", "-1 at 3 on m7-keys"); // set, read, and no more
    EXPECT_EQ(run("vgrip jog2 right 1"), NG) << "the click cannot be cleared";

    camera.clear_fault("sys_open");
    set("grip_key", "0");
    play("keycode", {"163"});
    camera.fault("sys_open", "-1 at 4 on m7-keys"); // the reset
    EXPECT_EQ(run("vgrip jog2 right 1"), OK);
    EXPECT_EQ(get("grip_key"), "1");
}

TEST_F(Vgrip, Jog1TellsTheCodesItLooksFor)
{
    play("keycode", {"178", "177"});
    EXPECT_EQ(run("vgrip jog1 left 3"), NG);
    EXPECT_THAT(messages(), ElementsAre("wait_keycode : 178, opposite_keycode : 177",
                                        "opposite_keycode == cur_keycode"));
    EXPECT_EQ(get("grip_key"), "0");
}

TEST_F(Vgrip, JogEndsNgWithTheFirstClickTheOtherWay)
{
    for (const Jog &row : jog_rows) {
        play("keycode", {row.code, row.opposite});
        EXPECT_EQ(run(row.line), NG) << row.line;
        EXPECT_EQ(new_messages().back(), "opposite_keycode == cur_keycode");
        EXPECT_EQ(get("grip_key"), "0");
    }
}

TEST_F(Vgrip, JogOfTheBodyIsNotTakenForTheGrips)
{
    play("keycode", {"177"});
    camera.fault("sys_write", "-1 on grip_key");
    EXPECT_EQ(run("vgrip jog1 right 1"), NG);
    EXPECT_THAT(messages(), ElementsAre(WRITE_ERROR));
    EXPECT_EQ(get("keycode"), "0");
}

// ------------------------------------------------------------------------- bat

TEST_F(Vgrip, BatWaitEndsWhenTheKeyShowsTheState)
{
    virt::set_bool(BATTERY, true);
    EXPECT_EQ(run("vgrip bat wait in"), OK);
    EXPECT_EQ(run("vgrip BAT wait in now"), OK);
    virt::set_bool(BATTERY, false);
    EXPECT_EQ(run("vgrip bat wait out"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000, 100000, 100000));
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Vgrip, PcIsAnsweredToo)
{
    virt::set_bool(BATTERY, true);
    for (const char *line : {"vgrip wait out", "vgrip key nobutton", "vgrip jog1 left 0",
                             "vgrip jog2 left 0", "vgrip bat wait in"})
        EXPECT_EQ(run(line, ROVA_CMD_PTP), PTP_OK) << line;
    for (const char *line : {"vgrip wait", "vgrip key", "vgrip jog1", "vgrip jog2", "vgrip bat"})
        EXPECT_EQ(run(line, ROVA_CMD_PTP), PTP_NG) << line;
}

TEST_F(Vgrip, BatWaitGoesOnUntilThen)
{
    virt::set_bool(BATTERY, true);
    camera.fault("vconf_get_bool", "-1 at 3");
    EXPECT_EQ(run("vgrip bat wait out"), NG);
    EXPECT_THAT(messages(), ElementsAre(NO_BATTERY_STATE));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000, 100000));
}

TEST_F(Vgrip, BatWaitWithoutAKeyIsNg)
{
    EXPECT_EQ(run("vgrip bat wait out"), NG);
    EXPECT_THAT(messages(), ElementsAre(NO_BATTERY_STATE));
    vconf_set_int(BATTERY, 0);
    EXPECT_EQ(run("vgrip bat wait out"), NG) << "no boolean key";
}
