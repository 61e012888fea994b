#include "command/system/rova_cmd_system.h"
#include "common/rova_util.h"
#include "tests/command/system/key_rows.h"
#include "tests/command/system/key_test.h"
#include "tests/support/wrap.h"

#include <bit>
#include <cstdio>
#include <platform/vconf.h>

using namespace test;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace
{

using Key = KeyTest;

class KeyHold : public KeyTest
{
protected:
    // The key comes with the first look at its code.
    std::string hold(const std::string &name, const std::string &words = "500")
    {
        set("keycode", "0");
        for (const KeyRow &row : key_rows)
            if (name == row.name)
                play("keycode", {std::to_string(row.code)});
        return run("key wait_push " + name + " " + words);
    }
};

std::string hex(uint32_t mask)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%08x", mask);
    return text;
}

} // namespace

// ------------------------------------------------------------------------- the family

TEST_F(Key, UnknownSubcommandNamesNoFamily)
{
    cmd_data record = record_of("key waitpush s1");
    EXPECT_EQ(rova_cmd_key(ROVA_CMD_SCRIPT, &record), 0);
    EXPECT_THAT(messages(), ElementsAre("Not found on rova command table "));
    EXPECT_EQ(run("key"), NO_ANSWER);
}

TEST_F(Key, SubcommandsIgnoreCaseAndNamesDoNot)
{
    EXPECT_EQ(run("KEY Wait_Push all"), OK);
    for (const char *line : {"key wait_push ALL", "key mask S1", "key unmask Fn", "key push OK"})
        EXPECT_EQ(run(line), NG) << line;
}

TEST_F(Key, MissingOrUnknownNameIsNg)
{
    for (const char *word : {"wait_push", "push", "release", "click", "mask", "unmask"}) {
        EXPECT_EQ(run(std::string("key ") + word), NG) << word;
        EXPECT_EQ(run(std::string("key ") + word + " s3"), NG) << word;
        EXPECT_EQ(run(std::string("key ") + word + " s3", ROVA_CMD_PTP), PTP_NG) << word;
    }
    EXPECT_EQ(get("keymask"), "0");
}

TEST_F(Key, NameBehindTheCountedParametersIsNone)
{
    cmd_data record = record_of("key wait_push all");
    record.p_count = 1;
    EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NG);
}

// ------------------------------------------------------------------------- wait_push

TEST_F(Key, WaitPushTakesEachKeyByItsCode)
{
    for (const KeyRow &row : key_rows) {
        if (row.code == 0)
            continue;
        std::string code = std::to_string(row.code);
        play("keycode", {"0", "1", code});
        EXPECT_EQ(run(std::string("key wait_push ") + row.name), OK) << row.name;
        EXPECT_THAT(new_messages(), ElementsAre("keycode : " + code));
        EXPECT_FALSE(camera.exists("/sys/devices/platform/m7-keys/keycode.play")) << row.name;
    }
}

TEST_F(Key, WaitPushLooksEveryMillisecond)
{
    play("keycode", {"0", "0", "125"});
    EXPECT_EQ(run("key wait_push s1", ROVA_CMD_PTP), PTP_OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(1000, 1000, 1000));
}

TEST_F(Key, WaitPushAllDoesNotWait)
{
    EXPECT_EQ(run("key wait_push all"), OK);
    EXPECT_THAT(messages(), ElementsAre("keycode : 0"));
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_F(Key, WaitPushForgetsAnEarlierKey)
{
    set("keycode", "125");
    camera.fault("sys_open", "-1 at 3 on keycode"); // cleared, read, and no more
    EXPECT_EQ(run("key wait_push s1"), NG);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(1000));
    EXPECT_EQ(get("keycode"), "0");
}

TEST_F(Key, WaitPushWithoutAKeyCodeIsNg)
{
    remove("keycode");
    EXPECT_EQ(run("key wait_push fn"), NG);
    EXPECT_THAT(messages(), ElementsAre("sysfs write error!"));
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_F(Key, WaitPushGoesOnWhereTheCodeCannotBeCleared)
{
    set("keycode", "172");
    camera.fault("sys_write", "-1 on keycode");
    play("keycode", {"172"});
    EXPECT_EQ(run("key wait_push fn"), OK);
    EXPECT_THAT(messages(), ElementsAre("sysfs write error!", "keycode : 172"));
}

TEST_F(Key, WaitPushEndsNgWithANegativeCode)
{
    play("keycode", {"0", "-5"});
    EXPECT_EQ(run("key wait_push fn"), NG);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(1000));

    play("keycode", {"-5"});
    play_shutter({"2"}); // not looked at any more
    EXPECT_EQ(run("key wait_push s1"), NG);
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Key, WaitPushOfS1IsFailedByAFullPress)
{
    play("keycode", {"0", "125"});
    play_shutter({"1", "2"});
    EXPECT_EQ(run("key wait_push s1"), NG);
    EXPECT_THAT(messages(), ElementsAre("s2 event generate instead of s1!!"));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(1000));
}

TEST_F(Key, WaitPushOfS1TakesAnyOtherStateOfTheShutter)
{
    play("keycode", {"0", "0", "0", "125"});
    play_shutter({"-1", "0", "1", "3"});
    EXPECT_EQ(run("key wait_push s1"), OK);
}

TEST_F(Key, WaitPushOfOtherKeysDoesNotLookAtTheShutter)
{
    for (const char *state : {"2", "-1"}) {
        camera.write("/virtual/property/13.1", state);
        play("keycode", {"126"});
        EXPECT_EQ(run("key wait_push s2"), OK);
        play("keycode", {"172"});
        EXPECT_EQ(run("key wait_push fn"), OK);
    }
}

TEST_F(Key, WaitPushOfS1WithoutAShutterStateIsNg)
{
    camera.fault("device_get_property", "-1");
    EXPECT_EQ(run("key wait_push s1"), NG);
    EXPECT_THAT(messages(), ElementsAre("device_get_property(13, 1) failed (ret = -1) "));
}

TEST_F(Key, StopEndsTheWaitAsTheKeyDoes)
{
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    camera.write("/virtual/property/13.1", "2");
    EXPECT_EQ(run("key wait_push s1"), OK);
    EXPECT_THAT(messages(), ElementsAre("keycode : 125"));
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_F(Key, StopDuringTheWaitEndsIt)
{
    camera.fault("vconf_get_int", "0 at 1");
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    EXPECT_EQ(run("key wait_push ok"), OK);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(1000));
}

// Notices bring their colour.
TEST_F(Key, WaitPushNotesInYellow)
{
    play_shutter({"1", "2"});
    play("keycode", {"0"});
    EXPECT_EQ(run("key wait_push s1"), NG);
    EXPECT_EQ(run("key wait_push all"), OK);
    set("check_push_key", "1");
    EXPECT_EQ(run("key wait_push nobutton"), NG);
    for (const char *note :
         {"s2 event generate instead of s1!!", "keycode : 0", "pushed_keys_id : 0x00000001"})
        EXPECT_TRUE(camera.logged(std::string("\033[33m") + note)) << note;
}

// ------------------------------------------------------------------------- held for a time

TEST_F(KeyHold, EachKeyIsKnownByItsBit)
{
    int index = 0;
    for (const KeyRow &row : key_rows) {
        std::string name = row.name;
        if (name != "nobutton") {
            camera.remove("/virtual/timer");
            play_timer({"0", "300000", "501000"});
            set("pushed_keys", hex(row.mask));
            EXPECT_EQ(hold(name), OK) << name;
            EXPECT_THAT(
                new_messages(),
                ElementsAre("keycode : " + std::to_string(row.code), "set_press_time : 500ms",
                            "prev_tick : 0us", "key_idx : " + std::to_string(index),
                            "sysfs_str : " + hex(row.mask) +
                                ", rova_key_tbl[i].mask : " + hex(row.mask) + " ",
                            "PASSED", "duration(501ms) is over than set_press_time(500ms)"));
        }
        index++;
    }
}

TEST_F(KeyHold, OtherKeysDoNotCount)
{
    for (const KeyRow &row : key_rows) {
        std::string name = row.name;
        if (name == "nobutton")
            continue;
        play_timer({"0", "300000", "501000", "1100000"});
        set("pushed_keys", hex(~row.mask));
        EXPECT_EQ(hold(name), OK) << name;
        EXPECT_THAT(new_messages(), Contains("duration(599ms) is over than set_press_time(500ms)"));
    }
}

TEST_F(KeyHold, ReleaseAfter400MillisecondsStartsTheTimeOver)
{
    play_timer({"0", "200000", "400000", "600000", "900000", "901000"});
    play("pushed_keys", {"0x1000", "0x1000", "0x0", "0x1000"});
    EXPECT_EQ(hold("s2"), OK);
    EXPECT_THAT(messages(), Contains("duration(501ms) is over than set_press_time(500ms)"));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(1000, 5000, 5000, 5000, 5000, 5000));
}

TEST_F(KeyHold, TimeIsOverAboveTheMillisecondsAskedFor)
{
    set("pushed_keys", "0x40");
    play_timer({"1000000", "1500000", "1500999", "1501000"});
    EXPECT_EQ(hold("fn"), OK);
    EXPECT_THAT(messages(), AllOf(Contains("prev_tick : 1000000us"),
                                  Contains("duration(501ms) is over than set_press_time(500ms)")));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(1000, 5000, 5000));
}

TEST_F(KeyHold, TimeThatIsOverCountsBeforeARelease)
{
    set("pushed_keys", "0");
    play_timer({"0", "501000"});
    EXPECT_EQ(hold("fn"), OK);
    EXPECT_THAT(messages(), Contains("PASSED"));
}

TEST_F(KeyHold, MaskMayBeDecimal)
{
    set("pushed_keys", "64");
    play_timer({"0", "400000", "501000"});
    EXPECT_EQ(hold("fn"), OK);
    EXPECT_THAT(messages(), Contains("duration(501ms) is over than set_press_time(500ms)"));
}

TEST_F(KeyHold, TimeThatIsNoNumberOrBelowZeroIsShort)
{
    set("pushed_keys", "1");
    play_timer({"0", "999", "1000"});
    EXPECT_EQ(hold("all", "soon"), OK);
    EXPECT_THAT(new_messages(), Contains("duration(1ms) is over than set_press_time(0ms)"));
    EXPECT_EQ(hold("all", "-1"), OK);
    EXPECT_THAT(new_messages(),
                AllOf(Contains("set_press_time : -1ms"),
                      Contains("duration(0ms) is over than set_press_time(4294967295ms)")));
}

TEST_F(KeyHold, IsAskedForByExactlyThreeParameters)
{
    EXPECT_EQ(hold("fn", ""), OK);
    EXPECT_EQ(hold("fn", "500 x"), OK);
    EXPECT_THAT(messages(), ElementsAre("keycode : 172", "keycode : 172"));
}

TEST_F(KeyHold, OfS1IsFailedByAFullPress)
{
    set("pushed_keys", "0x800");
    play_timer({"0", "900000"});
    play_shutter({"1", "2"});
    EXPECT_EQ(hold("s1"), NG);
    EXPECT_EQ(messages().back(), "s2 pushed while s1 still pushed!!");
    EXPECT_THAT(messages(), Not(Contains("PASSED")));
}

TEST_F(KeyHold, OfS1IsFailedByAFullPressInItsRelease)
{
    set("pushed_keys", "0");
    play_timer({"0", "100000"});
    play_shutter({"1", "1", "2"});
    EXPECT_EQ(hold("s1"), NG);
    EXPECT_EQ(messages().back(), "s2 event generate instead of s1!!");
}

TEST_F(KeyHold, OfS1GoesOnAfterARelease)
{
    play_timer({"0", "100000", "601000"});
    play("pushed_keys", {"0x800", "0", "0x800"});
    EXPECT_EQ(hold("s1"), OK);
    EXPECT_THAT(messages(), Contains("duration(501ms) is over than set_press_time(500ms)"));
}

TEST_F(KeyHold, OfS2IsFailedByAReleaseOfS1)
{
    set("pushed_keys", "0x1000");
    play_timer({"0", "900000"});
    play_shutter({"-1"});
    EXPECT_EQ(hold("s2"), NG);
    EXPECT_EQ(messages().back(), "s1 released while s2 still pushed!!");
}

TEST_F(KeyHold, HasNoRuleForOtherStatesAndKeys)
{
    struct {
        const char *key;
        const char *state;
    } const rows[] = {{"s1", "-1"}, {"s2", "2"}, {"fn", "2"}, {"fn", "-1"}};
    for (const auto &[key, state] : rows) {
        camera.write("/virtual/property/13.1", state);
        play_timer({"0", "100000", "900000"});
        EXPECT_EQ(hold(key), OK) << key << " " << state;
    }
}

TEST_F(KeyHold, WithoutTheHeldKeysIsNg)
{
    remove("pushed_keys");
    EXPECT_EQ(hold("fn"), NG);
    EXPECT_EQ(messages().back(), "failed to open \"/sys/devices/platform/m7-keys/pushed_keys\" "
                                 "(No such file or directory) ");
}

TEST_F(KeyHold, IsNgWhenTheHeldKeysCannotBeReadAnyMore)
{
    play_timer({"0"});
    set("pushed_keys", "0x40");
    camera.fault("sys_open", "-1 at 3 errno EIO on pushed_keys");
    EXPECT_EQ(hold("fn"), NG);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(1000, 5000));
}

TEST_F(KeyHold, IsNgWithoutAShutterState)
{
    play_timer({"0"});
    set("pushed_keys", "0x800");
    camera.fault("device_get_property", "-1 at 2");
    EXPECT_EQ(hold("s1"), NG);
    EXPECT_EQ(messages().back(), "device_get_property(13, 1) failed (ret = -1) ");
}

TEST_F(KeyHold, EndsWhenTheDaemonIsAskedToStop)
{
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    camera.fault("vconf_get_int", "0 at 1"); // asked while the key is held
    play_timer({"0"});
    EXPECT_EQ(hold("fn"), OK);
    EXPECT_THAT(messages(), Not(Contains("PASSED")));
}

// ------------------------------------------------------------------------- no button

TEST_F(Key, NobuttonIsOkWhileNoKeyIsHeld)
{
    for (const char *keys : {"0", "-1", "", "0x800"}) { // the driver's number is decimal
        set("check_push_key", keys);
        EXPECT_EQ(run("key wait_push nobutton"), OK) << keys;
    }
    remove("check_push_key");
    EXPECT_EQ(run("key wait_push nobutton"), OK);
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Key, NobuttonShowsEachHeldKeyByItsBit)
{
    set("check_push_key", "6145"); // 0x1801
    set("keycode", "7");
    EXPECT_EQ(run("key wait_push nobutton"), NG);
    EXPECT_THAT(messages(), ElementsAre("pushed_keys_id : 0x00001801", "up key pushed!!",
                                        "s1 key pushed!!", "s2 key pushed!!"));
    EXPECT_THAT(told({"factory_osd_text_set"}),
                ElementsAre(R"(factory_osd_text_set[1,"up key pushed!!"])",
                            R"(factory_osd_text_set[1,"s1 key pushed!!"])",
                            R"(factory_osd_text_set[1,"s2 key pushed!!"])"));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(300000, 300000, 300000));
    EXPECT_EQ(get("keycode"), "7");
}

TEST_F(Key, NobuttonKnowsEveryKeyWithABitThatANumberShows)
{
    std::vector<std::string> expected = {"pushed_keys_id : 0x7fffffff"};
    for (uint32_t mask = 1; mask != 0; mask <<= 1)
        for (const KeyRow &row : key_rows)
            if (row.mask == mask && mask != 0x80000000)
                expected.push_back(std::string(row.name) + " key pushed!!");
    ASSERT_EQ(expected.size(), 1U + 23);

    set("check_push_key", "2147483647");
    EXPECT_EQ(run("key wait_push nobutton"), NG);
    EXPECT_EQ(messages(), expected);
}

TEST_F(Key, NobuttonIsNgForABitWithoutAKey)
{
    set("check_push_key", "32");
    EXPECT_EQ(run("key wait_push nobutton 500"), NG);
    EXPECT_THAT(messages(), ElementsAre("pushed_keys_id : 0x00000020"));
    EXPECT_EQ(run("key wait_push nobutton", ROVA_CMD_PTP), PTP_NG);
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

// ------------------------------------------------------------------------- mask, unmask

TEST_F(Key, MaskAndUnmaskChangeTheBitsOfEachKey)
{
    for (const KeyRow &row : key_rows) {
        if (std::string(row.name) == "all")
            continue;
        set("keymask", "0x20");
        for (int times = 0; times < 2; times++) {
            EXPECT_EQ(run(std::string("key mask ") + row.name), OK);
            EXPECT_EQ(get("keymask"), std::to_string(0x20 | row.mask)) << row.name;
        }
        set("keymask", "4294967295");
        for (int times = 0; times < 2; times++) {
            EXPECT_EQ(run(std::string("key unmask ") + row.name), OK);
            EXPECT_EQ(get("keymask"), std::to_string(~row.mask)) << row.name;
        }
    }
}

TEST_F(Key, MaskAllLeavesThePowerKey)
{
    set("keymask", "32");
    EXPECT_EQ(run("key mask all"), OK);
    EXPECT_EQ(get("keymask"), "4294901759"); // 0xfffeffff
    EXPECT_EQ(run("key unmask all", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(get("keymask"), "0");
}

TEST_F(Key, MaskThatCannotBeWrittenIsOk)
{
    remove("keymask");
    for (const char *line : {"key mask s1", "key unmask s1", "key mask all", "key unmask all"}) {
        EXPECT_EQ(run(line), OK) << line;
        EXPECT_THAT(new_messages(),
                    ElementsAre("failed to write \"/sys/devices/platform/m7-keys/keymask\""));
    }
    EXPECT_FALSE(camera.exists("/sys/devices/platform/m7-keys/keymask"));
}
